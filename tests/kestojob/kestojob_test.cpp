// The job reader's program on kept jobs. That the reader finds the filter's jobs good is seen wherever a test prints
// one, and what it says of anything else is pinned by the replayed fuzz inputs.
#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>
#include <iterator>
#include <set>
#include <sstream>

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
  std::vector<std::vector<std::string>> wrong = {
      {}, {"judge", "x"}, {"check"}, {"list", "--xml", "x"}, {"pages", "x"}, {"pages", "x", "-o", "y", "--scale", "2"}};
  wrong.push_back({"pages", "x", "--sheet", "x.jpg"});
  for (const char* list : {"", "0", "3-1", "a", "1,,2", "1-2-3", "-3", "18446744073709551616"}) {
    wrong.push_back({"pages", "x", "--sheet", "x.png", "--pages", list});
  }
  for (const auto& arguments : wrong) EXPECT_EQ(call(arguments).status, 2) << arguments.back();
  const std::string missing = folder.path() + "/missing";
  EXPECT_EQ(call({"check", missing}).log, "kestojob: " + missing + ": No such file or directory\n");
  EXPECT_EQ(call({"list", folder.path()}).log, "kestojob: " + folder.path() + ": Is a directory\n");
  EXPECT_NE(call({"pages", pathOf(0), "-o", pathOf(0)}).log.find("Not a directory"), std::string::npos);
}

std::string textOf(const Bytes& bytes) {
  return {bytes.begin(), bytes.end()};
}

TEST(Program, GoesThroughAllJobsOfAFile) {
  Bytes file;
  std::string good, faults;
  int number = 0;
  const auto append = [&](const Bytes& job) {
    file.insert(file.end(), job.begin(), job.end());
    return "-: job " + std::to_string(++number) + " (offset " + std::to_string(file.size() - job.size()) + "): ";
  };
  while (file.size() < 600000) {  // more than one read, so that a job begins anywhere in it
    for (int kept = 0; kept < JOBS; ++kept) {
      Bytes job = contentOf<Bytes>(pathOf(kept));
      good += append(job) + "good\n";
      job.erase(job.end() - 150, job.end());  // within its last page or session
      const std::string place = append(job);
      faults += "kestojob: " + place + "offset\n";
    }
  }
  const auto shortened = [](const std::string& text, const std::string& mark) {
    std::istringstream lines(text);
    std::string result;
    for (std::string line; std::getline(lines, line);) result += line.substr(0, line.rfind(mark) + mark.size()) + '\n';
    return result;
  };
  const Outcome outcome = call({"check", "-"}, file);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(shortened(textOf(outcome.output), "): good"), good);
  EXPECT_EQ(shortened(outcome.log, "): offset"), faults);
  const std::string list = textOf(call({"list", "-"}, file).output);
  EXPECT_NE(list.find("JOB   job " + std::to_string(number) + "\n"), std::string::npos);
}

TEST(Program, DescribesJobsAndNotesQuotationMarks) {
  Bytes jobs = contentOf<Bytes>(pathOf(4));
  const Bytes job = contentOf<Bytes>(pathOf(0));
  jobs.insert(jobs.end(), job.begin(), job.end());
  const std::string info = textOf(call({"info", "-"}, jobs).output);
  Digest digest;
  digest.add(info);
  EXPECT_EQ(digest.text(), "0681a551f4f18f11") << info;
  const Outcome outcome = call({"check", "-"}, replaced(job, "4E 41 4D 45 3D 22", "4E 41 4D 45 3D 22 22"));  // NAME="
  EXPECT_EQ(outcome.status, 0);
  EXPECT_TRUE(outcome.log.starts_with("kestojob: -: note: offset ")) << outcome.log;
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

TEST(Program, DrawsChosenPagesAndSheetsOfSeveralJobs) {
  const TemporaryFolder folder;
  Bytes jobs;
  for (int number = 0; number < JOBS; ++number) {
    const Bytes job = contentOf<Bytes>(pathOf(number));
    jobs.insert(jobs.end(), job.begin(), job.end());
  }
  const Outcome outcome =
      call({"pages", "-", "--pages", "2,4-5", "-o", folder.path(), "--sheet", "-", "--scale", "1/16"}, jobs);
  EXPECT_EQ(outcome.status, 0) << outcome.log;
  std::set<std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder.path())) files.insert(entry.path().filename());
  EXPECT_EQ(files, (std::set<std::string>{"page-0002.png", "page-0004.png", "page-0005.png"}));
  EXPECT_EQ(digestOf(folder.write("sheet.png", textOf(outcome.output))).text(), "3504edebdb814c32");
  EXPECT_EQ(call({"pages", "-", "--pages", "99", "--sheet", folder.path() + "/none.png"}, jobs).status, 1);
  EXPECT_FALSE(std::filesystem::exists(folder.path() + "/none.png"));
}

TEST(Program, LeavesNoPartOfAPicture) {
  const TemporaryFolder folder;
  const std::string target = folder.write("sheet.png", "as it was");
  const std::vector<std::string> arguments = {"kestojob", "pages", "-", "-o", folder.path(), "--sheet", target};
  const std::string job = textOf(contentOf<Bytes>(pathOf(0)));
  const auto files = [&] { return std::distance(std::filesystem::directory_iterator(folder.path()), {}); };
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    Process process({.program = KESTO_JOB_READER,
                     .arguments = arguments,
                     .input = job.substr(0, job.size() - 200),
                     .keepInputOpen = true});
    for (int i = 0; i < 500 && files() < 3; ++i) process.collectFor(std::chrono::milliseconds(10));
    EXPECT_EQ(files(), 3) << "the page and the sheet are at work";
    process.signal(signal);
    EXPECT_EQ(process.finish().signal, signal);
    EXPECT_EQ(files(), 1) << signal;
  }
  const Outcome full = run({.program = "/bin/sh",
                            .arguments = {"sh", "-c", "ulimit -f 1; exec \"$@\"", "sh", KESTO_JOB_READER, "pages",
                                          pathOf(0), "-o", folder.path(), "--sheet", target}});
  EXPECT_EQ(full.status, 1);
  EXPECT_NE(full.log.find("File too large"), std::string::npos) << full.log;
  EXPECT_EQ(files(), 1);
  EXPECT_EQ(contentOf<std::string>(target), "as it was");
}

}  // namespace
}  // namespace kesto::test
