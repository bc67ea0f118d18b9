#include "kestojob/reader/lister.h"

#include "kestojob/reader/elementreader.h"
#include "kestojob/reader/fault.h"
#include "pclxl/xlnames.h"

namespace kesto::job {
namespace {

using namespace xl;

class Lister {
 public:
  Lister(ByteSource& source, ListWriter& writer) : source_(source), writer_(writer), elements_(source) {}

  void run() {
    if (source_.atEnd()) throw Fault(source_.offset(), "The job is empty.");
    while (const auto element = elements_.next()) {
      std::visit([this](const auto& e) { show(e); }, *element);
    }
    writer_.end(source_.offset(), strip_.page, strips_);
  }

 private:
  void show(const NpaPacket& packet) { writer_.npa(packet); }
  void show(const PjlLine& line) { writer_.pjl(line); }
  void show(const StreamHeader& header) { writer_.header(header); }
  void show(const Operator& op) {
    follow(op);
    writer_.op(op);
  }
  void show(const DataBlock& block) {
    strip_.block = block;
    if (compressMode_ != eTbrleCompression) return writer_.image(strip_);
    writer_.tags(strip_, readTagSummary(block));
  }

  /// Keeps where the strips are.
  void follow(const Operator& op) {
    const auto number = [&op](std::uint8_t id, std::size_t index = 0) {
      const Attribute* attribute = op.find(id);
      return attribute == nullptr ? 0 : attribute->number(index);
    };
    switch (op.code) {
      case op::BeginPage:
        ++strip_.page;
        strip_.strip = 0;
        return;
      case op::operator0x40:
        strip_.bytesPerPixel = number(attr::attribute0xEE) != 0 ? 3 : 1;
        return;
      case op::SetCursor:
        strip_.x = number(attr::Point, 0);
        strip_.y = number(attr::Point, 1);
        return;
      case op::BeginImage:
        ++strip_.strip;
        ++strips_;
        strip_.width = number(attr::SourceWidth);
        strip_.height = number(attr::SourceHeight);
        return;
      case op::ReadImage:
        compressMode_ = number(attr::CompressMode);
        return;
      default:
        return;
    }
  }

  TagSummary readTagSummary(const DataBlock& block) {
    TagSummary summary;
    BlockReader reader(source_, block.length);
    const auto pixels = static_cast<std::uint64_t>(strip_.width) * static_cast<std::uint64_t>(strip_.height);
    try {
      summary.counts = readTags(reader, pixels / 4);
    } catch (const Fault& fault) {
      summary.damage = fault.what();
    }
    return summary;
  }

  ByteSource& source_;
  ListWriter& writer_;
  ElementReader elements_;
  StripData strip_;
  std::uint64_t strips_ = 0;
  std::int64_t compressMode_ = 0;
};

}  // namespace

void listJob(ByteSource& source, ListWriter& writer, std::uint64_t number) {
  if (number > 1) writer.job(source.offset(), number);
  try {
    Lister(source, writer).run();
  } catch (const Fault& fault) {
    writer.fault(fault);
    throw;
  }
}

}  // namespace kesto::job
