// Bands through the codec. Bands as jobs have them: every way through a band gives the same bytes, and libjpeg decodes
// the picture that went in. Bands as nobody asks for them, with settings of any kind: all ways agree, whatever they do.
#include <cstdlib>
#include <functional>
#include <optional>

#include "bandcoder.h"
#include "codec/colorconvert.h"
#include "codec/fast/fastband.h"
#include "codec/wicketsegment.h"
#include "input.h"
#include "kestojob/reader/banddecoder.h"
#include "kestojob/reader/entropycheck.h"
#include "kestojob/reader/fault.h"
#include "kestojob/reader/wicketblock.h"
#include "picture.h"
#include "require.h"

namespace {

using namespace kesto;
using fuzz::Bytes;
using fuzz::Input;
using fuzz::require;

constexpr unsigned LINES = 8;

/// Coefficients are rounded to whole units, so each is half a unit off at most: in the worst of all blocks, where all
/// 64 add up, that is 3.5 in a pixel. The transforms of both sides round as well.
constexpr int WORST_ERROR = 5;

struct Band {
  std::int32_t width = 0;
  std::int32_t pixels = 0;
  std::int32_t capacity = 0;
  Bytes map;
  std::vector<Bytes> planes;  ///< grey, or Y, Cb and Cr
  bool separated = false;     ///< colour in a stream for each plane
};

/// What a band leaves behind.
struct Outcome {
  std::int32_t status = 0;
  std::vector<Bytes> streams;
  std::array<std::int32_t, 8> records{};
  bool operator==(const Outcome&) const = default;
};

using Prepare = std::function<void(test::BandCoder&)>;

Outcome compress(BandWay way, const Band& band, const Prepare& prepare) {
  static std::array<test::BandCoder, 3> codecs;
  test::BandCoder& codec = codecs[static_cast<std::size_t>(way)];
  *codec.settings = {};
  prepare(codec);
  limitBandWay(way);
  const auto blocks = static_cast<std::int32_t>(band.map.size());
  const bool color = band.planes.size() == 3;
  std::array<Bytes, 3> out;
  for (Bytes& stream : out) stream.resize(static_cast<std::size_t>(std::max(band.capacity, 1)));
  std::array<std::int32_t, 3> length{};
  Outcome outcome;
  if (!color) {
    setSampleType(SAMPLE_TYPE_444, codec.settings.get());
    outcome.status =
        wicketCompressMonoPlane(blocks, band.map.data(), band.width, band.pixels, band.planes[0].data(), band.capacity,
                                out[0].data(), length.data(), codec.settings.get(), codec.coder.get());
  } else if (band.separated) {
    outcome.status = wicketCompressSeparatedPlanes(
        blocks, band.map.data(), band.width, band.pixels, band.planes[0].data(), band.planes[1].data(),
        band.planes[2].data(), band.capacity, out[0].data(), out[1].data(), out[2].data(), &length[0], &length[1],
        &length[2], codec.settings.get(), codec.coder.get());
  } else {
    outcome.status = wicketCompressPlanes(blocks, band.map.data(), band.width, band.pixels, band.planes[0].data(),
                                          band.planes[1].data(), band.planes[2].data(), band.capacity, out[0].data(),
                                          length.data(), codec.settings.get(), codec.coder.get());
  }
  for (std::size_t i = 0; i < out.size(); ++i) {
    require(length[i] >= 0 && length[i] <= std::max(band.capacity, 0));
    out[i].resize(static_cast<std::size_t>(length[i]));
    outcome.streams.push_back(out[i]);
  }
  const WicketSettings& settings = *codec.settings;
  const WicketCoder& coder = *codec.coder;
  outcome.records = {settings.restartMcuCount,
                     settings.dcPredictor[0],
                     settings.dcPredictor[1],
                     settings.dcPredictor[2],
                     coder.restartNumber,
                     static_cast<std::int32_t>(coder.bitBuffer),
                     static_cast<std::int32_t>(coder.bitCount),
                     static_cast<std::int32_t>(coder.coefficientIndex)};
  return outcome;
}

/// The band by the literal way, after a look at whether the others agree.
Outcome compressAllWays(const Band& band, const Prepare& prepare) {
  Outcome literal = compress(BandWay::LITERAL, band, prepare);
  for (const BandWay way : {BandWay::BASIC, BandWay::SPECIFIC}) require(compress(way, band, prepare) == literal);
  fuzz::note(literal.status);
  for (const Bytes& stream : literal.streams) fuzz::note(stream);
  for (const std::int32_t record : literal.records) fuzz::note(record);
  return literal;
}

/// The pixels of a band, grey or Y, Cb and Cr, as the job reader sees them.
std::optional<Bytes> decode(const Bytes& stream, const job::BandShape& shape, unsigned index) {
  static const job::WicketTables tables = job::standardTables();
  static const job::EntropyCheck entropy(tables);
  static job::BandDecoder decoder(tables, {.divisor = 1, .ycbcr = true});
  // A band other than a strip's first begins with no marker for its quantiser; it ends with that of its own number.
  require(stream.size() >= 2 && stream.end()[-2] == 0xFF && stream.end()[-1] == 0xD0 + index % 8);
  const std::size_t marker = index == 0 ? 2 : 0;
  const auto data = std::span(stream).subspan(marker, stream.size() - marker - 2);
  if (index == 0) require(stream[0] == 0xFF && stream[1] == (shape.scaled ? 0x2C : 0x2B));
  try {
    entropy.check(data, shape.width / (shape.color ? 16 : 8), shape.color, 0);
    const auto pixels = decoder.decode(shape, data);
    return Bytes(pixels.begin(), pixels.end());
  } catch (const std::runtime_error&) {
    return std::nullopt;
  }
}

/// What the decoder gives back at best: chroma is the mean of a pair, rounded down.
int expected(const Band& band, std::size_t plane, std::size_t at) {
  const Bytes& bytes = band.planes[plane];
  return plane == 0 ? bytes[at] : 128 + ((bytes[at & ~std::size_t{1}] + bytes[at | 1] - 256) >> 1);
}

void requirePicture(const Band& band, const Bytes& pixels) {
  const std::size_t components = band.planes.size();
  require(pixels.size() == components * static_cast<std::size_t>(band.pixels));
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    require(std::abs(pixels[i] - expected(band, i % components, i / components)) <= WORST_ERROR);
  }
}

