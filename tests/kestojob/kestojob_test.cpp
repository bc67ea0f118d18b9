// The job reader's program on kept jobs. That the reader finds the filter's jobs good is seen wherever a test prints
// one, and what it says of anything else is pinned by the replayed fuzz inputs.
#include <algorithm>
#include <array>
#include <filesystem>
#include <iterator>

#include <gtest/gtest.h>
#include <png.h>

#include "support/digest.h"
#include "support/file.h"
#include "support/hex.h"
#include "support/jobparser.h"
#include "support/process.h"

namespace kesto::test {
namespace {

/// Jobs 0 to 5: colour and grey, simplex and duplex, USB, custom paper, one without pages.
std::string pathOf(int number) {
  return KESTO_KEPT_JOBS "/job" + std::to_string(number);
}
constexpr int JOBS = 6;

Outcome call(std::vector<std::string> arguments, const Bytes& input = {}) {
  arguments.insert(arguments.begin(), "kestojob");
  return run({.program = KESTO_JOB_READER, .arguments = arguments, .input = {input.begin(), input.end()}});
}

/// The job with the first occurrence of some bytes replaced by others.
Bytes replaced(const Bytes& job, std::string_view from, std::string_view to) {
  const Bytes old = unhex(from), other = unhex(to);
  const auto found = std::search(job.begin(), job.end(), old.begin(), old.end());
  EXPECT_NE(found, job.end()) << from;
  Bytes result(job.begin(), found);
  result.insert(result.end(), other.begin(), other.end());
  result.insert(result.end(), found + std::ssize(old), job.end());
  return result;
}

TEST(Program, ListsAndChecks) {
  Digest digest;
  for (int number = 0; number < JOBS; ++number) {
    EXPECT_EQ(call({"check", pathOf(number)}).status, 0);
    for (const char* option : {"--json", ""}) {
      std::vector<std::string> arguments = {"list", "-", option};
      if (*option == '\0') arguments.pop_back();
      const Outcome outcome = call(arguments, contentOf<Bytes>(pathOf(number)));
      EXPECT_EQ(outcome.status, 0) << outcome.log;
      digest.add(outcome.output);
    }
  }
  EXPECT_EQ(digest.text(), "2df8c0a9d38c2dc4");
  const Bytes job = contentOf<Bytes>(pathOf(0));
  const Outcome good = call({"check", "-"}, job);
  EXPECT_EQ(std::string(good.output.begin(), good.output.end()),
            "-: good: 1 page, 2 strips, " + std::to_string(job.size()) + " bytes\n");
  const Outcome bad = call({"check", "-"}, replaced(job, "C0 CC F8 2C", "C0 CD F8 2C"));
  EXPECT_EQ(bad.status, 1);
  EXPECT_TRUE(bad.output.empty());
  EXPECT_NE(bad.log.find("ROP3 is 205, not 204.\n"), std::string::npos);
}

TEST(Program, RefusesWrongCallsAndFilesThatItCannotUse) {
  const TemporaryFolder folder;
  const std::vector<std::vector<std::string>> wrong = {
      {}, {"judge", "x"}, {"check"}, {"list", "--xml", "x"}, {"pages", "x"}, {"pages", "x", "-o", "y", "--scale", "2"}};
  for (const auto& arguments : wrong) EXPECT_EQ(call(arguments).status, 2);
  const std::string missing = folder.path() + "/missing";
  EXPECT_EQ(call({"check", missing}).log, "kestojob: " + missing + ": No such file or directory\n");
  EXPECT_EQ(call({"list", folder.path()}).log, "kestojob: " + folder.path() + ": Is a directory\n");
  EXPECT_NE(call({"pages", pathOf(0), "-o", pathOf(0)}).log.find("Not a directory"), std::string::npos);
}

/// The pixels of a picture, and its width, height and channels.
Digest digestOf(const std::string& path) {
  Digest digest;
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_file(&image, path.c_str()) == 0) {
    ADD_FAILURE() << path << ": " << image.message;
    return digest;
  }
  Bytes pixels(PNG_IMAGE_SIZE(image));
  EXPECT_NE(png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr), 0) << image.message;
  for (const std::int64_t number : {image.width, image.height, PNG_IMAGE_PIXEL_CHANNELS(image.format)}) {
    digest.add(number);
  }
  digest.add(pixels);
  return digest;
}

TEST(Program, DrawsPagesTagsAndSheets) {
  const TemporaryFolder folder;
  Digest digest;
  for (int number = 0; number < JOBS; ++number) {
    for (const char* scale : {"1/8", "1/4", "1/3", "1/16"}) {
      const std::string pages = folder.path() + "/" + std::to_string(number) + "-" + std::string(scale).substr(2);
      std::vector<std::string> arguments = {"pages", pathOf(number), "-o",           pages,   "--scale",
                                            scale,   "--sheet",      pages + ".png", "--tags"};
      if (number % 2 == 0) arguments.pop_back();
      const Outcome outcome = call(arguments);
      EXPECT_EQ(outcome.status, 0) << outcome.log;
      digest.add(digestOf(pages + ".png").text());
      for (int page = 1; page < 10 && std::filesystem::exists(pages + "/page-000" + std::to_string(page) + ".png");
           ++page) {
        digest.add(digestOf(pages + "/page-000" + std::to_string(page) + ".png").text());
      }
    }
  }
  EXPECT_EQ(digest.text(), "c5bf4599ca0f8bc3");
  // A faulty page is shown as far as it goes.
  const Bytes job = contentOf<Bytes>(pathOf(0));
  const Outcome outcome =
      call({"pages", "-", "-o", folder.path(), "--scale", "1/8"}, Bytes(job.begin(), job.end() - 100));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_TRUE(std::filesystem::exists(folder.path() + "/page-0001.png"));
}

}  // namespace
}  // namespace kesto::test
