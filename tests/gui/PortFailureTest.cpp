// Ports that are not available say why in the desktop: the message window
// names the cause when the user connects, chooses the port or looks for
// ports again, and the port's menu item carries it as its tool tip.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QLabel>
#include <QMenuBar>
#include <QTest>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "DesktopTestSupport.h"
#include "MenuTestSupport.h"
#include "app/qt/DeviceWindow.h"
#include "dialogs/qt/MessageWindow.h"

namespace quorvel {
namespace {

constexpr int kMissing = 3;
constexpr int kPlainFile = 4;
constexpr int kHeld = 5;
constexpr int kFree = 6;

// A second program that has the line in use: it opens and locks it, and
// keeps it until it is killed.
class Holder {
 public:
  explicit Holder(const std::string& path) {
    int ready[2];
    if (pipe(ready) != 0) return;
    pid_ = fork();
    if (pid_ == 0) {
      const int fd = open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
      if (fd >= 0 && flock(fd, LOCK_EX | LOCK_NB) == 0 && write(ready[1], "1", 1) == 1)
        for (;;) pause();
      _exit(1);
    }
    close(ready[1]);
    char byte = 0;
    if (read(ready[0], &byte, 1) != 1) pid_ = -1;
    close(ready[0]);
  }
  ~Holder() {
    if (pid_ <= 0) return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  pid_t Pid() const { return pid_; }

 private:
  pid_t pid_ = -1;
};

struct PortFailures : ModemDesktop {
  // Named for this process: tests run side by side must not share it.
  std::string plainFile =
      (std::filesystem::temp_directory_path() / ("quorvel-not-a-port-" + std::to_string(getpid()))).string();
  // This process has the line open too, and earlier than the holder: the
  // holder named must be the one with the lock.
  int bystander = -1;
  std::unique_ptr<Holder> holder;
  std::vector<std::string> boxes;

  void SetUp() override {
    std::ofstream(plainFile) << "not a serial line\n";
    bystander = open(modem.Path(platform::End::A).c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
    holder = std::make_unique<Holder>(modem.Path(platform::End::A));
    ASSERT_GT(holder->Pid(), 0);
    platform::PortMap ports;
    ports.Set(kMissing, "/dev/quorvel-no-such-port");
    ports.Set(kPlainFile, plainFile);
    ports.Set(kHeld, modem.Path(platform::End::A));
    ports.Set(kFree, modem.Path(platform::End::B));
    frame = std::make_unique<MainWindow>(clock, ports, store);
    frame->SetMsgBoxSink([this](const std::string& text) { boxes.push_back(text); });
    frame->Load("\"" + std::string(QUORVEL_BIN_DIR) + "/Coriolis.qvc\"");
    frame->show();
    ASSERT_EQ(frame->Views().size(), 1u);
  }
  void TearDown() override {
    frame.reset();
    holder.reset();
    if (bystander >= 0) close(bystander);
    std::filesystem::remove(plainFile);
    ModemDesktop::TearDown();
  }

  frmQuorvel& Window() { return frame->Views()[0]->Core(); }
  // The message window's text, then cleared, so that each action is seen alone.
  std::string TakeMessage() {
    auto* window = frame->findChild<MessageWindow*>();
    if (!window || !window->isVisible()) return "(no message)";
    const std::string text = window->tb().text().toStdString();
    window->tb().clear();
    window->hide();
    return text;
  }
};

TEST_F(PortFailures, TheMessageNamesTheCause) {
  const struct {
    int com;
    std::string cause;
  } cases[] = {
      {kMissing, "COM3 is /dev/quorvel-no-such-port, which does not exist."},
      {kPlainFile, "COM4 is " + plainFile + ", which is not a serial line."},
      {kHeld, "in use by process " + std::to_string(holder->Pid())},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.com);
    frame->Command([&] { Window().mnuCOM_Click(c.com); });
    const std::string chosen = TakeMessage();
    EXPECT_EQ(chosen.rfind("Can not open COM" + std::to_string(c.com) + "\n", 0), 0u) << chosen;
    EXPECT_NE(chosen.find(c.cause), std::string::npos) << chosen;
    EXPECT_NE(frame->Menus().Window(), nullptr);
    const std::string tip = Window().menus.mnuCOMToolTip[static_cast<std::size_t>(c.com)];
    EXPECT_NE(tip.find(c.cause), std::string::npos) << tip;

    QAction* connect = FindMenuItem(*frame->menuBar(), "C&onnection", "&Connect");
    ASSERT_NE(connect, nullptr);
    connect->trigger();
    EXPECT_EQ(TakeMessage(), chosen) << "Connect";
    connect->trigger();  // disconnects: nothing to explain
    EXPECT_EQ(TakeMessage(), "(no message)");
    FindMenuItem(*frame->menuBar(), "C&onnection", "Connect &All")->trigger();
    EXPECT_EQ(TakeMessage(), chosen) << "Connect All";
    FindMenuItem(*frame->menuBar(), "C&onnection", "&Disconnect All")->trigger();
    FindMenuItem(*frame->menuBar(), "C&onnection", "&Find COM")->trigger();
    EXPECT_EQ(TakeMessage(), chosen) << "Find COM";
    frame->Command([&] { Window().mnuCOM_Click(c.com); });  // releases it
    TakeMessage();
  }
  EXPECT_TRUE(boxes.empty()) << boxes.front();
}

TEST_F(PortFailures, AnAvailablePortShowsItsPathAndNoMessage) {
  frame->Command([&] { Window().mnuCOM_Click(kFree); });
  FindMenuItem(*frame->menuBar(), "C&onnection", "&Connect")->trigger();
  EXPECT_EQ(TakeMessage(), "(no message)");
  EXPECT_TRUE(Window().Connected());
  QAction* item = FindMenuItem(*frame->menuBar(), "C&onnection", "COM6");
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(item->toolTip().toStdString(), modem.Path(platform::End::B));
  EXPECT_TRUE(boxes.empty());
}

}  // namespace
}  // namespace quorvel
