// The filter at home in a real queue: a private spooler, its own PDF filter and backend, and a printer at the far end.
#include <algorithm>
#include <chrono>
#include <iterator>
#include <memory>
#include <regex>
#include <thread>

#include <gtest/gtest.h>

#include "support/file.h"
#include "support/jobparser.h"
#include "support/pdf.h"
#include "support/printerprocess.h"
#include "support/spooler.h"

namespace kesto::test {
namespace {

using namespace std::chrono_literals;

constexpr int BLANK = 255;
constexpr int BANNER = -1;

/// A Letter document of `count` pages; page n is filled with the grey value 10 n of 255.
std::string greyPdf(int count) {
  std::vector<double> greys;
  for (int page = 1; page <= count; ++page) greys.push_back(10.0 * page / 255.0);
  return pdfOf(612, 792, greys);
}

/// What arrives on one connection, taken apart into printer jobs: a job sheet is one of its own.
std::vector<Job> jobsOf(const Bytes& bytes) {
  const std::string_view start = "\x1B%-12345X@PJL JOB\n";
  std::vector<Job> jobs;
  auto from = bytes.begin();
  while (from != bytes.end()) {
    const auto next = std::search(from + 1, bytes.end(), start.begin(), start.end());
    jobs.push_back(parseJob({from, next}));
    from = next;
  }
  return jobs;
}

/// The number of a page of greyPdf, BLANK for a white one, BANNER for one of several shades.
int pageNumber(const Page& page) {
  // At the edges rows and columns may be white, where a page was fitted or its width padded.
  int low = 255, high = 0;
  for (unsigned y = 16; y + 16 < page.height; ++y) {
    const auto row = std::span(page.luma).subspan(std::size_t{y} * page.width + 16, page.width - 48);
    low = std::min<int>(low, std::ranges::min(row));
    high = std::max<int>(high, std::ranges::max(row));
  }
  if (high - low > 4) return BANNER;
  return high >= 254 ? BLANK : (high + 5) / 10;
}

std::vector<int> pageNumbers(const Bytes& bytes) {
  std::vector<int> numbers;
  for (const Job& job : jobsOf(bytes)) {
    for (const Page& page : job.pages) numbers.push_back(pageNumber(page));
  }
  return numbers;
}

/// Looks every 50 ms until `holds()`, for 20 s at most.
template <class Condition>
bool eventually(Condition holds) {
  for (int i = 0; i < 400; ++i) {
    if (holds()) return true;
    std::this_thread::sleep_for(50ms);
  }
  return false;
}

/// One spooler for all tests of this file: it takes a second to start.
class Queue : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    if (PrivateSpooler::unavailable().empty()) spooler_ = std::make_unique<PrivateSpooler>(KESTO_FILTER);
  }
  static void TearDownTestSuite() { spooler_.reset(); }
  void SetUp() override {
    if (!spooler_) GTEST_SKIP() << PrivateSpooler::unavailable();
  }

  /// Makes a queue of low resolution for a printer; a job that fails is given up, and the queue goes on.
  static void addQueue(const std::string& name, const PrinterProcess& printer) {
    spooler_->addQueue(name, printer.uri(), KESTO_PPD,
                       {"ColorModel=Gray", "cupsPrintQuality=Draft", "printer-error-policy=abort-job"});
  }
  std::string document(int pages) { return folder_.write("pages-" + std::to_string(pages) + ".pdf", greyPdf(pages)); }

  Job printToFile(const std::vector<std::string>& arguments, const std::vector<double>& greys);

  static std::unique_ptr<PrivateSpooler> spooler_;
  TemporaryFolder folder_;
};
std::unique_ptr<PrivateSpooler> Queue::spooler_;

