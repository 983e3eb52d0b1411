// A panel read as a person reads it: the order the keyboard walks the values
// in, the label taken for each, and the rows "Copy All Values" gives.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "FakeHost.h"
#include "device/PanelReading.h"
#include "device/frmQuorvel.h"

namespace quorvel::testing {
namespace {

struct Place {
  const char* kind;  // "Lbl", "Tbl" or "Tbd" (made with its box)
  int left, top, width, height;
  const char* caption;
};

void Build(Panel& panel, const std::vector<Place>& places) {
  for (const Place& p : places) {
    PanelControl* control = panel.CreateControl(std::string(p.kind) == "Tbd" ? "TBox" : p.kind);
    if (std::string(p.kind) == "Tbd") control = &panel.Tbd(control->Index());
    control->SetLeft(p.left);
    control->SetTop(p.top);
    control->SetWidth(p.width);
    control->SetHeight(p.height);
    control->SetCaption(p.caption);
  }
}

TEST(PanelReading, RowsGoColumnByColumnWithTheLabelBesideEachValue) {
  struct Case {
    const char* name;
    std::vector<Place> places;
    const char* rows;
  };
  const Case cases[] = {
      {"two columns made row by row are read column by column",
       {{"Lbl", 100, 100, 1500, 250, "Flow"}, {"Tbd", 1700, 100, 1000, 250, "1.5"},
        {"Lbl", 3000, 100, 1500, 250, "Status"}, {"Tbd", 4600, 100, 1000, 250, "0001"},
        {"Lbl", 100, 400, 1500, 250, "Density"}, {"Tbd", 1700, 400, 1000, 250, "998.7"}},
       "Flow\t1.5\nDensity\t998.7\nStatus\t0001\n"},
      {"values a little out of line stay in their column",
       {{"Tbd", 1700, 100, 1000, 250, "a"}, {"Tbd", 1650, 700, 1000, 250, "b"}}, "\ta\n\tb\n"},
      {"the nearest label on the line wins; one above or to the right does not count",
       {{"Lbl", 100, 100, 800, 250, "Group"}, {"Lbl", 1000, 130, 600, 200, "Pressure [&bar]"},
        {"Lbl", 1000, 400, 600, 250, "Below"}, {"Lbl", 2800, 100, 600, 250, "Unit"},
        {"Tbd", 1700, 100, 1000, 250, "2.55"}},
       "Pressure [bar]\t2.55\n"},
      {"a bordered label counts, && is an ampersand, the blanks of a format go",
       {{"Tbl", 100, 100, 1500, 250, "R&&D"}, {"Tbd", 1700, 100, 1000, 250, "   42 "}}, "R&D\t42\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Panel panel;
    Build(panel, c.places);
    EXPECT_EQ(ValuesAsRows(panel), c.rows);
  }
}

TEST(PanelReading, CopyAllValuesHandsTheRowsToTheClipboard) {
  FakeHost host;
  frmQuorvel window(host);
  Build(window.panel(), {{"Lbl", 100, 100, 1500, 250, "Flow"}, {"Tbd", 1700, 100, 1000, 250, "1.5"}});
  window.mnuCopyAllValues_Click();
  EXPECT_EQ(host.copied, "Flow\t1.5\n");
}

}  // namespace
}  // namespace quorvel::testing
