// Renderers that misbehave: whatever a renderer delivers and however it ends, the job is right or the log says once
// what is wrong, and neither time nor memory gets out of bounds.
#include <chrono>
#include <string>

#include <gtest/gtest.h>

#include "endtoend/filterrun.h"
#include "support/sanitized.h"

namespace kesto::test {
namespace {

constexpr long MOST_MEMORY_KIB = 120 * 1024;
// A sanitizer keeps book of every byte of memory, also of the 4 GiB that an absurd header makes the library reserve.
constexpr std::chrono::seconds LONGEST_RUN{SANITIZED ? 60 : 8};

struct Renderer {
  const char* name;
  const char* recipe;
  unsigned pages;
  const char* error = "";  ///< what the one ERROR line says; empty: there is none
  const char* serverBin = "";
};
void PrintTo(const Renderer& renderer, std::ostream* stream) {
  *stream << renderer.name;
}

constexpr char NO_PAGE[] = "no page that can be printed";
constexpr char REFUSED[] = "Page 1 is not printed";

// How they end, how they deliver, what their headers say.
// clang-format off
const Renderer RENDERERS[] = {
    {"Missing", "page", 0, "ERROR: Unable to exec pdftoraster!", "/nonexistent"},
    {"EndsAtOnce", "exit status=0", 0, NO_PAGE}, {"FailsAtOnce", "exit status=3", 0, "status 3"},
    {"CrashesAtOnce", "crash", 0, "signal 11"}, {"ClosesAtOnce", "close", 0, NO_PAGE},
    {"ClosesAndHangs", "ignoresignals\nclose\nhang", 0, NO_PAGE},
    {"FailsAfterThePages", "page\npage\nexit status=7", 2, "ended with status 7 at page 2"},
    {"CrashesAfterThePages", "page\npage\ncrash", 2, "was ended by signal 11"},
    {"IsKilledInAPage", "page\npage height=640 lines=20\ncrash signal=9", 2, "was ended by signal 9"},
    {"ClosesAfterThePagesAndGoesOn", "page\nclose\nsleep ms=300\nexit status=0", 1},
    {"ClosesAfterThePagesAndHangs", "page\nclose\nignoresignals\nhang", 1}, {"LeavesAProcess", "orphan\npage", 1},
    {"LeavesAProcessAndCrashes", "orphan\npage height=64 lines=9\ncrash", 1, "signal 11"},
    {"DeliversBytewise", "bytewise\npage width=32 height=24 pattern=noise", 1},
    {"DeliversInPieces", "page height=100 pause=3 pattern=noise\nsleep ms=400\npage", 2},
    {"FloodsTheLog", "chatter lines=100000\npage\nchatter lines=100000", 1},
    {"BreaksOffInAPage", "page\npage height=64 lines=20", 2, "ended early at page 2"},
    {"BreaksOffInTheFirstHeader", "page headerbytes=100 lines=0", 0, NO_PAGE},
    {"BreaksOffInALaterHeader", "page\npage headerbytes=1795 lines=0", 1, "ended early at page 1"},
    {"AppendsGarbage", "page\ngarbage bytes=100000", 1, "Page 2"},
    {"BeginsWithGarbage", "garbage bytes=100000", 0, NO_PAGE},
    {"HasGarbageForAHeader", "page lines=0 headerbytes=0\ngarbage bytes=100000", 0, REFUSED},
    {"ChangesItsHeader", "page width=320 height=160 pattern=noise\npage width=65520 height=8\n"
     "page width=16 height=3000 bits=8\npage width=3 height=3 bits=8 space=3 mediatype=Glossy outputtype=DRAFT\n"
     "page width=320 height=160 resolution=300 duplex=1", 5},
    {"IsAsWideAsCanBe", "page width=65520 height=16 bits=8 pattern=text", 1},
    {"HasNoWidth", "page width=0 bytesperline=0", 0, REFUSED}, {"HasNoHeight", "page height=0", 0, REFUSED},
    {"HasNoArea", "page width=0 height=0", 0, REFUSED},
    {"IsTooWideOnceRoundedUp", "page width=65535 height=8 lines=0", 0, REFUSED},
    {"OverflowsItsLine", "page width=536870913 bytesperline=3", 0, REFUSED},
    {"IsTooHigh", "page height=2147483648 lines=1", 0, REFUSED},
    {"HasTooShortLines", "page width=64 bytesperline=191", 0, REFUSED},
    {"HasEndlessLines", "page width=64 bytesperline=4294967295 lines=0", 0, REFUSED},
    {"HasEndlessCompressedLines", "sync word=0x52615332\npage bytesperline=4294967295 lines=0", 0, REFUSED},
    {"HasManyCompressedLines", "sync word=0x52615332\npage height=4294967295 lines=9", 0, REFUSED},
    {"HasTheOtherByteOrder", "sync word=0x33536152\npage lines=9", 0, REFUSED},
    {"Has16Bits", "page width=64 bits=16 bytesperline=128", 0, REFUSED},
    {"Has48Bits", "page width=64 bits=48", 0, REFUSED},
    {"HasAWrongColourSpace", "page width=64 bits=24 space=6", 0, REFUSED},
    {"HasNoColourSpace", "page width=64 bits=24 space=4294967295", 0, REFUSED},
    {"HasNoPixelSize", "page width=64 bits=0 bytesperline=192", 0, REFUSED},
    {"HasPlanes", "page width=64 bits=24 order=2", 0, REFUSED},
    {"HasAnAbsurdLaterHeader", "page\npage width=536870913 bytesperline=3", 1, "Page 2"},
    {"HasAHighLaterHeader", "page\npage height=2147483648 lines=1\npage", 1, "Page 2"},
    {"HasA16BitLaterHeader", "page\npage bits=16", 1, "Page 2"},
};
// clang-format on

class MisbehavingRenderer : public testing::TestWithParam<Renderer> {};

TEST_P(MisbehavingRenderer, GivesARightJobOrOneClearError) {
  const Renderer& renderer = GetParam();
  const Outcome outcome = runFilter({.document = renderer.recipe, .serverBin = renderer.serverBin});
  EXPECT_EQ(outcome.status, 0) << outcome.log;
  const auto errors = outcome.linesWith("ERROR:");
  if (*renderer.error == '\0') {
    EXPECT_TRUE(errors.empty()) << errors[0];
  } else {
    ASSERT_EQ(errors.size(), 1u) << outcome.log;
    EXPECT_NE(errors[0].find(renderer.error), std::string::npos) << errors[0];
  }
  EXPECT_EQ(parseJob(outcome.output).pages.size(), renderer.pages);
  EXPECT_LT(outcome.duration, LONGEST_RUN);
  if (!SANITIZED) {
    EXPECT_LT(outcome.peakMemory, MOST_MEMORY_KIB);
  }
}

/// The same stream as a document of its own. How its writer ended is not known then, and whether one is left.
TEST_P(MisbehavingRenderer, GivesAStreamThatIsPrintedAsFarAsItIsGood) {
  const Renderer& renderer = GetParam();
  const std::string_view recipe = renderer.recipe;
  const bool ends = recipe.find("hang") == recipe.npos && recipe.find("orphan") == recipe.npos;
  if (*renderer.serverBin != '\0' || !ends) return;
  const Outcome outcome = runFilter(renderedCall({.document = renderer.recipe, .onStandardInput = true}));
  EXPECT_EQ(outcome.status, 0) << outcome.log;
  const auto errors = outcome.linesWith("ERROR:");
  EXPECT_LE(errors.size(), 1u) << outcome.log;
  const std::string expected = renderer.error;
  if (expected == REFUSED || expected == "Page 2" || expected == NO_PAGE) {
    ASSERT_EQ(errors.size(), 1u) << outcome.log;
    EXPECT_NE(errors[0].find(expected), std::string::npos) << errors[0];
  }
  EXPECT_EQ(parseJob(outcome.output).pages.size(), renderer.pages);
  EXPECT_LT(outcome.duration, LONGEST_RUN);
}

INSTANTIATE_TEST_SUITE_P(That, MisbehavingRenderer, testing::ValuesIn(RENDERERS),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
}  // namespace kesto::test
