#include "kestoprinter/networkprinter.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <system_error>
#include <vector>

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>

#include "kestoprinter/pagecount.h"
#include "kestoprinter/printermib.h"

namespace kesto::printer {
namespace {

/// A socket of `type` bound to the address and port. Jobs' ports can be had again at once after an earlier printer;
/// for datagrams the same option would let two printers share a port.
Descriptor bindSocket(int type, const std::string& address, std::uint16_t port) {
  sockaddr_in local = {};
  local.sin_family = AF_INET;
  local.sin_port = htons(port);
  if (inet_pton(AF_INET, address.c_str(), &local.sin_addr) != 1)
    throw std::runtime_error(address + " is no IPv4 address");
  Descriptor descriptor(socket(AF_INET, type | SOCK_CLOEXEC, 0));
  const int on = type == SOCK_STREAM ? 1 : 0;
  setsockopt(descriptor.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  const void* generic = &local;
  if (bind(descriptor.get(), static_cast<const sockaddr*>(generic), sizeof local) != 0 ||
      (type == SOCK_STREAM && listen(descriptor.get(), 16) != 0)) {
    throw std::system_error(errno, std::generic_category(), address + ":" + std::to_string(port));
  }
  return descriptor;
}

}  // namespace

NetworkPrinter::NetworkPrinter(const NetworkSettings& network, const JobBehaviour& jobs, const StatusBehaviour& status)
    : network_(network),
      jobs_(jobs, [this](const KeptJob& job) { jobIsOver(job); }),
      status_(status),
      jobListener_(bindSocket(SOCK_STREAM, network.address, network.port)),
      statusSocket_(bindSocket(SOCK_DGRAM, network.address, network.statusPort)) {
  openSnmp();
}

/// Ports below 1024 are for root, so that the usual one is tried and not insisted on.
void NetworkPrinter::openSnmp() {
  const bool wanted = network_.snmpPort.has_value();
  const std::uint16_t port = network_.snmpPort.value_or(SNMP_PORT);
  network_.snmpPort = 0;
  if (port == 0) return;
  try {
    snmpSocket_ = bindSocket(SOCK_DGRAM, network_.address, port);
    network_.snmpPort = port;
  } catch (const std::system_error& error) {
    if (wanted) throw;
    std::fprintf(stderr, "kestoprinter: SNMP is not answered: %s\n", error.what());
  }
}

void NetworkPrinter::run(bool (*ended)()) {
  const std::string snmp = *network_.snmpPort == 0 ? "" : ", SNMP on port " + std::to_string(*network_.snmpPort);
  std::printf("listening on %s, jobs on port %d, status on port %d%s\n", network_.address.c_str(), network_.port,
              network_.statusPort, snmp.c_str());
  while (!ended() && (network_.maxJobs == 0 || finishedJobs_ < network_.maxJobs)) {
    const auto next = std::min(jobs_.work(), sendDueAnswers());
    waitForInput(next);
  }
  const StatusCounts& counts = status_.counts();
  std::printf("registered %d, unregistered %d, asked for alerts %d, OIR %d\n", counts.registered, counts.unregistered,
              counts.polls, counts.oirPolls);
}

void NetworkPrinter::waitForInput(Clock::time_point next) {
  std::vector<pollfd> inputs = {{jobListener_.get(), POLLIN, 0},
                                {statusSocket_.get(), POLLIN, 0},
                                {snmpSocket_.get(), POLLIN, 0},
                                {commands_.descriptor(), POLLIN, 0}};
  jobs_.forEachReading([&](int descriptor) { inputs.push_back({descriptor, POLLIN, 0}); });
  const auto wait = std::chrono::duration_cast<std::chrono::milliseconds>(next - Clock::now()).count();
  if (poll(inputs.data(), inputs.size(), static_cast<int>(std::max<std::int64_t>(wait, 1))) <= 0) return;
  if (inputs[0].revents != 0) jobs_.accept(jobListener_.get());
  if (inputs[1].revents != 0) takeStatusRequest();
  if (inputs[2].revents != 0) answerSnmpRequest();
  if (inputs[3].revents != 0) commands_.read(panel_);
}

/// A datagram that has come, cut at 2048 bytes; nothing when there is none or it is empty.
std::optional<NetworkPrinter::Datagram> NetworkPrinter::receive(const Descriptor& socket) {
  Datagram datagram = {.peer = {}, .bytes = Bytes(2048)};
  socklen_t size = sizeof datagram.peer;
  void* generic = &datagram.peer;
  // One whose checksum is wrong is announced and is then not there.
  const ssize_t got = recvfrom(socket.get(), datagram.bytes.data(), datagram.bytes.size(), MSG_DONTWAIT,
                               static_cast<sockaddr*>(generic), &size);
  if (got <= 0) return std::nullopt;
  datagram.bytes.resize(static_cast<std::size_t>(got));
  return datagram;
}

void NetworkPrinter::send(const Descriptor& socket, const Datagram& datagram) {
  const void* generic = &datagram.peer;
  sendto(socket.get(), datagram.bytes.data(), datagram.bytes.size(), 0, static_cast<const sockaddr*>(generic),
         sizeof datagram.peer);
}

void NetworkPrinter::takeStatusRequest() {
  const std::optional<Datagram> request = receive(statusSocket_);
  if (!request) return;
  for (Bytes& answer : status_.answer(request->bytes, panel_)) {
    due_.push_back({Clock::now() + status_.delay(), {request->peer, std::move(answer)}});
  }
}

void NetworkPrinter::answerSnmpRequest() {
  using Hundredths = std::chrono::duration<std::int64_t, std::centi>;
  const std::optional<Datagram> request = receive(snmpSocket_);
  if (!request) return;
  const auto upTime = std::chrono::duration_cast<Hundredths>(Clock::now() - start_).count();
  const PrinterState state = {
      .panel = panel_, .printing = jobs_.isBusy(), .pages = pages_, .upTime = static_cast<std::uint32_t>(upTime)};
  const Bytes answer = answerSnmp(request->bytes, objectsOf(state));
  if (!answer.empty()) send(snmpSocket_, {request->peer, answer});
}

/// Sends the answers whose time has come; returns when the next one is due.
NetworkPrinter::Clock::time_point NetworkPrinter::sendDueAnswers() {
  for (; !due_.empty() && due_.front().time <= Clock::now(); due_.pop_front()) {
    send(statusSocket_, due_.front().datagram);
  }
  return due_.empty() ? Clock::time_point::max() : due_.front().time;
}

void NetworkPrinter::jobIsOver(const KeptJob& job) {
  ++finishedJobs_;
  const std::uint32_t pages = pagesIn(job.file);
  pages_ += pages;
  std::printf("job %d: %u page%s, %llu bytes in %s%s\n", job.number, pages, pages == 1 ? "" : "s",
              static_cast<unsigned long long>(job.bytes), job.file.c_str(), job.complete ? "" : ", broken off");
}

}  // namespace kesto::printer
