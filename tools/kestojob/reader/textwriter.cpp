// The list as lines of text.
#include <algorithm>
#include <iomanip>
#include <sstream>

#include "kestojob/reader/lister.h"
#include "kestojob/reader/npapackets.h"
#include "kestojob/reader/text.h"
#include "kestojob/reader/xltext.h"

namespace kesto::job {
namespace {

/// Longer arrays of numbers are cut; nobody reads on.
constexpr std::size_t ENOUGH_NUMBERS = 16;

std::string numberText(const Attribute& attribute, std::size_t index) {
  if (!attribute.isReal()) return std::to_string(attribute.number(index));
  std::ostringstream text;
  text << attribute.real(index);
  return text.str();
}

std::string valueText(const Attribute& attribute) {
  if (attribute.type->tag == xl::tag::ubyte_array) return '"' + printable(attribute.text()) + '"';
  if (attribute.size() == 1) {
    const auto value = static_cast<std::uint8_t>(attribute.number());
    const std::string_view name =
        attribute.type->tag == xl::tag::ubyte ? xl::valueName(attribute.id, value) : std::string_view();
    return name.empty() ? numberText(attribute, 0) : std::string(name);
  }
  std::string text;
  for (std::size_t i = 0; i < std::min(attribute.size(), ENOUGH_NUMBERS); ++i) {
    text += (i == 0 ? "" : ", ") + numberText(attribute, i);
  }
  return '(' + text + (attribute.size() > ENOUGH_NUMBERS ? ", ...)" : ")");
}

std::string npaText(const NpaPacket& packet) {
  const auto found = std::ranges::find_if(
      START_REQUESTS, [&](const NpaRequest& request) { return std::ranges::equal(request.bytes, packet.bytes); });
  constexpr std::size_t ENOUGH_BYTES = 24;
  const std::string name = found == START_REQUESTS.end() ? "unknown packet" : std::string(found->name);
  const auto shown = std::span(packet.bytes).first(std::min(packet.bytes.size(), ENOUGH_BYTES));
  return name + ", " + counted(packet.bytes.size(), "byte") + ": " + hexBytes(shown) +
         (shown.size() < packet.bytes.size() ? " ..." : "");
}

std::string tagText(const TagSummary& tags) {
  if (!tags.damage.empty()) return "damaged: " + tags.damage;
  std::string text;
  for (std::size_t code = 0; code < tags.counts.size(); ++code) {
    if (tags.counts[code] == 0) continue;
    text +=
        (text.empty() ? "" : ", ") + counted(tags.counts[code], "pixel") + " of tag " + std::to_string(tagOfCode(code));
  }
  return text;
}

class TextWriter : public ListWriter {
 public:
  explicit TextWriter(std::ostream& out) : out_(out) {}

  void job(std::uint64_t offset, std::uint64_t number) override { line(offset, "JOB") << "job " << number << '\n'; }
  void npa(const NpaPacket& packet) override { line(packet.offset, "NPA") << npaText(packet) << '\n'; }
  void pjl(const PjlLine& pjl) override { line(pjl.offset, "PJL") << printable(pjl.text) << '\n'; }
  void header(const StreamHeader& header) override { line(header.offset, "XL") << printable(header.text) << '\n'; }
  void op(const Operator& op) override {
    line(op.offset, "XL") << operatorText(op.code);
    for (const Attribute& attribute : op.attributes) {
      out_ << "  " << attributeText(attribute.id) << '=' << valueText(attribute);
    }
    out_ << '\n';
  }
  void image(const StripData& data) override {
    strip(data) << "image at (" << data.x << ", " << data.y << "), " << data.width << " x " << data.height
                << " pixels, " << counted(data.block.length, "byte");
    const double plain = data.plainBytes();
    if (data.block.length > 0 && plain > 0) out_ << ", 1 : " << decimal(plain / data.block.length, 1);
    out_ << '\n';
  }
  void tags(const StripData& data, const TagSummary& tags) override {
    strip(data) << "tags, " << counted(data.block.length, "byte") << ": " << tagText(tags) << '\n';
  }
  void end(std::uint64_t offset, std::uint64_t pages, std::uint64_t strips) override {
    line(offset, "END") << counted(pages, "page") << ", " << counted(strips, "strip") << '\n';
  }

 private:
  std::ostream& line(std::uint64_t offset, const char* kind) {
    return out_ << std::setw(11) << offset << "  " << std::left << std::setw(4) << kind << std::right << "  ";
  }
  std::ostream& strip(const StripData& data) {
    return line(data.block.offset, "DATA") << "page " << data.page << " strip " << data.strip << ": ";
  }

  std::ostream& out_;
};

}  // namespace

std::unique_ptr<ListWriter> makeTextWriter(std::ostream& out) {
  return std::make_unique<TextWriter>(out);
}

}  // namespace kesto::job
