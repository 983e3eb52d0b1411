#include "project/ProjectJson.h"

#include <bit>
#include <cmath>
#include <cstdio>
#include <limits>
#include <set>
#include <string>

#include "project/ByteText.h"
#include "project/CodePage.h"

namespace quorvel {
namespace {

using Json = nlohmann::ordered_json;

// ---- writing ----

std::string Hex32(std::uint32_t v) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(v));
  return text;
}

Json DoubleJson(double v) {
  if (std::isfinite(v)) return v;
  char text[24];
  std::snprintf(text, sizeof text, "0x%016llX", static_cast<unsigned long long>(std::bit_cast<std::uint64_t>(v)));
  return text;
}

Json ElementJson(const ElementRecord& r, const CodePage& cp) {
  Json j;
  j["ctrlName"] = cp.ToUtf8(r.CtrlName);
  j["top"] = r.Top;
  j["left"] = r.Left;
  j["width"] = r.Width;
  j["height"] = r.Height;
  j["backColor"] = r.BackColor;
  j["foreColor"] = r.ForeColor;
  j["fontName"] = cp.ToUtf8(r.FontName);
  j["fontSize"] = r.FontSize;
  j["fontBold"] = r.FontBold;
  j["fontItalic"] = r.FontItalic;
  j["fontUnderline"] = r.FontUnderline;
  j["fontStrikethru"] = r.FontStrikethru;
  j["caption"] = cp.ToUtf8(r.Caption);
  j["address"] = Hex32(r.Address);
  j["pictureNumber"] = r.PictureNumber;
  j["value1"] = DoubleJson(r.Value1);
  j["value2"] = DoubleJson(r.Value2);
  j["defaultValue"] = DoubleJson(r.DefaultValue);
  j["period"] = r.Period;
  j["k"] = DoubleJson(r.k);
  j["x0"] = DoubleJson(r.x0);
  j["formatString"] = cp.ToUtf8(r.FormatString);
  return j;
}

Json RequestJson(const RequestRecord& r, const CodePage& cp) {
  Json j;
  j["func"] = r.Func;
  j["readAddr"] = r.ReadAddr;
  j["readQnt"] = r.ReadQnt;
  j["writeAddr"] = r.WriteAddr;
  j["writeQnt"] = r.WriteQnt;
  j["control"] = r.Control;
  j["period"] = r.Period;
  j["label"] = cp.ToUtf8(r.Label);
  if (r.WriteQnt != 0) j["data"] = ToHexPairs(r.Data);
  return j;
}

Json PictureJson(const PictureRecord& r, const CodePage& cp) {
  Json j;
  j["number"] = r.Number;
  j["type"] = cp.ToUtf8(r.Type);
  j["size"] = r.Data.size();
  j["data"] = ToBase64(r.Data);
  return j;
}

// ---- reading ----

// Reads the members of one JSON object, naming the place of every fault and
// refusing keys it does not know (a misspelt key would otherwise go unseen).
class ObjectReader {
 public:
  ObjectReader(const Json& j, std::string path, const CodePage& cp) : j_(j), path_(std::move(path)), cp_(cp) {
    if (!j_.is_object()) Fail("", "expected an object");
  }

  [[noreturn]] void Fail(const std::string& key, const std::string& what) const {
    const std::string where = key.empty() ? path_ : (path_.empty() ? key : path_ + "." + key);
    throw ProjectJsonError((where.empty() ? std::string("project") : where) + ": " + what);
  }

  const Json* Find(const std::string& key) {
    seen_.insert(key);
    const auto found = j_.find(key);
    return found == j_.end() ? nullptr : &*found;
  }

