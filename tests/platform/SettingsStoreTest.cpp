// The per-user settings file: values come back as written, hand edits and
// damage are survived.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "LineTestSupport.h"
#include "platform/SettingsStore.h"

namespace quorvel::platform {
namespace {

namespace fs = std::filesystem;

std::string Read(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void Write(const fs::path& path, const std::string& text) {
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << text;
}

TEST(SettingsStore, ValuesComeBackExactly) {
  TempDir dir;
  FileSettingsStore store(dir.path());
  const std::vector<std::pair<std::string, std::string>> values = {
      {"Path", "/home/u/Messgeräte"},
      {"1", "C:\\new\\raw.qvc"},
      {"2", "line one\nline two\r\n"},
      {"3", " a=b ; #c [d] "},
      {"4", ""},
  };
  for (const auto& [key, value] : values) ASSERT_TRUE(store.SaveSetting("Quorvel", "Startup", key, value)) << key;
  for (const auto& [key, value] : values) EXPECT_EQ(store.GetSetting("Quorvel", "Startup", key, "?"), value) << key;
  EXPECT_EQ(store.GetSetting("Quorvel", "Other", "1", "default"), "default");
  // Overwriting keeps one line per key.
  ASSERT_TRUE(store.SaveSetting("Quorvel", "Startup", "1", "again"));
  EXPECT_EQ(store.GetSetting("Quorvel", "startup", "1", "?"), "again");
  const std::string text = Read(store.FileOf("Quorvel"));
  EXPECT_EQ(text.find("1="), text.rfind("1="));
}

TEST(SettingsStore, HandEditsAndDamageAreSurvivedAndKept) {
  TempDir dir;
  FileSettingsStore store(dir.path());
  const fs::path file = store.FileOf("Quorvel");
  // A comment, a key before any section, a line without "=", spaces around
  // names, CR LF line ends, a duplicate key, binary junk and no final line end.
  const std::string edited = std::string("; mine\r\norphan=1\r\n[ startup ]\r\n  MainTop =2700\r\ngarbage line\r\n") +
                             "MainTop=9\r\n\x01\xff\xfe=\x80\r\n[Ports]\r\nCOM2=C:\\dev\\tty";
  Write(file, edited);
  EXPECT_EQ(store.GetSetting("Quorvel", "Startup", "MainTop", "?"), "2700");
  EXPECT_EQ(store.GetSetting("Quorvel", "Startup", "orphan", "?"), "?");
  EXPECT_EQ(store.GetSetting("Quorvel", "PORTS", "com2", "?"), "C:\\dev\\tty");  // an unknown escape stands for itself
  ASSERT_TRUE(store.SaveSetting("Quorvel", "Startup", "Path", "/p"));
  ASSERT_TRUE(store.SaveSetting("Quorvel", "Startup", "MainTop", "10"));
  EXPECT_EQ(Read(file), std::string("; mine\r\norphan=1\r\n[ startup ]\r\nMainTop=10\r\ngarbage line\r\n") +
                            "MainTop=9\r\n\x01\xff\xfe=\x80\r\nPath=/p\r\n[Ports]\r\nCOM2=C:\\dev\\tty\n");
  // Nothing at all readable.
  Write(file, std::string("\0\0\0[[[===", 9));
  EXPECT_EQ(store.GetSetting("Quorvel", "Startup", "MainTop", "d"), "d");
  EXPECT_TRUE(store.SaveSetting("Quorvel", "Startup", "MainTop", "5"));
  EXPECT_EQ(store.GetSetting("Quorvel", "Startup", "MainTop", "d"), "5");
}

}  // namespace
}  // namespace quorvel::platform
