// The printer application beside the spooler: its conformance tests, a driverless queue, and the web page.
#include "support/spooler.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <thread>

#include <gtest/gtest.h>

#include "printerapp/documents.h"
#include "printerapp/printerapp.h"
#include "support/file.h"
#include "support/jobparser.h"
#include "support/pdf.h"
#include "support/printerprocess.h"

namespace kesto::test {
namespace {

namespace fs = std::filesystem;

constexpr int BLANK = 5;
constexpr char TOOL[] = "/usr/bin/ipptool", SUITES[] = "/usr/share/cups/ipptool";

class BesideTheSpooler : public testing::Test {
 protected:
  void SetUp() override { app_.addPrinter("Office", "socket://" + printer_.address()); }

  PrinterProcess printer_;
  PrinterApp app_;
  TemporaryFolder folder_;
};

/// What is missed, and why it is not there. The tests' own names for it.
const std::map<std::string, std::string> MISSED = {
    {"orientation-requested-default WITH-VALUE \"3,4,5,6\"",
     "\"none\" leaves a document as it is; the suite knows only the values of before PWG 5100.13"},
    {"job-state-reasons", "PAPPL 1.3 gives a held job with its document no reason (job-ipp.c)"},
    {"identify-actions-default WITH-VALUE /^(display|flash|sound|speak)/", "the printers cannot make themselves known"},
    {"identify-actions-supported", "likewise: PAPPL lists no action where there is none (printer-driver.c)"},
    {"overrides-supported", "PAPPL 1.3 has no options for single pages"},
    {"preferred-attributes-supported", "PAPPL 1.3 does not have the attribute"},
    {"print-rendering-intent-default", "the printers know one intent, and PAPPL 1.3 not the attribute"},
    {"print-rendering-intent-supported", "likewise"},
    {"printer-supply", "levels would have to be asked by SNMP, which the application does not do"},
    {"printer-supply-description", "likewise"},
};

/// Copies the suites, with a document for each of the samples that they name and the package leaves out.
void gatherSuites(const fs::path& folder) {
  std::set<std::string> samples;
  for (const auto& entry : fs::directory_iterator(SUITES)) {
    if (!entry.path().filename().string().starts_with("ipp-")) continue;
    fs::copy_file(entry.path(), folder / entry.path().filename());
    std::istringstream words(contentOf(entry.path()));
    for (std::string before, word; words >> word; before = word) {
      if (before == "FILE" && word.find('$') == std::string::npos) samples.insert(word);
    }
  }
  for (const std::string& name : samples) {
    const bool colour = name.find("srgb-8") != std::string::npos, fine = name.find("600dpi") != std::string::npos;
    fs::create_directories((folder / name).parent_path());
    std::ofstream(folder / name, std::ios::binary)
        << (name.ends_with(".pwg")   ? rasterOf({.type = colour ? "srgb_8" : "sgray_8", .resolution = fine ? 600 : 300})
            : name.ends_with(".jpg") ? jpegOf(60, 40, 100)
                                     : pdfOf(288, 432, {0.5}));
  }
}

TEST_F(BesideTheSpooler, PassesTheSpoolersConformanceTests) {
  if (!fs::exists(TOOL)) GTEST_SKIP() << "cups-ipp-utils is not installed";
  gatherSuites(folder_.path());
  std::this_thread::sleep_for(std::chrono::milliseconds(1100));  // a printer is to be up for a whole second
  const Outcome outcome =
      run({.program = TOOL,
           .arguments = {"ipptool", "-tIR", "-T", "30", "-f", std::string(KESTO_EXAMPLES) + "/sample.pdf",
                         app_.uri("Office"), folder_.path() + "/ipp-everywhere.test"},
           .environment = {{"PATH", "/usr/bin:/bin"}, {"HOME", folder_.path()}, {"LC_ALL", "C"}},
           .timeout = std::chrono::minutes(5)});
  const std::string contents(outcome.output.begin(), outcome.output.end());
  std::istringstream lines(contents);
  int passed = 0, failed = 0, explained = 0;
  for (std::string line, test; std::getline(lines, line);) {
    passed += line.ends_with("[PASS]") ? 1 : 0;
    if (line.ends_with("[FAIL]")) {
      EXPECT_EQ(failed, explained) << test;  // each failure says what it missed
      test = line;
      ++failed;
    }
    const std::size_t at = line.find("EXPECTED: ");
    if (at != std::string::npos) {
      EXPECT_TRUE(MISSED.contains(line.substr(at + 10))) << test << '\n' << line;
      explained = failed;
    }
    EXPECT_EQ(line.find("Duplicate"), std::string::npos) << test << '\n' << line;
  }
  EXPECT_EQ(failed, explained) << contents;
  EXPECT_LE(failed, 4);
  EXPECT_GT(passed, 100);
}

TEST_F(BesideTheSpooler, ADriverlessQueuePrintsWhatItIsGiven) {
  if (!PrivateSpooler::unavailable().empty()) GTEST_SKIP() << PrivateSpooler::unavailable();
  PrivateSpooler spooler(KESTO_FILTER);
  spooler.client("lpadmin", {"-p", "driverless", "-m", "everywhere", "-v", app_.uri("Office"), "-E"});
  // The spooler asks the printer after it has answered; until then it prints in grey.
  for (int i = 0;
       i < 200 && spooler.client("lpoptions", {"-p", "driverless", "-l"}).find("ColorModel") == std::string::npos;
       ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  const std::string pdf = folder_.write("d.pdf", pdfOf(288, 432, {50 / 255.0, 100 / 255.0, 150 / 255.0})),
                    pwg = folder_.write("d.pwg", rasterOf({.greys = {50, 100}})),
                    jpeg = folder_.write("d.jpg", jpegOf(400, 600, 50));
  const std::string handling = "multiple-document-handling=separate-documents-", duplex = "sides=two-sided-long-edge";
  struct Case {
    std::string document;
    std::vector<std::string> arguments;
    std::vector<int> expected;  // page n has the grey value 50 n
    const char* text = "LCOLORMODEL=CMYK";
  };
  const Case cases[] = {
      {pdf, {}, {1, 2, 3}},
      {pdf, {"-n", "2", "-o", handling + "collated-copies"}, {1, 2, 3, 1, 2, 3}},
      {pdf, {"-n", "3", "-o", handling + "uncollated-copies"}, {1, 1, 1, 2, 2, 2, 3, 3, 3}},
      {pdf,
       {"-n", "2", "-o", handling + "collated-copies", "-o", duplex},
       {1, 2, 3, BLANK, 1, 2, 3, BLANK},
       "DUPLEX=ON"},
      {pdf, {"-o", "print-color-mode=monochrome"}, {1, 2, 3}, "LCOLORMODEL=BLACK"},
      {pdf, {"-o", "page-ranges=2-3"}, {2, 3}},
      {pwg, {"-o", "document-format=image/pwg-raster"}, {1, 2}},
      {jpeg, {"-n", "2"}, {1, 1}},
  };
  int number = 0;
  for (const auto& [document, arguments, expected, text] : cases) {
    std::string name = fs::path(document).filename();
    for (const std::string& argument : arguments) name += " " + argument;
    std::vector<std::string> all = {"-o", std::string("media=na_index-4x6_4x6in"), "-o", "print-quality=3"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    spooler.print("driverless", document, all);
    const Job job = parseJob(printer_.job(++number));
    std::vector<int> pages;
    for (const Page& page : job.pages) {
      pages.push_back((page.luma.at(std::size_t{page.height} / 2 * page.width + page.width / 2) + 25) / 50);
    }
    EXPECT_EQ(pages, expected) << name;
    expectList(job, {text, "\"4 x 6 in\""}, name);
  }
}

TEST_F(BesideTheSpooler, TheWebPageSpeaksTheReadersLanguage) {
  const std::pair<const char*, std::vector<std::string>> pages[] = {
      {"en", {"Toner Saving:", ">On</option>"}},
      {"de", {"Toner sparen:", ">Ein</option>"}},
      {"ja", {"トナー節約:", ">オン</option>"}},
  };
  for (const auto& [language, texts] : pages) {
    http_t* const http =
        httpConnect2("127.0.0.1", app_.port(), nullptr, AF_INET, HTTP_ENCRYPTION_NEVER, 1, 30000, nullptr);
    ASSERT_NE(http, nullptr);
    httpSetField(http, HTTP_FIELD_HOST, "127.0.0.1");
    httpSetField(http, HTTP_FIELD_ACCEPT_LANGUAGE, language);
    ASSERT_EQ(httpGet(http, "/Office/printing"), 0);
    http_status_t status = HTTP_STATUS_CONTINUE;
    while (status == HTTP_STATUS_CONTINUE) status = httpUpdate(http);
    EXPECT_EQ(status, HTTP_STATUS_OK);
    std::string page;
    char part[4096];
    for (ssize_t got = 0; (got = httpRead2(http, part, sizeof part)) > 0;)
      page.append(part, static_cast<std::size_t>(got));
    httpClose(http);
    for (const std::string& text : texts) EXPECT_NE(page.find(text), std::string::npos) << text;
  }
}

}  // namespace
}  // namespace kesto::test
