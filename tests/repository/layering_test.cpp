// The folders are layers: no source includes a folder above its own.
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace {

using Folders = std::set<std::string>;

/// The file that the line includes, if it is one of our own; empty for any other line.
std::string includedFile(const std::string& line) {
  constexpr std::string_view INCLUDE = "#include \"";
  if (!line.starts_with(INCLUDE) || line.find('/') == std::string::npos) return {};
  return line.substr(INCLUDE.size(), line.rfind('"') - INCLUDE.size());
}

std::string folderOf(const std::string& file) {
  return file.substr(0, file.find('/'));
}

bool isSource(const std::filesystem::path& path) {
  return path.extension() == ".cpp" || path.extension() == ".h";
}

TEST(Layering, EveryFolderIncludesOnlyTheFoldersBelowIt) {
  const std::map<std::string, Folders> allowed = {
      {"codec", {}},
      {"pclxl", {}},
      {"npa", {}},
      {"hdc", {"npa"}},
      {"jobsettings", {"hdc"}},
      {"filter", {"jobsettings", "pclxl", "codec", "hdc", "npa"}},
  };
  int sources = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(KESTO_SOURCES)) {
    if (!isSource(entry.path())) continue;
    const std::string folder = *entry.path().lexically_relative(KESTO_SOURCES).begin();
    ASSERT_TRUE(allowed.contains(folder)) << entry.path();
    ++sources;
    std::ifstream stream(entry.path());
    for (std::string line; std::getline(stream, line);) {
      const std::string included = folderOf(includedFile(line));
      if (included.empty()) continue;
      EXPECT_TRUE(included == folder || allowed.at(folder).contains(included)) << entry.path() << ": " << line;
    }
  }
  EXPECT_GT(sources, 40);
}

TEST(Layering, TheJobReaderSharesNamesWithTheFilterAndNothingElse) {
  const std::set<std::string> shared = {"pclxl/xlnames.h", "jobsettings/pjlnames.h"};
  int sources = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(KESTO_TOOLS "/kestojob")) {
    if (!isSource(entry.path())) continue;
    ++sources;
    std::ifstream stream(entry.path());
    for (std::string line; std::getline(stream, line);) {
      const std::string file = includedFile(line);
      EXPECT_TRUE(file.empty() || folderOf(file) == "kestojob" || shared.contains(file))
          << entry.path() << ": " << line;
    }
  }
  EXPECT_GT(sources, 20);
}

}  // namespace
