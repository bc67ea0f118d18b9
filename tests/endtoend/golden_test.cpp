// The bytes of whole jobs, pinned: a table of options and rasters, each with the digest of the job that they make. The
// same bytes have to come out of every build, on every processor, and from pages that are rendered already.
#include <algorithm>
#include <array>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "endtoend/filterrun.h"
#include "support/digest.h"
#include "support/raster.h"

namespace kesto::test {
namespace {

std::string digestOf(const Bytes& bytes) {
  Digest digest;
  digest.add(bytes);
  return digest.text();
}

/// "options | copies=, type=, uri= | renderer's recipe, its lines separated by semicolons".
FilterCall callOf(const std::string& row) {
  std::array<std::string, 3> parts;
  std::istringstream stream(row);
  for (std::string& part : parts) std::getline(stream >> std::ws, part, '|');
  std::ranges::replace(parts[2], ';', '\n');
  const Step call = parseRecipe("call " + parts[1]).at(0);
  return {.document = parts[2],
          .options = parts[0],
          .copies = call.text("copies", "1"),
          .deviceUri = call.text("uri", "lpd://printer.invalid/queue"),
          .fileType = call.text("type", "")};
}

TEST(GoldenJobs, HaveTheirBytes) {
  std::ifstream table(KESTO_GOLDEN_JOBS);
  int rows = 0;
  for (std::string line; std::getline(table, line);) {
    if (line.empty() || line.starts_with('#')) continue;
    ++rows;
    const std::string row = line.substr(0, line.find(" =>"));
    const Outcome outcome = runFilter(callOf(row));
    EXPECT_EQ(outcome.status, 0) << row << outcome.log;
    EXPECT_EQ(row + " => " + digestOf(withoutDate(outcome.output)), line);
    FilterCall rendered = renderedCall(callOf(row));
    rendered.onStandardInput = rows % 2 == 0;
    EXPECT_EQ(withoutDate(runFilter(rendered).output), withoutDate(outcome.output)) << row;
  }
  EXPECT_GT(rows, 40);
}

}  // namespace
}  // namespace kesto::test
