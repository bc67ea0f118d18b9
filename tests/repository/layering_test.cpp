// The folders are layers: no source includes a folder above its own.
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

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

/// The texts between backquotes.
std::vector<std::string> quoted(const std::string& text) {
  std::vector<std::string> found;
  for (std::size_t at = text.find('`'); at != std::string::npos;) {
    const std::size_t end = text.find('`', at + 1);
    if (end == std::string::npos) break;
    found.push_back(text.substr(at + 1, end - at - 1));
    at = text.find('`', end + 1);
  }
  return found;
}

/// The table "folder | holds | may include" of the architecture document.
std::map<std::string, Folders> documentedLayers() {
  std::map<std::string, Folders> layers;
  std::ifstream document(KESTO_ARCHITECTURE);
  bool inTable = false;
  for (std::string line; std::getline(document, line);) {
    if (line == "| folder | holds | may include |") {
      inTable = true;
    } else if (inTable && line.starts_with("| `")) {
      const auto folder = quoted(line.substr(0, line.find('|', 1)));
      const auto included = quoted(line.substr(line.rfind('|', line.size() - 2)));
      layers[folder.at(0)] = {included.begin(), included.end()};
    } else if (inTable && !line.starts_with("|--")) {
      break;
    }
  }
  return layers;
}

std::string parentOf(const std::string& file) {
  return file.substr(0, file.rfind('/'));
}

TEST(Layering, IncludesAreThoseThatTheArchitectureTableNames) {
  const auto layers = documentedLayers();
  std::map<std::string, Folders> used;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(KESTO_SOURCES)) {
    if (!isSource(entry.path())) continue;
    const std::string folder = parentOf(entry.path().lexically_relative(KESTO_SOURCES).string());
    ASSERT_TRUE(layers.contains(folder)) << entry.path();
    used[folder];
    std::ifstream stream(entry.path());
    for (std::string line; std::getline(stream, line);) {
      const std::string file = includedFile(line);
      if (file.empty() || parentOf(file) == folder) continue;
      const Folders& allowed = layers.at(folder);
      EXPECT_TRUE(allowed.contains(parentOf(file)) || allowed.contains(file)) << entry.path() << ": " << line;
    }
  }
  for (const auto& [folder, allowed] : layers) EXPECT_TRUE(used.contains(folder)) << folder << " is not there";
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

TEST(Decisions, HaveTheAnchorsThatCommentsPointTo) {
  std::ifstream document(std::string(KESTO_SOURCES) + "/../docs/decisions.md");
  const std::string decisions(std::istreambuf_iterator<char>(document), {});
  const std::regex reference("decisions\\.md#([a-z-]+)");
  int references = 0;
  for (const char* folder : {KESTO_SOURCES, KESTO_TOOLS}) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
      std::ifstream stream(entry.path());
      std::smatch match;
      for (std::string line; std::getline(stream, line);) {
        if (!std::regex_search(line, match, reference)) continue;
        ++references;
        EXPECT_NE(decisions.find("id=\"" + match[1].str() + '"'), std::string::npos) << entry.path() << ": " << line;
      }
    }
  }
  EXPECT_GT(references, 5);
}

}  // namespace
