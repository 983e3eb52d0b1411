#include "serial/NetworkLines.h"

#include "platform/NetAddress.h"
#include "platform/TcpLine.h"
#include "platform/TermiosLine.h"
#include "serial/ModbusTcpLine.h"
#include "serial/ModbusTcpServerLine.h"

namespace quorvel {

std::unique_ptr<platform::SerialLine> LineForPath(const std::string& path) {
  if (!platform::IsNetworkPath(path)) return std::make_unique<platform::TermiosLine>(path);
  const std::optional<platform::NetAddress> address = platform::ParseNetPath(path);
  // A malformed address still gets a line, whose open says what is wrong.
  if (!address) return std::make_unique<platform::TcpLine>(path);
  switch (address->kind) {
    case platform::NetKind::RawTcp:
      break;
    case platform::NetKind::ModbusTcp:
      return std::make_unique<ModbusTcpLine>(std::make_unique<platform::TcpLine>(path));
    case platform::NetKind::ModbusTcpListen:
      return std::make_unique<ModbusTcpServerLine>(path);
  }
  return std::make_unique<platform::TcpLine>(path);
}

}  // namespace quorvel
