// The printer application as its clients see it, with a virtual printer behind it.
#include "printerapp/printerapp.h"

#include <gtest/gtest.h>

#include "printerapp/documents.h"
#include "support/file.h"
#include "support/jobparser.h"
#include "support/pdf.h"
#include "support/printerprocess.h"

namespace kesto::test {
namespace {

constexpr char PDF[] = "application/pdf", PWG[] = "image/pwg-raster", APPLE[] = "image/urf", JPEG[] = "image/jpeg",
               PNG[] = "image/png", READY[] = "application/vnd.kesto-printjob";
constexpr char COLLATED[] = "separate-documents-collated-copies", UNCOLLATED[] = "separate-documents-uncollated-copies",
               LONG_EDGE[] = "two-sided-long-edge", SMALL[] = "na_index-4x6_4x6in";
constexpr int BLANK = 26;

/// Page n of a document is filled with the grey value 10 n: which one this is.
int pageNumber(const Page& page) {
  return (page.luma.at(std::size_t{page.height} / 2 * page.width + page.width / 2) + 5) / 10;
}

std::vector<int> pageNumbers(const Job& job) {
  std::vector<int> numbers;
  for (const Page& page : job.pages) numbers.push_back(pageNumber(page));
  return numbers;
}

std::string greyPdf(int pages) {
  std::vector<double> greys;
  for (int page = 1; page <= pages; ++page) greys.push_back(10 * page / 255.0);
  return pdfOf(288, 432, greys);
}

std::string greyRaster(int pages, Sheets sheets = {}) {
  sheets.greys.clear();
  for (int page = 1; page <= pages; ++page) sheets.greys.push_back(10 * page);
  return rasterOf(sheets);
}

/// One application and one printer for all tests of this file.
class PrinterApplication : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    app_ = std::make_unique<PrinterApp>();
    printer_ = std::make_unique<PrinterProcess>();
    app_->addPrinter("Office", "socket://" + printer_->address());
    jobs_ = 0;
  }
  static void TearDownTestSuite() {
    app_.reset();
    printer_.reset();
  }

  static Bytes printedBytes(const std::string& document, const std::string& type, const Wishes& wishes) {
    const JobEnd end = app_->print("Office", document, type, wishes);
    if (end.state != IPP_JSTATE_COMPLETED) throw std::runtime_error(std::to_string(end.id) + ": " + end.message);
    return printer_->job(++jobs_);
  }
  /// The job that the printer gets, printed as a draft on small paper unless the wishes say otherwise.
  static Job printed(const std::string& document, const std::string& type, Wishes wishes) {
    wishes.insert({{"print-quality", "3"}});
    if (!wishes.contains("media-col")) wishes.insert({{"media", SMALL}});
    return parseJob(printedBytes(document, type, wishes));
  }

  static std::unique_ptr<PrinterApp> app_;
  static std::unique_ptr<PrinterProcess> printer_;
  static int jobs_;
  TemporaryFolder folder_;
};
std::unique_ptr<PrinterApp> PrinterApplication::app_;
std::unique_ptr<PrinterProcess> PrinterApplication::printer_;
int PrinterApplication::jobs_ = 0;

