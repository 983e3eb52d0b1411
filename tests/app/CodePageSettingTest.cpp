// Project and session texts in the user's code page: the setting, its default
// from the language, and a project written in Windows-1251.

#include <gtest/gtest.h>

#include "CliTestSupport.h"
#include "app/CodePageSetting.h"
#include "project/ProjectWriter.h"

namespace quorvel {
namespace {

TEST(CodePageSetting, TheLanguageChoosesTheDefault) {
  const std::pair<const char*, int> cases[] = {
      {"ru_RU.UTF-8", 1251}, {"uk_UA", 1251}, {"bg", 1251},    {"sr_RS@latin", 1251}, {"pl_PL.UTF-8", 1250},
      {"cs_CZ", 1250},       {"hu", 1250},    {"ro_RO", 1250}, {"el_GR.UTF-8", 1253}, {"tr_TR", 1254},
      {"lt_LT", 1257},       {"et", 1257},    {"de_DE", 1252}, {"C", 1252},           {"", 1252},
  };
  for (const auto& [locale, number] : cases) EXPECT_EQ(CodePageForLanguage(locale), number) << locale;
}

TEST(CodePageSetting, AStoredCodePageWinsAndAnUnknownOneCountsAsNone) {
  platform::MemorySettingsStore store;
  ASSERT_TRUE(SaveUserCodePage(store, 1253));
  EXPECT_EQ(UserCodePage(store).Number(), 1253);
  ASSERT_TRUE(store.SaveSetting("Quorvel", "Startup", "CodePage", "437"));
  const char* was = std::getenv("LC_ALL");
  const std::string saved = was ? was : "";
  setenv("LC_ALL", "ru_RU.UTF-8", 1);
  EXPECT_EQ(UserCodePage(store).Number(), 1251);
  if (was) {
    setenv("LC_ALL", saved.c_str(), 1);
  } else {
    unsetenv("LC_ALL");
  }
}

// A project written in Windows-1251: its menu "Сервис" and its request "Сброс".
std::string WriteCyrillicProject(const std::string& path) {
  ProjectFile file;
  file.Header = "DraventaFabricant cyrillic\r\n";
  file.MenuCaption1 = "\xD1\xE5\xF0\xE2\xE8\xF1";
  RequestRecord reset;
  reset.Func = 5;
  reset.WriteAddr = 10;
  reset.WriteQnt = 1;
  reset.Control = 1;
  reset.Data = {0xFF, 0x00};
  reset.Label = "\xD1\xE1\xF0\xEE\xF1";
  file.Requests = {reset};
  file.Sections = SectionsFor(file);
  std::string error;
  if (!SaveProjectBytes(path, WriteProject(file), error)) throw std::runtime_error(error);
  return path;
}

TEST(CodePageSetting, AProjectIn1251ShowsItsTextsAndFindsItsRequest) {
  testing::TempDir dir;
  const std::string project = WriteCyrillicProject(dir.Make("P.qvc"));
  platform::SystemClock clock;
  frmQuorvelMain frame(clock);
  frame.SetCodePage(*CodePage::Find(1251));
  const frmQuorvel* window = frame.OpenProject(project);
  ASSERT_NE(window, nullptr);
  EXPECT_EQ(window->UserMenuCaption[1], "\xD0\xA1\xD0\xB5\xD1\x80\xD0\xB2\xD0\xB8\xD1\x81");  // Сервис

  const cli::CliRun run = cli::RunCliOnModem("run", {"--seconds", "0.05", "--codepage", "1251", "--user-request",
                                                     "\xD0\xA1\xD0\xB1\xD1\x80\xD0\xBE\xD1\x81", project});
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err.find("has no user request"), std::string::npos) << run.err;
  const cli::CliRun refused = cli::RunCli({"run", "--codepage", "437", project});
  EXPECT_EQ(refused.status, cli::kUsage);
  EXPECT_NE(refused.err.find("unsupported code page '437'"), std::string::npos) << refused.err;
}

}  // namespace
}  // namespace quorvel