TEST_F(Queue, PagesAndCopiesArriveAsTheyWereAskedFor) {
  struct Case {
    int pages;
    std::vector<std::string> arguments;
    std::vector<int> expected;
  };
  const std::string duplex = "sides=two-sided-long-edge";
  const std::string handling = "multiple-document-handling=";
  const Case cases[] = {
      {4, {}, {1, 2, 3, 4}},
      {3, {"-o", duplex}, {1, 2, 3}},
      {2, {"-n", "3"}, {1, 1, 1, 2, 2, 2}},
      {3, {"-n", "2", "-o", duplex}, {1, 2, 1, 2, 3, BLANK, 3}},
      {3, {"-n", "2", "-o", "collate=true"}, {1, 2, 3, 1, 2, 3}},
      {3, {"-n", "2", "-o", handling + "separate-documents-collated-copies"}, {1, 2, 3, 1, 2, 3}},
      {2, {"-n", "3", "-o", handling + "single-document"}, {1, 2, 1, 2, 1, 2}},
      {2, {"-n", "2", "-o", handling + "single-document-new-sheet"}, {1, 2, 1, 2}},
      {2, {"-n", "2", "-o", handling + "Separate-Documents-Uncollated-Copies"}, {1, 1, 2, 2}},
      {3, {"-n", "2", "-o", "collate=true", "-o", duplex}, {1, 2, 3, BLANK, 1, 2, 3, BLANK}},
      {2, {"-o", "job-sheets=standard,none"}, {BANNER, 1, 2}},
  };
  PrinterProcess printer;
  addQueue("copies", printer);
  int number = 0;
  for (const Case& c : cases) {
    std::string name = std::to_string(c.pages) + " pages";
    for (const std::string& argument : c.arguments) name += " " + argument;
    SCOPED_TRACE(name);
    spooler_->print("copies", document(c.pages), c.arguments);
    EXPECT_EQ(pageNumbers(printer.job(++number)), c.expected);
  }
  EXPECT_NE(spooler_->pageLog().find("total 6"), std::string::npos) << spooler_->pageLog();
}

/// Prints a small document on a queue for a file; returns the job that the file got.
Job Queue::printToFile(const std::vector<std::string>& arguments, const std::vector<double>& greys) {
  spooler_->print("file", folder_.write("small.pdf", pdfOf(288, 432, greys)), arguments);
  return parseJob(contentOf<Bytes>(spooler_->outputPath("file")));
}

