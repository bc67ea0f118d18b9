// The list as JSON: an array, an object a line.
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include <nlohmann/json.hpp>

#include "kestojob/reader/lister.h"
#include "kestojob/reader/text.h"
#include "kestojob/reader/xltext.h"

namespace kesto::job {
namespace {

using Json = nlohmann::ordered_json;

/// The number in as few digits as tell it from other floats: what 0.1F holds is 0.1 here, and 1.0F is 1.
Json realNumber(float value) {
  constexpr float LARGEST_PLAIN = 1e6F;
  if (std::abs(value) < LARGEST_PLAIN && std::trunc(value) == value) return static_cast<int>(value);
  std::array<char, 64> text;
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value);
  double number = std::numeric_limits<double>::quiet_NaN();  // written as null
  std::from_chars(text.data(), end.ptr, number);
  return number;
}

Json valueOf(const Attribute& attribute) {
  if (attribute.type->tag == xl::tag::ubyte_array) return attribute.text();
  const auto element = [&](std::size_t i) {
    return attribute.isReal() ? realNumber(attribute.real(i)) : Json(attribute.number(i));
  };
  if (attribute.type->count == 1) return element(0);
  Json values = Json::array();
  for (std::size_t i = 0; i < attribute.size(); ++i) values.push_back(element(i));
  return values;
}

Json attributeObject(const Attribute& attribute) {
  Json object = Json::object();
  object["offset"] = attribute.offset;
  object["id"] = attribute.id;
  object["name"] = attributeText(attribute.id);
  object["type"] = attribute.type->name;
  object["value"] = valueOf(attribute);
  if (attribute.type->tag == xl::tag::ubyte) {
    const auto name = xl::valueName(attribute.id, static_cast<std::uint8_t>(attribute.number()));
    if (!name.empty()) object["valueName"] = name;
  }
  return object;
}

Json element(std::uint64_t offset, std::string_view kind) {
  return {{"offset", offset}, {"element", kind}};
}

Json element(std::uint64_t offset, std::string_view kind, const char* key, Json value) {
  Json object = element(offset, kind);
  object[key] = std::move(value);
  return object;
}

Json stripElement(const StripData& data, std::string_view kind) {
  return {{"offset", data.block.offset}, {"element", kind}, {"page", data.page}, {"strip", data.strip},
          {"bytes", data.block.length},  {"x", data.x},     {"y", data.y},       {"width", data.width},
          {"height", data.height}};
}

class JsonWriter : public ListWriter {
 public:
  explicit JsonWriter(std::ostream& out) : out_(out) { out_ << '['; }
  JsonWriter(const JsonWriter&) = delete;
  JsonWriter& operator=(const JsonWriter&) = delete;
  ~JsonWriter() override { out_ << "\n]\n"; }

  void job(std::uint64_t offset, std::uint64_t number) override { write(element(offset, "job", "number", number)); }
  void npa(const NpaPacket& packet) override { write(element(packet.offset, "npa", "bytes", hexBytes(packet.bytes))); }
  void pjl(const PjlLine& line) override { write(element(line.offset, "pjl", "text", line.text)); }
  void header(const StreamHeader& header) override { write(element(header.offset, "header", "text", header.text)); }
  void op(const Operator& op) override {
    Json attributes = Json::array();
    for (const Attribute& attribute : op.attributes) attributes.push_back(attributeObject(attribute));
    Json object = element(op.offset, "operator", "name", operatorText(op.code));
    object["code"] = op.code;
    object["attributes"] = std::move(attributes);
    write(object);
  }
  void image(const StripData& data) override {
    Json object = stripElement(data, "image");
    const double plain = data.plainBytes();
    if (data.block.length > 0) object["ratio"] = std::round(plain / data.block.length * 1000) / 1000;
    write(object);
  }
  void tags(const StripData& data, const TagSummary& tags) override {
    Json object = stripElement(data, "tags");
    if (!tags.damage.empty()) {
      object["damage"] = tags.damage;
    } else {
      Json& counts = object["pixels"] = Json::object();
      for (std::size_t code = 0; code < tags.counts.size(); ++code) {
        if (tags.counts[code] > 0) counts[std::to_string(tagOfCode(code))] = tags.counts[code];
      }
    }
    write(object);
  }
  void end(std::uint64_t offset, std::uint64_t pages, std::uint64_t strips) override {
    Json object = element(offset, "end", "pages", pages);
    object["strips"] = strips;
    write(object);
  }
  void fault(const Fault& fault) override { write(element(fault.offset(), "fault", "text", fault.what())); }

 private:
  void write(const Json& object) {
    out_ << separator_ << lineOf(object);
    separator_ = ",\n";
  }

  /// Text stays UTF-8. The controls that JSON lets through as they are, DEL and those of Latin-1 (C2 80 to C2 9F), must
  /// not reach a terminal: a line with one of these bytes is written in ASCII.
  static std::string lineOf(const Json& object) {
    constexpr auto REPLACE = Json::error_handler_t::replace;
    std::string line = object.dump(-1, ' ', false, REPLACE);
    const bool unsafe = std::ranges::any_of(line, [](char c) { return c == '\x7F' || c == '\xC2'; });
    return unsafe ? object.dump(-1, ' ', true, REPLACE) : line;
  }

  std::ostream& out_;
  const char* separator_ = "\n";
};

}  // namespace

std::unique_ptr<ListWriter> makeJsonWriter(std::ostream& out) {
  return std::make_unique<JsonWriter>(out);
}

}  // namespace kesto::job
