// A printer job as tests look at it: the job reader's judgement, and its findings in memory.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "kestojob/reader/pagerules.h"

namespace kesto::test {

using Bytes = std::vector<std::uint8_t>;

struct Page {
  job::PageLayout layout;
  unsigned width = 0, height = 0;  ///< of its image, all strips together
  Bytes luma;                      ///< as an independent decoder sees it; the rows of a grey page
};

struct Job {
  std::vector<Page> pages;
  std::string list;  ///< what the job reader lists up to the first strip
};

/// What the job reader objects to, with its offset; empty for a good job.
[[nodiscard]] std::string faultOf(std::span<const std::uint8_t> job);

/// Takes the job apart; throws std::runtime_error with the fault of a job that is not good.
[[nodiscard]] Job parseJob(std::span<const std::uint8_t> bytes);

/// Expects that the job's list holds each of these texts, and none of those that begin with '!'.
void expectList(const Job& job, const std::vector<std::string>& texts, const std::string& choice);

/// Where the first page's raster begins, in points from the sheet's corner.
[[nodiscard]] double originInPoints(const Job& job);

}  // namespace kesto::test
