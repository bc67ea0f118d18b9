// The compiled PPD: what its page sizes mean to the printer, what it says of pairs that do not belong together, and
// that every text of an option is translated.
#include <fstream>
#include <iterator>
#include <memory>
#include <regex>
#include <set>

#include <cups/ppd.h>
#include <gtest/gtest.h>

#include "jobsettings/jobsettings.h"
#include "jobsettings/optionvalues.h"
#include "jobsettings/papersize.h"
#include "support/file.h"
#include "support/process.h"

// CUPS marks its PPD interface as deprecated for clients; a dialog that shows a PPD's options has no other one.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace kesto::test {
namespace {

struct ClosePpd {
  void operator()(ppd_file_t* ppd) const { ppdClose(ppd); }
};

class Ppd : public testing::Test {
 protected:
  Ppd() : ppd_(ppdOpenFile(KESTO_PPD)) { EXPECT_NE(ppd_, nullptr); }
  std::unique_ptr<ppd_file_t, ClosePpd> ppd_;
};

/// What a keyword of the PPD means to the printer: in a job, and as the queue's default.
std::string meaningOf(const std::string& keyword, bool asDefault) {
  cups_page_header2_t header{};
  JobSetting setting{};
  if (asDefault) {
    checkMediaSize(&setting, &header, keyword.c_str());
  } else {
    setPaperSize(&setting, &header, ("PageSize=" + keyword).c_str());
  }
  if (setting.mediaSizeType == MEDIA_SIZE_CUSTOM) return "custom";
  return setting.mediaSizeType == MEDIA_SIZE_NAMED ? setting.mediaSize.mediaSizeName
                                                   : std::to_string(setting.mediaSize.mediaSizeId);
}

TEST_F(Ppd, EveryPageSizeMeansTheSamePaperInAJobAndAsTheDefault) {
  std::set<std::string> papers;
  for (int i = 0; i < ppd_->num_sizes; ++i) {
    const std::string name = ppd_->sizes[i].name;
    const std::string inJob = meaningOf(name, false);
    papers.insert(inJob);
    if (name == "DoublePostcardRotated") continue;  // of its two names the order decides
    EXPECT_EQ(inJob, meaningOf(name, true)) << name;
    EXPECT_EQ(inJob == "0", name.starts_with("Letter")) << name << " is no name for the fall-back";
  }
  EXPECT_EQ(papers.size(), 32u);
}

TEST_F(Ppd, ExactlyTheSizesWithoutMarginsPrintToTheEdges) {
  for (int i = 0; i < ppd_->num_sizes; ++i) {
    const ppd_size_t& size = ppd_->sizes[i];
    if (std::string(size.name) == "Custom") continue;
    cups_page_header2_t header{};
    JobSetting setting{};
    setPaperSize(&setting, &header, (std::string("PageSize=") + size.name).c_str());
    const bool toTheEdges = size.left == 0 && size.bottom == 0 && size.right == size.width && size.top == size.length;
    EXPECT_EQ(setting.pageMode, toTheEdges ? EDGETOEDGE : NORMAL) << size.name;
    EXPECT_EQ(size.left, toTheEdges ? 0 : 12) << size.name;
  }
  EXPECT_EQ(ppd_->custom_margins[0], 12);
  EXPECT_EQ(getIntAttrFromPPD(ppd_.get(), "MaxMediaWidth", 0), 612);
  EXPECT_EQ(getIntAttrFromPPD(ppd_.get(), "MaxMediaHeight", 0), 1008);
}

/// The number of options in conflict when these choices are made and every other option keeps its default.
int conflictsOf(ppd_file_t* ppd, const std::string& choices) {
  cups_option_t* options = nullptr;
  const int count = cupsParseOptions(choices.c_str(), 0, &options);
  ppdMarkDefaults(ppd);
  cupsMarkOptions(ppd, count, options);
  cupsFreeOptions(count, options);
  return ppdConflicts(ppd);
}

TEST_F(Ppd, SaysWhichChoicesDoNotBelongTogetherAndBlamesNoneAlone) {
  int choices = 0;
  for (ppd_option_t* option = ppdFirstOption(ppd_.get()); option != nullptr; option = ppdNextOption(ppd_.get())) {
    for (int i = 0; i < option->num_choices; ++i, ++choices) {
      const std::string choice = std::string(option->keyword) + "=" + option->choices[i].choice;
      EXPECT_EQ(conflictsOf(ppd_.get(), choice), 0) << choice;
    }
  }
  EXPECT_GT(choices, 100);
  for (const char* pair : {"Resolution=300dpi cupsPrintQuality=High", "Duplex=DuplexNoTumble MediaType=Labels",
                           "Duplex=DuplexTumble PageSize=EnvDL", "ColorModel=Gray ColorPreferences=Vivid",
                           "ColorModel=Gray InkToUse=ColorOnly", "ColorOutput=Black ColorPreferences=Natural"}) {
    EXPECT_GT(conflictsOf(ppd_.get(), pair), 0) << pair;
  }
  EXPECT_EQ(conflictsOf(ppd_.get(), "MediaType=Envelope PageSize=EnvDL"), 0);
}

TEST_F(Ppd, PassesTheSpoolersOwnCheckWithoutARemark) {
  const Outcome outcome = run({.program = "/usr/bin/cupstestppd",
                               .arguments = {"cupstestppd", "-W", "none", "-I", "filters", KESTO_PPD},
                               .environment = {{"LC_ALL", "C"}}});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(std::string(outcome.output.begin(), outcome.output.end()), std::string(KESTO_PPD) + ": PASS\n");
}

TEST_F(Ppd, ShowsEveryTextInEveryLanguage) {
  const std::string text = contentOf(KESTO_PPD);
  for (const std::string language : {"de", "es", "fr", "ja"}) {
    std::ifstream catalogue(std::string(KESTO_CATALOGUES) + "/kesto-" + language + ".po");
    std::set<std::string> translated;
    std::string id;
    for (std::string line; std::getline(catalogue, line);) {
      const std::string quoted = line.substr(std::min(line.find('"'), line.size() - 1) + 1);
      if (line.starts_with("msgid ")) id = quoted.substr(0, quoted.size() - 1);
      if (!line.starts_with("msgstr ") || quoted.size() < 2) continue;
      translated.insert(id);
      EXPECT_NE(text.find('/' + quoted.substr(0, quoted.size() - 1)), std::string::npos) << language << ' ' << id;
    }
    // English texts follow the keyword of an option, a group or a choice.
    const std::regex shown("(?:^|\n)\\*(?:OpenUI \\*|OpenGroup: )?\\w+(?: [^\n/.:]+)?/([^\n:]+)");
    const std::sregex_iterator first(text.begin(), text.end(), shown), end;
    EXPECT_GT(std::distance(first, end), 150);
    for (auto match = first; match != end; ++match) {
      EXPECT_TRUE(translated.contains((*match)[1])) << language << " lacks \"" << (*match)[1] << '"';
    }
  }
}

}  // namespace
}  // namespace kesto::test
