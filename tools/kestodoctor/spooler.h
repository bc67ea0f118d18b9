// The spooler as it answers questions over IPP. Nothing here changes anything there, or asks a person for a password.
//
// A spooler that has stopped answering is given up after a few seconds for each question. All texts are as they came:
// they have to pass through `words.h` before they are shown.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <cups/cups.h>

namespace kesto::doctor {

/// The driver as the spooler names it.
inline constexpr char DRIVER[] = "drv:///kesto.drv/kesto.ppd";

struct Queue {
  std::string name;
  std::string makeAndModel;
  std::string deviceUri;
  std::string message;
  std::vector<std::string> reasons;  ///< "none" is left out
  ipp_pstate_t state = IPP_PSTATE_IDLE;
  bool accepting = false;
};

struct Job {
  int id = 0;
  ipp_jstate_t state = IPP_JSTATE_PENDING;
  std::string message;
  std::vector<std::string> reasons;
  int completed = 0;  ///< when it was over, in the system's seconds
};

class Spooler {
 public:
  Spooler();
  Spooler(const Spooler&) = delete;
  Spooler& operator=(const Spooler&) = delete;
  ~Spooler() { httpClose(connection_); }

  /// Connects and asks a first question; false when the spooler is not there or does not answer. Needed before all
  /// else.
  [[nodiscard]] bool connect();
  /// Where it is: "/run/cups/cups.sock", "print.example.org:631".
  [[nodiscard]] std::string place() const;
  /// Whether its files are those of this machine.
  [[nodiscard]] bool isHere() const;
  /// Why the last question had no answer, in the library's words.
  [[nodiscard]] static std::string trouble() { return cupsLastErrorString(); }

  [[nodiscard]] std::optional<Queue> queue(const std::string& name);
  [[nodiscard]] std::vector<Queue> allQueues();
  /// The queue that `lp` would take without being told one; empty when there is none.
  [[nodiscard]] std::string defaultQueue();

  /// The queue's PPD, or one that the spooler's list of drivers names; nothing when there is none.
  [[nodiscard]] std::optional<std::string> queuePpd(const std::string& queue);
  [[nodiscard]] std::optional<std::string> driverPpd(const std::string& driver);

  /// The jobs that are not over, or those that are, in no order that could be relied on. Nothing when the spooler does
  /// not say.
  [[nodiscard]] std::optional<std::vector<Job>> waitingJobs(const std::string& queue);
  [[nodiscard]] std::optional<std::vector<Job>> pastJobs(const std::string& queue);

  /// The URIs of the devices that the spooler's backend for `scheme` finds; nothing when we may not ask for them.
  [[nodiscard]] std::optional<std::vector<std::string>> devices(const std::string& scheme);

 private:
  using Message = std::unique_ptr<ipp_t, decltype(&ippDelete)>;

  [[nodiscard]] Message ask(Message request);
  [[nodiscard]] std::optional<std::string> fetch(const Message& request);
  [[nodiscard]] std::optional<std::vector<Job>> jobs(const std::string& queue, const char* which);

  http_t* connection_ = nullptr;
};

}  // namespace kesto::doctor
