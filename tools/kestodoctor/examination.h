// What is asked for, and what the checks have learned so far: each check reads what those before it have left here.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "kestodoctor/spooler.h"
#include "kestodoctor/words.h"

namespace kesto::doctor {

/// What the command line says.
struct Call {
  std::string queue;   ///< empty: the one that there is, or all of the driver's
  std::string server;  ///< given with -h; empty otherwise
  bool json = false;
  std::chrono::seconds pageTime{60};  ///< how long the test page may take
};

/// What can hold, and what a check can need. A check that finds all well makes its own hold.
enum Fact : unsigned {
  SPOOLER_ANSWERS = 1 << 0,
  SPOOLER_IS_HERE = 1 << 1,
  DRIVER_IS_LISTED = 1 << 2,
  FILTER_IS_THERE = 1 << 3,
  RENDERER_IS_THERE = 1 << 4,
  QUEUE_IS_THERE = 1 << 5,
  DEVICE_IS_KNOWN = 1 << 6,
  NOTHING = 0,
};

/// Where the queue's device URI leads.
struct Device {
  std::string scheme;  ///< "socket"; also the name of the spooler's backend
  std::string host;    ///< empty when it is not one on the network, or none that is named
  int port = 0;
};

struct Examination {
  const Call& call;
  Spooler spooler{};
  unsigned facts = 0;
  std::string queueName{};
  Queue queue{};
  Device device{};
  std::optional<std::string> driverPpd{}, queuePpd{};

  /// A command with the words that name its server, where one was named to us.
  [[nodiscard]] std::string command(std::string_view program, std::string_view arguments) const {
    const std::string server = call.server.empty() ? "" : " -h " + shellWord(call.server);
    return std::string(program) + server + ' ' + std::string(arguments);
  }
  [[nodiscard]] std::string queueWord() const { return shellWord(queueName); }
};

}  // namespace kesto::doctor
