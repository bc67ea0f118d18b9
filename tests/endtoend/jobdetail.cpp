#include "endtoend/jobdetail.h"

#include <stdexcept>

#include <gtest/gtest.h>

#include "support/hex.h"

namespace kesto::test {
namespace {

constexpr std::uint8_t BYTE_ARRAY = 0xC8;
constexpr std::uint8_t PAGE_ORIGIN = 0x2A;
constexpr std::uint8_t UNITS_PER_MEASURE = 0x89;

}  // namespace

std::string detailOf(const Job& job, const std::string& name) {
  if (name.size() > 2) {
    const std::string start = "@PJL SET " + name + '=';
    for (const std::string& line : job.pjl) {
      if (line.starts_with(start)) return line.substr(start.size());
    }
    return "none";
  }
  const auto& setup = job.pages.at(0).setup;
  const auto found = setup.find(static_cast<std::uint8_t>(std::stoul(name, nullptr, 16)));
  if (found == setup.end()) return "none";
  if (found->second.tag == BYTE_ARRAY) return found->second.text();
  return hex({&found->second.tag, 1}) + ' ' + hex(found->second.bytes);
}

void expectDetails(const Job& job, const std::vector<Detail>& details, const std::string& choice) {
  for (const auto& [name, value] : details) EXPECT_EQ(detailOf(job, name), value) << name << " with " << choice;
}

double originInPoints(const Job& job) {
  const Value& origin = job.pages.at(0).setup.at(PAGE_ORIGIN);
  for (const Element& element : job.elements) {
    const auto units = element.attributes.find(UNITS_PER_MEASURE);
    if (units != element.attributes.end()) return origin.x() * 72.0 / units->second.x();
  }
  throw std::runtime_error("a session without units");
}

}  // namespace kesto::test
