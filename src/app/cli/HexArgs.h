#pragma once

// Argument helpers shared by the CLI commands.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "app/cli/Cli.h"
#include "modbus/HexText.h"

namespace quorvel {
class CodePage;
}

namespace quorvel::cli {

using MODBUS::ParseHexBytes;

// "01 03 00 0A" in upper case.
std::string HexBytesText(std::span<const std::uint8_t> bytes);

// A 32-bit element address code: decimal (negative allowed, as stored) or 0x hex.
std::optional<std::uint32_t> ParseCode(const std::string& text);

// A number in C notation, independent of the locale.
std::optional<double> ParseDouble(const std::string& text);

// A "--codepage" value: a supported code page's number; otherwise nullptr
// and `error` lists the supported ones.
const CodePage* ParseCodePage(const std::string& text, std::string& error);

// The shortest text that reads back as the same double; "NaN", "Inf", "-Inf".
std::string NumberText(double value);

// Splits "--name value" options listed in `names`, and the options listed in
// `flags` that take no value, out of args. Returns false, with `error` set,
// for an option without a value or one in neither list.
struct Options {
  std::vector<std::string> positional;
  std::vector<std::pair<std::string, std::string>> named;
  std::vector<std::string> flags;

  const std::string* find(const std::string& name) const;
  bool has(const std::string& flag) const;
};
bool SplitOptions(const Args& args, std::span<const char* const> names, Options& options, std::string& error,
                  std::span<const char* const> flags = {});

// Reads --seconds (how long to run; 0, the default, until stopped) into
// `seconds`. Returns kOk, or the status of the usage error it has printed.
int ReadSeconds(const std::string& command, const Options& options, double& seconds, Io& io);

// Reads --timeout (milliseconds, `least` to `most`) into `timeoutMs`, which
// keeps its value when the option is not given. Returns kOk, or the status
// of the usage error it has printed.
int ReadTimeout(const std::string& command, const Options& options, std::int32_t least, std::int32_t most,
                std::int32_t& timeoutMs, Io& io);

}  // namespace quorvel::cli
