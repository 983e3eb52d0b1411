#include "MarkdownSource.h"

#include <algorithm>
#include <cctype>
#include <optional>

namespace quorvel::mdpdf {
namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

std::size_t IndentOf(std::string_view line) {
  std::size_t i = 0;
  while (i < line.size() && line[i] == ' ') ++i;
  return i;
}

std::string_view WithoutLineEnd(std::string_view line) {
  while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.remove_suffix(1);
  return line;
}

// A run of three or more backticks or tildes indented by at most three
// blanks opens a fenced code block; its text is code, not Markdown.
std::optional<std::string_view> FenceOf(std::string_view line) {
  const std::size_t indent = IndentOf(line);
  if (indent > 3 || indent >= line.size()) return std::nullopt;
  const char mark = line[indent];
  if (mark != '`' && mark != '~') return std::nullopt;
  std::size_t end = indent;
  while (end < line.size() && line[end] == mark) ++end;
  if (end - indent < 3) return std::nullopt;
  return line.substr(indent, end - indent);
}

bool ClosesFence(std::string_view line, std::string_view open) {
  const auto fence = FenceOf(line);
  if (!fence || fence->front() != open.front() || fence->size() < open.size()) return false;
  for (char c : line.substr(IndentOf(line) + fence->size()))
    if (!IsBlank(c)) return false;
  return true;
}

// Calls `visit(line, inCode)` for each line (with its line end), telling
// whether the line belongs to a fenced code block, fences included.
template <typename Visit>
void ForEachLine(std::string_view text, Visit&& visit) {
  std::string_view open;
  while (!text.empty()) {
    const std::size_t cut = text.find('\n');
    const std::size_t length = cut == std::string_view::npos ? text.size() : cut + 1;
    const std::string_view line = text.substr(0, length);
    const std::string_view body = WithoutLineEnd(line);
    text.remove_prefix(length);
    if (!open.empty()) {
      if (ClosesFence(body, open)) open = {};
      visit(line, true);
    } else if (const auto fence = FenceOf(body)) {
      open = *fence;
      visit(line, true);
    } else {
      visit(line, false);
    }
  }
}

struct Picture {
  std::string_view alt;
  std::string reference;
  std::size_t end = 0;  // one past the closing parenthesis
};

// The closing bracket of a bracket run opened just before `pos`, skipping
// escaped characters and balanced inner brackets.
std::optional<std::size_t> ClosingBracket(std::string_view line, std::size_t pos) {
  int depth = 1;
  for (; pos < line.size(); ++pos) {
    if (line[pos] == '\\') {
      ++pos;
    } else if (line[pos] == '[') {
      ++depth;
    } else if (line[pos] == ']' && --depth == 0) {
      return pos;
    }
  }
  return std::nullopt;
}

// The destination of a link or picture starting at `pos`, either in angle
// brackets or up to a blank with balanced parentheses; `pos` ends after it.
std::optional<std::string_view> Destination(std::string_view line, std::size_t& pos) {
  const std::size_t start = pos;
  if (pos < line.size() && line[pos] == '<') {
    const std::size_t close = line.find('>', pos + 1);
    if (close == std::string_view::npos) return std::nullopt;
    pos = close + 1;
    return line.substr(start + 1, close - start - 1);
  }
  int depth = 0;
  for (; pos < line.size() && !IsBlank(line[pos]); ++pos) {
    if (line[pos] == '\\') {
      ++pos;
    } else if (line[pos] == '(') {
      ++depth;
    } else if (line[pos] == ')') {
      if (depth == 0) break;
      --depth;
    }
  }
  if (depth != 0) return std::nullopt;
  pos = std::min(pos, line.size());
  return line.substr(start, pos - start);
}

void SkipBlanks(std::string_view line, std::size_t& pos) {
  while (pos < line.size() && IsBlank(line[pos])) ++pos;
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// A destination names a file as a URL does: %20 is a blank, \( a parenthesis.
std::string DecodeReference(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\\' && i + 1 < text.size() && std::ispunct(static_cast<unsigned char>(text[i + 1]))) {
      out += text[++i];
    } else if (text[i] == '%' && i + 2 < text.size() && HexDigit(text[i + 1]) >= 0 && HexDigit(text[i + 2]) >= 0) {
      out += static_cast<char>(HexDigit(text[i + 1]) * 16 + HexDigit(text[i + 2]));
      i += 2;
    } else {
      out += text[i];
    }
  }
  return out;
}

