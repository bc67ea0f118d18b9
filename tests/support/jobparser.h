// A printer job as tests look at it: the job reader's judgement, and its findings in memory.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "kestojob/reader/element.h"
#include "kestojob/reader/pagerules.h"

namespace kesto::test {

using Bytes = std::vector<std::uint8_t>;

struct Strip {
  unsigned width = 0, height = 0;
  Bytes tags;  ///< as they were sent
};

struct Page {
  std::map<std::uint8_t, job::Attribute> setup;  ///< attributes of all operators from BeginPage to the first strip
  std::vector<Strip> strips;
  job::PageLayout layout;
  Bytes pixels;  ///< of all strips: grey, or Y, Cb and Cr

  [[nodiscard]] unsigned height() const;
};

struct Job {
  std::vector<std::string> pjl;  ///< header lines, without line feeds
  std::vector<Page> pages;
};

/// What the job reader objects to, with its offset; empty for a good job.
[[nodiscard]] std::string faultOf(std::span<const std::uint8_t> job);

/// Takes the job apart; throws std::runtime_error with the fault of a job that is not good.
[[nodiscard]] Job parseJob(std::span<const std::uint8_t> bytes);

/// The page's luma rows (grey jobs: its grey rows) as an independent decoder sees them.
[[nodiscard]] Bytes decodeLuma(const Page& page, bool color);

}  // namespace kesto::test
