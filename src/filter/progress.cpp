#include "filter/progress.h"

#include <algorithm>

#include "base/report.h"
#include "hdc/monitor/alertreport.h"

namespace kesto {

void Progress::pageBegins(int page) const {
  if (IsDeviceInError.load(std::memory_order_acquire) == 0) report("INFO: Printing page %d.\n", page);
}

void Progress::pageEnds(int page) const {
  if (impressions_ <= 0) return;
  const std::int64_t done = std::min<std::int64_t>(page, impressions_);
  report("ATTR: job-media-progress=%d\n", static_cast<int>(done * 100 / impressions_));
}

}  // namespace kesto