TEST_F(PrinterApplication, PagesAndCopiesComeOnceEachAndInOrder) {
  struct Case {
    const char* type;
    int pages;
    Wishes wishes;
    std::vector<int> expected;
  };
  const Case cases[] = {
      {PDF, 3, {}, {1, 2, 3}},
      {PDF, 3, {{"copies", "2"}}, {1, 2, 3, 1, 2, 3}},
      {PDF, 2, {{"copies", "3"}, {"multiple-document-handling", UNCOLLATED}}, {1, 1, 1, 2, 2, 2}},
      {PDF, 3, {{"copies", "2"}, {"sides", LONG_EDGE}}, {1, 2, 3, BLANK, 1, 2, 3, BLANK}},
      {PDF, 5, {{"page-ranges", "2-3"}}, {2, 3}},
      {PWG, 3, {}, {1, 2, 3}},
      {PWG, 3, {{"copies", "2"}, {"multiple-document-handling", COLLATED}}, {1, 2, 3, 1, 2, 3}},
      {PWG, 2, {{"copies", "3"}, {"multiple-document-handling", UNCOLLATED}}, {1, 1, 1, 2, 2, 2}},
      {PWG, 3, {{"copies", "2"}, {"sides", LONG_EDGE}}, {1, 2, 3, BLANK, 1, 2, 3, BLANK}},
      {PWG, 1, {{"copies", "3"}, {"sides", LONG_EDGE}}, {1, BLANK, 1, BLANK, 1}},
      {APPLE, 3, {{"copies", "2"}}, {1, 2, 3, 1, 2, 3}},
      {JPEG, 1, {{"copies", "3"}}, {1, 1, 1}},
      {PNG, 1, {{"copies", "2"}, {"multiple-document-handling", UNCOLLATED}}, {1, 1}},
  };
  for (const Case& c : cases) {
    std::string name = std::string(c.type) + " of " + std::to_string(c.pages);
    for (const auto& [wish, value] : c.wishes) name.append(" ").append(wish).append("=").append(value);
    SCOPED_TRACE(name);
    const std::string_view type = c.type;
    const std::string document = type == PDF     ? greyPdf(c.pages)
                                 : type == JPEG  ? jpegOf(400, 600, 10)
                                 : type == PNG   ? pngOf(400, 600, 10)
                                 : type == APPLE ? greyRaster(c.pages, {.mode = CUPS_RASTER_WRITE_APPLE})
                                                 : greyRaster(c.pages);
    EXPECT_EQ(pageNumbers(printed(document, c.type, c.wishes)), c.expected);
  }
  EXPECT_EQ(app_->leftovers(), std::vector<std::string>{});
}

TEST_F(PrinterApplication, AttributesArriveAtThePrinter) {
  struct Case {
    Wishes wishes;
    std::vector<std::string> texts;
    unsigned height;  // of the raster, to eights: the paper without its margins
  };
  const std::string a4 = "{media-size={x-dimension=21000 y-dimension=29700}";
  const auto margins = [](const char* width) {
    std::string text;
    for (const char* side : {"top", "bottom", "left", "right"}) {
      text.append(" media-").append(side).append("-margin=").append(width);
    }
    return text + "}";
  };
  const Case cases[] = {
      {{}, {"\"4 x 6 in\"", "RESOLUTION=300", "PRINTQUALITY=DRAFT", "LCOLORMODEL=CMYK", "DUPLEX=OFF"}, 1704},
      {{{"print-quality", "4"}}, {"RESOLUTION=600", "PRINTQUALITY=NORMAL"}, 3400},
      {{{"print-quality", "5"}}, {"RESOLUTION=600", "PRINTQUALITY=BEST"}, 3400},
      {{{"print-quality", "4"}, {"printer-resolution", "300dpi"}}, {"RESOLUTION=300", "PRINTQUALITY=DRAFT"}, 1704},
      {{{"print-color-mode", "monochrome"}}, {"LCOLORMODEL=BLACK"}, 1704},
      {{{"sides", "two-sided-short-edge"}}, {"DUPLEX=ON", "BINDING=SHORTEDGE"}, 1704},
      {{{"toner-save", "on"}}, {"ECONOMODE=ON"}, 1704},
      {{{"improve", "toner-fix"}}, {"FIMPROVE=TONERFIX"}, 1704},
      {{{"media", "iso_a4_210x297mm"}}, {"MediaSize=2 ", "LPAGEMODE=NORMAL"}, 3408},
      {{{"media-col", a4 + margins("423")}}, {"MediaSize=2 ", "LPAGEMODE=NORMAL"}, 3408},
      {{{"media-col", a4 + margins("0")}}, {"MediaSize=2 ", "LPAGEMODE=EDGETOEDGE"}, 3512},
      {{{"media-col", a4 + " media-source=tray-2 media-type=photographic-glossy}"}},
       {"MediaSource=5", "\"Glossy\""},
       3408},
      {{{"media-col", a4 + " media-source=by-pass-tray media-type=stationery-heavyweight}"}},
       {"MediaSource=3", "\"Heavy\""},
       3408},
      {{{"media-col", "{media-size={x-dimension=10160 y-dimension=20000}}"}}, {"  CustomMediaSize="}, 2264},
      // What the printer does not know is left out, as IPP has it.
      {{{"toner-save", "maybe"}, {"media", "iso_a0_841x1189mm"}}, {"ECONOMODE=OFF"}, 3200},
  };
  for (const auto& [wishes, texts, height] : cases) {
    std::string name;
    for (const auto& [wish, value] : wishes) name.append(" ").append(wish).append("=").append(value);
    const Job job = printed(greyPdf(1), PDF, wishes);
    ASSERT_EQ(job.pages.size(), 1u) << name;
    expectList(job, texts, name);
    EXPECT_EQ(job.pages[0].height, height) << name;
  }
}

