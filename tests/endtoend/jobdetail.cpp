#include "endtoend/jobdetail.h"

#include <gtest/gtest.h>

#include "support/hex.h"

namespace kesto::test {
namespace {

constexpr std::uint8_t BYTE_ARRAY = 0xC8;

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
  const job::Attribute& attribute = found->second;
  if (attribute.type->tag == BYTE_ARRAY) return std::string(attribute.text());
  return hex({&attribute.type->tag, 1}) + ' ' + hex(attribute.bytes);
}

void expectDetails(const Job& job, const std::vector<Detail>& details, const std::string& choice) {
  for (const auto& [name, value] : details) EXPECT_EQ(detailOf(job, name), value) << name << " with " << choice;
}

double originInPoints(const Job& job) {
  const job::PageLayout& layout = job.pages.at(0).layout;
  return layout.originX * 72.0 / layout.unitsPerInch;
}

}  // namespace kesto::test
