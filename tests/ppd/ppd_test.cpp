// The compiled PPD: what its page sizes mean to the printer, what it says of pairs that do not belong together, and
// that every text of an option is translated.
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <vector>

#include <cups/ppd.h>

#include "jobsettings/joboptions.h"
#include "jobsettings/optionvalues.h"
#include "jobsettings/papersize.h"
#include "support/process.h"

// CUPS marks its PPD interface as deprecated for clients; a dialog that shows a PPD's options has no other one.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace kesto::test {
namespace {

struct ClosePpd {
  void operator()(ppd_file_t* ppd) const { ppdClose(ppd); }
};

class Ppd : public JobOptions {
 protected:
  Ppd() : ppd_(ppdOpenFile(KESTO_PPD)) { EXPECT_NE(ppd_, nullptr); }
  std::unique_ptr<ppd_file_t, ClosePpd> ppd_;
};

struct Paper {
  const char* keyword;
  const char* told;  // the printer's number or name
};

// clang-format off
constexpr Paper PAPERS[] = {
    {"Letter", "0"}, {"Legal", "1"}, {"Executive", "3"}, {"Statement", "19"}, {"Folio", "17"}, {"Oficio", "OFICIO"},
    {"A4", "2"}, {"A5", "16"}, {"A6", "A6"}, {"B5", "11"}, {"B6", "18"}, {"ISOB6.B6ISO", "B6"},
    {"Postcard.PostcardHagaki", "14"}, {"3x5.Card3x5", "INDEX CARD"}, {"4x6", "4 x 6 in"}, {"4x8", "4 x 8 in"},
    {"5x7.Photo", "5 x 7 in"}, {"89x127mm.L.Photo", "L"}, {"100x150mm.10x15cm", "10 x 15 cm"},
    {"100x200mm.10x20cm", "10 x 20 cm"}, {"130x180mm.13x18cm", "13 x 18 cm"}, {"Env9", "255"}, {"Env10", "6"},
    {"EnvDL", "9"}, {"EnvC5", "8"}, {"EnvC6", "C6"}, {"EnvISOB5", "B5 ENV"}, {"EnvChou3", "CHOKEI 3"},
    {"EnvChou4", "CHOKEI 4"}, {"EnvKaku3", "KAKU 3"}, {"Letter.FullBleed", "0"}, {"Legal.FullBleed", "1"},
    {"A4.FullBleed", "2"}, {"A5.FullBleed", "16"}, {"A6.FullBleed", "A6"}, {"B5.FullBleed", "11"},
    {"B6.FullBleed", "18"}, {"Postcard.FullBleed.PostcardHagaki", "14"}, {"4x6.FullBleed", "4 x 6 in"},
    {"4x8.FullBleed", "4 x 8 in"}, {"5x7.FullBleed.5x7.Photo", "5 x 7 in"}, {"89x127mm.FullBleed.L.Photo", "L"},
    {"100x150mm.FullBleed.10x15cm", "10 x 15 cm"}, {"100x200mm.FullBleed.10x20cm", "10 x 20 cm"},
    {"130x180mm.FullBleed.13x18cm", "13 x 18 cm"}, {"Custom", "custom"},
};
// clang-format on

TEST_F(Ppd, EveryPageSizeMeansTheSamePaperInAJobAndAsTheDefault) {
  std::set<std::string> untested;
  for (int i = 0; i < ppd_->num_sizes; ++i) untested.insert(ppd_->sizes[i].name);
  for (const auto& [keyword, expected] : PAPERS) {
    EXPECT_EQ(untested.erase(keyword), 1u) << keyword;
    setPaperSize(&setting, &header, (std::string("PageSize=") + keyword).c_str());
    EXPECT_EQ(toldPaper(setting), expected) << keyword;
    checkMediaSize(&setting, &header, keyword);
    EXPECT_EQ(toldPaper(setting), expected) << keyword << " as the default";
  }
  // Two names of one paper: the printer has both, and which it is told depends on the order.
  EXPECT_EQ(untested, std::set<std::string>{"DoublePostcardRotated"});
  setPaperSize(&setting, &header, "PageSize=DoublePostcardRotated");
  EXPECT_EQ(toldPaper(setting), "JPOSTD");
  checkMediaSize(&setting, &header, "DoublePostcardRotated");
  EXPECT_EQ(toldPaper(setting), "15");
}

TEST_F(Ppd, ExactlyTheSizesWithoutMarginsPrintToTheEdges) {
  for (int i = 0; i < ppd_->num_sizes; ++i) {
    const ppd_size_t& size = ppd_->sizes[i];
    if (std::string(size.name) == "Custom") continue;
    setPaperSize(&setting, &header, (std::string("PageSize=") + size.name).c_str());
    const bool toTheEdges = size.left == 0 && size.bottom == 0 && size.right == size.width && size.top == size.length;
    EXPECT_EQ(setting.pageMode, toTheEdges ? EDGETOEDGE : NORMAL) << size.name;
    EXPECT_EQ(size.left, toTheEdges ? 0 : 12) << size.name;
  }
  EXPECT_EQ(ppd_->custom_margins[0], 12);
  EXPECT_EQ(getIntAttrFromPPD(ppd_.get(), "MaxMediaWidth", 0), 612);
  EXPECT_EQ(getIntAttrFromPPD(ppd_.get(), "MaxMediaHeight", 0), 1008);
}

TEST_F(Ppd, TellsWhichChoicesDoNotBelongTogether) {
  struct Case {
    const char* choices;
    bool conflict;
  };
  const Case cases[] = {
      {"", false},
      {"Resolution=300dpi cupsPrintQuality=Draft", false},
      {"Resolution=300dpi cupsPrintQuality=Normal", true},
      {"Resolution=300dpi cupsPrintQuality=High", true},
      {"Resolution=600dpi cupsPrintQuality=Draft", true},
      {"Resolution=150dpi cupsPrintQuality=Draft PageSize=A4.FullBleed", false},
      {"Resolution=150dpi cupsPrintQuality=Normal PageSize=A4.FullBleed", true},
      {"Resolution=150dpi cupsPrintQuality=Draft PageSize=Custom.300x500", true},
      {"Duplex=DuplexNoTumble MediaType=Labels", true},
      {"Duplex=DuplexTumble PageSize=EnvDL", true},
      {"MediaType=Envelope PageSize=EnvDL", false},
      {"ColorModel=Gray ColorPreferences=Vivid", true},
      {"ColorModel=Gray ColorOutput=GrayScale", false},
  };
  for (const auto& [choices, conflict] : cases) {
    cups_option_t* options = nullptr;
    const int count = cupsParseOptions(choices, 0, &options);
    ppdMarkDefaults(ppd_.get());
    cupsMarkOptions(ppd_.get(), count, options);
    cupsFreeOptions(count, options);
    EXPECT_EQ(ppdConflicts(ppd_.get()) > 0, conflict) << choices;
  }
  for (int i = 0; i < ppd_->num_sizes; ++i) {
    const ppd_size_t& size = ppd_->sizes[i];
    ppdMarkDefaults(ppd_.get());
    ppdMarkOption(ppd_.get(), "cupsPrintQuality", "Draft");
    ppdMarkOption(ppd_.get(), "Resolution", "150dpi");
    ppdMarkOption(ppd_.get(), "PageSize", size.name);
    EXPECT_EQ(ppdConflicts(ppd_.get()) > 0, size.left > 0) << size.name;
  }
}

TEST_F(Ppd, PassesTheSpoolersOwnCheckWithoutARemark) {
  const Outcome outcome = run({.program = "/usr/bin/cupstestppd",
                               .arguments = {"cupstestppd", "-W", "none", "-I", "filters", KESTO_PPD},
                               .environment = {{"LC_ALL", "C"}}});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(std::string(outcome.output.begin(), outcome.output.end()), std::string(KESTO_PPD) + ": PASS\n");
}

using Texts = std::map<std::string, std::string>;

/// The entries of a message catalogue.
Texts catalogue(const std::string& language) {
  std::ifstream stream(std::string(KESTO_CATALOGUES) + "/kesto-" + language + ".po");
  Texts texts;
  std::string id;
  for (std::string line; std::getline(stream, line);) {
    const auto quoted = [&line] { return line.substr(line.find('"') + 1, line.rfind('"') - line.find('"') - 1); };
    if (line.starts_with("msgid ")) id = quoted();
    if (line.starts_with("msgstr ")) texts[id] = quoted();
  }
  return texts;
}

/// The texts that a dialog shows, by what they belong to: "Translation Option" or "Option Choice". `prefix` is that of
/// the language.
Texts shownTexts(const std::string& prefix) {
  std::ifstream stream(KESTO_PPD);
  Texts texts;
  for (std::string line; std::getline(stream, line);) {
    for (const char* opening : {"*OpenUI *", "*OpenGroup: "}) {
      if (line.starts_with(opening)) line = "*Translation " + line.substr(std::string(opening).size());
    }
    const std::size_t slash = line.find('/');
    const std::size_t colon = line.find(':');
    const std::string subject = line.substr(0, slash);
    // A keyword, a blank, a choice; other lines have no slash before their colon, or belong to another language.
    if (slash > colon || !subject.starts_with(prefix) || subject.find(' ') == std::string::npos) continue;
    if (prefix == "*" && (subject.starts_with("*%") || subject.find('.') < subject.find(' '))) continue;
    texts[subject.substr(prefix.size())] = line.substr(slash + 1, colon - slash - 1);
  }
  return texts;
}

TEST_F(Ppd, ShowsEveryTextInEveryLanguage) {
  const Texts english = shownTexts("*");
  EXPECT_EQ(english.at("Translation TonerSave"), "Toner Saving");
  EXPECT_EQ(english.at("TonerSave On"), "On");
  EXPECT_EQ(english.at("Translation Quality"), "Print Quality");
  for (const std::string language : {"de", "es", "fr", "ja"}) {
    const Texts messages = catalogue(language);
    const Texts shown = shownTexts("*" + language + ".");
    for (const auto& [subject, text] : english) {
      // These repeat the texts of the page sizes, and are translated with them.
      const std::string keyword = subject.substr(0, subject.find(' '));
      if (keyword == "PageRegion" || keyword == "ImageableArea" || keyword == "PaperDimension") continue;
      if (subject == "Translation PageRegion") continue;
      const auto message = messages.find(text);
      ASSERT_TRUE(message != messages.end() && !message->second.empty()) << language << " lacks \"" << text << '"';
      const auto found = shown.find(subject);
      ASSERT_NE(found, shown.end()) << language << ' ' << subject;
      EXPECT_EQ(found->second, message->second) << language << ' ' << subject;
    }
  }
}

}  // namespace
}  // namespace kesto::test
