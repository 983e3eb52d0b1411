#include "app/cli/HexArgs.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "app/cli/PortArgs.h"
#include "project/CodePage.h"

namespace quorvel::cli {

std::string HexBytesText(std::span<const std::uint8_t> bytes) {
  std::string text;
  char pair[4];
  for (std::uint8_t b : bytes) {
    std::snprintf(pair, sizeof pair, "%02X", b);
    if (!text.empty()) text += ' ';
    text += pair;
  }
  return text;
}

std::optional<std::uint32_t> ParseCode(const std::string& text) {
  const char* first = text.data();
  const char* last = text.data() + text.size();
  if (text.size() > 2 && (text.compare(0, 2, "0x") == 0 || text.compare(0, 2, "0X") == 0)) {
    std::uint32_t value = 0;
    const auto [end, ec] = std::from_chars(first + 2, last, value, 16);
    if (ec != std::errc() || end != last) return std::nullopt;
    return value;
  }
  std::int64_t value = 0;
  const auto [end, ec] = std::from_chars(first, last, value, 10);
  if (ec != std::errc() || end != last || value < INT32_MIN || value > UINT32_MAX) return std::nullopt;
  return static_cast<std::uint32_t>(value);
}

std::optional<double> ParseDouble(const std::string& text) {
  double value = 0;
  const char* first = text.data();
  const char* last = text.data() + text.size();
  if (first != last && *first == '+') ++first;
  const auto [end, ec] = std::from_chars(first, last, value);
  // No option takes a NaN or an infinity (a run without end is --seconds 0).
  if (ec != std::errc() || end != last || first == last || !std::isfinite(value)) return std::nullopt;
  return value;
}

std::string NumberText(double value) {
  // Spelt as a panel element shows them, so both lines of `decode` agree.
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value > 0 ? "Inf" : "-Inf";
  char buffer[64];
  const auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
  return ec == std::errc() ? std::string(buffer, end) : std::string("?");
}

const std::string* Options::find(const std::string& name) const {
  const auto it = std::find_if(named.begin(), named.end(), [&](const auto& option) { return option.first == name; });
  return it == named.end() ? nullptr : &it->second;
}

bool Options::has(const std::string& flag) const { return std::find(flags.begin(), flags.end(), flag) != flags.end(); }

bool SplitOptions(const Args& args, std::span<const char* const> names, Options& options, std::string& error,
                  std::span<const char* const> flags) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (arg.size() < 3 || arg.compare(0, 2, "--") != 0) {
      options.positional.push_back(arg);
      continue;
    }
    if (std::find(flags.begin(), flags.end(), arg) != flags.end()) {
      options.flags.push_back(arg);
      continue;
    }
    if (std::find(names.begin(), names.end(), arg) == names.end()) {
      error = "unknown option " + arg;
      return false;
    }
    if (i + 1 >= args.size()) {
      error = "option " + arg + " needs a value";
      return false;
    }
    options.named.emplace_back(arg, args[++i]);
  }
  return true;
}

const CodePage* ParseCodePage(const std::string& text, std::string& error) {
  int number = 0;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (ec == std::errc() && end == text.data() + text.size())
    if (const CodePage* page = CodePage::Find(number)) return page;
  std::string known;
  for (int n : CodePage::Supported()) known += (known.empty() ? "" : ", ") + std::to_string(n);
  error = "unsupported code page '" + text + "' (supported: " + known + ")";
  return nullptr;
}

int ReadSeconds(const std::string& command, const Options& options, double& seconds, Io& io) {
  seconds = 0;
  if (const std::string* text = options.find("--seconds")) {
    const auto value = ParseDouble(*text);
    if (!value || *value < 0) return UsageError(io, command, "not a number of seconds: '" + *text + "'");
    seconds = *value;
  }
  return kOk;
}

int ReadTimeout(const std::string& command, const Options& options, std::int32_t least, std::int32_t most,
                std::int32_t& timeoutMs, Io& io) {
  if (const std::string* text = options.find("--timeout")) {
    const auto value = ParseInteger(*text, least, most);
    if (!value) return UsageError(io, command, "not a number of milliseconds: '" + *text + "'");
    timeoutMs = static_cast<std::int32_t>(*value);
  }
  return kOk;
}

}  // namespace quorvel::cli
