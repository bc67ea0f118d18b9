#include "kestojob/reader/jobinfo.h"

#include <algorithm>
#include <iomanip>

#include "kestojob/reader/jobwords.h"
#include "kestojob/reader/text.h"
#include "pclxl/xlnames.h"

namespace kesto::job {
namespace {

using namespace xl;

/// A header has fewer lines; more of them are a fault and bring nothing new.
constexpr std::size_t MOST_PJL_LINES = 100;
/// A page may bring its own media, and a faulty job anything: nobody reads more.
constexpr std::size_t ENOUGH_PHRASES = 6;

void writeRow(std::ostream& out, std::string_view label, std::string_view text) {
  out << std::left << std::setw(13) << label << std::right << text << '\n';
}

}  // namespace

void JobInfo::add(std::string_view label, const std::string& phrase) {
  if (phrase.empty()) return;
  auto row = std::ranges::find(rows_, label, &Row::label);
  if (row == rows_.end()) row = rows_.insert(row, Row{label, {}});
  const bool known = std::ranges::find(row->phrases, phrase) != row->phrases.end();
  if (!known && row->phrases.size() < ENOUGH_PHRASES) row->phrases.push_back(phrase);
}

void JobInfo::pjl(const PjlLine& line) {
  if (++pjlLines_ > MOST_PJL_LINES) return;
  if (const auto wording = wordingOf(line)) add(wording->label, wording->phrase);
}

void JobInfo::op(const Operator& op) {
  if (op.code == op::BeginPage) {
    ++pages_;
    addMedia(op);
  }
  if (op.code == op::BeginImage) ++strips_;
  if (op.code == op::SetColorSpace) addColorSpace(op);
}

void JobInfo::addMedia(const Operator& op) {
  add(label::PAPER, paperText(op));
  if (const Attribute* source = op.find(attr::MediaSource)) add(label::SOURCE, sourceText(source->number()));
  const Attribute* const type = op.find(attr::MediaType);
  add(label::MEDIA, type == nullptr ? "Automatic" : printable(type->text()));
}

void JobInfo::addColorSpace(const Operator& op) {
  const Attribute* const space = op.find(attr::ColorSpace);
  const Attribute* const threshold = op.find(attr::attribute0xEB);
  if (space == nullptr) return;
  switch (space->number()) {
    case eRGB:
      return add(label::COLOR, "printed in colours");
    case eGray:
      return add(label::COLOR, op.find(attr::attribute0xEA) != nullptr ? "printed in greys" : "printed in monochrome");
    case eBlackAndWhite:
      return add(label::COLOR, "printed in black and white" +
                                   (threshold == nullptr ? "" : ", divided at " + std::to_string(threshold->number())));
    default:
      return;
  }
}

void JobInfo::image(const StripData& data) {
  rasterBytes_ += data.plainBytes();
}

void JobInfo::write(std::ostream& out, std::string_view name, std::uint64_t bytes) const {
  writeRow(out, "Job", name);
  for (const std::string_view label : label::ALL) {
    const auto row = std::ranges::find(rows_, label, &Row::label);
    if (row == rows_.end()) continue;
    std::string text;
    for (const std::string& phrase : row->phrases) text += (text.empty() ? "" : ", ") + phrase;
    writeRow(out, label, text);
  }
  writeRow(out, "Pages", std::to_string(pages_) + ", in " + counted(strips_, "strip"));
  writeRow(out, "Size", counted(bytes, "byte"));
  if (rasterBytes_ == 0 || bytes == 0) return;
  const double ratio = rasterBytes_ / static_cast<double>(bytes);
  writeRow(out, "Raster", decimal(rasterBytes_, 0) + " bytes, 1 : " + decimal(ratio, 1));
}

}  // namespace kesto::job
