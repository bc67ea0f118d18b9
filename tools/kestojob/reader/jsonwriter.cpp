// The list as JSON: an array, an object a line.
#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

#include "kestojob/reader/lister.h"
#include "kestojob/reader/text.h"
#include "kestojob/reader/xltext.h"

namespace kesto::job {
namespace {

std::string enclosed(char open, const std::string& text, char close) {
  std::string result(1, open);
  result += text;
  result += close;
  return result;
}

void appendItem(std::string& list, const std::string& item) {
  if (!list.empty()) list += ',';
  list += item;
}

/// An object being written, its members in their order.
class JsonObject {
 public:
  JsonObject& raw(std::string_view name, const std::string& value) {
    appendItem(text_, jsonString(name));
    text_ += ':';
    text_ += value;
    return *this;
  }
  JsonObject& text(std::string_view name, std::string_view value) { return raw(name, jsonString(value)); }
  template <class Number>
  JsonObject& number(std::string_view name, Number value) {
    return raw(name, std::to_string(value));
  }
  [[nodiscard]] std::string str() const { return enclosed('{', text_, '}'); }

 private:
  std::string text_;
};

/// The shortest text that reads back as this number; JSON has none for what is not finite.
std::string realText(float value) {
  if (!std::isfinite(value)) return "null";
  std::array<char, 64> text;
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value);
  return {text.data(), end.ptr};
}

std::string valueText(const Attribute& attribute) {
  if (attribute.type->tag == xl::tag::ubyte_array) return jsonString(attribute.text());
  std::string text;
  for (std::size_t i = 0; i < attribute.size(); ++i) {
    appendItem(text, attribute.isReal() ? realText(attribute.real(i)) : std::to_string(attribute.number(i)));
  }
  return attribute.type->count == 1 ? text : enclosed('[', text, ']');
}

std::string attributeObject(const Attribute& attribute) {
  JsonObject object;
  object.number("offset", attribute.offset).number("id", unsigned{attribute.id});
  object.text("name", attributeText(attribute.id)).text("type", attribute.type->name);
  object.raw("value", valueText(attribute));
  if (attribute.type->tag == xl::tag::ubyte) {
    const auto name = xl::valueName(attribute.id, static_cast<std::uint8_t>(attribute.number()));
    if (!name.empty()) object.text("valueName", name);
  }
  return object.str();
}

JsonObject element(std::uint64_t offset, std::string_view kind) {
  JsonObject object;
  object.number("offset", offset).text("element", kind);
  return object;
}

JsonObject stripElement(const StripData& data, std::string_view kind) {
  JsonObject object = element(data.block.offset, kind);
  object.number("page", data.page).number("strip", data.strip).number("bytes", data.block.length);
  object.number("x", data.x).number("y", data.y).number("width", data.width).number("height", data.height);
  return object;
}

class JsonWriter : public ListWriter {
 public:
  explicit JsonWriter(std::ostream& out) : out_(out) { out_ << '['; }
  JsonWriter(const JsonWriter&) = delete;
  JsonWriter& operator=(const JsonWriter&) = delete;
  ~JsonWriter() override { out_ << "\n]\n"; }

  void npa(const NpaPacket& packet) override {
    write(element(packet.offset, "npa").text("bytes", hexBytes(packet.bytes)));
  }
  void pjl(const PjlLine& line) override { write(element(line.offset, "pjl").text("text", line.text)); }
  void header(const StreamHeader& header) override {
    write(element(header.offset, "header").text("text", header.text));
  }
  void op(const Operator& op) override {
    std::string attributes;
    for (const Attribute& attribute : op.attributes) appendItem(attributes, attributeObject(attribute));
    JsonObject object = element(op.offset, "operator");
    object.text("name", operatorText(op.code)).number("code", unsigned{op.code});
    write(object.raw("attributes", enclosed('[', attributes, ']')));
  }
  void image(const StripData& data) override {
    JsonObject object = stripElement(data, "image");
    const double plain = static_cast<double>(data.width * data.height * data.bytesPerPixel);
    if (data.block.length > 0) object.raw("ratio", decimal(plain / data.block.length, 3));
    write(object);
  }
  void tags(const StripData& data, const TagSummary& tags) override {
    JsonObject object = stripElement(data, "tags");
    if (!tags.damage.empty()) {
      write(object.text("damage", tags.damage));
      return;
    }
    JsonObject counts;
    for (std::size_t code = 0; code < tags.counts.size(); ++code) {
      if (tags.counts[code] > 0) counts.number(std::to_string(tagOfCode(code)), tags.counts[code]);
    }
    write(object.raw("pixels", counts.str()));
  }
  void end(std::uint64_t offset, std::uint64_t pages, std::uint64_t strips) override {
    write(element(offset, "end").number("pages", pages).number("strips", strips));
  }
  void fault(const Fault& fault) override { write(element(fault.offset(), "fault").text("text", fault.what())); }

 private:
  void write(const JsonObject& object) {
    out_ << separator_ << object.str();
    separator_ = ",\n";
  }

  std::ostream& out_;
  const char* separator_ = "\n";
};

}  // namespace

std::unique_ptr<ListWriter> makeJsonWriter(std::ostream& out) {
  return std::make_unique<JsonWriter>(out);
}

}  // namespace kesto::job