// `![alt](reference "title")` starting at `start` (the `!`).
std::optional<Picture> ParsePicture(std::string_view line, std::size_t start) {
  const auto close = ClosingBracket(line, start + 2);
  if (!close || *close + 1 >= line.size() || line[*close + 1] != '(') return std::nullopt;
  std::size_t pos = *close + 2;
  SkipBlanks(line, pos);
  const auto destination = Destination(line, pos);
  if (!destination) return std::nullopt;
  SkipBlanks(line, pos);
  if (pos < line.size() && (line[pos] == '"' || line[pos] == '\'' || line[pos] == '(')) {
    const char end = line[pos] == '(' ? ')' : line[pos];
    std::size_t title = pos + 1;
    while (title < line.size() && line[title] != end) title += line[title] == '\\' ? 2 : 1;
    if (title >= line.size()) return std::nullopt;
    pos = title + 1;
    SkipBlanks(line, pos);
  }
  if (pos >= line.size() || line[pos] != ')') return std::nullopt;
  return Picture{line.substr(start + 2, *close - start - 2), DecodeReference(*destination), pos + 1};
}

bool HasScheme(std::string_view reference) {
  const std::size_t colon = reference.find(':');
  if (colon == std::string_view::npos || colon < 2) return false;  // "C:" is a drive, not a scheme
  for (std::size_t i = 0; i < colon; ++i) {
    const auto c = static_cast<unsigned char>(reference[i]);
    if (!std::isalnum(c) && c != '+' && c != '-' && c != '.') return false;
  }
  return std::isalpha(static_cast<unsigned char>(reference[0])) != 0;
}

std::string StandIn(std::string_view alt) {
  while (!alt.empty() && IsBlank(alt.front())) alt.remove_prefix(1);
  while (!alt.empty() && IsBlank(alt.back())) alt.remove_suffix(1);
  if (alt.empty()) return {};
  // Emphasis markers inside would pair up with ours and garble the line.
  if (alt.find_first_of("*_") != std::string_view::npos) return std::string(alt);
  return "*" + std::string(alt) + "*";
}

std::string ResolveLine(std::string_view line, const PictureExists& exists) {
  std::string out;
  std::size_t i = 0;
  while (i < line.size()) {
    const char c = line[i];
    if (c == '\\' && i + 1 < line.size()) {
      out.append(line.substr(i, 2));
      i += 2;
    } else if (c == '`') {
      std::size_t run = i;
      while (run < line.size() && line[run] == '`') ++run;
      const std::string_view ticks = line.substr(i, run - i);
      // A code span ends at the next run of exactly as many backticks.
      std::size_t close = line.find(ticks, run);
      while (close != std::string_view::npos && close + ticks.size() < line.size() &&
             line[close + ticks.size()] == '`') {
        std::size_t past = close;
        while (past < line.size() && line[past] == '`') ++past;
        close = line.find(ticks, past);
      }
      const std::size_t end = close == std::string_view::npos ? run : close + ticks.size();
      out.append(line.substr(i, end - i));
      i = end;
    } else if (c == '!' && i + 1 < line.size() && line[i + 1] == '[') {
      const auto picture = ParsePicture(line, i);
      if (!picture) {
        out += c;
        ++i;
        continue;
      }
      const bool local = !picture->reference.empty() && !HasScheme(picture->reference);
      if (local && exists(picture->reference)) {
        out.append(line.substr(i, picture->end - i));
      } else {
        out += StandIn(picture->alt);
      }
      i = picture->end;
    } else {
      out += c;
      ++i;
    }
  }
  return out;
}

}  // namespace

std::string ResolvePictures(std::string_view markdown, const PictureExists& exists) {
  std::string out;
  out.reserve(markdown.size());
  ForEachLine(markdown, [&](std::string_view line, bool inCode) {
    if (inCode) {
      out.append(line);
    } else {
      out += ResolveLine(line, exists);
    }
  });
  return out;
}

std::string DocumentTitle(std::string_view markdown) {
  std::optional<std::string> title;
  ForEachLine(markdown, [&](std::string_view line, bool inCode) {
    if (title || inCode) return;
    std::string_view body = WithoutLineEnd(line);
    const std::size_t indent = IndentOf(body);
    if (indent > 3) return;
    body.remove_prefix(indent);
    if (body.size() < 2 || body[0] != '#' || !IsBlank(body[1])) return;
    body.remove_prefix(2);
    // An optional closing run of '#' after a blank belongs to the syntax.
    while (!body.empty() && IsBlank(body.back())) body.remove_suffix(1);
    std::size_t hashes = body.size();
    while (hashes > 0 && body[hashes - 1] == '#') --hashes;
    if (hashes < body.size() && (hashes == 0 || IsBlank(body[hashes - 1]))) body = body.substr(0, hashes);
    while (!body.empty() && IsBlank(body.front())) body.remove_prefix(1);
    while (!body.empty() && IsBlank(body.back())) body.remove_suffix(1);
    title = std::string(body);
  });
  return title.value_or("");
}

}  // namespace quorvel::mdpdf
