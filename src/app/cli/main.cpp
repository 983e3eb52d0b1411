#include <iostream>

#include "app/cli/Cli.h"

int main(int argc, char** argv) {
  quorvel::cli::Io io{std::cout, std::cerr};
  return quorvel::cli::Main(quorvel::cli::Args(argv, argv + argc), io);
}
