// A Modbus RTU device built on libmodbus, for proving that our master talks to
// a stack it shares no code with. It serves a fixed map (the same one that
// pymodbus_ascii_server.py serves) until it is killed.
//
//   modbus_rtu_server TTY BAUD SLAVE_ID [--echo]
//
// Prints "ready" on standard output once the line is open. With --echo the
// line hears what the device sends, as a two-wire RS-485 adapter without echo
// cancelling does: after each answer the device reads its own bytes back and
// drops them, which libmodbus does not do by itself.

#include <modbus/modbus.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

// Holding registers 0..9, input registers 0..1, coils 0..7, discrete inputs 0..1.
constexpr std::uint16_t kHolding[] = {
    0xFB2E,          // -1234 as a signed Integer, 64302 unsigned
    0xFB2E,          //
    0x0000, 0x4050,  // Float 3.25, least significant word first
    0xBFC0, 0x0000,  // Float -1.5, most significant word first
    0xBEEF,          //
    0xFD2E, 0xB669,  // Long -1234567890, least significant word first
    0x00FA,          // 250
};
constexpr std::uint16_t kInput[] = {0x07E7, 0x1234};         // 2023, 0x1234
constexpr std::uint8_t kCoils[] = {1, 0, 1, 0, 0, 1, 0, 1};  // 0xA5, coil 0 first
constexpr std::uint8_t kDiscrete[] = {0, 1};

struct ContextFree {
  void operator()(modbus_t* ctx) const {
    modbus_close(ctx);
    modbus_free(ctx);
  }
};
struct MappingFree {
  void operator()(modbus_mapping_t* map) const { modbus_mapping_free(map); }
};

int Usage() {
  std::fprintf(stderr, "usage: modbus_rtu_server TTY BAUD SLAVE_ID [--echo]\n");
  return 2;
}

// Reads back and drops the `count` bytes just sent (libmodbus does not hand
// them out); false if they do not all come back within a second.
bool DropEcho(int fd, int count) {
  std::uint8_t heard[MODBUS_RTU_MAX_ADU_LENGTH];
  int got = 0;
  while (got < count) {
    pollfd wait = {fd, POLLIN, 0};
    if (poll(&wait, 1, 1000) != 1) return false;
    const ssize_t n = read(fd, heard + got, static_cast<std::size_t>(count - got));
    if (n <= 0) return false;
    got += static_cast<int>(n);
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const bool echo = argc == 5 && std::strcmp(argv[4], "--echo") == 0;
  if (argc != 4 && !echo) return Usage();
  const int baud = std::atoi(argv[2]);
  const int id = std::atoi(argv[3]);
  if (baud <= 0 || id < 1 || id > 247) return Usage();

  std::unique_ptr<modbus_t, ContextFree> ctx(modbus_new_rtu(argv[1], baud, 'N', 8, 1));
  if (!ctx || modbus_set_slave(ctx.get(), id) != 0 || modbus_connect(ctx.get()) != 0) {
    std::fprintf(stderr, "modbus_rtu_server: cannot open %s: %s\n", argv[1], modbus_strerror(errno));
    return 1;
  }
  std::unique_ptr<modbus_mapping_t, MappingFree> map(
      modbus_mapping_new(sizeof kCoils, sizeof kDiscrete, std::size(kHolding), std::size(kInput)));
  if (!map) return 1;
  std::memcpy(map->tab_registers, kHolding, sizeof kHolding);
  std::memcpy(map->tab_input_registers, kInput, sizeof kInput);
  std::memcpy(map->tab_bits, kCoils, sizeof kCoils);
  std::memcpy(map->tab_input_bits, kDiscrete, sizeof kDiscrete);

  std::printf("ready\n");
  std::fflush(stdout);
  std::uint8_t query[MODBUS_RTU_MAX_ADU_LENGTH];
  for (;;) {
    const int length = modbus_receive(ctx.get(), query);
    if (length > 0) {
      const int sent = modbus_reply(ctx.get(), query, length, map.get());
      if (echo && sent > 0 && !DropEcho(modbus_get_socket(ctx.get()), sent)) {
        std::fprintf(stderr, "modbus_rtu_server: the echo of an answer did not come back\n");
        return 1;
      }
    } else if (length < 0 && (errno == EIO || errno == EBADF || errno == ENXIO)) {
      // The line is gone; a damaged or foreign frame (bad CRC, other address) is not a reason to stop.
      std::fprintf(stderr, "modbus_rtu_server: %s\n", modbus_strerror(errno));
      return 1;
    }
  }
}
