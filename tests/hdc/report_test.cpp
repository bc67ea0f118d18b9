#include "hdc/report.h"

#include <array>
#include <cerrno>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace kesto {
namespace {

/// Standard error as a pipe that keeps each write apart from the next.
class Report : public testing::Test {
 protected:
  void SetUp() override {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_DIRECT | O_NONBLOCK | O_CLOEXEC), 0);
    standardError_ = dup(STDERR_FILENO);
    ASSERT_EQ(dup2(ends[1], STDERR_FILENO), STDERR_FILENO);
    close(ends[1]);
    readEnd_ = ends[0];
  }
  void TearDown() override {
    dup2(standardError_, STDERR_FILENO);
    close(standardError_);
    close(readEnd_);
  }

  /// What the next write brought; empty when there was none.
  [[nodiscard]] std::string nextWrite() const {
    std::array<char, 4096> bytes{};
    const auto count = read(readEnd_, bytes.data(), bytes.size());
    return {bytes.data(), static_cast<std::size_t>(count > 0 ? count : 0)};
  }

 private:
  int standardError_ = -1;
  int readEnd_ = -1;
};

TEST_F(Report, WritesEachMessageAtOnceAndKeepsErrno) {
  errno = ENOENT;
  report("PAGE: %d %d\n", 3, 2);
  report("pages is:%d", 0);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(nextWrite(), "PAGE: 3 2\n");
  EXPECT_EQ(nextWrite(), "pages is:0");
  EXPECT_EQ(nextWrite(), "");
  report("PAGE: %d %d\n", 4, 2);
  EXPECT_EQ(nextWrite(), "\nPAGE: 4 2\n") << "the open line must not swallow the prefix";
  report("\nWARNING: %s\n", "Cover\nopen");
  EXPECT_EQ(nextWrite(), "\nWARNING: Cover open\n");
}

TEST_F(Report, AddsTheSystemsReason) {
  reportErrno("ERROR: Unable to create pipe!", ENOENT);
  EXPECT_EQ(nextWrite(), "ERROR: Unable to create pipe!: No such file or directory\n");
}

TEST_F(Report, CutsALongMessageAndStillEndsItsLine) {
  report("DEBUG: %s\n", std::string(2039, 'x').c_str());
  EXPECT_EQ(nextWrite(), "DEBUG: " + std::string(2039, 'x') + "\n");
  report("DEBUG: %s\n", std::string(5000, 'x').c_str());
  EXPECT_EQ(nextWrite(), "DEBUG: " + std::string(2039, 'x') + "\n");
}

TEST_F(Report, LetsNoForeignLineIn) {
  report("DEBUG: file \"%s\"\n", "a\nERROR: forged\r\x1B\x7F\xC3\xA9");
  EXPECT_EQ(nextWrite(), "DEBUG: file \"a ERROR: forged   \xC3\xA9\"\n");
}

}  // namespace
}  // namespace kesto
