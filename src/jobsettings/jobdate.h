// The job's date as the printer wants it: a number of days and a fraction.
//
// Thread rule: none, the result depends on the argument alone.
#pragma once

#include <ctime>

namespace kesto {

/// Returns `time` as days since 1899-12-30 UTC, the time of day as the fraction, computed in 32-bit float: today's
/// dates move in steps of 1/256 day. Dates before 1900-02-28 come out one day early, since this count of days has a
/// 29th of February 1900 (the calendar of spreadsheets).
float daysSince1899(std::time_t time);

}  // namespace kesto
