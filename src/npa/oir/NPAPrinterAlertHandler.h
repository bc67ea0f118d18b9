// Asks a printer for its operator interventions and keeps the answer.
//
// All handlers share one transport, so they belong to one thread.
#pragma once

#include <array>
#include <cstdint>

#include "npa/oir/NPATransportFactory.h"
#include "npa/oir/OIRCommandResponse.h"
#include "npa/oir/oirThreadParam.h"

namespace kesto {

class NPAPrinterAlertHandler {
 public:
  /// Creates the transport that all handlers use from now on; the one before is closed.
  explicit NPAPrinterAlertHandler(NPATransportTypes type);

  /// Connects to the printer named in `param`, sends one request and reads one answer.
  ///
  /// 1 when a request was sent and an answer was waited for, whatever came; else the result of sending, 0 or below, and
  /// the last answer stays.
  [[nodiscard]] std::int64_t GetPrinterOIRStatus(oirThreadParam* param);

  /// Fills `texts`, entryCount() pointers, as OIRCommandResp::mappedString does.
  void GetParsedString(char** texts);

  /// Entries of the last answer.
  [[nodiscard]] std::int32_t entryCount() const { return entryCount_; }

  /// The result of reading the last answer: its length, -1 when none came.
  [[nodiscard]] std::int64_t receivedLength() const { return receivedLength_; }

  /// Owned. Never freed at the end of the process, when the thread that uses it may still run.
  static NPATransport* pNPATransport;

 private:
  std::array<std::uint8_t, 540> datagram_{};
  OIRCommandResp response_;
  std::int64_t receivedLength_{0};
  std::int32_t entryCount_{0};
};

}  // namespace kesto