TEST_F(PrinterApplication, PrintsAPdfAsAQueueDoes) {
  const std::string pdf = contentOf(KESTO_EXAMPLES "/sample.pdf");
  const std::pair<Wishes, const char*> cases[] = {
      {{{"print-color-mode", "monochrome"}}, "PageSize=A4 ColorModel=Gray cupsPrintQuality=Draft"},
      {{{"color-preferences", "vivid"}}, "PageSize=A4 ColorPreferences=Vivid cupsPrintQuality=Draft"},
  };
  for (const auto& [wishes, options] : cases) {
    Wishes all = wishes;
    all["media"] = "iso_a4_210x297mm";
    const Job job = printed(pdf, PDF, all);
    const auto filter = [&, options = options](const char* program, const std::string& input) {
      return run({.program = program,
                  .arguments = {"Office", "1", "tester", "A title", "1", options},
                  .environment = {{"PPD", KESTO_PPD}, {"TMPDIR", folder_.path()}, {"PATH", "/usr/bin:/bin"}},
                  .input = input,
                  .timeout = std::chrono::minutes(1)})
          .output;
    };
    const Bytes prepared = filter("/usr/lib/cups/filter/pdftopdf", pdf);
    const Bytes byHand = filter(KESTO_FILTER, {prepared.begin(), prepared.end()});
    const Job expected = parseJob(byHand);
    ASSERT_EQ(job.pages.size(), expected.pages.size()) << options;
    for (std::size_t i = 0; i < job.pages.size(); ++i) {
      EXPECT_TRUE(job.pages[i].luma == expected.pages[i].luma) << options << ", page " << i + 1;
    }
  }
}

TEST_F(PrinterApplication, ALineOfTheSheetIsWhereItWasDrawn) {
  constexpr unsigned ROW = 700, COLUMN = 240, THICK = 24;
  const auto draw = [](std::vector<unsigned char>& line, unsigned y) {
    const std::size_t pixel = line.size() / 3600 == 0 ? 1 : line.size() / 2400;  // 600 dpi: 2400 pixels
    const auto from = line.begin() + static_cast<std::ptrdiff_t>(y >= ROW && y < ROW + THICK ? 0 : COLUMN * pixel);
    const auto to = y >= ROW && y < ROW + THICK ? line.end() : from + static_cast<std::ptrdiff_t>(THICK * pixel);
    std::fill(from, to, 0);
  };
  struct Case {
    cups_mode_t mode;
    const char* type;
    bool borderless;
  };
  const Case cases[] = {{CUPS_RASTER_WRITE_PWG, "sgray_8", false},
                        {CUPS_RASTER_WRITE_PWG, "srgb_8", true},
                        {CUPS_RASTER_WRITE_APPLE, "srgb_8", false}};
  for (const auto& [mode, type, borderless] : cases) {
    SCOPED_TRACE(std::string(type) + (borderless ? ", borderless" : ""));
    const std::string margin = borderless ? "0" : "423";
    std::string media = "{media-size={x-dimension=10160 y-dimension=15240}";
    for (const char* side : {"top", "bottom", "left", "right"})
      media.append(" media-").append(side).append("-margin=" + margin);
    const std::string document =
        rasterOf({.mode = mode, .type = type, .resolution = 600, .greys = {255}, .draw = draw});
    const Job job = printed(document, mode == CUPS_RASTER_WRITE_APPLE ? APPLE : PWG,
                            {{"media-col", media + "}"}, {"print-quality", "4"}});
    ASSERT_EQ(job.pages.size(), 1u);
    const Page& page = job.pages[0];
    const double cut = originInPoints(job) * 600 / 72;
    EXPECT_EQ(cut, borderless ? 0 : 100);
    unsigned row = 0, column = 0;
    while (row < page.height && page.luma[row * std::size_t{page.width} + 1000] > 127) ++row;
    while (column < page.width && page.luma[2000 * std::size_t{page.width} + column] > 127) ++column;
    EXPECT_NEAR(row + cut, ROW, 1);
    EXPECT_NEAR(column + cut, COLUMN, 1);
  }
}