Band readBand(Input& in, std::uint32_t width, std::uint32_t lines) {
  Band band;
  band.width = static_cast<std::int32_t>(width);
  band.pixels = static_cast<std::int32_t>(width * lines);
  const bool color = in.flag();
  for (int plane = 0; plane < (color ? 3 : 1); ++plane) band.planes.push_back(fuzz::readPicture(in, width, lines));
  return band;
}

/// A band as a page has it.
void jobBand(Input& in) {
  const unsigned index = in.number(0, 31);
  const bool scaled = in.number(0, 7) == 7;
  Band band = readBand(in, 16 * in.number(1, 24), LINES);
  // A strip has one quantiser. The writer of bands can do without the table's; the decoder is told.
  band.map.assign(static_cast<std::size_t>(band.width) / 8, scaled ? 1 : 3);
  band.capacity = 4 * band.pixels;
  const Outcome outcome =
      compressAllWays(band, [&](test::BandCoder& codec) { codec.prepare(static_cast<int>(index), band.width); });
  require(outcome.status == CODEC_OK);
  const job::BandShape shape{static_cast<unsigned>(band.width), band.planes.size() == 3, scaled};
  const auto pixels = decode(outcome.streams[0], shape, index);
  require(pixels.has_value());
  if (!scaled) requirePicture(band, *pixels);
}

/// Settings of any kind, and what they are afterwards.
void changeSettings(Input in, WicketSettings& settings, WicketCoder& coder) {
  constexpr std::uint32_t TYPES[] = {0x444, 0x422, 0x420, 0x411};
  const auto choose = [](std::uint8_t value, auto set, auto clear, auto* record) {
    return std::int32_t{(value & 1) != 0 ? set(record) : clear(record)};
  };
  while (!in.empty()) {
    const std::uint8_t value = in.byte();
    const std::int32_t status = value;
    const std::uint8_t what = in.byte() % 12;
    if (what == 0) fuzz::note(setSampleType(TYPES[value & 3], &settings));
    if (what == 1) fuzz::note(setRestartInterval(static_cast<std::int8_t>(value), &settings));
    if (what == 2) fuzz::note(setQFactor(value, &settings));
    if (what == 3) fuzz::note(setQFactor2(value, value / 2 + 1, &settings));
    if (what == 4) fuzz::note(choose(value, setPadQMarker, clearPadQMarker, &settings));
    if (what == 5) fuzz::note(choose(value, setUseDeltaDC, clearUseDeltaDC, &settings));
    if (what == 6) fuzz::note(choose(value, setDumpPlanes, clearDumpPlanes, &settings));
    if (what == 7) fuzz::note(choose(value, wicketSetByteStuffing, wicketClearByteStuffing, &coder));
    if (what == 8) setWicket(&settings, &coder, value == 255 ? nullptr : &status);
    if (what == 9) reinitialize(&settings, &coder);
    if (what == 10) setPlanarZigZag(value % 5, 8U * (value / 5), value % 3, value % 4, &settings);
    if (what == 11) {
      settings.restartMcuCount = value;
      clearRestartMcuCount(&settings);
      settings.firstBand = value & 1;
    }
  }
  for (const std::int64_t query :
       {std::int64_t{querySampleType(&settings)}, std::int64_t{queryRestartInterval(&settings)},
        std::int64_t{queryQFactor(&settings)}, std::int64_t{queryPadQMarker(&settings)},
        std::int64_t{queryUseDeltaDC(&settings)}, std::int64_t{queryDumpPlanes(&settings)},
        std::int64_t{wicketQueryByteStuffing(&coder)}, std::int64_t{queryByteStuffing(&coder)}}) {
    fuzz::note(query);
  }
  for (const auto& scan : settings.planarZigZag) fuzz::note(std::span(scan).last(8));
}