  std::int64_t Integer(const std::string& key, std::int64_t least, std::int64_t most) {
    const Json* v = Find(key);
    if (!v) return 0;
    std::int64_t n = 0;
    if (v->is_boolean()) {
      n = v->get<bool>() ? -1 : 0;
    } else if (v->is_number_integer() && !v->is_number_unsigned()) {
      n = v->get<std::int64_t>();
    } else if (v->is_number_unsigned()) {
      const auto u = v->get<std::uint64_t>();
      if (u > static_cast<std::uint64_t>(most)) OutOfRange(key, least, most);
      n = static_cast<std::int64_t>(u);
    } else if (v->is_string()) {
      n = ParseHex(key, v->get<std::string>());
    } else {
      Fail(key, "expected an integer");
    }
    if (n < least || n > most) OutOfRange(key, least, most);
    return n;
  }

  std::int16_t I16(const std::string& key) { return static_cast<std::int16_t>(Integer(key, -32768, 32767)); }
  std::int32_t I32(const std::string& key) {
    return static_cast<std::int32_t>(
        Integer(key, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
  }
  std::uint32_t U32(const std::string& key) {
    return static_cast<std::uint32_t>(Integer(key, 0, std::numeric_limits<std::uint32_t>::max()));
  }

  double Double(const std::string& key) {
    const Json* v = Find(key);
    if (!v) return 0;
    if (v->is_number()) return v->get<double>();
    if (v->is_string()) {
      const std::string text = v->get<std::string>();
      if (text.size() == 18) return std::bit_cast<double>(static_cast<std::uint64_t>(ParseHex(key, text, true)));
    }
    Fail(key, "expected a number (or \"0x\" and 16 hex digits for the bits of a double)");
  }

  std::string Utf8(const std::string& key) {
    const Json* v = Find(key);
    if (!v) return "";
    if (!v->is_string()) Fail(key, "expected a string");
    return v->get<std::string>();
  }

  // A text in the file's code page.
  std::string Text(const std::string& key) {
    try {
      return cp_.FromUtf8(Utf8(key));
    } catch (const CodePageError& e) {
      Fail(key, e.what());
    }
  }

  const Json* Array(const std::string& key) {
    const Json* v = Find(key);
    if (v && !v->is_array()) Fail(key, "expected an array");
    return v;
  }

  // Keys that are only informative in a dump.
  void Allow(const std::string& key) { seen_.insert(key); }

  void CheckAllKnown() const {
    for (auto it = j_.begin(); it != j_.end(); ++it) {
      if (!seen_.contains(it.key())) Fail(it.key(), "unknown key");
    }
  }

  const std::string& Path() const { return path_; }

 private:
  [[noreturn]] void OutOfRange(const std::string& key, std::int64_t least, std::int64_t most) const {
    Fail(key, "expected an integer from " + std::to_string(least) + " to " + std::to_string(most));
  }

  // "0x" and hex digits; with `bits`, the 64-bit pattern is returned as is.
  std::int64_t ParseHex(const std::string& key, const std::string& text, bool bits = false) const {
    const std::size_t limit = bits ? 16 : 8;
    if (text.size() < 3 || text.size() > 2 + limit || text[0] != '0' || (text[1] != 'x' && text[1] != 'X')) {
      Fail(key, bits ? "expected a number" : "expected an integer or \"0x\" and up to 8 hex digits");
    }
    std::uint64_t v = 0;
    for (std::size_t i = 2; i < text.size(); ++i) {
      const char c = text[i];
      int d = -1;
      if (c >= '0' && c <= '9') d = c - '0';
      if (c >= 'a' && c <= 'f') d = c - 'a' + 10;
      if (c >= 'A' && c <= 'F') d = c - 'A' + 10;
      if (d < 0) Fail(key, "'" + text + "' is not a hex number");
      v = v << 4 | static_cast<std::uint64_t>(d);
    }
    return static_cast<std::int64_t>(v);
  }

  const Json& j_;
  std::string path_;
  const CodePage& cp_;
  std::set<std::string> seen_;
};

std::string Item(const std::string& list, std::size_t i) { return list + "[" + std::to_string(i) + "]"; }

ElementRecord ElementFromJson(const Json& j, const std::string& path, const CodePage& cp) {
  ObjectReader in(j, path, cp);
  ElementRecord r;
  r.CtrlName = in.Text("ctrlName");
  r.Top = in.I32("top");
  r.Left = in.I32("left");
  r.Width = in.I32("width");
  r.Height = in.I32("height");
  r.BackColor = in.U32("backColor");
  r.ForeColor = in.U32("foreColor");
  r.FontName = in.Text("fontName");
  r.FontSize = in.I16("fontSize");
  r.FontBold = in.I16("fontBold");
  r.FontItalic = in.I16("fontItalic");
  r.FontUnderline = in.I16("fontUnderline");
  r.FontStrikethru = in.I16("fontStrikethru");
  r.Caption = in.Text("caption");
  r.Address = in.U32("address");
  r.PictureNumber = in.I16("pictureNumber");
  r.Value1 = in.Double("value1");
  r.Value2 = in.Double("value2");
  r.DefaultValue = in.Double("defaultValue");
  r.Period = in.I32("period");
  r.k = in.Double("k");
  r.x0 = in.Double("x0");
  r.FormatString = in.Text("formatString");
  in.CheckAllKnown();
  return r;
}

RequestRecord RequestFromJson(const Json& j, const std::string& path, const CodePage& cp) {
  ObjectReader in(j, path, cp);
  RequestRecord r;
  r.Func = in.I32("func");
  r.ReadAddr = in.I32("readAddr");
  r.ReadQnt = in.I32("readQnt");
  r.WriteAddr = in.I32("writeAddr");
  r.WriteQnt = in.I32("writeQnt");
  r.Control = in.I32("control");
  r.Period = in.I32("period");
  r.Label = in.Text("label");
  const std::string data = in.Utf8("data");
  const auto bytes = FromHexPairs(data);
  if (!bytes) in.Fail("data", "expected hex bytes such as \"00 01 FF\"");
  if (r.WriteQnt == 0 && !bytes->empty()) in.Fail("data", "a request with writeQnt 0 carries no data");
  r.Data = *bytes;
  in.CheckAllKnown();
  return r;
}

PictureRecord PictureFromJson(const Json& j, const std::string& path, const CodePage& cp) {
  ObjectReader in(j, path, cp);
  PictureRecord r;
  r.Number = in.I16("number");
  r.Type = in.Text("type");
  const auto bytes = FromBase64(in.Utf8("data"));
  if (!bytes) in.Fail("data", "expected base64");
  r.Data = *bytes;
  if (const Json* size = in.Find("size")) {
    if (!size->is_number_unsigned() || size->get<std::uint64_t>() != r.Data.size()) {
      in.Fail("size", "does not match the " + std::to_string(r.Data.size()) + " bytes of data");
    }
  }
  in.CheckAllKnown();
  return r;
}

template <class Record, class Parse>
std::vector<Record> ListFromJson(ObjectReader& in, const std::string& key, const CodePage& cp, Parse parse) {
  std::vector<Record> records;
  if (const Json* list = in.Array(key)) {
    for (std::size_t i = 0; i < list->size(); ++i) records.push_back(parse((*list)[i], Item(key, i), cp));
  }
  return records;
}

void CheckHeader(ObjectReader& in, const std::string& header) {
  if (!HasProjectTag(HeaderText(header))) in.Fail("header", "must contain " + std::string(kProjectTag));
  const std::size_t lf = header.find('\n');
  if (header.size() > 256) in.Fail("header", "is longer than 256 bytes");
  if (lf == std::string::npos ? header.size() != 256 : lf + 1 != header.size()) {
    in.Fail("header", "must end with its only line feed (or be exactly 256 bytes without one)");
  }
}

void CheckSections(ObjectReader& in, const ProjectFile& f) {
  const SectionCounts counts = CountsOf(f.Sections);
  const auto check = [&](std::size_t have, int want, const char* what) {
    if (have != static_cast<std::size_t>(want)) {
      in.Fail("sections", "count " + std::to_string(want) + " " + what + " but " + std::to_string(have) + " are given");
    }
  };
  check(f.HiddenElements.size(), counts.hidden, "hidden elements");
  check(f.Elements.size(), counts.panel, "panel elements");
  check(f.Requests.size(), counts.requests, "requests");
  check(f.Pictures.size(), counts.pictures, "pictures");
}

}  // namespace

nlohmann::ordered_json ProjectToJson(const ProjectFile& f, const CodePage& cp) {
  Json j;
  j["codepage"] = cp.Number();
  j["header"] = cp.ToUtf8(f.Header);
  j["valueA"] = f.ValueA;
  j["valueB"] = f.ValueB;
  j["valueC"] = f.ValueC;
  j["setting1"] = f.Setting1;
  j["setting2"] = f.Setting2;
  j["setting3"] = f.Setting3;
  j["windowField"] = f.WindowField;
  j["menuCaption1"] = cp.ToUtf8(f.MenuCaption1);
  j["menuCaption2"] = cp.ToUtf8(f.MenuCaption2);
  j["Exeptions"] = f.Exeptions;
  j["DirectWrite"] = f.DirectWrite;
  j["Timeout"] = f.Timeout;
  j["Interval"] = f.Interval;
  j["valueD"] = f.ValueD;
  j["sections"] = f.Sections;
  j["hiddenElements"] = Json::array();
  for (const auto& r : f.HiddenElements) j["hiddenElements"].push_back(ElementJson(r, cp));
  j["elements"] = Json::array();
  for (const auto& r : f.Elements) j["elements"].push_back(ElementJson(r, cp));
  j["requests"] = Json::array();
  for (const auto& r : f.Requests) j["requests"].push_back(RequestJson(r, cp));
  j["pictures"] = Json::array();
  for (const auto& r : f.Pictures) j["pictures"].push_back(PictureJson(r, cp));
  if (!f.Trailing.empty()) j["trailing"] = ToHexPairs(f.Trailing);
  return j;
}

ProjectFile ProjectFromJson(const nlohmann::ordered_json& j, const CodePage& cp) {
  ObjectReader in(j, "", cp);
  ProjectFile f;
  in.Allow("codepage");
  in.Allow("failedSteps");
  f.Header = in.Text("header");
  CheckHeader(in, f.Header);
  f.ValueA = in.I16("valueA");
  f.ValueB = in.I16("valueB");
  f.ValueC = in.I16("valueC");
  f.Setting1 = in.I32("setting1");
  f.Setting2 = in.I32("setting2");
  f.Setting3 = in.I32("setting3");
  f.WindowField = in.I32("windowField");
  f.MenuCaption1 = in.Text("menuCaption1");
  f.MenuCaption2 = in.Text("menuCaption2");
  f.Exeptions = in.I16("Exeptions");
  f.DirectWrite = in.I16("DirectWrite");
  f.Timeout = in.I32("Timeout");
  f.Interval = in.I32("Interval");
  f.ValueD = in.I32("valueD");
  f.HiddenElements = ListFromJson<ElementRecord>(in, "hiddenElements", cp, ElementFromJson);
  f.Elements = ListFromJson<ElementRecord>(in, "elements", cp, ElementFromJson);
  f.Requests = ListFromJson<RequestRecord>(in, "requests", cp, RequestFromJson);
  f.Pictures = ListFromJson<PictureRecord>(in, "pictures", cp, PictureFromJson);
  if (const Json* sections = in.Array("sections")) {
    for (std::size_t i = 0; i < sections->size(); ++i) {
      const Json& entry = (*sections)[i];
      if (!entry.is_number_integer() || entry.get<std::int64_t>() < -32768 || entry.get<std::int64_t>() > 32767) {
        in.Fail(Item("sections", i), "expected an integer from -32768 to 32767");
      }
      f.Sections.push_back(static_cast<std::int16_t>(entry.get<std::int64_t>()));
    }
    CheckSections(in, f);
  } else {
    try {
      f.Sections = SectionsFor(f);
    } catch (const std::length_error& e) {
      in.Fail("sections", e.what());
    }
  }
  const auto trailing = FromHexPairs(in.Utf8("trailing"));
  if (!trailing) in.Fail("trailing", "expected hex bytes");
  f.Trailing = *trailing;
  in.CheckAllKnown();
  return f;
}

}  // namespace quorvel
