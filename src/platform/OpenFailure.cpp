#include "platform/OpenFailure.h"

#include <dirent.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <vector>

namespace quorvel::platform {
namespace {

std::string GroupName(gid_t gid) {
  std::vector<char> buffer(16384);
  group entry{};
  group* found = nullptr;
  if (getgrgid_r(gid, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) return {};
  return found->gr_name;
}

bool ProcessHasGroup(gid_t gid) {
  if (getegid() == gid) return true;
  const int count = getgroups(0, nullptr);
  if (count <= 0) return false;
  std::vector<gid_t> groups(static_cast<std::size_t>(count));
  const int got = getgroups(count, groups.data());
  for (int i = 0; i < got; ++i)
    if (groups[static_cast<std::size_t>(i)] == gid) return true;
  return false;
}

// Whether the group database lists this user in the group, which is what
// `usermod -aG` changes; a running login keeps the groups it started with.
bool UserListedInGroup(gid_t gid) {
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* user = nullptr;
  if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &user) != 0 || user == nullptr) return false;
  if (user->pw_gid == gid) return true;
  std::vector<char> groupBuffer(65536);
  group g{};
  group* found = nullptr;
  if (getgrgid_r(gid, &g, groupBuffer.data(), groupBuffer.size(), &found) != 0 || found == nullptr) return false;
  for (char** member = found->gr_mem; member != nullptr && *member != nullptr; ++member)
    if (std::strcmp(*member, user->pw_name) == 0) return true;
  return false;
}

bool AllDigits(const char* text) {
  if (*text == '\0') return false;
  for (; *text != '\0'; ++text)
    if (*text < '0' || *text > '9') return false;
  return true;
}

std::string CommandName(const std::string& pid) {
  std::ifstream comm("/proc/" + pid + "/comm");
  std::string name;
  std::getline(comm, name);
  return name;
}

// The process that holds a lock on the device node, as /proc/locks lists it.
// A program that has the port in use locks it; others may only have it open
// for a moment (a modem manager probing, a shell, this program's own probe),
// and naming one of them would send the user after the wrong program.
std::optional<pid_t> LockHolder(const struct stat& node) {
  std::ifstream locks("/proc/locks");
  std::string line;
  while (std::getline(locks, line)) {
    // "1: FLOCK  ADVISORY  WRITE 1234 00:05:87 0 EOF"; waiters read "1: -> FLOCK ...".
    std::istringstream fields(line);
    std::string number, kind, mode, access, id;
    long pid = 0;
    fields >> number >> kind;
    if (kind == "->") continue;
    fields >> mode >> access >> pid >> id;
    unsigned major = 0, minor = 0;
    unsigned long inode = 0;
    if (pid <= 0 || std::sscanf(id.c_str(), "%x:%x:%lu", &major, &minor, &inode) != 3) continue;
    if (makedev(major, minor) == node.st_dev && inode == node.st_ino) return static_cast<pid_t>(pid);
  }
  return std::nullopt;
}

}  // namespace

OpenCause CauseOfError(int error) {
  switch (error) {
    case 0:
      return OpenCause::None;
    case EBUSY:
    case EWOULDBLOCK:
      return OpenCause::Held;
    case EACCES:
    case EPERM:
      return OpenCause::PermissionDenied;
    case ENOENT:
    case ENODEV:
    case ENXIO:
      return OpenCause::NoSuchDevice;
    case ENOTTY:
      return OpenCause::NotSerial;
    default:
      return OpenCause::Other;
  }
}

std::optional<PortHolder> FindPortHolder(const std::string& path) {
  struct stat device {};
  if (stat(path.c_str(), &device) != 0 || !S_ISCHR(device.st_mode)) return std::nullopt;
  if (const std::optional<pid_t> locker = LockHolder(device))
    return PortHolder{*locker, CommandName(std::to_string(*locker))};
  DIR* proc = opendir("/proc");
  if (proc == nullptr) return std::nullopt;
  std::optional<PortHolder> holder;
  while (!holder) {
    const dirent* process = readdir(proc);
    if (process == nullptr) break;
    if (!AllDigits(process->d_name)) continue;
    const std::string fdDir = std::string("/proc/") + process->d_name + "/fd";
    DIR* fds = opendir(fdDir.c_str());
    if (fds == nullptr) continue;  // gone meanwhile, or not ours to look into
    while (const dirent* fd = readdir(fds)) {
      if (!AllDigits(fd->d_name)) continue;
      struct stat target {};
      if (stat((fdDir + "/" + fd->d_name).c_str(), &target) == 0 && S_ISCHR(target.st_mode) &&
          target.st_rdev == device.st_rdev) {
        holder = PortHolder{static_cast<pid_t>(std::stol(process->d_name)), CommandName(process->d_name)};
        break;
      }
    }
    closedir(fds);
  }
  closedir(proc);
  return holder;
}

OpenFailure DescribeOpenFailure(const std::string& path, int error) {
  OpenFailure failure;
  failure.cause = CauseOfError(error);
  failure.error = error;
  failure.path = path;
  if (failure.cause == OpenCause::Held) failure.holder = FindPortHolder(path);
  if (failure.cause == OpenCause::PermissionDenied) {
    struct stat device {};
    if (stat(path.c_str(), &device) == 0) {
      failure.group = GroupName(device.st_gid);
      failure.groupNeedsLogin = !ProcessHasGroup(device.st_gid) && UserListedInGroup(device.st_gid);
    }
  }
  return failure;
}

std::string OpenFailureText(int comNumber, const OpenFailure& f) {
  const std::string com = "COM" + std::to_string(comNumber);
  std::string text = "Can not open " + com;
  if (f.cause == OpenCause::None) return text;
  const std::string is = com + " is " + (f.path.empty() ? std::string("its device") : f.path);
  text += "\n";
  switch (f.cause) {
    case OpenCause::None:
      break;
    case OpenCause::Held:
      text += is + ", which is in use by ";
      if (!f.holder) return text + "another program.";
      text += "process " + std::to_string(f.holder->pid);
      if (!f.holder->name.empty()) text += " (" + f.holder->name + ")";
      return text + ".";
    case OpenCause::PermissionDenied:
      text += is + ", which this login may not use.";
      if (f.group.empty()) return text;
      if (f.groupNeedsLogin)
        return text + " You are in its group " + f.group + " only from your next login on: log out and in again.";
      return text + " Its group is " + f.group + ": add yourself (sudo usermod -aG " + f.group +
             " $USER), then log out and in again.";
    case OpenCause::NoSuchDevice:
      if (f.error == ENOENT) return text + is + ", which does not exist. Is the adapter plugged in?";
      return text + is + ", which has no device behind it. Is the adapter plugged in?";
    case OpenCause::NotSerial:
      return text + is + ", which is not a serial line.";
    case OpenCause::NotAnAddress:
      return text + is +
             ", which is not a network address: write it as tcp://HOST:PORT, mbtcp://HOST:PORT or "
             "mbtcp-listen://HOST:PORT.";
    case OpenCause::UnknownHost:
      return text + is + ", whose host is not known.";
    case OpenCause::Other:
      break;
  }
  return text + is + ": " + std::strerror(f.error) + ".";
}

}  // namespace quorvel::platform
