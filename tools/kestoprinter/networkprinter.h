// The virtual printer on the network: jobs on a TCP port, status requests and SNMP on UDP ports.
//
// One thread waits for all of it and answers at once, but for status answers, which may have to wait for their time.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

#include <netinet/in.h>

#include "base/descriptor.h"
#include "kestoprinter/alertpanel.h"
#include "kestoprinter/jobport.h"
#include "kestoprinter/statusport.h"

namespace kesto::printer {

/// Where the spooler asks, whatever printer it is.
inline constexpr std::uint16_t SNMP_PORT = 161;

struct NetworkSettings {
  std::string address = "127.0.0.1";
  std::uint16_t port = 9100;
  std::uint16_t statusPort = 9300;
  std::optional<std::uint16_t> snmpPort;  ///< 0: none; not given: SNMP_PORT, and none when it cannot be had
  int maxJobs = 0;                        ///< 0: no limit
};

class NetworkPrinter {
 public:
  /// Takes the ports; throws std::system_error when one cannot be had, std::runtime_error for an address that is none.
  NetworkPrinter(const NetworkSettings& network, const JobBehaviour& jobs, const StatusBehaviour& status);

  /// Prints on standard output what comes, until `ended()` or the last job; the panel's lines come from standard input.
  void run(bool (*ended)());

  [[nodiscard]] AlertPanel& panel() { return panel_; }

 private:
  using Clock = std::chrono::steady_clock;
  struct Datagram {
    sockaddr_in peer;
    Bytes bytes;
  };
  struct DueAnswer {
    Clock::time_point time;
    Datagram datagram;
  };

  static std::optional<Datagram> receive(const Descriptor& socket);
  static void send(const Descriptor& socket, const Datagram& datagram);
  void openSnmp();
  void waitForInput(Clock::time_point next);
  void takeStatusRequest();
  void answerSnmpRequest();
  Clock::time_point sendDueAnswers();
  void jobIsOver(const KeptJob& job);

  NetworkSettings network_;
  AlertPanel panel_;
  JobPort jobs_;
  StatusPort status_;
  Descriptor jobListener_, statusSocket_, snmpSocket_;
  PanelInput commands_{STDIN_FILENO};
  std::deque<DueAnswer> due_;
  Clock::time_point start_ = Clock::now();
  int finishedJobs_ = 0;
  std::uint32_t pages_ = 0;
};

}  // namespace kesto::printer
