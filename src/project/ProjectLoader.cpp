#include "project/ProjectLoader.h"

#include <algorithm>
#include <array>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "convert/AddressCode.h"
#include "platform/BoundedRead.h"
#include "project/BinaryReader.h"
#include "project/CodePage.h"
#include "project/Panel.h"
#include "project/PictureFile.h"

namespace quorvel {
namespace {

constexpr std::size_t kHeaderLimit = 256;
constexpr std::array<std::string_view, 5> kKinds = {"TBox", "Lbl", "Fr", "Tbl", "Img"};

bool IsKnownKind(std::string_view name) {
  for (std::string_view kind : kKinds) {
    if (kind == name) return true;
  }
  return false;
}

// The first line of `bytes` with its line end, as far as a header goes.
std::string_view RawHeader(std::span<const std::uint8_t> bytes) {
  std::size_t size = 0;
  while (size < kHeaderLimit && size < bytes.size()) {
    if (bytes[size++] == '\n') break;
  }
  return {reinterpret_cast<const char*>(bytes.data()), size};
}

bool IsProjectHeader(std::span<const std::uint8_t> bytes) { return HasProjectTag(HeaderText(RawHeader(bytes))); }

std::span<const std::uint8_t> AsBytes(const std::string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

class Loader {
 public:
  Loader(std::span<const std::uint8_t> bytes, PanelFactory& panel, const CodePage& codePage, ProjectLoad& out)
      : bytes_(bytes), in_(bytes), panel_(panel), codePage_(codePage), out_(out), file_(out.file) {}

  // Reads the first line; false when it lacks the project tag.
  bool ReadHeader();
  void ReadSettings();
  void ReadElements();
  void ReadRequests();
  void ReadPictures();
  void Finish();

 private:
  // Runs one step; a failure is noted and loading goes on.
  template <class F>
  void Step(F&& step) {
    try {
      step();
    } catch (const std::exception&) {
      ++out_.failedSteps;
    }
  }
  // Once the data is used up every further record read fails, so the rest
  // of a loop is skipped at once.
  bool Exhausted() {
    if (!in_.AtEnd()) return false;
    ++out_.failedSteps;
    return true;
  }
  void FilePanelElement(const ElementRecord& record);
  void File(ElementCollection& collection, std::string key, std::shared_ptr<CtrlProp> element);
  void ShowPicture(const PictureRecord& picture);

  std::span<const std::uint8_t> bytes_;
  BinaryReader in_;
  PanelFactory& panel_;
  const CodePage& codePage_;
  ProjectLoad& out_;
  ProjectFile& file_;
};

bool Loader::ReadHeader() {
  file_.Header = RawHeader(bytes_);
  in_.ReadChars(static_cast<std::int64_t>(file_.Header.size()));
  return HasProjectTag(HeaderText(file_.Header));
}

void Loader::ReadSettings() {
  Step([&] { file_.ValueA = in_.ReadI16(); });
  Step([&] { file_.ValueB = in_.ReadI16(); });
  Step([&] { file_.ValueC = in_.ReadI16(); });
  Step([&] { file_.Setting1 = in_.ReadI32(); });
  Step([&] { file_.Setting2 = in_.ReadI32(); });
  Step([&] { file_.Setting3 = in_.ReadI32(); });
  Step([&] { file_.WindowField = in_.ReadI32(); });
  Step([&] { file_.MenuCaption1 = in_.ReadText16(); });
  Step([&] { file_.MenuCaption2 = in_.ReadText16(); });
  Step([&] { file_.Exeptions = in_.ReadI16(); });
  Step([&] { file_.DirectWrite = in_.ReadI16(); });
  Step([&] { file_.Timeout = in_.ReadI32(); });
  Step([&] { file_.Interval = in_.ReadI32(); });
  Step([&] { file_.ValueD = in_.ReadI32(); });
  Step([&] {
    const std::int16_t count = in_.ReadI16();
    if (count < 0) throw std::length_error("negative section count");
    if (count == 0) return;
    // Taken whole: a table that does not fit in what is left fails here.
    const std::vector<std::uint8_t> raw = in_.ReadBytes(2 * static_cast<std::int64_t>(count));
    for (std::size_t i = 0; i + 1 < raw.size(); i += 2) {
      file_.Sections.push_back(static_cast<std::int16_t>(raw[i] | (raw[i + 1] << 8)));
    }
  });
}

void Loader::ReadElements() {
  const SectionCounts counts = CountsOf(file_.Sections);
  for (int i = 0; i < counts.hidden && !Exhausted(); ++i) {
    Step([&] { file_.HiddenElements.push_back(ReadElementRecord(in_)); });
  }
  for (int i = 0; i < counts.panel && !Exhausted(); ++i) {
    Step([&] {
      file_.Elements.push_back(ReadElementRecord(in_));
      FilePanelElement(file_.Elements.back());
    });
  }
}

void Loader::FilePanelElement(const ElementRecord& record) {
  auto element = std::make_shared<CtrlProp>();
  element->SetCodePage(codePage_);
  element->LoadRecord(record);
  const std::string& kind = element->CtrlName();
  if (!IsKnownKind(kind)) return;
  PanelControl* control = panel_.CreateControl(kind);
  if (!control) {
    ++out_.failedSteps;
    return;
  }
  Step([&] { element->SetProp(*control); });
  std::string key = std::to_string(control->Index());
  if (kind == "Img") {
    File(out_.PictureElements, std::move(key), element);
  } else if (kind == "TBox") {
    switch (AddressCode(element->Address()).table()) {
      case Table::Holding:
        File(out_.HoldingElements, std::move(key), element);
        break;
      case Table::InputReg:
        File(out_.InputRegElements, std::move(key), element);
        break;
      case Table::Coil:
        File(out_.CoilElements, std::move(key), element);
        break;
      case Table::Discrete:
        File(out_.DiscreteElements, std::move(key), element);
        break;
    }
  }
}

void Loader::File(ElementCollection& collection, std::string key, std::shared_ptr<CtrlProp> element) {
  for (const FiledElement& filed : collection) {
    if (filed.key == key) {
      ++out_.failedSteps;
      return;
    }
  }
  collection.push_back({std::move(key), std::move(element)});
}

void Loader::ReadRequests() {
  const SectionCounts counts = CountsOf(file_.Sections);
  for (int i = 0; i < counts.requests && !Exhausted(); ++i) {
    Step([&] {
      file_.Requests.push_back(ReadRequestRecord(in_));
      auto request = std::make_shared<ReqProp>();
      request->LoadRecord(file_.Requests.back());
      out_.Requests.push_back(std::move(request));
    });
  }
}

void Loader::ReadPictures() {
  const SectionCounts counts = CountsOf(file_.Sections);
  for (int i = 0; i < counts.pictures && !Exhausted(); ++i) {
    Step([&] {
      file_.Pictures.push_back(ReadPictureRecord(in_));
      ShowPicture(file_.Pictures.back());
    });
  }
}

void Loader::ShowPicture(const PictureRecord& picture) {
  // Kept in memory once and shared by every control that shows it.
  const auto bytes = std::make_shared<const std::vector<std::uint8_t>>(picture.Data);
  // Entry k of the collection is shown by member k of the picture array.
  for (std::size_t k = 1; k <= out_.PictureElements.size(); ++k) {
    const CtrlProp& element = *out_.PictureElements[k - 1].element;
    if (element.CtrlName() != "Img" || element.PictureNumber() != picture.Number) continue;
    Step([&] {
      PanelControl* control = panel_.FindControl("Img", static_cast<int>(k));
      if (!control) throw PictureError("no picture control " + std::to_string(k));
      control->SetPicture(bytes);
    });
  }
}

void Loader::Finish() {
  if (!in_.Failed()) file_.Trailing = in_.ReadRest();
  out_.ok = true;
}

}  // namespace

ProjectLoad LoadProjectBytes(std::span<const std::uint8_t> bytes, const std::string& path, PanelFactory& panel,
                             const CodePage& codePage) {
  ProjectLoad out;
  Loader loader(bytes, panel, codePage, out);
  if (!loader.ReadHeader()) {
    out.messages.push_back(kUnknownFormat + path);
    return out;
  }
  loader.ReadSettings();
  loader.ReadElements();
  loader.ReadRequests();
  loader.ReadPictures();
  loader.Finish();
  return out;
}

ProjectLoad LoadProject(const std::string& path, PanelFactory& panel, const CodePage& codePage) {
  const std::filesystem::path fsPath(path);
  std::error_code ec;
  const bool exists = std::filesystem::exists(fsPath, ec);
  std::vector<std::string> lookUp;
  if (ec) lookUp.push_back(ec.message());
  if (!exists || ec) {
    ProjectLoad out;
    out.messages = std::move(lookUp);
    out.messages.push_back(kPathNotFound + path);
    return out;
  }
  // The header is looked at before the rest is read, so that a large file
  // of something else is turned away at once.
  const auto refused = [](std::string message) {
    ProjectLoad out;
    out.messages.push_back(std::move(message));
    return out;
  };
  platform::BoundedFile file;
  std::string bytes, error;
  if (!file.Open(path, error) || !file.Read(kHeaderLimit, bytes, error)) return refused(error);
  if (!IsProjectHeader(AsBytes(bytes))) return refused(kUnknownFormat + path);
  if (!file.ReadRest(platform::kProjectFileLimit, bytes, error)) return refused(error);
  ProjectLoad out = LoadProjectBytes(AsBytes(bytes), path, panel, codePage);
  out.title = fsPath.filename().string();
  return out;
}

}  // namespace quorvel
