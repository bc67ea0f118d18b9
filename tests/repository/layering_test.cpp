// The folders are layers: no source includes a folder above its own, and the documents say so.
#include <filesystem>
#include <functional>
#include <map>
#include <regex>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "support/file.h"

namespace {

namespace fs = std::filesystem;
using Names = std::set<std::string>;

/// Calls `use` with the path below `folder` and the first group of each match of `pattern` in its sources.
void forMatches(const char* folder, const char* pattern,
                const std::function<void(const std::string& file, const std::string& match)>& use) {
  const std::regex expression(pattern);
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.path().extension() != ".cpp" && entry.path().extension() != ".h") continue;
    const std::string text = kesto::test::contentOf(entry.path());
    for (std::sregex_iterator match(text.begin(), text.end(), expression), end; match != end; ++match) {
      use(entry.path().lexically_relative(folder).string(), (*match)[1]);
    }
  }
}

constexpr char OWN_INCLUDE[] = "(?:^|\n)#include \"([^\"]+/[^\"]+)\"";

Names quotedIn(const std::string& text) {
  static const std::regex quoted("`([^`]+)`");
  Names names;
  for (std::sregex_iterator match(text.begin(), text.end(), quoted), end; match != end; ++match) {
    names.insert((*match)[1]);
  }
  return names;
}

std::string parentOf(const std::string& file) {
  return file.substr(0, file.rfind('/'));
}

/// The table "folder | holds | may include" of the architecture document.
std::map<std::string, Names> documentedLayers() {
  const std::string document = kesto::test::contentOf(KESTO_ARCHITECTURE);
  const std::string table = document.substr(document.find("| folder | holds | may include |"));
  const std::regex row("\n\\| `([^`]+)` \\|[^|\n]*\\|([^|\n]*)\\|");
  std::map<std::string, Names> layers;
  for (std::sregex_iterator match(table.begin(), table.end(), row), end; match != end; ++match) {
    layers[(*match)[1]] = quotedIn((*match)[2]);
  }
  return layers;
}

TEST(Layering, IncludesAreThoseThatTheArchitectureTableNames) {
  const auto layers = documentedLayers();
  Names used;
  forMatches(KESTO_SOURCES, OWN_INCLUDE, [&](const std::string& source, const std::string& file) {
    const std::string folder = parentOf(source);
    used.insert(folder);
    ASSERT_TRUE(layers.contains(folder)) << source;
    const Names& allowed = layers.at(folder);
    EXPECT_TRUE(parentOf(file) == folder || allowed.contains(parentOf(file)) || allowed.contains(file))
        << source << ": " << file;
  });
  for (const auto& [folder, allowed] : layers) EXPECT_TRUE(used.contains(folder)) << folder << " is not there";
}

TEST(Layering, TheJobReaderSharesNamesWithTheFilterAndNothingElse) {
  int includes = 0;
  forMatches(KESTO_TOOLS "/kestojob", OWN_INCLUDE, [&](const std::string& source, const std::string& file) {
    ++includes;
    EXPECT_TRUE(file.starts_with("kestojob/") || file == "pclxl/xlnames.h" || file == "jobsettings/pjlnames.h")
        << source << ": " << file;
  });
  EXPECT_GT(includes, 20);
}

TEST(Decisions, HaveTheAnchorsThatCommentsPointTo) {
  const std::string decisions = kesto::test::contentOf(KESTO_SOURCES "/../docs/decisions.md");
  int references = 0;
  for (const char* folder : {KESTO_SOURCES, KESTO_TOOLS}) {
    forMatches(folder, "decisions\\.md#([a-z-]+)", [&](const std::string& source, const std::string& anchor) {
      ++references;
      EXPECT_NE(decisions.find("id=\"" + anchor + '"'), std::string::npos) << source << ": " << anchor;
    });
  }
  EXPECT_GT(references, 5);
}

}  // namespace
