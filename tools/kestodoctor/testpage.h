// A page sent through the filter and its renderer as the spooler would send it, to nobody.
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace kesto::doctor {

/// What the filter is run with.
struct FilterCall {
  std::string serverBin;  ///< where its program and the renderer are
  std::string queue;
  std::optional<std::string> ppd;  ///< the text of the queue's PPD
  std::chrono::seconds time;       ///< how long it may take
};

/// Prints a small page and judges the job. Returns what is wrong, in words fit for a terminal; empty when the job is
/// good and shows the page.
///
/// Document, PPD, job and messages are kept in memory, so that nothing is left however this ends. A filter that takes
/// too long is asked to end, with its renderer, and killed when it does not; it is asked as well when this program
/// dies.
[[nodiscard]] std::string printTestPage(const FilterCall& call);

}  // namespace kesto::doctor
