#include "hdc/alertreport.h"

#include <span>

#include "hdc/report.h"
#include "npa/NPAValidator.h"
#include "npa/NpaParser.h"
#include "npa/alerttext.h"

namespace kesto {

constinit std::atomic<std::int32_t> IsDeviceInError{0};

void reportAlerts(std::uint32_t length, const AlertReportStyle& style) {
  PSSDALERTINFO* records = nullptr;
  std::int32_t count = 0;
  const bool isError = GetExtAlertInformation(validBuffer.data(), length, records, count) == 0 && count > 0 &&
                       records[0].alertType == ALERT_ERROR;
  IsDeviceInError.store(isError ? 1 : 0, std::memory_order_release);
  if (isError) {
    if (style.traced) report("Inside GetExtAlerts in hdc\n");
    const auto told = std::span(records, static_cast<std::size_t>(style.allAlerts ? count : 1));
    for (int i = 0; i < style.repeats; ++i) {
      for (const PSSDALERTINFO& alert : told) report("WARNING: %s\n", alertText(alert).c_str());
    }
  }
  releaseAlerts(records, count);
  validBuffer.fill(0);
}

}  // namespace kesto
