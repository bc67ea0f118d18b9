#include "kestojob/reader/xlgrammar.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <string>

#include "kestojob/reader/fault.h"
#include "kestojob/reader/xltext.h"
#include "pclxl/xlnames.h"

namespace kesto::job {
namespace {

using namespace xl;
using enum Step;

enum Presence : std::uint8_t { ALWAYS, SOMETIMES };

struct AttributeRule {
  std::uint8_t id;
  Presence presence;
  std::uint8_t type;
  std::optional<std::int64_t> value = {};
  std::uint8_t otherType = type;
};

using AttributeRules = std::span<const AttributeRule>;

constexpr AttributeRule BEGIN_SESSION_RULES[] = {
    {attr::UnitsPerMeasure, ALWAYS, tag::uint16_xy},
    {attr::Measure, ALWAYS, tag::ubyte, eInch},
    {attr::ErrorReport, ALWAYS, tag::ubyte, eBackChAndErrPage},
};
constexpr AttributeRule OPEN_DATA_SOURCE_RULES[] = {
    {attr::SourceType, ALWAYS, tag::ubyte, eDefaultDataSource},
    {attr::DataOrg, ALWAYS, tag::ubyte, eBinaryLowByteFirst},
};
constexpr AttributeRule COMMENT_RULES[] = {{attr::CommentData, ALWAYS, tag::ubyte_array}};
constexpr AttributeRule BEGIN_PAGE_RULES[] = {
    {attr::Orientation, ALWAYS, tag::ubyte, ePortraitOrientation},
    {attr::MediaSource, ALWAYS, tag::ubyte},
    {attr::MediaSize, SOMETIMES, tag::ubyte, {}, tag::ubyte_array},
    {attr::CustomMediaSize, SOMETIMES, tag::real32_xy},
    {attr::CustomMediaSizeUnits, SOMETIMES, tag::ubyte, eInch},
    {attr::MediaType, SOMETIMES, tag::ubyte_array},
    {attr::attribute0xEC, ALWAYS, tag::uint16, 1},
    {attr::BorderType, ALWAYS, tag::ubyte},
};
constexpr AttributeRule SET_PAGE_ORIGIN_RULES[] = {{attr::PageOrigin, ALWAYS, tag::sint16_xy}};
constexpr AttributeRule SET_PAGE_SCALE_RULES[] = {{attr::PageScale, ALWAYS, tag::real32_xy}};
constexpr AttributeRule SET_COLOR_SPACE_RULES[] = {
    {attr::ColorSpace, SOMETIMES, tag::ubyte},
    {attr::attribute0xEB, SOMETIMES, tag::ubyte},
    {attr::attribute0xEA, SOMETIMES, tag::ubyte, 0},
};
constexpr AttributeRule OPERATOR_0x40_RULES[] = {
    {attr::attribute0xEF, ALWAYS, tag::ubyte, 80},
    {attr::attribute0xEE, ALWAYS, tag::ubyte},
};
constexpr AttributeRule SET_ROP_RULES[] = {{attr::ROP3, ALWAYS, tag::ubyte, eSourceCopy}};
constexpr AttributeRule SET_CURSOR_RULES[] = {{attr::Point, ALWAYS, tag::sint16_xy}};
constexpr AttributeRule BEGIN_IMAGE_RULES[] = {
    {attr::ColorMapping, ALWAYS, tag::ubyte, eDirectPixel},
    {attr::ColorDepth, ALWAYS, tag::ubyte, e8Bit},
    {attr::SourceWidth, ALWAYS, tag::uint16},
    {attr::SourceHeight, ALWAYS, tag::uint16},
    {attr::DestinationSize, ALWAYS, tag::uint16_xy},
    {attr::attribute0xFA, ALWAYS, tag::ubyte, 8},
    {attr::attribute0xF9, ALWAYS, tag::ubyte, 2},
    {attr::attribute0xF8, ALWAYS, tag::uint16, 0},
    {attr::attribute0xF7, ALWAYS, tag::uint16},
    {attr::attribute0xF6, ALWAYS, tag::uint16, 6},
};
constexpr AttributeRule READ_WICKET_RULES[] = {
    {attr::StartLine, ALWAYS, tag::uint16, 0},
    {attr::BlockHeight, ALWAYS, tag::uint16},
    {attr::CompressMode, ALWAYS, tag::ubyte, eWicketCompression},
};
constexpr AttributeRule READ_TAGS_RULES[] = {
    {attr::StartLine, ALWAYS, tag::uint16, 0},
    {attr::BlockHeight, ALWAYS, tag::uint16},
    {attr::CompressMode, ALWAYS, tag::ubyte, eTbrleCompression},
};
constexpr AttributeRule END_PAGE_RULES[] = {{attr::PageCopies, ALWAYS, tag::uint16, 1}};

struct StepRule {
  std::uint8_t code;
  AttributeRules attributes;
  std::array<Step, 2> followers;  ///< both the same where there is no choice
};

constexpr StepRule rule(std::uint8_t code, AttributeRules attributes, Step follower) {
  return {code, attributes, {follower, follower}};
}
constexpr StepRule rule(std::uint8_t code, AttributeRules attributes, Step follower, Step other) {
  return {code, attributes, {follower, other}};
}

/// One row for each step, in the order of their declaration. Nothing follows the last.
constexpr auto STEPS = std::to_array<StepRule>({
    rule(op::BeginSession, BEGIN_SESSION_RULES, OPEN_DATA_SOURCE),
    rule(op::OpenDataSource, OPEN_DATA_SOURCE_RULES, COMMENT),
    rule(op::Comment, COMMENT_RULES, BEGIN_PAGE, CLOSE_DATA_SOURCE),
    rule(op::BeginPage, BEGIN_PAGE_RULES, SET_PAGE_ORIGIN),
    rule(op::SetPageOrigin, SET_PAGE_ORIGIN_RULES, SET_PAGE_SCALE),
    rule(op::SetPageScale, SET_PAGE_SCALE_RULES, SET_COLOR_SPACE),
    rule(op::SetColorSpace, SET_COLOR_SPACE_RULES, OPERATOR_0x40),
    rule(op::operator0x40, OPERATOR_0x40_RULES, SET_ROP),
    rule(op::SetROP, SET_ROP_RULES, SET_CURSOR),
    rule(op::SetCursor, SET_CURSOR_RULES, BEGIN_IMAGE),
    rule(op::BeginImage, BEGIN_IMAGE_RULES, READ_WICKET),
    rule(op::ReadImage, READ_WICKET_RULES, READ_TAGS),
    rule(op::ReadImage, READ_TAGS_RULES, END_IMAGE),
    rule(op::EndImage, {}, SET_CURSOR, END_PAGE),
    rule(op::EndPage, END_PAGE_RULES, BEGIN_PAGE, CLOSE_DATA_SOURCE),
    rule(op::CloseDataSource, {}, END_SESSION),
    rule(op::EndSession, {}, END_SESSION),
});
static_assert(STEPS.size() == static_cast<std::size_t>(END_SESSION) + 1);

const StepRule& ruleOf(Step step) {
  return STEPS[static_cast<std::size_t>(step)];
}

void checkAttribute(const AttributeRule& rule, const Attribute& attribute) {
  const std::uint8_t type = attribute.type->tag;
  if (type != rule.type && type != rule.otherType) {
    throw Fault(attribute.offset, attributeText(rule.id) + " is a " + std::string(attribute.type->name) + ", not a " +
                                      std::string(findDataType(rule.type)->name) + ".");
  }
  if (rule.value && attribute.number() != *rule.value) {
    throw Fault(attribute.offset, attributeText(rule.id) + " is " + std::to_string(attribute.number()) + ", not " +
                                      std::to_string(*rule.value) + ".");
  }
}

void checkAttributes(const Operator& op, AttributeRules rules) {
  auto rule = rules.begin();
  for (const Attribute& attribute : op.attributes) {
    while (rule != rules.end() && rule->id != attribute.id && rule->presence == SOMETIMES) ++rule;
    if (rule == rules.end() || rule->id != attribute.id) {
      throw Fault(attribute.offset, operatorText(op.code) + " has " + attributeText(attribute.id) + " where " +
                                        (rule == rules.end() ? "nothing" : attributeText(rule->id)) + " belongs.");
    }
    checkAttribute(*rule, attribute);
    ++rule;
  }
  const auto missing = std::find_if(rule, rules.end(), [](const AttributeRule& r) { return r.presence == ALWAYS; });
  if (missing != rules.end()) {
    throw Fault(op.codeOffset, operatorText(op.code) + " lacks " + attributeText(missing->id) + ".");
  }
}

}  // namespace

Step SessionGrammar::take(const Operator& op) {
  const auto step = std::ranges::find_if(due_, [&](Step due) { return ruleOf(due).code == op.code; });
  if (step == due_.end()) {
    std::string expected = operatorText(ruleOf(due_[0]).code);
    if (due_[0] != due_[1]) expected += " or " + operatorText(ruleOf(due_[1]).code);
    throw Fault(op.codeOffset, operatorText(op.code) + " stands where " + expected + " belongs.");
  }
  const Step taken = *step;
  checkAttributes(op, ruleOf(taken).attributes);
  ended_ = taken == END_SESSION;
  due_ = ruleOf(taken).followers;
  return taken;
}

}  // namespace kesto::job
