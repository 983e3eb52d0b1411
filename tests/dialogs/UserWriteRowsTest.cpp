// The lines of the user write dialog as its model makes them: each named as
// the panel names the element, and whether they hold masks or values.

#include <gtest/gtest.h>

#include "../device/FakeHost.h"
#include "../device/TestProject.h"
#include "dialogs/frmUserWrite.h"

namespace quorvel::testing {
namespace {

// A value box on the panel's line at `top`, with the label `label` left of it
// ("" for none).
std::vector<ElementRecord> OnLine(std::uint32_t address, std::int32_t top, const char* label) {
  ElementRecord box = Box(address);
  box.Left = 1700, box.Top = top, box.Width = 1000, box.Height = 250;
  if (!*label) return {box};
  ElementRecord text;
  text.CtrlName = "Lbl";
  text.Caption = label;
  text.Left = 100, text.Top = top, text.Width = 1500, text.Height = 250;
  return {text, box};
}

TEST(UserWriteRows, NamedByTheLabelBesideTheValueWithTheAddress) {
  const struct {
    std::int32_t func;
    bool mask;
    std::vector<std::string> captions;
  } requests[] = {{16, false, {"Upper limit [bar] (HR0010)", "HR0011"}},
                  // A mask write takes one register whatever its quantity says.
                  {22, true, {"Upper limit [bar] (HR0010)"}}};
  for (const auto& r : requests) {
    SCOPED_TRACE(r.func);
    TestProject p;
    for (const auto& [address, top, label] : {std::tuple{10u, 100, "Upper limit [bar]"}, {11u, 400, ""}})
      for (ElementRecord& e : OnLine(address, top, label)) p.elements.push_back(e);
    p.requests = {RequestRecord{.Func = r.func, .WriteAddr = 10, .WriteQnt = 2, .Control = 2,
                                .Data = {0, 0, 0, 0}, .Label = "Limits"}};
    FakeHost host;
    frmQuorvel window(host);
    Load(window, p);
    const frmUserWrite model(window, window.HoldingElements, window.PendingRequests, window.Requests.at(0));
    std::vector<std::string> captions;
    for (const UserWriteRow& row : model.Rows()) captions.push_back(row.Caption);
    EXPECT_EQ(captions, r.captions);
    EXPECT_EQ(model.MaskWrite(), r.mask);
  }
}

}  // namespace
}  // namespace quorvel::testing
