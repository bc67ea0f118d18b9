// The program as people call it: what it prints, draws and returns.
#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>
#include <png.h>

#include "kestojob/samplejob.h"
#include "support/process.h"

namespace kesto::test {
namespace {

Outcome call(std::vector<std::string> arguments, const Bytes& input = {}) {
  arguments.insert(arguments.begin(), "kestojob");
  return run({.program = KESTO_JOB_READER, .arguments = arguments, .input = {input.begin(), input.end()}});
}

std::string writeJob(const TemporaryFolder& folder, const Bytes& job) {
  return folder.write("job.prn", {job.begin(), job.end()});
}

std::vector<std::string> linesOf(const Outcome& outcome) {
  std::istringstream stream(std::string(outcome.output.begin(), outcome.output.end()));
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

bool hasLine(const std::vector<std::string>& lines, const std::string& line) {
  return std::ranges::find(lines, line) != lines.end();
}

struct Picture {
  unsigned width = 0, height = 0;
  unsigned channels = 0;
  Bytes pixels;

  /// The pixel in hexadecimal.
  [[nodiscard]] std::string at(unsigned x, unsigned y) const {
    return hex(std::span(pixels).subspan((std::size_t{y} * width + x) * channels, channels));
  }
};

Picture readPng(const std::string& path) {
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_file(&image, path.c_str()) == 0) {
    ADD_FAILURE() << path << ": " << image.message;
    return {};
  }
  Picture picture{image.width, image.height, PNG_IMAGE_PIXEL_CHANNELS(image.format), {}};
  picture.pixels.resize(PNG_IMAGE_SIZE(image));
  EXPECT_NE(png_image_finish_read(&image, nullptr, picture.pixels.data(), 0, nullptr), 0) << image.message;
  return picture;
}

/// A job whose letter sheets are 340 x 440 pixels, each image 16 x 264 from (100, 100) on.
SampleChoices smallSheets() {
  return {.pages = 2, .resolution = "40", .units = "28 00"};
}

TEST(Program, TellsGoodJobsFromBad) {
  const TemporaryFolder folder;
  const Bytes job = SampleJob().bytes();
  const std::string path = writeJob(folder, job);
  const Outcome good = call({"check", path});
  EXPECT_EQ(good.status, 0);
  EXPECT_EQ(linesOf(good), std::vector{path + ": good: 2 pages, 4 strips, " + std::to_string(job.size()) + " bytes"});
  EXPECT_EQ(good.log, "");
  EXPECT_EQ(call({"check", "-"}, job).status, 0);

  const Outcome bad = call({"check", "-"}, replacedHex(job, "C0 CC F8 2C", "C0 CD F8 2C"));
  EXPECT_EQ(bad.status, 1);
  EXPECT_TRUE(bad.output.empty());
  EXPECT_EQ(bad.log,
            "kestojob: -: offset " + std::to_string(findBytes(job, "C0 CC F8 2C")) + ": ROP3 is 205, not 204.\n");
}

TEST(Program, TellsWrongCallsAndFilesThatCannotBeRead) {
  const TemporaryFolder folder;
  const std::vector<std::vector<std::string>> wrong = {{},
                                                       {"judge", "x"},
                                                       {"check"},
                                                       {"check", "a", "b"},
                                                       {"list", "--xml", "x"},
                                                       {"pages", "x"},
                                                       {"pages", "x", "-o", folder.path(), "--scale", "2"},
                                                       {"pages", "x", "-o", folder.path(), "--scale", "1/0"}};
  for (const auto& arguments : wrong) EXPECT_EQ(call(arguments).status, 2);

  const std::string missing = folder.path() + "/missing";
  for (const char* command : {"list", "check"}) {
    const Outcome outcome = call({command, missing});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.log, "kestojob: " + missing + ": No such file or directory\n");
    EXPECT_EQ(call({command, folder.path()}).log, "kestojob: " + folder.path() + ": Is a directory\n");
    EXPECT_EQ(call({command, "-"}).log, "kestojob: -: offset 0: The job is empty.\n");
  }
  const std::string path = writeJob(folder, SampleJob().bytes());
  EXPECT_EQ(call({"pages", path, "-o", path}).log, "kestojob: " + path + ": " + path + ": Not a directory\n");
  EXPECT_EQ(call({"pages", path, "--sheet", "/dev/full"}).log,
            "kestojob: " + path + ": /dev/full: No space left on device\n");
}

TEST(Program, ListsEveryElementWithItsOffset) {
  const Bytes job = SampleJob({.usb = true, .title = "\x1B[2J \xC3\xBC"}).bytes();
  const Outcome outcome = call({"list", "-"}, job);
  EXPECT_EQ(outcome.status, 0) << outcome.log;
  const auto lines = linesOf(outcome);
  const auto line = [&job](std::string_view bytes, const std::string& text, std::size_t ahead = 0) {
    const std::string offset = std::to_string(findBytes(job, bytes) - ahead);
    return std::string(11 - offset.size(), ' ') + offset + "  " + text;
  };
  EXPECT_EQ(lines.at(0),
            "          0  NPA   sniff, 19 bytes: A5 00 10 80 A4 5B A4 5B 10 EF A4 5B 11 EE 00 FF 13 EC 2E");
  EXPECT_EQ(lines.at(4), "         72  PJL   \\x1B%-12345X@PJL JOB");
  EXPECT_TRUE(hasLine(lines, "        191  PJL   @PJL SET JOBNAME=\"\\x1B[2J \xC3\xBC\""));
  EXPECT_TRUE(hasLine(lines, line("D1 58 02 58 02",
                                  "XL    BeginSession  UnitsPerMeasure=(600, 600)  Measure=eInch  "
                                  "ErrorReport=eBackChAndErrPage")));
  EXPECT_TRUE(hasLine(lines, line("D5 00 00 80 3F", "XL    SetPageScale  PageScale=(1, 1)")));
  EXPECT_TRUE(hasLine(lines, line("C0 00 F8 28",
                                  "XL    BeginPage  Orientation=ePortraitOrientation  MediaSource=4  "
                                  "MediaSize=0  MediaType=\"Plain\"  attribute0xEC=1  "
                                  "BorderType=eWithBorder")));
  EXPECT_TRUE(
      hasLine(lines, line("FF 2B", "DATA  page 1 strip 1: image at (0, 0), 16 x 256 pixels, 226 bytes, 1 : 54.4", 5)));
  EXPECT_TRUE(hasLine(lines, line("FA 01 00 00 00", "DATA  page 1 strip 1: tags, 1 byte: 4096 pixels of tag 3")));
  EXPECT_EQ(lines.back(), "       " + std::to_string(job.size()) + "  END   2 pages, 4 strips");

  // A fault does not keep what comes before it from being listed, nor what comes behind it where that can be told.
  const Outcome strange = call({"list", "-"}, replacedHex(job, "D3 64 00 64 00 F8 2A 75", "C2 01 00 00 80 F8 99 60"));
  EXPECT_EQ(strange.status, 0);
  EXPECT_NE(std::string(strange.output.begin(), strange.output.end()).find("operator 0x60  attribute 0x99=2147483649"),
            std::string::npos);
  const Outcome cut = call({"list", "-"}, Bytes(job.begin(), job.end() - 50));
  EXPECT_EQ(cut.status, 1);
  EXPECT_EQ(linesOf(cut).size(), lines.size() - 7);
  EXPECT_NE(cut.log.find("The job ends within a PCL XL operator."), std::string::npos) << cut.log;
}

/// The objects of a JSON array that has one on each line.
std::vector<std::string> objectsOf(const Outcome& outcome) {
  auto lines = linesOf(outcome);
  if (lines.size() < 3 || lines.front() != "[" || lines.back() != "]") return {};
  std::vector<std::string> objects(lines.begin() + 1, lines.end() - 1);
  for (std::string& object : objects) {
    const bool last = &object == &objects.back();
    EXPECT_TRUE(object.starts_with('{') && object.ends_with(last ? "}" : "},")) << object;
    if (!last) object.pop_back();
  }
  return objects;
}

TEST(Program, ListsForProgramsToo) {
  const Bytes job = SampleJob({.title = "a\"\\\t\xFF"}).bytes();
  const auto objects = objectsOf(call({"list", "--json", "-"}, job));
  const auto at = [&job](std::string_view bytes, std::size_t ahead = 0) {
    return R"({"offset":)" + std::to_string(findBytes(job, bytes) - ahead);
  };
  EXPECT_TRUE(hasLine(objects, R"({"offset":119,"element":"pjl","text":"@PJL SET JOBNAME=\"a\"\\\u0009\ufffd\""})"));
  EXPECT_TRUE(
      hasLine(objects, at("C0 CC F8 2C") + R"(,"element":"operator","name":"SetROP","code":123,"attributes":[)" +
                           at("C0 CC F8 2C") +
                           R"(,"id":44,"name":"ROP3","type":"ubyte","value":204,"valueName":"eSourceCopy"}]})"));
  EXPECT_TRUE(hasLine(objects, at("FF 2B", 5) + R"(,"element":"image","page":1,"strip":1,"bytes":226,"x":0,"y":0,)" +
                                   R"("width":16,"height":256,"ratio":54.372})"));
  EXPECT_EQ(objects.back(), R"({"offset":)" + std::to_string(job.size()) + R"(,"element":"end","pages":2,"strips":4})");

  const Outcome cut = call({"list", "--json", "-"}, Bytes(job.begin(), job.begin() + 20));
  EXPECT_EQ(cut.status, 1);
  EXPECT_EQ(objectsOf(cut).back(), R"({"offset":20,"element":"fault","text":"The job ends within a PJL line."})");
}

TEST(Program, DrawsPagesOnTheirSheets) {
  const TemporaryFolder folder;
  SampleChoices choices = smallSheets();
  choices.color = false;
  choices.band = GREY_BLACK;
  const std::string job = writeJob(folder, SampleJob(choices).bytes());
  ASSERT_EQ(call({"pages", job, "-o", folder.path() + "/full"}).log, "");
  EXPECT_TRUE(std::filesystem::exists(folder.path() + "/full/page-0002.png"));
  EXPECT_FALSE(std::filesystem::exists(folder.path() + "/full/page-0003.png"));
  const Picture full = readPng(folder.path() + "/full/page-0001.png");
  EXPECT_EQ(full.width, 340u);
  EXPECT_EQ(full.height, 440u);
  EXPECT_EQ(full.channels, 1u);
  const auto black = std::ranges::count(full.pixels, 0);
  EXPECT_EQ(black, 16 * 264);
  EXPECT_EQ(std::ranges::count(full.pixels, 255), 340 * 440 - black);
  EXPECT_EQ(full.at(100, 100) + full.at(115, 363), "0000");
  EXPECT_EQ(full.at(99, 100) + full.at(100, 99) + full.at(116, 363) + full.at(115, 364), "FFFFFFFF");

  // A third of the size: the mean of 3 x 3 pixels, so that the image's edges at 100 and 116 come out grey.
  ASSERT_EQ(call({"pages", job, "-o", folder.path() + "/third", "--scale", "1/3"}).log, "");
  const Picture third = readPng(folder.path() + "/third/page-0001.png");
  EXPECT_EQ(third.width, 114u);
  EXPECT_EQ(third.height, 147u);
  EXPECT_EQ(third.at(32, 40) + ' ' + third.at(33, 40) + ' ' + third.at(34, 40), "FF 55 00");
  EXPECT_EQ(third.at(37, 40) + ' ' + third.at(38, 40) + ' ' + third.at(39, 40), "00 55 FF");

  // Reduced by the decoder: the origin comes to lie on the nearest pixel.
  ASSERT_EQ(call({"pages", job, "-o", folder.path() + "/eighth", "--scale", "1/8"}).log, "");
  const Picture eighth = readPng(folder.path() + "/eighth/page-0001.png");
  EXPECT_EQ(eighth.width, 43u);
  EXPECT_EQ(eighth.height, 55u);
  EXPECT_EQ(std::ranges::count(eighth.pixels, 0), 2 * 33);
  EXPECT_EQ(eighth.at(13, 13), "00");
}

TEST(Program, CutsOffWhatLiesBeyondTheSheet) {
  const TemporaryFolder folder;
  const std::string job = writeJob(
      folder,
      SampleJob({.color = false, .pages = 1, .resolution = "13", .units = "0D 00", .band = GREY_BLACK}).bytes());
  ASSERT_EQ(call({"pages", job, "-o", folder.path()}).log, "");
  const Picture page = readPng(folder.path() + "/page-0001.png");
  EXPECT_EQ(page.width, 111u);  // 8.5 x 13 is 110.5
  EXPECT_EQ(page.height, 143u);
  EXPECT_EQ(std::ranges::count(page.pixels, 0), 11 * 43);
}

TEST(Program, ShowsTagsInColours) {
  const TemporaryFolder folder;
  // 1020 words of tag 3, which are 255 lines, and four literal ones.
  const std::string path = writeJob(folder, replacedHex(SampleJob(smallSheets()).bytes(), "FA 01 00 00 00 FF",
                                                        "FA 09 00 00 00 F8 F6 EE E3 03 FF 55 AA 00"));
  ASSERT_EQ(call({"pages", path, "-o", folder.path(), "--tags"}).log, "");
  const Picture page = readPng(folder.path() + "/page-0001.png");
  EXPECT_EQ(page.channels, 3u);
  EXPECT_EQ(page.at(100, 100), "8F B8 E8") << "tag 3";
  EXPECT_EQ(page.at(99, 100), "FF FF FF");
  EXPECT_EQ(page.at(100, 100 + 255), "8F B8 E8");
  EXPECT_EQ(page.at(104, 100 + 255), "D6 45 41") << "tag 1";
  EXPECT_EQ(page.at(108, 100 + 255), "3A 9D 5D") << "tag 2";
  EXPECT_EQ(page.at(112, 100 + 255), "F2 C9 4C") << "tag 4";
  EXPECT_EQ(page.at(100, 100 + 256), "8F B8 E8") << "the next strip";
}

TEST(Program, DrawsAContactSheetOfAllPages) {
  const TemporaryFolder folder;
  SampleChoices choices = smallSheets();
  choices.pages = 11;
  choices.color = false;
  choices.band = GREY_BLACK;
  const std::string job = writeJob(folder, SampleJob(choices).bytes());
  const std::string sheet = folder.path() + "/sheet.png";
  ASSERT_EQ(call({"pages", job, "--sheet", sheet, "--scale", "1/8"}).log, "");
  const Picture picture = readPng(sheet);
  // Five columns and three lines of pages of 43 x 55, a frame of 1 and 16 between them, 26 for each number.
  EXPECT_EQ(picture.width, 16u + 5 * (45 + 16));
  EXPECT_EQ(picture.height, 16u + 3 * (57 + 26) + 8);
  const auto tile = [](unsigned column, unsigned line) { return std::pair(16 + column * 61, 16 + line * 83); };
  for (unsigned page = 0; page < 15; ++page) {
    const auto [left, top] = tile(page % 5, page / 5);
    EXPECT_EQ(picture.at(left + 1 + 13, top + 1 + 13), page < 11 ? "00" : "D8") << page;
  }
  // "1" is a stroke in the middle of the digit's 5 columns of 2 pixels: (45 - 10) / 2 + 4 to the right.
  EXPECT_EQ(picture.at(16 + 17 + 4, 16 + 57 + 6), "30");
  EXPECT_EQ(picture.at(16 + 17, 16 + 57 + 6), "D8");

  choices.pages = 0;
  ASSERT_EQ(call({"pages", "-", "--sheet", sheet}, SampleJob(choices).bytes()).log, "");
  EXPECT_GT(readPng(sheet).width, 0u);
}

TEST(Program, ShowsAFaultyPageAsFarAsItGoes) {
  const TemporaryFolder folder;
  SampleChoices choices = smallSheets();
  choices.color = false;
  choices.pages = 1;
  choices.band = GREY_BLACK;
  Bytes job = SampleJob(choices).bytes();
  job.resize(findBytes(job, "FF D3"));  // within the fourth band
  const Outcome outcome = call({"pages", "-", "-o", folder.path(), "--sheet", folder.path() + "/sheet.png"}, job);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.log.find("The job ends within image data."), std::string::npos) << outcome.log;
  const Picture page = readPng(folder.path() + "/page-0001.png");
  EXPECT_EQ(page.height, 440u);
  EXPECT_EQ(std::ranges::count(page.pixels, 0), 16 * 24);
  EXPECT_GT(readPng(folder.path() + "/sheet.png").width, 0u);
}

