#include "hdc/monitor/alertreport.h"

#include <new>
#include <span>

#include "base/report.h"
#include "npa/NPAValidator.h"
#include "npa/NpaParser.h"
#include "npa/alerttext.h"

namespace kesto {

namespace {

void reportTexts(std::span<const PSSDALERTINFO> alerts, const AlertReportStyle& style) {
  try {
    for (int i = 0; i < style.repeats; ++i) {
      for (const PSSDALERTINFO& alert : alerts) {
        report("%sWARNING: %s\n", style.traced ? "\n" : "", alertText(alert).c_str());
      }
    }
  } catch (const std::bad_alloc&) {
    // The printer will be asked again. An exception that left the status thread would end the job.
  }
}

}  // namespace

constinit std::atomic<std::int32_t> IsDeviceInError{0};

void reportAlerts(std::uint32_t length, const AlertReportStyle& style) {
  PSSDALERTINFO* records = nullptr;
  std::int32_t count = 0;
  const bool isError = GetExtAlertInformation(validBuffer.data(), length, records, count) == 0 && count > 0 &&
                       records[0].alertType == ALERT_ERROR;
  IsDeviceInError.store(isError ? 1 : 0, std::memory_order_release);
  if (isError) {
    if (style.traced) report("\nInside GetExtAlerts in hdc\n");
    reportTexts({records, static_cast<std::size_t>(style.allAlerts ? count : 1)}, style);
  }
  releaseAlerts(records, count);
  validBuffer.fill(0);
}

}  // namespace kesto
