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

/// The folder of an include of our own; empty for any other line.
std::string includedFolder(const std::string& line) {
  constexpr std::string_view INCLUDE = "#include \"";
  const std::size_t slash = line.find('/');
  if (!line.starts_with(INCLUDE) || slash == std::string::npos) return {};
  return line.substr(INCLUDE.size(), slash - INCLUDE.size());
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
    if (entry.path().extension() != ".cpp" && entry.path().extension() != ".h") continue;
    const std::string folder = *entry.path().lexically_relative(KESTO_SOURCES).begin();
    ASSERT_TRUE(allowed.contains(folder)) << entry.path();
    ++sources;
    std::ifstream stream(entry.path());
    for (std::string line; std::getline(stream, line);) {
      const std::string included = includedFolder(line);
      if (included.empty()) continue;
      EXPECT_TRUE(included == folder || allowed.at(folder).contains(included)) << entry.path() << ": " << line;
    }
  }
  EXPECT_GT(sources, 40);
}

}  // namespace
