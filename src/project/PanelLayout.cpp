#include "project/PanelLayout.h"

#include <algorithm>

#include "convert/AddressCode.h"

namespace quorvel {
namespace {

// Arial 9 pt as the sample device's panel uses it; colours as the platform
// stores them (0x00BBGGRR): grey panel, white boxes with dark blue bold values.
constexpr const char* kFont = "Arial";
constexpr std::int16_t kFontSize = 9;
constexpr struct { std::uint32_t panelBack, boxBack, boxFore; } kLook{0xE0E0E0, 0xFFFFFF, 0x800000};

// An average Arial 9 character is about 6.5 pixels (98 twips) wide; a
// little more keeps captions of wide letters whole.
constexpr int kCharWidth = 105;
constexpr int kMargin = 120;
constexpr int kFrameHead = 300;  // the frame's caption above its first row
constexpr int kRowPitch = 330;
constexpr int kLabelHeight = 255;
constexpr int kBoxHeight = 300;
constexpr int kColumnGap = 240;
// Frames go side by side up to this width (the sample panel's), then below.
constexpr int kPanelWidth = 10560;

const char* const kFrameCaptions[] = {"Holding registers", "Input registers", "Coils", "Discrete inputs"};

ElementRecord Plain(const char* kind, int top, int left, int width, int height) {
  return {.BackColor = kLook.panelBack,
          .CtrlName = kind,
          .Top = top,
          .Left = left,
          .FontSize = kFontSize,
          .FontName = kFont,
          .Width = width,
          .Height = height,
          .k = 1};
}

struct Frame {
  int table;
  std::vector<const PanelValue*> values;
  int labelWidth = 0;
  int boxWidth = 0;
  int columns = 0;
  int width = 0;
  int height = 0;
};

void Measure(Frame& f) {
  std::size_t labelChars = 4, valueChars = 6;
  for (const PanelValue* v : f.values) {
    labelChars = std::max(labelChars, v->caption.size());
    valueChars = std::max(valueChars, static_cast<std::size_t>(ValueTextChars(v->code, v->format)));
  }
  f.labelWidth = static_cast<int>(labelChars) * kCharWidth;
  f.boxWidth = static_cast<int>(valueChars) * kCharWidth + 2 * kMargin;
  f.columns = static_cast<int>((f.values.size() + kRowsPerColumn - 1) / kRowsPerColumn);
  const int rows = static_cast<int>(std::min<std::size_t>(f.values.size(), kRowsPerColumn));
  const int column = f.labelWidth + kMargin + f.boxWidth;
  f.width = 2 * kMargin + f.columns * column + (f.columns - 1) * kColumnGap;
  f.height = kFrameHead + rows * kRowPitch + kMargin;
}

void Place(const Frame& f, int top, int left, PanelLayout& out) {
  ElementRecord frame = Plain("Fr", top, left, f.width, f.height);
  frame.Caption = kFrameCaptions[f.table];
  out.elements.insert(out.elements.begin() +
                          static_cast<long>(std::count_if(out.elements.begin(), out.elements.end(),
                                                          [](const ElementRecord& e) { return e.CtrlName == "Fr"; })),
                      frame);
  const int column = f.labelWidth + kMargin + f.boxWidth + kColumnGap;
  for (std::size_t i = 0; i < f.values.size(); ++i) {
    const PanelValue& v = *f.values[i];
    const int rowTop = top + kFrameHead + static_cast<int>(i % kRowsPerColumn) * kRowPitch;
    const int labelLeft = left + kMargin + static_cast<int>(i / kRowsPerColumn) * column;
    ElementRecord label = Plain("Lbl", rowTop + (kBoxHeight - kLabelHeight), labelLeft, f.labelWidth, kLabelHeight);
    label.Caption = v.caption;
    out.elements.push_back(label);
    ElementRecord box = Plain("TBox", rowTop, labelLeft + f.labelWidth + kMargin, f.boxWidth, kBoxHeight);
    box.BackColor = kLook.boxBack;
    box.ForeColor = kLook.boxFore;
    box.FontBold = -1;
    box.Address = v.code;
    box.FormatString = v.format;
    box.k = v.k;
    box.x0 = v.x0;
    out.elements.push_back(box);
  }
}

}  // namespace

int ValueTextChars(std::uint32_t raw, const std::string& format) {
  const AddressCode code(raw);
  if (code.isBit()) return code.width() + code.width() / 4;
  if (code.hex()) return code.width() > 1 ? 10 : 5;  // "0001 2345h", "FFFFh"
  if (code.binary()) return code.typeField() == 0 ? 19 : 9;
  // The picture's characters, a sign and a digit more than it forces.
  const std::string picture = format.empty() ? DefaultFormat(raw) : format;
  return static_cast<int>(picture.size()) + 2;
}

PanelLayout LayOutPanel(const std::vector<PanelValue>& values, const std::string& title) {
  PanelLayout out;
  std::vector<Frame> frames;
  for (int table = 0; table < 4; ++table) {
    Frame f{table, {}};
    for (const PanelValue& v : values)
      if (static_cast<int>((v.code & AddressCode::kTableMask) >> 28) == table) f.values.push_back(&v);
    if (f.values.empty()) continue;
    Measure(f);
    frames.push_back(std::move(f));
  }
  int top = kMargin;
  if (!title.empty()) {
    ElementRecord heading =
        Plain("Lbl", top, kMargin, static_cast<int>(title.size()) * kCharWidth * 11 / 9, kLabelHeight + 45);
    heading.Caption = title;
    heading.FontBold = -1;
    heading.FontSize = 11;
    out.elements.push_back(heading);
    top += kLabelHeight + 45 + kMargin;
  }
  int left = kMargin, rowBottom = top;
  for (const Frame& f : frames) {
    if (left > kMargin && left + f.width > kPanelWidth) {
      left = kMargin;
      top = rowBottom + kMargin;
    }
    Place(f, top, left, out);
    left += f.width + kMargin;
    rowBottom = std::max(rowBottom, top + f.height);
    out.width = std::max(out.width, left);
  }
  for (const ElementRecord& e : out.elements) out.width = std::max(out.width, e.Left + e.Width + kMargin);
  out.height = rowBottom + kMargin;
  return out;
}

}  // namespace quorvel
