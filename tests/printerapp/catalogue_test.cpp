// The PPD in IPP's words.
#include "printerapp/catalogue.h"

#include <set>

#include <gtest/gtest.h>

namespace kesto::app {
namespace {

TEST(Catalogue, NamesAreIppsAndLeadBackToTheKeywords) {
  const std::pair<const char*, const char*> names[] = {
      {"TonerSave", "toner-save"}, {"Tray1", "tray-1"}, {"DupDryTime", "dup-dry-time"}, {"128", "128"}};
  for (const auto& [keyword, name] : names) EXPECT_EQ(ippName(keyword), name);

  const Catalogue catalogue = readCatalogue(KESTO_PPD);
  std::vector<Option> all = catalogue.others;
  all.push_back(catalogue.sources);
  all.push_back(catalogue.types);
  std::set<std::string> optionNames;
  for (const Option& option : all) {
    EXPECT_TRUE(optionNames.insert(option.name).second) << option.name;
    EXPECT_FALSE(option.keywordOf(option.initial).empty()) << option.name;
    for (const Choice& choice : option.choices) EXPECT_EQ(option.keywordOf(choice.name), choice.keyword) << choice.name;
  }
}

TEST(Catalogue, FindsThePaperOfASheet) {
  const Catalogue catalogue = readCatalogue(KESTO_PPD);
  struct Case {
    int width, length;
    bool borderless;
    const char* keyword;  // nullptr: none
  };
  const Case cases[] = {
      {21000, 29700, false, "A4"},    {21000, 29700, true, "A4.FullBleed"},
      {20990, 29704, false, "A4"},    {21590, 27940, true, "Letter.FullBleed"},
      {21150, 29700, false, nullptr}, {29700, 21000, false, nullptr},
      {10477, 24130, true, "Env10"},  // has a border only
      {10160, 15240, false, "4x6"},
  };
  for (const Case& c : cases) {
    const Paper* const paper = catalogue.find(c.width, c.length, c.borderless);
    EXPECT_EQ(paper != nullptr ? paper->keyword : "", c.keyword != nullptr ? c.keyword : "") << c.width;
  }
}

}  // namespace
}  // namespace kesto::app
