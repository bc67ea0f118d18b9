#include "support/jobparser.h"

#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

#include "kestojob/reader/fault.h"
#include "kestojob/reader/jobcheck.h"
#include "kestojob/reader/lister.h"

namespace kesto::test {
namespace {

/// Keeps the pages as the check hands them out.
class PageCollector : public job::PageSink {
 public:
  explicit PageCollector(Job& job) : job_(job) {}

  [[nodiscard]] job::PixelForm form() const override { return {.divisor = 1, .ycbcr = true}; }
  void beginPage(const job::PageLayout& layout) override { job_.pages.emplace_back().layout = layout; }
  void beginStrip(const job::StripShape& strip) override {
    job_.pages.back().width = strip.width;
    job_.pages.back().height += strip.height;
  }
  void rows(std::span<const std::uint8_t> pixels, std::size_t /*rowBytes*/) override {
    Page& page = job_.pages.back();
    for (std::size_t i = 0; i < pixels.size(); i += page.layout.color ? 3 : 1) page.luma.push_back(pixels[i]);
  }

 private:
  Job& job_;
};

std::string textOf(const job::Fault& fault) {
  return "offset " + std::to_string(fault.offset()) + ": " + fault.what();
}

}  // namespace

std::string faultOf(std::span<const std::uint8_t> job) {
  try {
    job::checkJob(job);
  } catch (const job::Fault& fault) {
    return textOf(fault);
  }
  return {};
}

Job parseJob(std::span<const std::uint8_t> bytes) {
  Job job;
  PageCollector collector(job);
  std::ostringstream list;
  try {
    job::checkJob(bytes, &collector);
    job::ByteSource source(bytes);
    job::listJob(source, *job::makeTextWriter(list));
  } catch (const job::Fault& fault) {
    throw std::runtime_error(textOf(fault));
  }
  job.list = list.str();
  job.list.resize(std::min(job.list.find("SetCursor"), job.list.size()));
  return job;
}

void expectList(const Job& job, const std::vector<std::string>& texts, const std::string& choice) {
  for (const std::string& text : texts) {
    const bool absent = text.starts_with('!');
    EXPECT_EQ(job.list.find(text.substr(absent ? 1 : 0)) == std::string::npos, absent)
        << text << " with " << choice << '\n'
        << job.list;
  }
}

double originInPoints(const Job& job) {
  const job::PageLayout& layout = job.pages.at(0).layout;
  return layout.originX * 72.0 / layout.unitsPerInch;
}

}  // namespace kesto::test
