#include "base/report.h"

#include <cerrno>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "support/capturedlog.h"

namespace kesto {
namespace {

class Report : public testing::Test {
 protected:
  [[nodiscard]] std::string nextWrite() const { return log_.nextWrite(); }

 private:
  test::CapturedLog log_;
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

TEST_F(Report, BeginsEachLineAtItsStartWhateverAnotherThreadLeavesOpen) {
  std::string log;
  const auto drain = [&] {
    for (std::string write = nextWrite(); !write.empty(); write = nextWrite()) log += write;
  };
  std::jthread tracer([](const std::stop_token& stop) {
    while (!stop.stop_requested()) report("trace");
  });
  while (log.empty()) drain();
  for (int page = 0; page < 4000; ++page) {
    report("PAGE: 1 1\n");
    drain();
  }
  tracer.request_stop();
  tracer.join();
  report("\n");
  drain();
  EXPECT_EQ(log.find("ePAGE"), std::string::npos);
}

TEST_F(Report, CutsALongMessageAndStillEndsItsLine) {
  report("DEBUG: %s\n", std::string(2039, 'x').c_str());
  EXPECT_EQ(nextWrite(), "DEBUG: " + std::string(2039, 'x') + "\n");
  report("DEBUG: %s\n", std::string(5000, 'x').c_str());
  EXPECT_EQ(nextWrite(), "DEBUG: " + std::string(2039, 'x') + "\n");
}

TEST_F(Report, LetsNoForeignLineInAndAddsTheSystemsReason) {
  reportErrno("ERROR: Unable to create pipe!", ENOENT);
  EXPECT_EQ(nextWrite(), "ERROR: Unable to create pipe!: No such file or directory\n");
  report("DEBUG: file \"%s\"\n", "a\nERROR: forged\r\x1B\x7F\xC3\xA9");
  EXPECT_EQ(nextWrite(), "DEBUG: file \"a ERROR: forged   \xC3\xA9\"\n");
}

}  // namespace
}  // namespace kesto
