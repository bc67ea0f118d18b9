// The virtual printer's job port: each connection over which something comes is a job, and each job is kept as a file.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <span>
#include <string>

namespace kesto::printer {

struct JobBehaviour {
  std::string folder = ".";          ///< where jobs are kept
  std::uint64_t bytesPerSecond = 0;  ///< how fast a job is taken; 0: as it comes
  std::uint64_t closeAfter = 0;      ///< the connection is closed after so many bytes; 0: at its end
};

/// A job that is over.
struct KeptJob {
  int number;  ///< of its file
  std::string file;
  std::uint64_t bytes;
  bool complete;  ///< the sender closed it, not the printer or an error
};

/// Makes a new file for a job in a folder, with the first number from `number` on that is free. `number` and `name`
/// become its number and path. Returns its descriptor, or -1 with errno set.
[[nodiscard]] int makeJobFile(const std::string& folder, int& number, std::string& name);

class JobPort {
 public:
  using Clock = std::chrono::steady_clock;

  explicit JobPort(JobBehaviour behaviour, std::function<void(const KeptJob&)> finished)
      : behaviour_(std::move(behaviour)), finished_(std::move(finished)) {}
  JobPort(const JobPort&) = delete;
  JobPort& operator=(const JobPort&) = delete;
  ~JobPort();

  /// Takes the connection that waits at `listener`.
  void accept(int listener);

  /// Reads what the connections have sent, as far as their pace allows. Returns when to look again at the latest.
  Clock::time_point work();

  /// Whether a job is being taken.
  [[nodiscard]] bool isBusy() const { return !connections_.empty(); }

  /// The connections whose input is wanted now, to be waited for by the caller.
  void forEachReading(const std::function<void(int)>& visit) const;

 private:
  struct Connection {
    int number, descriptor, file;  ///< number and file: none before the first bytes
    std::string name;
    std::uint64_t bytes = 0;
    Clock::time_point next{};  ///< not before this time
  };

  bool takeSome(Connection& connection);
  int keep(Connection& connection, std::span<const std::uint8_t> bytes);
  void finish(Connection& connection, bool complete);

  JobBehaviour behaviour_;
  std::function<void(const KeptJob&)> finished_;
  std::list<Connection> connections_;
  int lastNumber_ = 0;  ///< of a job's file
};

}  // namespace kesto::printer