TEST_F(PrinterApplication, AReadyJobIsPassedOnAsItIs) {
  const Bytes job = printedBytes(greyPdf(2), PDF, {{"media", SMALL}, {"print-quality", "3"}});
  const std::string text(job.begin(), job.end());
  for (const char* type : {READY, "application/octet-stream", ""}) EXPECT_EQ(printedBytes(text, type, {}), job) << type;
}

TEST_F(PrinterApplication, ABadDocumentAbortsItsJobAlone) {
  const std::string raster = greyRaster(2);
  const auto changed = [](const std::function<void(cups_page_header2_t&, std::size_t)>& change,
                          const char* type = "sgray_8") {
    return rasterOf({.type = type, .greys = {100, 100}, .change = change});
  };
  struct Case {
    const char* name;
    const char* type;
    std::string document;
    const char* message;  // "": any
  };
  const Case cases[] = {
      {"no PDF", PDF, "hello", "no page that can be printed"},
      {"cut PDF", PDF, greyPdf(3).substr(0, 100), "no page that can be printed"},
      {"PDF without a page", PDF, greyPdf(0), "no page that can be printed"},
      {"no raster", PWG, "hello", ""},
      {"raster cut in a header", PWG, raster.substr(0, 1000), ""},
      {"raster cut in a page", PWG, raster.substr(0, 1796 + 40), "ends within page 1"},
      {"raster of 1 bit", PWG, rasterOf({.type = "black_1"}), "8 bits only"},
      {"raster of 16 bits", PWG, rasterOf({.type = "srgb_16"}), "cannot be read"},
      {"raster of CMYK", PWG, rasterOf({.type = "cmyk_8"}), "8 bits only"},
      {"raster of 150 dpi", PWG, rasterOf({.resolution = 150}), "150 x 150 dpi"},
      {"no width", PWG, changed([](auto& h, auto) { h.cupsWidth = 0; }), ""},
      {"lines too short for it", PWG, changed([](auto& h, auto) { h.cupsBytesPerLine = 8; }), "cannot be read"},
      {"a huge sheet", PWG, changed([](auto& h, auto) { h.cupsHeight = 0x7FFFFFFF; }), "no paper"},
      {"a huge width", PWG, changed([](auto& h, auto) {
         h.cupsBytesPerLine = h.cupsWidth = 3'000'000;
         h.cupsHeight = 2;
       }),
       "no paper"},
      {"a tiny sheet", PWG, changed([](auto& h, auto) { h.cupsBytesPerLine = h.cupsWidth = h.cupsHeight = 8; }),
       "no paper"},
      {"two sizes", PWG, changed([](auto& h, auto page) { h.cupsHeight += 100 * static_cast<unsigned>(page); }),
       "one size"},
      {"two resolutions", PWG,
       changed([](auto& h, auto page) { h.HWResolution[0] = h.HWResolution[1] = page == 0 ? 300 : 600; }),
       "one resolution"},
      {"no JPEG", JPEG, "hello", ""},
      {"no PNG", PNG, "hello", ""},
      {"cut PNG", PNG, pngOf(100, 100, 50).substr(0, 40), ""},
      {"ready job that is none", READY, "", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const JobEnd end = app_->print("Office", c.document, c.type, {{"media", SMALL}, {"print-quality", "3"}});
    EXPECT_EQ(end.state, IPP_JSTATE_ABORTED);
    EXPECT_FALSE(end.message.empty());
    EXPECT_EQ(end.message.find('\n'), std::string::npos);
    EXPECT_NE(end.message.find(c.message), std::string::npos) << end.message;
    EXPECT_EQ(pageNumbers(printed(greyPdf(1), PDF, {})), std::vector<int>{1});
  }
  EXPECT_EQ(app_->leftovers(), std::vector<std::string>{});
}

TEST_F(PrinterApplication, LivesThroughImagesThatNoPaperFits) {
  const std::pair<unsigned, unsigned> sizes[] = {{16000, 1}, {1, 16000}, {1, 1}};
  for (const auto& [width, height] : sizes) {
    for (const unsigned density : {0U, 1U, 60000U}) {
      for (const char* scaling : {"auto", "fit", "none"}) {
        const JobEnd end = app_->print("Office", jpegOf(width, height, 50, density), JPEG,
                                       {{"media", SMALL}, {"print-quality", "3"}, {"print-scaling", scaling}});
        EXPECT_GE(end.state, IPP_JSTATE_ABORTED) << width << " x " << height << ": " << end.message;
        if (end.state == IPP_JSTATE_COMPLETED) static_cast<void>(parseJob(printer_->job(++jobs_)));
      }
    }
  }
}

TEST_F(PrinterApplication, HostileAttributesDoNoHarm) {
  const std::string title = "A \"title\"\n@PJL SET EVIL=1\r\n\x1B%-12345X@PJL EVIL\t";
  EXPECT_EQ(app_->print("Office", app_->printRequest("Office", PDF, title), greyPdf(1)).state, IPP_JSTATE_COMPLETED);
  const Bytes bytes = printer_->job(++jobs_);
  EXPECT_EQ(parseJob(bytes).pages.size(), 1u);
  EXPECT_EQ(std::string(bytes.begin(), bytes.end()).find("\n@PJL SET EVIL"), std::string::npos);

  using Add = void (*)(ipp_t*);
  const std::pair<const char*, Add> cases[] = {
      {"copies as a text", [](ipp_t* r) { ippAddString(r, IPP_TAG_JOB, IPP_TAG_KEYWORD, "copies", nullptr, "many"); }},
      {"no copies", [](ipp_t* r) { ippAddInteger(r, IPP_TAG_JOB, IPP_TAG_INTEGER, "copies", 0); }},
      {"endless copies", [](ipp_t* r) { ippAddInteger(r, IPP_TAG_JOB, IPP_TAG_INTEGER, "copies", 2147483647); }},
      {"sides as a number", [](ipp_t* r) { ippAddInteger(r, IPP_TAG_JOB, IPP_TAG_INTEGER, "sides", 3); }},
      {"quality 77", [](ipp_t* r) { ippAddInteger(r, IPP_TAG_JOB, IPP_TAG_ENUM, "print-quality", 77); }},
      {"orientation 99", [](ipp_t* r) { ippAddInteger(r, IPP_TAG_JOB, IPP_TAG_ENUM, "orientation-requested", 99); }},
      {"pages 5 to 1", [](ipp_t* r) { ippAddRange(r, IPP_TAG_JOB, "page-ranges", 5, 1); }},
      {"0 dpi", [](ipp_t* r) { ippAddResolution(r, IPP_TAG_JOB, "printer-resolution", IPP_RES_PER_INCH, 0, 0); }},
      {"an option as a number", [](ipp_t* r) { ippAddInteger(r, IPP_TAG_JOB, IPP_TAG_INTEGER, "toner-save", 5); }},
      {"an option with options in it",
       [](ipp_t* r) { ippAddString(r, IPP_TAG_JOB, IPP_TAG_NAME, "toner-save", nullptr, "on InputSlot=Tray2\n"); }},
      {"media-col as a number", [](ipp_t* r) { ippAddInteger(r, IPP_TAG_JOB, IPP_TAG_INTEGER, "media-col", 5); }},
      {"absurd media",
       [](ipp_t* r) {
         ipp_t *media = ippNew(), *size = ippNew();
         ippAddInteger(size, IPP_TAG_ZERO, IPP_TAG_INTEGER, "x-dimension", -2147483647);
         ippAddInteger(size, IPP_TAG_ZERO, IPP_TAG_INTEGER, "y-dimension", 2147483647);
         ippAddCollection(media, IPP_TAG_ZERO, "media-size", size);
         ippAddInteger(media, IPP_TAG_ZERO, IPP_TAG_INTEGER, "media-left-margin", -2147483647);
         ippAddString(media, IPP_TAG_ZERO, IPP_TAG_NAME, "media-source", nullptr, "nowhere %n %s");
         ippAddCollection(r, IPP_TAG_JOB, "media-col", media);
         ippDelete(size);
         ippDelete(media);
       }},
  };
  for (const auto& [name, add] : cases) {
    SCOPED_TRACE(name);
    ipp_t* const request = app_->printRequest("Office", PDF, "A title");
    add(request);
    const JobEnd end = app_->print("Office", request, greyPdf(1));
    if (end.state == IPP_JSTATE_COMPLETED) {
      const Job job = parseJob(printer_->job(++jobs_));
      EXPECT_EQ(pageNumbers(job), std::vector<int>{1});
      expectList(job, {"ECONOMODE=OFF", "!MediaSource=5"}, name);
    } else {
      EXPECT_FALSE(end.message.empty());
    }
  }
  EXPECT_EQ(pageNumbers(printed(greyPdf(1), PDF, {})), std::vector<int>{1});
  EXPECT_EQ(app_->leftovers(), std::vector<std::string>{});
}

}  // namespace
}  // namespace kesto::test
