#include "project/ProjectLoader.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <unistd.h>

#include "TestBytes.h"
#include "project/CodePage.h"
#include "project/Panel.h"
#include "project/ProjectWriter.h"

namespace quorvel {
namespace {

using test::Bytes;
using test::Element;
using test::ElementBytes;
using test::HeadBytes;
using test::PictureBytesOf;
using test::PngBytes;
using test::Request;
using test::RequestBytes;

ProjectLoad Load(const Bytes& bytes, Panel& panel) {
  return LoadProjectBytes(bytes.b, "dev.qvc", panel, CodePage::Default());
}

std::vector<std::string> Keys(const ElementCollection& c) {
  std::vector<std::string> keys;
  for (const auto& filed : c) keys.push_back(filed.key);
  return keys;
}

// A project with one element of each table, a label, a frame, a hidden
// record, an unknown kind, three requests and a picture.
Bytes SampleProject() {
  Bytes out = HeadBytes({1, 9, 3, 1});
  out.append(ElementBytes(Element{.name = "TBox", .address = 0x00000099}));  // hidden
  out.append(ElementBytes(Element{.name = "TBox", .address = 0x00000028}));
  out.append(ElementBytes(Element{.name = "TBox", .address = 0x10200002}));
  out.append(ElementBytes(Element{.name = "Lbl", .caption = "Mass flow"}));
  out.append(ElementBytes(Element{.name = "TBox", .address = 0x20000007}));
  out.append(ElementBytes(Element{.name = "Btn"}));
  out.append(ElementBytes(Element{.name = "TBox", .address = 0x30000003}));
  out.append(ElementBytes(Element{.name = "Img", .pictureNumber = 5}));
  out.append(ElementBytes(Element{.name = "Fr"}));
  out.append(RequestBytes(Request{.func = 3, .readAddr = 0, .readQnt = 50, .period = 1000}));
  Request write{.func = 16, .writeAddr = 40, .writeQnt = 1, .control = 1};
  write.data = {0x00, 0x01};
  write.label = "Reset totaliser";
  out.append(RequestBytes(write));
  out.append(RequestBytes(Request{.func = 1, .readAddr = 0, .readQnt = 16, .period = 500}));
  out.append(PictureBytesOf(5, "png", PngBytes(1)));
  return out;
}

TEST(ProjectLoaderTest, ReadsTheHeaderFilesBoxesByTableAndSkipsHiddenAndUnknownRecords) {
  Panel panel;
  const ProjectLoad load = Load(SampleProject(), panel);
  ASSERT_TRUE(load.ok);
  EXPECT_EQ(load.failedSteps, 0);
  EXPECT_TRUE(load.messages.empty());
  const ProjectFile& f = load.file;
  EXPECT_EQ(f.Header, "DraventaFabricant 1.0\r\n");
  EXPECT_EQ((std::vector<int>{f.ValueA, f.ValueB, f.ValueC, f.Setting1, f.Setting2, f.Setting3, f.WindowField}),
            (std::vector<int>{1, 2, 3, 1000, 2000, 3000, 4}));
  EXPECT_EQ(f.MenuCaption1, "Service");
  EXPECT_EQ(f.MenuCaption2, "Calibration");
  EXPECT_EQ((std::vector<int>{f.Exeptions, f.DirectWrite, f.Timeout, f.Interval, f.ValueD}),
            (std::vector<int>{0xFF, -1, 1500, 40, 7}));
  EXPECT_EQ(f.Sections, (std::vector<std::int16_t>{1, 9, 3, 1}));

  EXPECT_EQ(f.HiddenElements.size(), 1u);
  EXPECT_EQ(f.Elements.size(), 8u);  // the unknown kind is kept in the file
  for (const auto& [kind, count] : std::vector<std::pair<const char*, int>>{
           {"TBox", 4}, {"Tbd", 4}, {"Lbl", 1}, {"Fr", 1}, {"Img", 1}, {"Btn", 0}}) {
    EXPECT_EQ(panel.Count(kind), count) << kind;
  }
  EXPECT_EQ(Keys(load.HoldingElements), (std::vector<std::string>{"1"}));
  EXPECT_EQ(Keys(load.InputRegElements), (std::vector<std::string>{"2"}));
  EXPECT_EQ(Keys(load.CoilElements), (std::vector<std::string>{"3"}));
  EXPECT_EQ(Keys(load.DiscreteElements), (std::vector<std::string>{"4"}));
  EXPECT_EQ(Keys(load.PictureElements), (std::vector<std::string>{"1"}));
  EXPECT_EQ(load.HoldingElements[0].element->Address(), 0x28u);
  EXPECT_EQ(panel.Tbd(1).Caption(), "HR0040");
  EXPECT_EQ(panel.Tbd(3).Caption(), "C 0007");
  EXPECT_EQ(panel.FindControl("Lbl", 1)->Caption(), "Mass flow");

  // Requests in file order.
  ASSERT_EQ(load.Requests.size(), 3u);
  EXPECT_EQ(load.Requests[0]->ReadQnt(), 50);
  EXPECT_EQ(load.Requests[1]->Label(), "Reset totaliser");
  EXPECT_EQ(load.Requests[1]->Data(), (std::vector<std::uint8_t>{0, 1}));
  EXPECT_EQ(load.Requests[2]->Func(), 1);
}

TEST(ProjectLoaderTest, GivesEachPictureToEveryImageWithItsNumber) {
  Bytes out = HeadBytes({0, 4, 0, 3});
  out.append(ElementBytes(Element{.name = "Img", .pictureNumber = 2}));
  out.append(ElementBytes(Element{.name = "Img", .pictureNumber = 1}));
  out.append(ElementBytes(Element{.name = "Img", .pictureNumber = 2}));
  out.append(ElementBytes(Element{.name = "Img", .pictureNumber = 3}));
  out.append(PictureBytesOf(2, "png", PngBytes(2)));
  out.append(PictureBytesOf(3, "bmp", {'n', 'o', 't', ' ', 'a', ' ', 'p', 'i', 'c'}));
  out.append(PictureBytesOf(1, "", PngBytes(1)));
  Panel panel;
  const ProjectLoad load = Load(out, panel);
  ASSERT_TRUE(load.ok);
  EXPECT_EQ(load.failedSteps, 1);  // the picture that is none
  ASSERT_EQ(load.file.Pictures.size(), 3u);
  const auto tagOf = [&](int index) {
    const PictureBytes& bytes = panel.FindControl("Img", index)->Picture();
    return bytes ? int(bytes->back()) : -1;
  };
  EXPECT_EQ(tagOf(1), 2);
  EXPECT_EQ(tagOf(2), 1);
  EXPECT_EQ(tagOf(3), 2);
  EXPECT_EQ(tagOf(4), -1);
  EXPECT_EQ(panel.FindControl("Img", 1)->Picture(), panel.FindControl("Img", 3)->Picture());
}

TEST(ProjectLoaderTest, LooksForTheTagAnywhereInAnyCase) {
  for (const char* header : {"draventafabricant\n", "x DRAVENTAfabricant 2.3\r\n", "Draventa\rFabricant\n"}) {
    Panel panel;
    const ProjectLoad load = Load(HeadBytes({0, 0, 0, 0}, header), panel);
    EXPECT_TRUE(load.ok) << header;
    EXPECT_EQ(load.file.Timeout, 1500) << header;
  }
  for (const char* header : {"Draventa Fabricant\n", "\nDraventaFabricant\n", ""}) {
    Panel panel;
    const ProjectLoad load = Load(HeadBytes({0, 1, 0, 0}, header).append(ElementBytes(Element{})), panel);
    EXPECT_FALSE(load.ok);
    EXPECT_EQ(load.messages, (std::vector<std::string>{"Unknown file format: dev.qvc"}));
    EXPECT_EQ(panel.Controls().size(), 0u);
  }
}

TEST(ProjectLoaderTest, SearchesOnlyTheFirst256BytesOfALongHeader) {
  // 256 bytes without a line end: the fields start right after them.
  std::string header = "DraventaFabricant" + std::string(256 - 17, '.');
  Panel panel;
  const ProjectLoad load = Load(HeadBytes({0, 0, 0, 0}, header + "\n"), panel);
  ASSERT_TRUE(load.ok);
  EXPECT_EQ(load.file.Header, header);
  EXPECT_EQ(load.file.ValueA, 0x010A);  // the LF, then the low byte of 1
  EXPECT_GT(load.failedSteps, 0);

  Panel exact;
  const ProjectLoad ok = Load(HeadBytes({0, 0, 0, 0}, header), exact);
  EXPECT_EQ(ok.failedSteps, 0);
  EXPECT_EQ(ok.file.ValueA, 1);

  const std::string late = std::string(250, ' ') + "DraventaFabricant\n";
  Panel none;
  EXPECT_FALSE(Load(HeadBytes({0, 0, 0, 0}, late), none).ok);
}

TEST(ProjectLoaderTest, KeepsWhatWasReadWhenTheFileEndsEarly) {
  const Bytes whole = SampleProject();
  Panel wholePanel;
  const ProjectLoad full = Load(whole, wholePanel);
  const std::size_t headerEnd = 23;
  const std::size_t headSize = HeadBytes({1, 9, 3, 1}).b.size();
  for (std::size_t size = headerEnd; size < whole.b.size(); ++size) {
    Bytes cut;
    cut.b.assign(whole.b.begin(), whole.b.begin() + static_cast<std::ptrdiff_t>(size));
    Panel panel;
    const ProjectLoad load = Load(cut, panel);
    ASSERT_TRUE(load.ok) << size;
    EXPECT_GT(load.failedSteps, 0) << size;
    const ProjectFile& f = load.file;
    ASSERT_LE(f.Elements.size(), full.file.Elements.size());
    for (std::size_t i = 0; i < f.Elements.size(); ++i) EXPECT_EQ(f.Elements[i], full.file.Elements[i]) << size;
    ASSERT_LE(f.Requests.size(), full.file.Requests.size());
    for (std::size_t i = 0; i < f.Requests.size(); ++i) EXPECT_EQ(f.Requests[i], full.file.Requests[i]) << size;
    EXPECT_TRUE(f.Pictures.empty()) << size;
    EXPECT_EQ(load.Requests.size(), f.Requests.size());
    // Once the head is whole, what was read is written back as a prefix of the original.
    if (size >= headSize) {
      const auto again = WriteProject(f);
      ASSERT_LE(again.size(), size);
      EXPECT_TRUE(std::equal(again.begin(), again.end(), whole.b.begin())) << size;
    }
  }
}

TEST(ProjectLoaderTest, LoadsFromDiskAndNamesTheFile) {
  const auto dir = std::filesystem::temp_directory_path() / ("quorvel-loader-test-" + std::to_string(::getpid()));
  std::filesystem::create_directories(dir);
  const auto path = dir / "Pump.qvc";
  {
    const Bytes bytes = SampleProject();
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.b.data()), bytes.b.size());
  }
  Panel panel;
  const ProjectLoad load = LoadProject(path.string(), panel, CodePage::Default());
  EXPECT_TRUE(load.ok);
  EXPECT_EQ(load.title, "Pump.qvc");
  EXPECT_EQ(load.Requests.size(), 3u);

  std::filesystem::remove_all(dir);
  Panel none;
  const std::string missing = (dir / "none.qvc").string();
  EXPECT_EQ(LoadProject(missing, none, CodePage::Default()).messages,
            (std::vector<std::string>{"Path not found: " + missing}));
}

}  // namespace
}  // namespace quorvel
