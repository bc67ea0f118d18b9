#include "printerapp/connection.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <memory>

#include <cups/http.h>
#include <linux/sockios.h>
#include <netdb.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include "base/poll.h"

namespace kesto::app {
namespace {

using std::chrono::milliseconds;

constexpr int PRINTER_PORT = 9100;
constexpr milliseconds CONNECT_TIME{5000};

using Addresses = std::unique_ptr<http_addrlist_t, decltype(&httpAddrFreeList)>;

/// The error that a socket has met, 0 for none.
int errorOf(int descriptor) {
  int error = 0;
  socklen_t length = sizeof error;
  return getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &length) == 0 ? error : errno;
}

bool isWritable(int descriptor) {
  pollfd entry = {.fd = descriptor, .events = POLLOUT, .revents = 0};
  return poll(&entry, 1, 0) > 0;
}

bool connectTo(int descriptor, const http_addr_t& address, const std::function<bool()>& giveUp) {
  const auto* const name = reinterpret_cast<const sockaddr*>(&address);
  if (connect(descriptor, name, static_cast<socklen_t>(httpAddrLength(&address))) == 0) return true;
  if (errno != EINPROGRESS) return false;
  bool givenUp = false;
  const bool ready = pollUntil([&] { return isWritable(descriptor) || (givenUp = giveUp()); }, CONNECT_TIME);
  errno = givenUp ? ECANCELED : ready ? errorOf(descriptor) : ETIMEDOUT;
  return errno == 0;
}

/// Takes what the printer sends; nobody here reads it. False when it has closed its side.
bool discardInput(int descriptor) {
  std::array<char, 1024> bytes;
  const ssize_t got = recv(descriptor, bytes.data(), bytes.size(), MSG_DONTWAIT);
  return got > 0 || (got < 0 && (errno == EAGAIN || errno == EINTR));
}

}  // namespace

Connection::Connection(const std::string& uri) {
  std::array<char, 32> scheme = {}, user = {};
  std::array<char, 256> host = {}, resource = {};
  int port = 0;
  httpSeparateURI(HTTP_URI_CODING_ALL, uri.c_str(), scheme.data(), scheme.size(), user.data(), user.size(), host.data(),
                  host.size(), &port, resource.data(), resource.size());
  host_ = host.data();
  port_ = std::to_string(port > 0 ? port : PRINTER_PORT);
}

bool Connection::open(const std::function<bool()>& giveUp) {
  close();
  errno = EHOSTUNREACH;
  const Addresses addresses(httpAddrGetList(host_.c_str(), AF_UNSPEC, port_.c_str()), httpAddrFreeList);
  for (http_addrlist_t* entry = addresses.get(); entry != nullptr; entry = entry->next) {
    socket_ = Descriptor(socket(httpAddrFamily(&entry->addr), SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (socket_.get() >= 0 && connectTo(socket_.get(), entry->addr, giveUp)) return true;
    const int error = errno;
    close();
    errno = error;
  }
  return false;
}

ssize_t Connection::write(std::span<const std::uint8_t> bytes) {
  const ssize_t taken = send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
  return taken < 0 && (errno == EAGAIN || errno == EINTR) ? 0 : taken;
}

bool Connection::finish(const std::function<bool()>& giveUp) {
  shutdown(socket_.get(), SHUT_WR);
  bool givenUp = false, listening = true;
  int waiting = 0, error = 0;
  pollUntil([&] {
    listening = listening && discardInput(socket_.get());
    error = errorOf(socket_.get());
    if (ioctl(socket_.get(), SIOCOUTQ, &waiting) != 0) error = errno;
    givenUp = giveUp();
    return waiting == 0 || error != 0 || givenUp;
  });
  close();
  errno = error != 0 ? error : waiting != 0 ? ECANCELED : 0;
  return errno == 0;
}

}  // namespace kesto::app
