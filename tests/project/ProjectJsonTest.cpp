#include "project/ProjectJson.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

#include "project/CodePage.h"

namespace quorvel {
namespace {

using Json = nlohmann::ordered_json;

ProjectFile Sample() {
  ProjectFile f;
  f.Header = "Draventa\rFabricant\r\n";  // a carriage return inside the tag is skipped
  f.ValueA = -32768;
  f.Setting1 = std::numeric_limits<std::int32_t>::min();
  f.MenuCaption1 = "Z\xE4hler";  // "Zähler" in Windows-1252
  f.Exeptions = 0xFF;
  f.DirectWrite = -1;
  f.Timeout = 1000;
  ElementRecord e;
  e.CtrlName = "TBox";
  e.BackColor = 0x8000000F;
  e.Address = 0xA0700010;
  e.Caption = "\x80 \xB0";
  e.Value1 = 0.1;
  e.Value2 = -0.0;
  e.DefaultValue = std::numeric_limits<double>::denorm_min();
  e.k = std::numeric_limits<double>::quiet_NaN();
  e.x0 = -std::numeric_limits<double>::infinity();
  f.HiddenElements.push_back(e);
  e.CtrlName = "Lbl";
  e.k = 1e308;
  e.x0 = 1.0 / 3.0;
  f.Elements.push_back(e);
  RequestRecord r;
  r.Func = 16;
  r.WriteQnt = 2;
  r.Data = {0x00, 0x01, 0xFF, 0x7F};
  r.Label = "Set";
  f.Requests.push_back(r);
  f.Requests.push_back(RequestRecord{.Func = 3, .ReadQnt = 8, .Label = ""});
  f.Pictures.push_back(PictureRecord{.Number = 3, .Type = "bmp", .Data = {'B', 'M', 0, 1, 2}});
  f.Sections = {1, 2, 2, 1, 99};
  f.Trailing = {0xDE, 0xAD};
  return f;
}

std::uint64_t Bits(double v) { return std::bit_cast<std::uint64_t>(v); }

TEST(ProjectJsonTest, EveryFieldSurvivesTheTripThroughJsonText) {
  const ProjectFile f = Sample();
  const std::string text = ProjectToJson(f, CodePage::Default()).dump(2);
  const ProjectFile back = ProjectFromJson(Json::parse(text), CodePage::Default());
  // Compared bit for bit: NaN never equals itself.
  ASSERT_EQ(back.Elements.size(), 1u);
  for (auto [a, b] : {std::pair{&back.HiddenElements[0], &f.HiddenElements[0]}, {&back.Elements[0], &f.Elements[0]}}) {
    EXPECT_EQ(Bits(a->Value1), Bits(b->Value1));
    EXPECT_EQ(Bits(a->Value2), Bits(b->Value2));
    EXPECT_EQ(Bits(a->DefaultValue), Bits(b->DefaultValue));
    EXPECT_EQ(Bits(a->k), Bits(b->k));
    EXPECT_EQ(Bits(a->x0), Bits(b->x0));
  }
  ProjectFile same = back;
  same.HiddenElements[0].k = 0;
  ProjectFile expected = f;
  expected.HiddenElements[0].k = 0;
  EXPECT_EQ(same, expected);
}

// What a dump shows for the fields a plain number or text would not carry.
TEST(ProjectJsonTest, WritesBitsBytesAndPicturesReadably) {
  const Json j = ProjectToJson(Sample(), CodePage::Default());
  EXPECT_EQ(j["menuCaption1"], "Z\u00E4hler");
  EXPECT_EQ(j["Exeptions"], 255);
  EXPECT_EQ(j["elements"][0]["caption"], "\u20AC \u00B0");
  EXPECT_EQ(j["elements"][0]["address"], "0xA0700010");
  EXPECT_EQ(j["hiddenElements"][0]["k"], "0x7FF8000000000000");
  EXPECT_EQ(j["hiddenElements"][0]["x0"], "0xFFF0000000000000");
  EXPECT_EQ(j["requests"][0]["data"], "00 01 FF 7F");
  EXPECT_FALSE(j["requests"][1].contains("data"));
  EXPECT_EQ(j["pictures"][0]["size"], 5);
  EXPECT_EQ(j["pictures"][0]["data"], "Qk0AAQI=");
  EXPECT_EQ(j["trailing"], "DE AD");
}

TEST(ProjectJsonTest, FillsInWhatAHandWrittenFileLeavesOut) {
  const Json j = Json::parse(R"({
    "header": "DraventaFabricant\r\n",
    "elements": [{"ctrlName": "TBox", "address": "0x20700010", "fontBold": true, "k": 0.5}],
    "requests": [{"func": 5, "writeAddr": 10, "writeQnt": 1, "data": "FF00"}]
  })");
  const ProjectFile f = ProjectFromJson(j, CodePage::Default());
  EXPECT_EQ(f.Sections, (std::vector<std::int16_t>{0, 1, 1, 0}));
  EXPECT_EQ(f.Elements[0].Address, 0x20700010u);
  EXPECT_EQ(f.Elements[0].FontBold, -1);
  EXPECT_EQ(f.Elements[0].k, 0.5);
  EXPECT_EQ(f.Elements[0].Top, 0);
  EXPECT_EQ(f.Requests[0].Data, (std::vector<std::uint8_t>{0xFF, 0x00}));
}

TEST(ProjectJsonTest, NamesThePlaceOfEveryFault) {
  struct Case {
    const char* json;
    const char* message;
  };
  const Case cases[] = {
      {R"({"header": "Draventa\n"})", "header: must contain DraventaFabricant"},
      {R"({"header": "DraventaFabricant\nmore\n"})",
       "header: must end with its only line feed (or be exactly 256 bytes without one)"},
      {R"({"header": "DraventaFabricant\n", "elements": [{}, {"top": 2147483648}]})",
       "elements[1].top: expected an integer from -2147483648 to 2147483647"},
      {R"({"header": "DraventaFabricant\n", "elements": [{"address": "0x1FFFFFFFF"}]})",
       "elements[0].address: expected an integer or \"0x\" and up to 8 hex digits"},
      {R"({"header": "DraventaFabricant\n", "elements": [{"caption": "\u0416"}]})",
       "elements[0].caption: character U+0416 cannot be written in code page 1252"},
      {R"({"header": "DraventaFabricant\n", "elements": [{"k": "1.5"}]})",
       "elements[0].k: expected a number (or \"0x\" and 16 hex digits for the bits of a double)"},
      {R"({"header": "DraventaFabricant\n", "requests": [{"writeQnt": 0, "data": "00"}]})",
       "requests[0].data: a request with writeQnt 0 carries no data"},
      {R"({"header": "DraventaFabricant\n", "requests": [{"writeQnt": 1, "data": "0G"}]})",
       "requests[0].data: expected hex bytes such as \"00 01 FF\""},
      {R"({"header": "DraventaFabricant\n", "requests": [{"witeQnt": 1}]})", "requests[0].witeQnt: unknown key"},
      {R"({"header": "DraventaFabricant\n", "pictures": [{"data": "QUJD", "size": 4}]})",
       "pictures[0].size: does not match the 3 bytes of data"},
      {R"({"header": "DraventaFabricant\n", "pictures": [{"data": "QUJ"}]})", "pictures[0].data: expected base64"},
      {R"({"header": "DraventaFabricant\n", "sections": [0, 1], "elements": []})",
       "sections: count 1 panel elements but 0 are given"},
      {R"([1, 2])", "project: expected an object"},
  };
  for (const Case& c : cases) {
    try {
      ProjectFromJson(Json::parse(c.json), CodePage::Default());
      ADD_FAILURE() << "accepted: " << c.json;
    } catch (const ProjectJsonError& e) {
      EXPECT_EQ(std::string(e.what()), c.message) << c.json;
    }
  }
}

}  // namespace
}  // namespace quorvel
