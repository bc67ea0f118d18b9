#include "support/jobparser.h"

#include <numeric>
#include <stdexcept>
#include <variant>

#include "kestojob/reader/elementreader.h"
#include "kestojob/reader/fault.h"
#include "kestojob/reader/jobcheck.h"
#include "pclxl/xlnames.h"

namespace kesto::test {
namespace {

using namespace xl;

/// Keeps the pages as the check hands them out.
class PageCollector : public job::PageSink {
 public:
  explicit PageCollector(Job& job) : job_(job) {}

  [[nodiscard]] job::PixelForm form() const override { return {.divisor = 1, .ycbcr = true}; }
  void beginPage(const job::PageLayout& layout) override { job_.pages.emplace_back().layout = layout; }
  void beginStrip(const job::StripShape& strip) override {
    job_.pages.back().strips.push_back({strip.width, strip.height, {}});
  }
  void rows(std::span<const std::uint8_t> pixels, std::size_t /*rowBytes*/) override {
    Bytes& page = job_.pages.back().pixels;
    page.insert(page.end(), pixels.begin(), pixels.end());
  }

 private:
  Job& job_;
};

/// Goes through the elements of a good job for what the check does not hand out.
class Details {
 public:
  explicit Details(Job& job) : job_(job) {}

  void collect(std::span<const std::uint8_t> bytes) {
    job::ByteSource source(bytes);
    job::ElementReader reader(source);
    while (const auto element = reader.next()) {
      if (const auto* line = std::get_if<job::PjlLine>(&*element); line != nullptr && !inSession_) {
        job_.pjl.push_back(line->text);
      } else if (const auto* op = std::get_if<job::Operator>(&*element)) {
        take(*op);
      } else if (const auto* block = std::get_if<job::DataBlock>(&*element); block != nullptr && tagsFollow_) {
        Bytes& tags = job_.pages.at(page_ - 1).strips.at(strip_ - 1).tags;
        tags.resize(block->length);
        source.read(tags);
      }
    }
  }

 private:
  void take(const job::Operator& op) {
    inSession_ = true;
    if (op.code == op::BeginPage) {
      ++page_;
      strip_ = 0;
    }
    if (op.code == op::BeginImage) ++strip_;
    const job::Attribute* mode = op.find(attr::CompressMode);
    tagsFollow_ = mode != nullptr && mode->number() == eTbrleCompression;
    if (page_ == 0 || strip_ > 0 || op.code == op::SetCursor) return;
    for (const job::Attribute& attribute : op.attributes) job_.pages.at(page_ - 1).setup[attribute.id] = attribute;
  }

  Job& job_;
  std::size_t page_ = 0, strip_ = 0;
  bool inSession_ = false, tagsFollow_ = false;
};

std::string textOf(const job::Fault& fault) {
  return "offset " + std::to_string(fault.offset()) + ": " + fault.what();
}

}  // namespace

unsigned Page::height() const {
  return std::accumulate(strips.begin(), strips.end(), 0U,
                         [](unsigned lines, const Strip& strip) { return lines + strip.height; });
}

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
  try {
    job::checkJob(bytes, &collector);
  } catch (const job::Fault& fault) {
    throw std::runtime_error(textOf(fault));
  }
  Details(job).collect(bytes);
  return job;
}

Bytes decodeLuma(const Page& page, bool color) {
  if (!color) return page.pixels;
  Bytes luma;
  for (std::size_t i = 0; i < page.pixels.size(); i += 3) luma.push_back(page.pixels[i]);
  return luma;
}

}  // namespace kesto::test