TEST(Program, DrawsNoSheetThatIsBeyondAllMeasure) {
  const TemporaryFolder folder;
  const Bytes job = replacedHex(SampleJob({.resolution = "65535", .units = "FF FF"}).bytes(), "C0 00 F8 25",
                                "D5 00 00 7A 44 00 00 7A 44 F8 2F C0 00 F8 30");  // 1000 x 1000 inches
  const Outcome outcome = call({"pages", "-", "-o", folder.path()}, job);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.log.find("a sheet of 65535000 x 65535000 pixels is too large to draw"), std::string::npos)
      << outcome.log;
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST(Program, TakesNoMoreMemoryForALongJob) {
  const TemporaryFolder folder;
  const Bytes one = SampleJob({.pages = 1}).bytes();
  const std::string job(one.begin(), one.end());
  const std::size_t start = findBytes(one, "C0 00 F8 28"), end = one.size() - 46;
  const std::string large = folder.path() + "/large.prn";
  std::ofstream file(large, std::ios::binary);
  file << job.substr(0, start);
  for (int i = 0; i < 10000; ++i) file << job.substr(start, end - start);
  file << job.substr(end);
  file.close();
  ASSERT_GT(std::filesystem::file_size(large), 5'000'000u);
  const Outcome outcome = call({"check", large});
  EXPECT_EQ(outcome.status, 0) << outcome.log;
  EXPECT_LE(outcome.peakMemory, 10 * 1024) << "KiB, for a job of over 5 MB";
}
#endif

}  // namespace
}  // namespace kesto::test
