// The folders are layers: no source includes a folder above its own.
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>

#include <gtest/gtest.h>

namespace {

using Folders = std::set<std::string>;

TEST(Layering, EveryFolderIncludesOnlyTheFoldersBelowIt) {
  const std::map<std::string, Folders> allowed = {
      {"codec", {}},
      {"pclxl", {}},
      {"npa", {}},
      {"hdc", {"npa"}},
      {"jobsettings", {"hdc"}},
      {"filter", {"jobsettings", "pclxl", "codec", "hdc", "npa"}},
  };
  const std::regex include(R"(^\s*#include\s+\"(\w+)/)");
  int sources = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(KESTO_SOURCES)) {
    if (entry.path().extension() != ".cpp" && entry.path().extension() != ".h") continue;
    const std::string folder = *entry.path().lexically_relative(KESTO_SOURCES).begin();
    ASSERT_TRUE(allowed.contains(folder)) << entry.path();
    ++sources;
    std::ifstream stream(entry.path());
    for (std::string line; std::getline(stream, line);) {
      std::smatch match;
      if (!std::regex_search(line, match, include)) continue;
      const std::string included = match[1];
      EXPECT_TRUE(included == folder || allowed.at(folder).contains(included)) << entry.path() << ": " << line;
    }
  }
  EXPECT_GT(sources, 40);
}

}  // namespace
