#include "codec/downsample.h"

#include <array>
#include <cstddef>
#include <functional>

namespace kesto {
namespace {

constexpr std::array<ChromaSampling, 3> SAMPLINGS = {{
    {SAMPLE_TYPE_420, 16, 16, 2, 2},
    {SAMPLE_TYPE_422, 16, 8, 2, 1},
    {SAMPLE_TYPE_444, 8, 8, 1, 1},
}};

constexpr std::int32_t SAMPLE_SCALE = 4;
constexpr std::int32_t MID_LEVEL = 128;

bool overlap(const void* a, std::size_t aBytes, const void* b, std::size_t bBytes) {
  const auto* aFirst = static_cast<const std::byte*>(a);
  const auto* bFirst = static_cast<const std::byte*>(b);
  const std::less<> before;
  return before(aFirst, bFirst + bBytes) && before(bFirst, aFirst + aBytes);
}

/// One row of samples out of one source row, each from two neighbours. The sum less 255 keeps the level of white at
/// its full 508: two bytes of 255 give 255 >> 1 = 127.
void averagePairs(const std::uint8_t* row, std::int32_t count, std::int32_t* samples) {
  for (std::int32_t i = 0; i < count; ++i) {
    samples[i] = ((row[2 * i] + row[2 * i + 1] - 255) >> 1) * SAMPLE_SCALE;
  }
}

/// One row of samples out of two source rows, each from a square of four.
void averageSquares(const std::uint8_t* upper, const std::uint8_t* lower, std::int32_t count, std::int32_t* samples) {
  for (std::int32_t i = 0; i < count; ++i) {
    const std::int32_t sum = upper[2 * i] + upper[2 * i + 1] + lower[2 * i] + lower[2 * i + 1];
    samples[i] = ((sum - 510) >> 2) * SAMPLE_SCALE;
  }
}

void shiftLevels(const std::uint8_t* row, std::int32_t count, std::int32_t* samples) {
  for (std::int32_t i = 0; i < count; ++i) samples[i] = row[i] * SAMPLE_SCALE - MID_LEVEL * SAMPLE_SCALE;
}

}  // namespace

const ChromaSampling* findChromaSampling(std::uint32_t sampleType) {
  for (const ChromaSampling& sampling : SAMPLINGS) {
    if (sampling.type == sampleType) return &sampling;
  }
  return nullptr;
}

std::int32_t downSampleInt(std::int32_t width, std::int32_t size, const std::uint8_t* source, std::uint32_t sampleType,
                           std::uint32_t capacity, std::int32_t* samples) {
  if (source == nullptr || samples == nullptr) return CODEC_NULL_POINTER;
  const ChromaSampling* sampling = findChromaSampling(sampleType);
  if (sampling == nullptr) return CODEC_UNSUPPORTED;
  if (width <= 0 || size < 0) return CODEC_BAD_SIZE;
  const std::int32_t height = size / width;
  const std::int32_t columns = width / sampling->horizontal;
  const std::int32_t rows = height / sampling->vertical;
  const std::size_t bytesNeeded = static_cast<std::size_t>(columns) * rows * sizeof(std::int32_t);
  const std::size_t sourceBytes = static_cast<std::size_t>(width) * height;
  if (overlap(source, sourceBytes, samples, bytesNeeded)) return CODEC_NULL_POINTER;
  if (bytesNeeded > capacity || width % sampling->widthMultiple != 0 || height % sampling->heightMultiple != 0) {
    return CODEC_BAD_SIZE;
  }

  const std::size_t groupBytes = static_cast<std::size_t>(width) * sampling->vertical;
  for (std::int32_t row = 0; row < rows; ++row) {
    const std::uint8_t* upper = source + row * groupBytes;
    std::int32_t* line = samples + static_cast<std::size_t>(row) * columns;
    if (sampling->horizontal == 1) {
      shiftLevels(upper, columns, line);
    } else if (sampling->vertical == 1) {
      averagePairs(upper, columns, line);
    } else {
      averageSquares(upper, upper + width, columns, line);
    }
  }
  return CODEC_OK;
}

}  // namespace kesto
