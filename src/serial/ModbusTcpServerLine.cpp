#include "serial/ModbusTcpServerLine.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "platform/NetAddress.h"

namespace quorvel {

using platform::IoResult;
using platform::IoStatus;

namespace {

// More clients than this are turned away: each one costs a descriptor.
constexpr std::size_t kMaxClients = 32;

}  // namespace

ModbusTcpServerLine::ModbusTcpServerLine(std::string path) : path_(std::move(path)) {}

ModbusTcpServerLine::~ModbusTcpServerLine() { Close(); }

platform::OpenFailure ModbusTcpServerLine::Open(const platform::LineSettings& /*settings*/) {
  Close();
  const std::optional<platform::NetAddress> address = platform::ParseNetPath(path_);
  platform::OpenFailure failure;
  if (!address || address->kind != platform::NetKind::ModbusTcpListen)
    return platform::NetworkFailure(path_, platform::OpenCause::NotAnAddress, EINVAL);
  listener_ = platform::ListenTcp(*address, path_, failure);
  if (listener_ < 0) return failure;
  port_ = platform::LocalPort(listener_);
  ready_.emplace();
  ready_->Watch(listener_);
  return {};
}

void ModbusTcpServerLine::Close() {
  while (!clients_.empty()) Drop(clients_.begin());
  requests_.clear();
  current_.reset();
  handed_ = 0;
  ready_.reset();
  if (listener_ >= 0) close(listener_);
  listener_ = -1;
  port_ = 0;
}

ModbusTcpServerLine::Client* ModbusTcpServerLine::Find(std::uint64_t id) {
  for (Client& client : clients_)
    if (client.id == id) return &client;
  return nullptr;
}

void ModbusTcpServerLine::Drop(std::list<Client>::iterator client) {
  const std::uint64_t id = client->id;
  std::erase_if(requests_, [id](const Request& r) { return r.client == id; });
  if (ready_) ready_->Unwatch(client->fd);
  close(client->fd);
  clients_.erase(client);
}

void ModbusTcpServerLine::Accept() {
  for (;;) {
    const int fd = accept4(listener_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (fd < 0) return;
    if (clients_.size() >= kMaxClients) {
      close(fd);
      continue;
    }
    Client& client = clients_.emplace_back();
    client.fd = fd;
    client.id = nextClient_++;
    ready_->Watch(fd);
  }
}

bool ModbusTcpServerLine::ReadFrom(Client& client) {
  std::uint8_t chunk[512];
  for (;;) {
    const ssize_t n = recv(client.fd, chunk, sizeof chunk, MSG_DONTWAIT);
    if (n > 0) {
      client.reader.Feed(std::span(chunk, static_cast<std::size_t>(n)));
      continue;
    }
    if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)) break;
    // Closed or reset: a request half in is lost with it.
    if (client.reader.Partial() > 0) ++dropped_;
    return false;
  }
  while (std::optional<MODBUS::MbapFrame> frame = client.reader.Next())
    requests_.push_back({client.id, frame->header, MODBUS::RtuFromMbap(*frame)});
  if (client.reader.Broken()) {
    ++dropped_;
    return false;
  }
  return true;
}

bool ModbusTcpServerLine::Flush(Client& client) {
  while (!client.unsent.empty()) {
    const ssize_t n = send(client.fd, client.unsent.data(), client.unsent.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (n > 0) {
      client.unsent.erase(client.unsent.begin(), client.unsent.begin() + n);
      continue;
    }
    return n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR);
  }
  return true;
}

void ModbusTcpServerLine::Pump() {
  if (listener_ < 0) return;
  Accept();
  for (auto client = clients_.begin(); client != clients_.end();) {
    const auto next = std::next(client);
    if (!Flush(*client) || !ReadFrom(*client)) Drop(client);
    client = next;
  }
  UpdateReady();
}

void ModbusTcpServerLine::UpdateReady() {
  if (!ready_) return;
  const bool handing = current_ && handed_ < current_->rtu.size();
  ready_->SetHolding(handing || !requests_.empty());
}

IoResult ModbusTcpServerLine::Write(std::span<const std::uint8_t> bytes) {
  if (listener_ < 0) return {0, IoStatus::Closed, EBADF};
  if (!current_) return {bytes.size(), IoStatus::Ok, 0};  // no request waits: nobody to tell
  const Request request = std::move(*current_);
  current_.reset();
  handed_ = 0;
  UpdateReady();
  Client* client = Find(request.client);
  const std::optional<MODBUS::MbapFrame> answer = MODBUS::MbapFromRtu(bytes, request.header);
  if (client == nullptr || !answer) return {bytes.size(), IoStatus::Ok, 0};
  const std::vector<std::uint8_t> mbap = MODBUS::EncodeMbap(*answer);
  client->unsent.insert(client->unsent.end(), mbap.begin(), mbap.end());
  if (!Flush(*client))
    for (auto it = clients_.begin(); it != clients_.end(); ++it)
      if (&*it == client) {
        Drop(it);
        break;
      }
  return {bytes.size(), IoStatus::Ok, 0};
}

IoResult ModbusTcpServerLine::ReadAvailable(std::span<std::uint8_t> into) {
  if (listener_ < 0) return {0, IoStatus::Closed, EBADF};
  Pump();
  const bool handing = current_ && handed_ < current_->rtu.size();
  if (!handing) {
    if (requests_.empty()) return {};
    // The request before was left unanswered.
    current_ = std::move(requests_.front());
    requests_.pop_front();
    handed_ = 0;
  }
  const std::vector<std::uint8_t>& frame = current_->rtu;
  const std::size_t n = std::min(into.size(), frame.size() - handed_);
  std::copy_n(frame.begin() + static_cast<std::ptrdiff_t>(handed_), n, into.begin());
  handed_ += n;
  UpdateReady();
  return {n, IoStatus::Ok, 0};
}

std::size_t ModbusTcpServerLine::BytesAvailable() {
  Pump();
  if (current_ && handed_ < current_->rtu.size()) return current_->rtu.size() - handed_;
  return requests_.empty() ? 0 : requests_.front().rtu.size();
}

std::size_t ModbusTcpServerLine::OutputQueued() {
  std::size_t queued = 0;
  for (const Client& client : clients_) queued += client.unsent.size();
  return queued;
}

void ModbusTcpServerLine::Purge(platform::PurgeWhat what) {
  if (what == platform::PurgeWhat::Output || what == platform::PurgeWhat::Both)
    for (Client& client : clients_) client.unsent.clear();
  if (what == platform::PurgeWhat::Input || what == platform::PurgeWhat::Both) {
    requests_.clear();
    current_.reset();
    handed_ = 0;
    UpdateReady();
  }
}

int ModbusTcpServerLine::TakeDroppedFrames() { return std::exchange(dropped_, 0); }

}  // namespace quorvel