TEST_F(Queue, OptionsArriveTheWaysAPersonChoosesThem) {
  const auto setDefaults = [](const std::vector<std::string>& defaults) {
    spooler_->addQueue("file", "file://" + spooler_->outputPath("file"), KESTO_PPD, defaults);
  };
  setDefaults({"PageSize=4x6", "cupsPrintQuality=Draft"});  // a twentieth of the work of a Letter page at 600 dpi
  struct Case {
    const char* option;
    std::vector<std::string> texts;
    unsigned height;  // of the raster, to eights: the paper without its margins of 12 points
  };
  const Case cases[] = {
      {"media=A4", {"MediaSize=2 ", "ECONOMODE=OFF", "DUPLEX=OFF", "LCOLORMODEL=CMYK"}, 3408},
      {"media=iso_a4_210x297mm", {"MediaSize=2 "}, 3408},
      {"media=om_small-photo_100x150mm", {"\"10 x 15 cm\""}, 1672},
      {"media=na_monarch_3.875x7.5in", {"  CustomMediaSize="}, 2152},  // a custom size
      {"PageSize=Custom.4x8in", {"  CustomMediaSize="}, 2304},
      {"sides=two-sided-short-edge", {"DUPLEX=ON", "BINDING=SHORTEDGE", "\"4 x 6 in\""}, 1704},
      {"print-color-mode=monochrome", {"LCOLORMODEL=BLACK", "LCOLORMODEL=BLACK"}, 1704},
      {"print-quality=4", {"PRINTQUALITY=NORMAL", "RESOLUTION=600"}, 3400},
      {"print-quality=5", {"PRINTQUALITY=BEST", "RESOLUTION=600"}, 3400},
      // A resolution that no quality has brings draft quality with it, and draft quality its resolution.
      {"Resolution=600dpi", {"PRINTQUALITY=DRAFT", "RESOLUTION=300", "MediaSource=1", "!MediaType"}, 1704},
      {"InputSlot=Manual", {"MediaSource=2"}, 1704},
      {"InputSlot=Multipurpose", {"MediaSource=3"}, 1704},
      {"InputSlot=Tray1", {"MediaSource=4"}, 1704},
      {"InputSlot=Tray2", {"MediaSource=5"}, 1704},
      {"MediaType=Glossy", {"\"Glossy\""}, 1704},
      {"media-col={media-type=stationery-heavyweight}", {"\"Heavy\""}, 1704},
      {"Duplex=DuplexNoTumble", {"DUPLEX=ON", "BINDING=LONGEDGE"}, 1704},
      {"TonerSave=On", {"ECONOMODE=ON"}, 1704},
      {"TonerSave=true", {"ECONOMODE=ON"}, 1704},
  };
  for (const auto& [option, texts, height] : cases) {
    const Job job = printToFile({"-o", option}, {0.5});
    ASSERT_EQ(job.pages.size(), 1u) << option;
    expectList(job, texts, option);
    EXPECT_EQ(job.pages[0].height, height) << option;
    EXPECT_EQ(originInPoints(job), 12.0) << option;
  }
  for (const bool reverse : {false, true}) {
    const Job job = printToFile({"-o", reverse ? "OutputOrder=Reverse" : "OutputOrder=Normal"}, {0.0, 0.6});
    ASSERT_EQ(job.pages.size(), 2u);
    EXPECT_EQ(job.pages[0].luma[0] < job.pages[1].luma[0], !reverse);
  }
  spooler_->client("lpoptions", {"-p", "file", "-o", "media=A6", "-o", "improve=tonerFix"});
  expectList(printToFile({}, {0.5}), {"\"A6\"", "FIMPROVE=TONERFIX"}, "saved options");
  expectList(printToFile({"-o", "improve=none"}, {0.5}), {"\"A6\"", "FIMPROVE=OFF"}, "saved options and a choice");
  spooler_->client("lpoptions", {"-p", "file", "-r", "media", "-r", "improve"});
  setDefaults(
      {"PageSize=Postcard.FullBleed.PostcardHagaki", "TonerSave=On", "ColorModel=Gray", "cupsPrintQuality=Draft"});
  expectList(printToFile({}, {0.5}),
             {"MediaSize=14 ", "LPAGEMODE=EDGETOEDGE", "ECONOMODE=ON", "LCOLORMODEL=BLACK", "PRINTQUALITY=DRAFT"},
             "the queue's defaults");
  expectList(
      printToFile({"-o", "media=na_index-3x5_3x5in", "-o", "TonerSave=Off", "-o", "print-color-mode=color"}, {0.5}),
      {"\"INDEX CARD\"", "LPAGEMODE=NORMAL", "ECONOMODE=OFF", "LCOLORMODEL=CMYK"}, "a job's choices");
}

TEST_F(Queue, PostScriptPrintsAsWell) {
  spooler_->addQueue("postscript", "file://" + spooler_->outputPath("postscript"), KESTO_PPD);
  spooler_->print("postscript", KESTO_EXAMPLES "/sample.ps", {"-o", "cupsPrintQuality=Draft"});
  EXPECT_EQ(parseJob(contentOf<Bytes>(spooler_->outputPath("postscript"))).pages.size(), 3u);
}

TEST_F(Queue, CancellingEndsTheJobInOrderAndTheQueueGoesOn) {
  PrinterProcess printer;
  addQueue("cancelled", printer);
  // A document that takes long enough to be in the middle of.
  const std::string answer = spooler_->client("lp", {"-d", "cancelled", "-o", "Resolution=600dpi", document(25)});
  const std::string job = answer.substr(answer.find("cancelled-"), answer.find(" (") - answer.find("cancelled-"));
  ASSERT_TRUE(spooler_->waitForLog("PAGE: 2"));
  const auto start = std::chrono::steady_clock::now();
  spooler_->client("cancel", {job});
  EXPECT_TRUE(spooler_->waitUntilIdle("cancelled"));
  EXPECT_LT(std::chrono::steady_clock::now() - start, 10s);
  spooler_->print("cancelled", document(1));
  EXPECT_EQ(pageNumbers(printer.lastJob()), std::vector<int>{1});
}

