#include <cstring>
#include <stdexcept>
#include <string>

#include "bandencoder.h"
#include "codec/tbrle.h"
#include "filter/lines/lineblock.h"
#include "filter/strips/strips.h"
#include "jpegencoder.h"
#include "measurements.h"

namespace kesto::bench {
namespace {

/// How many times as fast as libjpeg-turbo, in the order of PAGE_KINDS.
constexpr double COLOR_TARGETS[] = {6, 2.3, 1.6, 1.1, 1.0, 1.05};
constexpr double GREY_TARGET = 1.0;

/// Megapixels a second of processor time of this thread.
template <class Encode>
double speedOf(Encode encode) {
  const double start = test::processorSeconds(CLOCK_THREAD_CPUTIME_ID);
  encode();
  return static_cast<double>(PAGE_PIXELS) / 1e6 / (test::processorSeconds(CLOCK_THREAD_CPUTIME_ID) - start);
}

Comparison compareEncoders(const Bytes& pixels, int channels) {
  constexpr int TURNS = 7;
  BandEncoder ours(PAGE_WIDTH, channels);
  JpegEncoder theirs;
  // Memory that has never been touched would be charged to the first turn.
  ours.encode(pixels);
  theirs.encode(pixels, PAGE_WIDTH, channels);
  return compare(
      TURNS, [&] { return speedOf([&] { ours.encode(pixels); }); },
      [&] { return speedOf([&] { theirs.encode(pixels, PAGE_WIDTH, channels); }); });
}

/// The tags of a strip beside a look at each of them by the library.
Comparison compareTagEncoder() {
  constexpr int TURNS = 15;
  constexpr int CALLS = 100;  // too many for a clock's grain to matter
  const Bytes tags(std::size_t{BANDS_PER_STRIP} * LINES_PER_BLOCK * PAGE_WIDTH, PAGE_TAG);
  const auto count = static_cast<std::uint32_t>(tags.size());
  Bytes stream(2 * tags.size());
  const auto secondsPerMegabyte = [&](auto call) {
    const double start = test::processorSeconds(CLOCK_THREAD_CPUTIME_ID);
    for (int i = 0; i < CALLS; ++i) call();
    return (test::processorSeconds(CLOCK_THREAD_CPUTIME_ID) - start) * 1e6 / CALLS / (static_cast<double>(count) / 1e6);
  };
  volatile int absent = PAGE_TAG + 1;  // so that no call can be left out
  return compare(
      TURNS,
      [&] {
        return secondsPerMegabyte([&] {
          if (tbrle_encode(2 * count, stream.data(), count, tags.data()) == 0) throw std::runtime_error("no tags");
        });
      },
      [&] {
        return secondsPerMegabyte([&] {
          if (std::memchr(tags.data(), absent, tags.size()) != nullptr) throw std::runtime_error("a wrong tag");
        });
      });
}

}  // namespace

void measureEncoding(Report& report) {
  Table color{"Encoding a colour page, one thread", "megapixels a second", "libjpeg-turbo", {}};
  Table grey{"Encoding a grey page, one thread", "megapixels a second", "libjpeg-turbo", {}};
  for (std::size_t i = 0; i < PAGE_KINDS.size(); ++i) {
    tellProgress(std::string("encoding, ") + PAGE_KINDS[i].name);
    const Bytes rgb = makePage(PAGE_KINDS[i].kind);
    color.rows.push_back({PAGE_KINDS[i].name, compareEncoders(rgb, 3), Bound::AT_LEAST, COLOR_TARGETS[i]});
    grey.rows.push_back({PAGE_KINDS[i].name, compareEncoders(toGrey(rgb), 1), Bound::AT_LEAST, GREY_TARGET});
  }
  tellProgress("tags");
  report.tables.push_back(std::move(color));
  report.tables.push_back(std::move(grey));
  report.tables.push_back({"Encoding the tags of a strip",
                           "microseconds a megabyte",
                           "memchr",
                           {{"strip of one tag", compareTagEncoder(), Bound::AT_MOST, 2}}});
}

}  // namespace kesto::bench
