// The device URI in words, and whether there is somebody at its other end.
#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <iterator>
#include <system_error>

#include <cups/http.h>
#include <poll.h>
#include <sys/socket.h>

#include "base/descriptor.h"
#include "base/poll.h"
#include "kestodoctor/checks.h"

namespace kesto::doctor {
namespace {

constexpr std::chrono::milliseconds CONNECT_TIME{4000};

/// How the spooler's backends reach a printer.
struct Connection {
  std::string_view scheme;
  const char* words;
  bool hasHost;
};
constexpr Connection CONNECTIONS[] = {
    {"usb", "the printer is connected by USB", false},
    {"socket", "the printer is on the network and takes plain data", true},
    {"lpd", "the printer is on the network and is sent jobs by LPD", true},
    {"ipp", "the printer is on the network and is sent jobs by IPP", true},
    {"ipps", "the printer is on the network and is sent jobs by IPP, encrypted", true},
    {"http", "the printer is on the network and is sent jobs by IPP", true},
    {"https", "the printer is on the network and is sent jobs by IPP, encrypted", true},
    {"dnssd", "the printer is looked up on the network by its name for every job", false},
};

/// A URI taken apart by the spooler's library.
struct UriParts {
  std::array<char, 64> scheme{};
  std::array<char, 256> user{}, host{};
  std::array<char, 1024> resource{};
  int port = 0;

  [[nodiscard]] bool read(const std::string& uri) {
    return httpSeparateURI(HTTP_URI_CODING_ALL, uri.c_str(), scheme.data(), size(scheme), user.data(), size(user),
                           host.data(), size(host), &port, resource.data(), size(resource)) >= HTTP_URI_STATUS_OK;
  }

 private:
  template <std::size_t SIZE>
  static int size(const std::array<char, SIZE>&) {
    return static_cast<int>(SIZE);
  }
};

Finding checkFileDevice(const std::string& path, const std::string& mend) {
  if (path == "/dev/null") return wrong("there is no printer: the device URI throws every job away", mend);
  return good("there is no printer: jobs are written to " + plain(path));
}

/// A device's address on its bus, without what the URI says of its options.
std::string addressOf(const std::string& uri) {
  return uri.substr(0, uri.find('?'));
}

/// The spooler's own backend looks which printers are plugged in.
Finding checkUsb(Examination& examination) {
  const auto devices = examination.spooler.devices("usb");
  if (!devices) return skipped("the way to the printer: only an administrator may ask which printers are plugged in");
  const auto isOurs = [&](const std::string& uri) { return addressOf(uri) == addressOf(examination.queue.deviceUri); };
  if (std::ranges::any_of(*devices, isOurs)) return good("the printer is plugged in and switched on");
  const std::string others = devices->empty() ? "" : "; there is " + listed(*devices);
  return wrong("the printer is not found on USB" + others,
               "plug it in and switch it on; " + examination.command("lpinfo", "-v") + " shows it when it is there");
}

/// Connects to one of the addresses, each within CONNECT_TIME; returns 0 or the last one's error number.
int connectToAny(http_addrlist_t* addresses) {
  int error = EHOSTUNREACH;
  for (; addresses != nullptr && error != 0; addresses = addresses->next) {
    const Descriptor stream(socket(httpAddrFamily(&addresses->addr), SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const auto length = static_cast<socklen_t>(httpAddrLength(&addresses->addr));
    error = connect(stream.get(), &addresses->addr.addr, length) == 0 ? 0 : errno;
    if (error != EINPROGRESS) continue;
    const bool decided = pollUntil(
        [&] {
          pollfd output = {.fd = stream.get(), .events = POLLOUT, .revents = 0};
          return ::poll(&output, 1, 0) > 0;
        },
        CONNECT_TIME);
    socklen_t size = sizeof error;
    if (!decided || getsockopt(stream.get(), SOL_SOCKET, SO_ERROR, &error, &size) != 0) error = ETIMEDOUT;
  }
  return error;
}

Finding checkPort(const Examination& examination) {
  const Device& device = examination.device;
  const std::string port = std::to_string(device.port);
  http_addrlist_t* const addresses = httpAddrGetList(device.host.c_str(), AF_UNSPEC, port.c_str());
  if (addresses == nullptr) {
    return wrong("the network does not know the name " + plain(device.host),
                 examination.command("lpadmin", "-p " + examination.queueWord() + " -v " + device.scheme +
                                                    "://ADDRESS-OF-THE-PRINTER"));
  }
  const int error = connectToAny(addresses);
  httpAddrFreeList(addresses);
  const std::string place = "port " + port + " of " + plain(device.host);
  if (error == 0) return good(place + " accepts a connection");
  return wrong(place + " accepts no connection: " + std::generic_category().message(error),
               "switch the printer on and see that it is on the network: ping " + shellWord(device.host));
}

}  // namespace

Finding checkDevice(Examination& examination) {
  const std::string& uri = examination.queue.deviceUri;
  const std::string mend =
      examination.command("lpadmin", "-p " + examination.queueWord() + " -v DEVICE-URI    (" +
                                         examination.command("lpinfo", "-v") + " lists the devices)");
  UriParts parts;
  if (!parts.read(uri)) return wrong("the device URI says nothing: " + inQuotes(uri), mend);
  examination.device.scheme = parts.scheme.data();
  const std::string& scheme = examination.device.scheme;
  if (scheme == "file") return checkFileDevice(parts.resource.data(), mend);
  const auto* const connection = std::ranges::find(CONNECTIONS, scheme, &Connection::scheme);
  if (connection == std::end(CONNECTIONS)) {
    return good("the printer is reached by the backend " + inQuotes(scheme) + ", which is not known here");
  }
  if (!connection->hasHost) return good(connection->words);
  examination.device.host = parts.host.data();
  examination.device.port = parts.port;
  if (examination.device.host.empty()) return wrong("the device URI names no printer: " + plain(uri), mend);
  return good(std::string(connection->words) + ": " + plain(examination.device.host) + " port " +
              std::to_string(parts.port));
}

Finding checkConnection(Examination& examination) {
  if (examination.device.scheme == "usb") return checkUsb(examination);
  if (examination.device.host.empty()) return skipped("the way to the printer: only the backend knows it");
  if (examination.queue.state == IPP_PSTATE_PROCESSING) {
    return skipped("the way to the printer: the queue is printing, and many printers take one connection at a time");
  }
  return checkPort(examination);
}

}  // namespace kesto::doctor
