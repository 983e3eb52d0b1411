// quorvel-cli decode / encode: what a panel element shows for register bytes,
// and which bytes typing a text into such an element gives.

#include <ostream>

#include "app/cli/HexArgs.h"
#include "convert/AddressCode.h"
#include "convert/DisplayText.h"
#include "convert/RegisterDecode.h"
#include "convert/ValueEntry.h"

namespace quorvel::cli {
namespace {

constexpr const char* kElementOptions[] = {"--format", "--k", "--x0"};

// The element as the command line describes it.
struct Element {
  std::uint32_t code = 0;
  std::string format;
  double k = 1.0;
  double x0 = 0.0;
};

// Reads CODE and the options; on failure prints why with the usage line and
// returns the usage status in `status`.
std::optional<Element> ParseElement(const std::string& command, const Options& options, Io& io, int& status) {
  Element element;
  const auto code = ParseCode(options.positional[0]);
  if (!code) {
    status = UsageError(io, command, "not an address code: '" + options.positional[0] + "' (decimal or 0x hex)");
    return std::nullopt;
  }
  element.code = *code;
  const AddressCode ac(*code);
  if (!ac.isBit() && ac.typeField() > 5) {
    status = UsageError(io, command,
                        "unknown register type " + std::to_string(ac.typeField()) + " in code " +
                            options.positional[0] + " (types are 0 to 5)");
    return std::nullopt;
  }
  const std::string* format = options.find("--format");
  element.format = format ? *format : DefaultFormat(*code);
  for (auto [name, target] : {std::pair{"--k", &element.k}, std::pair{"--x0", &element.x0}}) {
    if (const std::string* text = options.find(name)) {
      const auto value = ParseDouble(*text);
      if (!value) {
        status = UsageError(io, command, std::string("not a number for ") + name + ": '" + *text + "'");
        return std::nullopt;
      }
      *target = *value;
    }
  }
  return element;
}

}  // namespace

int RunDecode(const Args& args, Io& io) {
  Options options;
  std::string error;
  if (!SplitOptions(args, kElementOptions, options, error)) return UsageError(io, "decode", error);
  if (options.positional.size() < 2) return UsageError(io, "decode");
  int status = kUsage;
  const auto element = ParseElement("decode", options, io, status);
  if (!element) return status;

  auto bytes = ParseHexBytes(std::span(options.positional).subspan(1), error);
  if (!bytes) return UsageError(io, "decode", error);
  const AddressCode code(element->code);
  const auto needed = static_cast<std::size_t>(code.byteCount());
  if (bytes->size() != needed) {
    const std::string what =
        code.isBit() ? std::to_string(code.width()) + " bits" : std::to_string(code.width()) + " register(s)";
    return UsageError(io, "decode",
                      "this element takes " + std::to_string(needed) + " byte(s) (" + what + "), got " +
                          std::to_string(bytes->size()));
  }

  const double value = code.isBit() ? DecodeBits(*bytes, 0, code.width()) : DecodeRegisters(*bytes, element->code);
  io.out << NumberText(value) << "\n"
         << DisplayText(value, element->code, element->format, element->k, element->x0) << "\n";
  return kOk;
}

int RunEncode(const Args& args, Io& io) {
  Options options;
  std::string error;
  if (!SplitOptions(args, kElementOptions, options, error)) return UsageError(io, "encode", error);
  if (options.positional.size() < 2) return UsageError(io, "encode");
  int status = kUsage;
  const auto element = ParseElement("encode", options, io, status);
  if (!element) return status;

  // A text with blanks may arrive quoted or as several arguments.
  std::string text;
  for (std::size_t i = 1; i < options.positional.size(); ++i) text += (i > 1 ? " " : "") + options.positional[i];
  const EntryResult entry = ParseEntry(text, element->code, element->format, element->k, element->x0);
  if (!entry.ok) {
    io.err << "refused: " << entry.reason << "\n";
    return kFailed;
  }
  io.out << HexBytesText(entry.encoded.view()) << "\n";
  return kOk;
}

}  // namespace quorvel::cli
