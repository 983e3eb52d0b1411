// The per-user settings file: values come back as written, hand edits and
// damage are survived, failed writes leave the old file, and XDG_CONFIG_HOME moves it.

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

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
      {"5", "\\\\server\\n"},
  };
  for (const auto& [key, value] : values) ASSERT_TRUE(store.SaveSetting("Quorvel", "Startup", key, value)) << key;
  for (const auto& [key, value] : values) EXPECT_EQ(store.GetSetting("Quorvel", "Startup", key, "?"), value) << key;
  EXPECT_EQ(store.GetSetting("Quorvel", "Other", "1", "default"), "default");
  // Overwriting keeps one line per key.
  ASSERT_TRUE(store.SaveSetting("Quorvel", "Startup", "1", "again"));
  EXPECT_EQ(store.GetSetting("Quorvel", "startup", "1", "?"), "again");
  const std::string text = Read(store.FileOf("Quorvel"));
  EXPECT_EQ(text.find("1="), text.rfind("1="));
  // A second store on the same file sees the first one's writes, and the other way round.
  FileSettingsStore second(dir.path());
  EXPECT_EQ(second.GetSetting("Quorvel", "Startup", "1", ""), "again");
  second.SaveSetting("Quorvel", "Startup", "7", "/b.qvc");
  EXPECT_EQ(store.GetSetting("Quorvel", "Startup", "7", ""), "/b.qvc");
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

TEST(SettingsStore, NamesTheFileCannotHoldAreRefused) {
  TempDir dir;
  FileSettingsStore store(dir.path());
  for (const auto& [app, section, key] :
       std::vector<std::tuple<std::string, std::string, std::string>>{{"Quorvel", "Startup", "a=b"},
                                                                      {"Quorvel", "Start]up", "k"},
                                                                      {"Quorvel", "Startup", "line\nbreak"},
                                                                      {"../evil", "Startup", "k"}}) {
    EXPECT_FALSE(store.SaveSetting(app, section, key, "v")) << app << "/" << section << "/" << key;
    EXPECT_EQ(store.GetSetting(app, section, key, "d"), "d");
  }
  EXPECT_FALSE(fs::exists(dir.path() / "evil"));
}

TEST(SettingsStore, AFailedWriteLeavesTheOldFile) {
  if (::geteuid() == 0) GTEST_SKIP() << "permissions do not bind root";
  TempDir dir;
  FileSettingsStore store(dir.path());
  ASSERT_TRUE(store.SaveSetting("Quorvel", "Startup", "Path", "/old"));
  const std::string before = Read(store.FileOf("Quorvel"));
  fs::permissions(dir.path() / "quorvel", fs::perms::owner_read | fs::perms::owner_exec);
  EXPECT_FALSE(store.SaveSetting("Quorvel", "Startup", "Path", "/new"));
  EXPECT_FALSE(store.LastError().empty());
  fs::permissions(dir.path() / "quorvel", fs::perms::owner_all);
  EXPECT_EQ(Read(store.FileOf("Quorvel")), before);
  EXPECT_EQ(std::distance(fs::directory_iterator(dir.path() / "quorvel"), fs::directory_iterator()), 1);
}

// Sets an environment variable for one test and puts it back.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    if (value) {
      ::setenv(name, value, 1);
    } else {
      ::unsetenv(name);
    }
  }
  ~ScopedEnv() {
    if (old_) {
      ::setenv(name_, old_->c_str(), 1);
    } else {
      ::unsetenv(name_);
    }
  }

 private:
  const char* name_;
  std::optional<std::string> old_;
};

TEST(SettingsStore, XdgConfigHomeMovesTheFile) {
  TempDir dir;
  const std::string config = (dir.path() / "cfg").string();
  const std::string home = (dir.path() / "home").string();
  ScopedEnv homeEnv("HOME", home.c_str());
  {
    ScopedEnv xdg("XDG_CONFIG_HOME", config.c_str());
    EXPECT_EQ(UserConfigHome(), fs::path(config));
    auto store = OpenUserSettings();
    ASSERT_TRUE(store->SaveSetting("Quorvel", "Startup", "Path", "/x"));
    EXPECT_TRUE(fs::exists(dir.path() / "cfg/quorvel/quorvel.conf"));
  }
  for (const char* ignored : {"", "relative/cfg"}) {
    ScopedEnv xdg("XDG_CONFIG_HOME", ignored);
    EXPECT_EQ(UserConfigHome(), fs::path(home) / ".config") << ignored;
  }
  ScopedEnv xdg("XDG_CONFIG_HOME", nullptr);
  auto store = OpenUserSettings();
  ASSERT_TRUE(store->SaveSetting("Quorvel", "Startup", "Path", "/y"));
  EXPECT_TRUE(fs::exists(dir.path() / "home/.config/quorvel/quorvel.conf"));
}

}  // namespace
}  // namespace quorvel::platform
