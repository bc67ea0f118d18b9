// All checks in the order in which a person would look.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "kestodoctor/examination.h"
#include "kestodoctor/finding.h"

namespace kesto::doctor {

/// Receives each finding as soon as it is known: the queue (empty for what concerns them all), the check's name, and
/// what was found.
using Report = std::function<void(const std::string& queue, std::string_view check, const Finding& finding)>;

/// Makes the checks of the spooler and of the driver, then those of each queue that is to be looked at. A check whose
/// needs do not hold is reported as skipped.
void examine(const Call& call, const Report& report);

}  // namespace kesto::doctor