TEST_F(Queue, ADocumentThatCannotBeRenderedIsToldAndTheQueueGoesOn) {
  PrinterProcess printer;
  addQueue("bad", printer);
  const std::string good = greyPdf(2);
  const std::vector<std::pair<std::string, std::string>> documents = {
      {"empty page tree", greyPdf(0)},
      {"truncated", good.substr(0, good.size() / 3)},
      {"garbage", "%PDF-1.4\nthis is no document"},
  };
  std::ptrdiff_t told = 0;
  for (const auto& [name, text] : documents) {
    for (const bool straight : {false, true}) {
      SCOPED_TRACE(name + (straight ? ", straight" : ", through the PDF filter"));
      const std::string path = folder_.write("bad.pdf", text);
      std::vector<std::string> arguments;
      if (straight) arguments = {"-o", "document-format=application/vnd.cups-pdf"};
      // A job whose PDF filter failed stays stopped, for its owner to look at, while the queue goes on.
      arguments.insert(arguments.end(), {"-d", "bad", path});
      spooler_->client("lp", arguments);
      ++told;
      // The queue shows a job's first error, which is the PDF filter's own where that one has failed.
      const std::regex error(straight ? "Status: The document has no page that can be printed" : "Status: .");
      EXPECT_TRUE(eventually([&] {
        const std::string jobs = spooler_->client("lpstat", {"-W", "all", "-l", "-o", "bad"});
        return std::distance(std::sregex_iterator(jobs.begin(), jobs.end(), error), {}) >= (straight ? told / 2 : told);
      })) << spooler_->client("lpstat", {"-W", "all", "-l", "-o", "bad"});
    }
  }
  spooler_->client("cancel", {"-a", "bad"});
  spooler_->print("bad", document(1));
  EXPECT_EQ(pageNumbers(printer.lastJob()), std::vector<int>{1});
}

TEST_F(Queue, AUsbPrinterIsHeardThroughTheSpoolersBackChannel) {
  const std::string uri = "usb://Kesto/Page?error=Cover+open&delay=200&gap=30&output=" + spooler_->outputPath("");
  EXPECT_NE(spooler_->client("lpinfo", {"--include-schemes", "usb", "-v"}).find("direct usb://Kesto/Page"),
            std::string::npos);
  spooler_->addQueue("usb", uri, KESTO_PPD);
  spooler_->print("usb", document(1));
  const std::string jobs = spooler_->client("lpstat", {"-W", "completed", "-l", "-o", "usb"});
  EXPECT_NE(jobs.find("Status: Cover open"), std::string::npos) << jobs;
}

TEST_F(Queue, AnAlertOfThePrinterIsTheQueuesMessageWhileTheJobRuns) {
  PrinterProcess printer({"--error", "Paper jam", "--slow", "8000"});
  addQueue("alerted", printer);
  const std::string answer = spooler_->client("lp", {"-d", "alerted", "-n", "3", document(8)});
  const std::string job = answer.substr(answer.find("alerted-") + 8, answer.find(" (") - answer.find("alerted-") - 8);
  std::string message;
  EXPECT_TRUE(eventually([&] {
    message = spooler_->client("lpstat", {"-l", "-p", "alerted"});
    return message.find("Paper jam") != std::string::npos;
  })) << message;
  EXPECT_NE(message.find("now printing"), std::string::npos) << message;
  spooler_->client("cancel", {"-a", "alerted"});
  EXPECT_TRUE(spooler_->waitUntilIdle("alerted"));
  EXPECT_TRUE(spooler_->waitForLog("[Job " + job + "] Sent unregister command"));
  EXPECT_NE(printer.finish().find("registered 1, unregistered 1,"), std::string::npos);
}

TEST_F(Queue, KnowsHowFullThePrintersTonerIs) {
  PrinterProcess printer({"--level", "black=12"});
  spooler_->addQueue("toner", "socket://" + printer.address(), KESTO_PPD);
  spooler_->print("toner", document(1));
  const std::string options = spooler_->client("lpoptions", {"-p", "toner"});
  EXPECT_NE(options.find("marker-levels=100,100,100,12 "), std::string::npos) << options;
}

}  // namespace
}  // namespace kesto::test
