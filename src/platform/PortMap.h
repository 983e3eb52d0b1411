#pragma once

// Which device path each of the port numbers COM1..COM16 stands for. The
// defaults follow the usual Linux device names: COM1..COM4 the on-board
// UARTs /dev/ttyS0..3, COM5..COM12 USB serial adapters /dev/ttyUSB0..7, and
// COM13..COM16 USB modem-class adapters /dev/ttyACM0..3. The settings store
// may change them (section "Ports", keys "COM1".."COM16"), and a run may
// override single ports with --map COMn=PATH.

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace quorvel::platform {

class PortMap {
 public:
  static constexpr int kPorts = 16;
  static constexpr const char* kSection = "Ports";

  PortMap();  // the defaults

  // The path of port `com` (1..16); empty for any other number.
  const std::string& Path(int com) const;

  // Maps `com` to `path`; false (nothing changed) for a port number out of
  // range or an empty path.
  bool Set(int com, std::string path);

  // The default path of `com`; empty for a number out of range.
  static std::string DefaultPath(int com);

  // The settings-store key of `com`: "COM" and the number.
  static std::string Key(int com);

  // Reads every port's key through `read` (key, default) -> value, the way the
  // settings store answers; an empty value keeps the port's current path.
  using Reader = std::function<std::string(const std::string& key, const std::string& defaultValue)>;
  void Load(const Reader& read);

  // Applies one override "COMn=PATH" (the value of a --map option; "com" in
  // any case). Returns the reason when the text is not one, leaving the map
  // as it was.
  std::optional<std::string> ApplyOverride(std::string_view text);
  // Overrides separated by ';', as the QUORVEL_PORTS environment variable
  // carries them from a program that made the lines (the demo) to the one it
  // starts. Empty parts are skipped; the first bad one stops with its reason.
  std::optional<std::string> ApplyOverrides(std::string_view list);

 private:
  std::array<std::string, kPorts> paths_;
};

}  // namespace quorvel::platform
