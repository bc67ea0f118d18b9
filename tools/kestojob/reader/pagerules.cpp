#include "kestojob/reader/pagerules.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "kestojob/reader/fault.h"
#include "kestojob/reader/text.h"
#include "kestojob/reader/xltext.h"
#include "pclxl/xlnames.h"

namespace kesto::job {
namespace {

using namespace xl;

constexpr std::string_view COMMENT_TEXT = "Corvane Enhanced XL=1.2";
constexpr std::size_t LONGEST_MEDIA_TYPE = 64;
constexpr double LARGEST_SHEET = 1000;  // inches; far beyond any paper, and no trouble to calculate with
constexpr unsigned WIDTH_MULTIPLE = 16;
constexpr unsigned BAND_HEIGHT = 8;
constexpr unsigned FULL_STRIP = 256;
constexpr int BORDERED_ORIGIN = 100;
constexpr int DRAFT_ORIGIN = 50;

[[noreturn]] void fail(const Attribute& attribute, const std::string& what) {
  throw Fault(attribute.offset, attributeText(attribute.id) + ' ' + what);
}

/// The attribute that the grammar has found there.
const Attribute& attributeOf(const Operator& op, std::uint8_t id) {
  const Attribute* attribute = op.find(id);
  if (attribute == nullptr) throw Fault(op.codeOffset, operatorText(op.code) + " lacks " + attributeText(id) + ".");
  return *attribute;
}

void expectPair(const Attribute& pair, std::int64_t x, std::int64_t y) {
  if (pair.number(0) == x && pair.number(1) == y) return;
  fail(pair, "is (" + std::to_string(pair.number(0)) + ", " + std::to_string(pair.number(1)) + ") where (" +
                 std::to_string(x) + ", " + std::to_string(y) + ") belongs.");
}

void expectNumber(const Attribute& attribute, std::int64_t expected) {
  if (attribute.number() == expected) return;
  fail(attribute, "is " + std::to_string(attribute.number()) + " where " + std::to_string(expected) + " belongs.");
}

SheetSize customSheet(const Attribute& size) {
  const SheetSize sheet{size.real(0), size.real(1)};
  for (const double side : {sheet.width, sheet.height}) {
    if (!(side > 0 && side <= LARGEST_SHEET)) fail(size, "is no size of a sheet.");
  }
  return sheet;
}

SheetSize standardSheet(const Attribute& size) {
  const bool named = size.type->tag == tag::ubyte_array;
  const auto sheet = named ? findSheet(size.text()) : findSheet(size.number());
  if (!sheet) {
    fail(size, (named ? '"' + printable(size.text()) + '"' : std::to_string(size.number())) + " is no known paper.");
  }
  return *sheet;
}

void checkMediaType(const Attribute& type) {
  const std::string_view text = type.text();
  if (text.size() > LONGEST_MEDIA_TYPE) fail(type, "is longer than 64 characters.");
  if (text == "Automatic") fail(type, "is Automatic, which is said by leaving it out.");
  if (std::ranges::any_of(text, isControl)) {
    fail(type, "holds a control character.");
  }
}

void checkPageScale(const Operator& op) {
  const Attribute& scale = attributeOf(op, attr::PageScale);
  if (scale.real(0) != 1.0F || scale.real(1) != 1.0F) fail(scale, "is not (1, 1).");
}

void checkColorSpace(const Operator& op) {
  const Attribute* space = op.find(attr::ColorSpace);
  const std::int64_t value = space == nullptr ? 0 : space->number();
  if (space != nullptr && value != eGray && value != eRGB && value != eBlackAndWhite) {
    fail(*space, "is " + std::to_string(value) + ", which is no colour space.");
  }
  const Attribute* threshold = op.find(attr::attribute0xEB);
  const Attribute* greyScale = op.find(attr::attribute0xEA);
  if (greyScale != nullptr && value != eGray) fail(*greyScale, "belongs to a grey page.");
  if (threshold != nullptr && value != eBlackAndWhite) fail(*threshold, "belongs to a black and white page.");
  if (threshold == nullptr && value == eBlackAndWhite) fail(*space, "is black and white, but no threshold follows.");
}

void checkComment(const Operator& op) {
  const Attribute& comment = attributeOf(op, attr::CommentData);
  if (comment.text() != COMMENT_TEXT) fail(comment, "is not \"" + std::string(COMMENT_TEXT) + "\".");
}

}  // namespace

void PageRules::take(Step step, const Operator& op) {
  switch (step) {
    case Step::BEGIN_SESSION:
      return beginSession(op);
    case Step::COMMENT:
      return checkComment(op);
    case Step::BEGIN_PAGE:
      beginPage(op);
      break;
    case Step::SET_PAGE_ORIGIN:
      setPageOrigin(op);
      break;
    case Step::SET_PAGE_SCALE:
      checkPageScale(op);
      break;
    case Step::SET_COLOR_SPACE:
      checkColorSpace(op);
      break;
    case Step::OPERATOR_0x40:
      setColor(op);
      break;
    case Step::SET_ROP:
      break;
    case Step::SET_CURSOR:
      return beginStrip(op);
    case Step::BEGIN_IMAGE:
      return beginImage(op);
    case Step::READ_WICKET:
    case Step::READ_TAGS:
      return expectNumber(attributeOf(op, attr::BlockHeight), strip_.height);
    case Step::END_PAGE:
      return endPage(op);
    case Step::OPEN_DATA_SOURCE:
    case Step::END_IMAGE:
    case Step::CLOSE_DATA_SOURCE:
    case Step::END_SESSION:
      return;
  }
  compareWithFirstPage(step, op);
}

void PageRules::beginSession(const Operator& op) {
  const Attribute& units = attributeOf(op, attr::UnitsPerMeasure);
  expectPair(units, pjl_.resolution, pjl_.resolution);
  layout_.unitsPerInch = pjl_.resolution;
}

void PageRules::beginPage(const Operator& op) {
  if (layout_.unitsPerInch == 0) throw Fault(op.offset, "Here is a page, but the session's resolution is 0.");
  ++pages_;
  pageHeight_ = 0;
  setMedia(op);
  if (const Attribute* type = op.find(attr::MediaType)) checkMediaType(*type);
}

void PageRules::setMedia(const Operator& op) {
  const Attribute* size = op.find(attr::MediaSize);
  const Attribute* custom = op.find(attr::CustomMediaSize);
  const Attribute* units = op.find(attr::CustomMediaSizeUnits);
  if ((size == nullptr) == (custom == nullptr)) {
    throw Fault(op.offset, "The page has " + std::string(size == nullptr ? "no size." : "two sizes."));
  }
  if ((custom == nullptr) != (units == nullptr)) throw Fault(op.offset, "A CustomMediaSize and its unit go together.");
  layout_.sheet = custom == nullptr ? standardSheet(*size) : customSheet(*custom);

  // A sheet of one's own may go without a border in either mode: it does when it has no margin.
  const Attribute& border = attributeOf(op, attr::BorderType);
  bordered_ = border.number() == eWithBorder;
  if (!bordered_ && border.number() != eNoBorder) expectNumber(border, eNoBorder);
  if (bordered_ && pjl_.edgeToEdge) fail(border, "is eWithBorder in a job from edge to edge.");
  if (!bordered_ && !pjl_.edgeToEdge && custom == nullptr) fail(border, "is eNoBorder in a job with borders.");
}

void PageRules::setPageOrigin(const Operator& op) {
  const Attribute& point = attributeOf(op, attr::PageOrigin);
  // The quality, and with it the origin, is sent anew with each page; the PJL header has that of the first.
  const bool draft = pages_ > 1 ? point.number(0) == DRAFT_ORIGIN : pjl_.draft;
  const int origin = !bordered_ ? 0 : draft ? DRAFT_ORIGIN : BORDERED_ORIGIN;
  expectPair(point, origin, origin);
  layout_.originX = layout_.originY = origin;
}

void PageRules::setColor(const Operator& op) {
  const Attribute& color = attributeOf(op, attr::attribute0xEE);
  if (color.number() != (pjl_.color ? 1 : 0)) fail(color, "disagrees with LCOLORMODEL in the PJL header.");
  layout_.color = pjl_.color;
}

void PageRules::compareWithFirstPage(Step step, Operator op) {
  // These two are the page's own: a document may change its paper and its quality.
  std::erase_if(op.attributes, [](const Attribute& a) { return a.id == attr::MediaType || a.id == attr::PageOrigin; });
  if (pages_ == 1) {
    setup_.push_back(std::move(op));
    return;
  }
  const auto place = static_cast<std::size_t>(step) - static_cast<std::size_t>(Step::BEGIN_PAGE);
  const std::vector<Attribute>& first = setup_.at(place).attributes;
  const auto same = [](const Attribute& a, const Attribute& b) {
    return a.id == b.id && a.type == b.type && a.bytes == b.bytes;
  };
  const auto [ours, theirs] = std::ranges::mismatch(op.attributes, first, same);
  if (ours != op.attributes.end()) fail(*ours, "is not as on the first page.");
  if (theirs != first.end()) {
    throw Fault(op.codeOffset,
                operatorText(op.code) + " lacks " + attributeText(theirs->id) + ", which the first page has.");
  }
}

void PageRules::beginStrip(const Operator& op) {
  const Attribute& point = attributeOf(op, attr::Point);
  if (pageHeight_ % FULL_STRIP != 0) {
    throw Fault(op.offset, "A strip follows one of fewer than 256 lines, which can only be a page's last.");
  }
  expectPair(point, 0, pageHeight_);
}

void PageRules::beginImage(const Operator& op) {
  const Attribute& width = attributeOf(op, attr::SourceWidth);
  const Attribute& height = attributeOf(op, attr::SourceHeight);
  strip_ = {pageHeight_, static_cast<unsigned>(width.number()), static_cast<unsigned>(height.number())};
  if (strip_.width == 0 || strip_.width % WIDTH_MULTIPLE != 0) fail(width, "is not a multiple of 16.");
  if (imageWidth_ != 0) expectNumber(width, imageWidth_);
  if (strip_.height == 0 || strip_.height > FULL_STRIP || strip_.height % BAND_HEIGHT != 0) {
    fail(height, "is " + std::to_string(strip_.height) + ", not 8 to 256 in bands of 8 lines.");
  }
  expectPair(attributeOf(op, attr::DestinationSize), strip_.width, strip_.height);
  expectNumber(attributeOf(op, attr::attribute0xF7), layout_.unitsPerInch);
  imageWidth_ = strip_.width;
  pageHeight_ += strip_.height;
  ++strips_;
}

void PageRules::endPage(const Operator& op) {
  if (imageHeight_ && *imageHeight_ != pageHeight_) {
    throw Fault(op.offset, "The page has " + std::to_string(pageHeight_) + " lines, the first one has " +
                               std::to_string(*imageHeight_) + ".");
  }
  imageHeight_ = pageHeight_;
}

}  // namespace kesto::job