/// Notes where the segments of a stream lie.
void noteSegments(const Bytes& stream) {
  WicketSettings settings;
  fuzz::note(setSegmentStream(stream.data(), static_cast<std::uint32_t>(stream.size()), &settings));
  const std::uint8_t* segment = nullptr;
  for (std::uint32_t length = 0; getSegment(&segment, &length, &settings) == CODEC_OK;)
    fuzz::note(std::span(segment, length));
}

/// A band with claims and settings of any kind.
void oddBand(Input& in) {
  const std::uint32_t lines = in.number(0, 33);
  Band band = readBand(in, in.number(0, 70), lines);
  band.separated = in.flag();
  const std::uint8_t odd = in.byte();
  if ((odd & 1) != 0) band.width = in.byte() - 96;
  const std::uint32_t blocks = (odd & 2) != 0 ? in.byte() : static_cast<std::uint32_t>(band.pixels) / 64;
  band.capacity = (odd & 4) != 0 ? static_cast<std::int16_t>(in.word16()) : 4 * band.pixels;
  const std::uint8_t firstMap = in.byte();
  band.map = in.bytes((odd & 8) != 0 ? blocks : 0);
  band.map.resize(blocks, firstMap & 3);
  if ((odd & 16) != 0) band.planes.back().clear();  // whose pointer is null
  const Bytes settings = in.rest();
  const Outcome outcome = compressAllWays(band, [&](test::BandCoder& codec) {
    codec.prepare(firstMap >> 3, std::max(band.width, 8));
    changeSettings(Input(settings.data(), settings.size()), *codec.settings, *codec.coder);
  });
  for (const Bytes& stream : outcome.streams) noteSegments(stream);
}

/// The colours of a band, against the conversion of one pixel at a time.
void convertColors(Input& in) {
  const std::uint32_t width = in.number(0, 60);
  const std::uint32_t lines = in.number(0, 9);
  const std::uint32_t stride = width + in.number(0, 3);
  const bool keepPlanes = in.flag();
  const std::uint32_t size = in.flag() ? stride * lines : in.word16();
  const Bytes rgb = fuzz::readPicture(in, std::size_t{3} * width, lines);
  std::array<Bytes, 3> planes;
  for (std::size_t i = 0; i < 3; ++i) planes[i].assign(size, keepPlanes ? (i == 0 ? 255 : 128) : 0);
  const std::int32_t status = rgbtoYCbCr(static_cast<std::int32_t>(3 * width), static_cast<std::int32_t>(rgb.size()),
                                         rgb.data(), static_cast<std::int32_t>(stride), static_cast<std::int32_t>(size),
                                         planes[0].data(), planes[1].data(), planes[2].data(), keepPlanes ? 1 : 0);
  const bool printed = std::ranges::any_of(rgb, [](std::uint8_t value) { return value != 255; });
  fuzz::note(status);
  if (status != CODEC_OK && status != COLOR_BAND_PRINTED) return;
  for (const Bytes& plane : planes) fuzz::note(plane);
  require((status == COLOR_BAND_PRINTED) == printed);
  for (std::size_t y = 0; y < lines; ++y) {
    require(stripTrail(&rgb[y * 3 * width], static_cast<std::int32_t>(width)) <= static_cast<std::int32_t>(width));
    for (std::size_t x = 0; x < width; ++x) {
      const std::uint32_t word = RGBTripleToCrCbYDword(&rgb[3 * (y * width + x)]);
      for (std::size_t i = 0; i < 3; ++i) require(planes[i][y * stride + x] == (word >> (8 * i) & 0xFF));
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in(data, size);
  switch (in.byte() % 3) {
    case 0:
      jobBand(in);
      break;
    case 1:
      oddBand(in);
      break;
    default:
      convertColors(in);
  }
  return 0;
}
