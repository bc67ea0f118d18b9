#include "kestoprinter/jobport.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <limits>
#include <system_error>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "base/descriptor.h"

namespace kesto::printer {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds SLICE{50};  ///< a slow job is taken in slices of this time
constexpr milliseconds IDLE{1000};

}  // namespace

int makeJobFile(const std::string& folder, int& number, std::string& name) {
  for (;; ++number) {
    std::array<char, 32> file = {};
    std::snprintf(file.data(), file.size(), "/job-%04d.prn", number);
    name = folder + file.data();
    // Whatever has this name, be it a link that leads nowhere, is left alone.
    const int descriptor = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (descriptor >= 0 || errno != EEXIST || number == std::numeric_limits<int>::max()) return descriptor;
  }
}

JobPort::~JobPort() {
  for (Connection& connection : connections_) finish(connection, false);
}

void JobPort::accept(int listener) {
  const int descriptor = ::accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
  if (descriptor < 0) return;
  connections_.push_back({.number = 0, .descriptor = descriptor, .file = -1, .name = {}});
}

JobPort::Clock::time_point JobPort::work() {
  const auto now = Clock::now();
  auto next = now + IDLE;
  for (auto it = connections_.begin(); it != connections_.end();) {
    const bool open = it->next > now || takeSome(*it);
    if (open && it->next > now) next = std::min(next, it->next);
    it = open ? std::next(it) : connections_.erase(it);
  }
  return next;
}

bool JobPort::takeSome(Connection& connection) {
  std::array<std::uint8_t, 65536> buffer;
  std::size_t wanted = buffer.size();
  if (behaviour_.bytesPerSecond > 0) {
    wanted = std::clamp<std::size_t>(behaviour_.bytesPerSecond * SLICE.count() / 1000, 1, wanted);
  }
  if (behaviour_.closeAfter > 0) wanted = std::min<std::uint64_t>(wanted, behaviour_.closeAfter - connection.bytes);
  const ssize_t got = recv(connection.descriptor, buffer.data(), wanted, 0);
  if (got < 0 && (errno == EAGAIN || errno == EINTR)) return true;
  if (got <= 0) {
    finish(connection, got == 0);
    return false;
  }
  if (const int error = keep(connection, std::span(buffer).first(static_cast<std::size_t>(got))); error != 0) {
    const std::string reason = std::generic_category().message(error);
    std::fprintf(stderr, "kestoprinter: %s: %s\n", connection.name.c_str(), reason.c_str());
    finish(connection, false);
    return false;
  }
  connection.bytes += static_cast<std::uint64_t>(got);
  if (behaviour_.closeAfter > 0 && connection.bytes >= behaviour_.closeAfter) {
    finish(connection, false);
    return false;
  }
  if (behaviour_.bytesPerSecond > 0) connection.next = Clock::now() + SLICE;
  return true;
}

/// Appends to the job's file, which the first bytes make; returns 0 or the error number.
int JobPort::keep(Connection& connection, std::span<const std::uint8_t> bytes) {
  if (connection.file < 0) {
    connection.number = lastNumber_ + 1;
    connection.file = makeJobFile(behaviour_.folder, connection.number, connection.name);
    if (connection.file < 0) return errno;
    lastNumber_ = connection.number;
  }
  return writeFully(connection.file, bytes.data(), bytes.size());
}

void JobPort::finish(Connection& connection, bool complete) {
  close(connection.descriptor);
  if (connection.file < 0) return;  // somebody has only looked whether the port is open
  close(connection.file);
  finished_({connection.number, connection.name, connection.bytes, complete});
}

void JobPort::forEachReading(const std::function<void(int)>& visit) const {
  const auto now = Clock::now();
  for (const Connection& connection : connections_) {
    if (connection.next <= now) visit(connection.descriptor);
  }
}

}  // namespace kesto::printer
