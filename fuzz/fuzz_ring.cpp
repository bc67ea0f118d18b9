// The ring: any sequence of operations against a queue.
#include <deque>

#include "hdc/cbuffer.h"
#include "input.h"
#include "require.h"

namespace {

using namespace kesto;
using fuzz::Bytes;
using fuzz::Input;
using fuzz::require;

/// Bytes in which a lost, doubled or misplaced one shows.
class Source {
 public:
  Bytes next(std::size_t count) {
    Bytes bytes(count);
    for (std::uint8_t& byte : bytes)
      byte = static_cast<std::uint8_t>((number_ = number_ * 1664525U + 1013904223U) >> 24);
    return bytes;
  }

 private:
  std::uint32_t number_ = 1;
};

void requireCounts(const cbuffer& ring, const std::deque<std::uint8_t>& model, std::uint32_t capacity) {
  require(cbufferGetAvailableBytes(&ring) == model.size());
  require(cbufferGetAvailableSpace(&ring) == static_cast<std::int32_t>(capacity - model.size()));
  require(cbufferIsEmpty(&ring) == model.empty());
  require(cbufferIsFull(&ring) == (model.size() == capacity));
}

void useRing(Input& in) {
  cbuffer ring;
  Source source;
  std::deque<std::uint8_t> model;
  std::uint32_t capacity = 0;
  std::int64_t inPlace = 0;  // stores and take-outs that did not cross the end
  const auto create = [&] { require(cbufferCreate(&ring, capacity = in.number(0, 300))); };
  create();
  while (!in.empty()) {
    const std::uint8_t step = in.byte();
    const std::uint32_t count =
        (step & 3) == 1 ? static_cast<std::uint32_t>(cbufferGetAvailableSpace(&ring)) + (step >> 7) : in.byte();
    if (step % 32 == 31) {
      cbufferFree(&ring);
      model.clear();
      requireCounts(ring, model, 0);
      require(!cbufferWriteBytes(&ring, &step, 1) && cbufferWriteBytes(&ring, &step, 0));
      create();
    } else if ((step & 4) != 0) {
      const Bytes bytes = source.next(count);
      const bool fits = count + model.size() <= capacity;
      std::uint8_t* const place = (step & 8) != 0 && count > 0 ? cbufferReserveBytes(&ring, count) : nullptr;
      require(place == nullptr || fits);
      if (place != nullptr) std::ranges::copy(bytes, place);
      require((place != nullptr ? cbufferCommitBytes(&ring, count) : cbufferWriteBytes(&ring, bytes.data(), count)) ==
              fits);
      inPlace += place != nullptr ? 1 : 0;
      if (fits) model.insert(model.end(), bytes.begin(), bytes.end());
    } else {
      Bytes bytes(count, 0x77);
      const bool there = count <= model.size();
      const std::uint8_t* const seen = (step & 8) != 0 && count > 0 ? cbufferPeekBytes(&ring, count) : nullptr;
      require(seen == nullptr || there);
      if (seen != nullptr) std::copy_n(seen, count, bytes.begin());
      require((seen != nullptr ? cbufferSkipBytes(&ring, count) : cbufferReadBytes(&ring, bytes.data(), count)) ==
              there);
      inPlace += seen != nullptr ? 1 : 0;
      require(there ? std::equal(bytes.begin(), bytes.end(), model.begin()) : bytes == Bytes(count, 0x77));
      if (there) model.erase(model.begin(), model.begin() + count);
    }
    requireCounts(ring, model, capacity);
  }
  cbufferFree(&ring);
  fuzz::note(inPlace);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in(data, size);
  useRing(in);
  return 0;
}
