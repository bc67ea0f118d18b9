// The ring and the output channel: any sequence of operations against a queue and a list of bytes.
#include <deque>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "hdc/hdc.h"
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

/// A capacity for which there may be no memory.
constexpr std::uint32_t ABSURD = 0xFFFFFFF0;

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
      if (step == 255 && !cbufferCreate(&ring, ABSURD)) require(cbufferGetAvailableSpace(&ring) == 0);
      cbufferFree(&ring);
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

/// Where a channel writes to: a file in memory, the device that is always full, or a descriptor that is none.
class Output {
 public:
  explicit Output(std::uint8_t choice) {
    if (choice % 8 == 7) {
      descriptor_ = open("/dev/full", O_WRONLY | O_CLOEXEC);
    } else if (choice % 8 != 6) {
      descriptor_ = memfd_create("output", MFD_CLOEXEC);
    }
    works_ = choice % 8 < 6;
    hdcContext.outputDescriptor = descriptor_;
  }
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;
  ~Output() {
    hdcContext.outputDescriptor = STDOUT_FILENO;
    close(descriptor_);
  }

  [[nodiscard]] bool works() const { return works_; }
  [[nodiscard]] Bytes content() const {
    const off_t size = works_ ? lseek(descriptor_, 0, SEEK_CUR) : 0;
    Bytes bytes(static_cast<std::size_t>(size));
    require(bytes.empty() || pread(descriptor_, bytes.data(), bytes.size(), 0) == size);
    return bytes;
  }

 private:
  int descriptor_ = -1;
  bool works_ = false;
};

/// What has reached the output and what is still in the ring are all bytes that were accepted, in their order.
void requireAll(const Output& output, const Bytes& accepted) {
  Bytes seen = output.content();
  Bytes stored(cbufferGetAvailableBytes(&hdcContext.buffer));
  require(cbufferReadBytes(&hdcContext.buffer, stored.data(), static_cast<std::uint32_t>(stored.size())));
  seen.insert(seen.end(), stored.begin(), stored.end());
  require(seen == accepted);
}

void useChannel(Input& in) {
  const Output output(in.byte());
  const std::uint32_t capacity = in.number(0, 600);
  hdcInitialize(capacity, in.number(0, 700));
  Source source;
  Bytes accepted;
  bool running = false;
  for (int steps = 0; !in.empty() && steps < 64; ++steps) {
    const std::uint8_t step = in.byte();
    if (step < 200) {
      const Bytes bytes = source.next(std::size_t{step} * (step % 8) % (2 * capacity + 1));
      // Without anybody to make room, what does not fit would wait for ever.
      if (!running && hdcFailure() == 0 && bytes.size() + cbufferGetAvailableBytes(&hdcContext.buffer) > capacity)
        continue;
      const std::int64_t written = hdcWrite(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
      const bool lost = written != std::ssize(bytes);
      require(!lost || (written == -1 && (hdcFailure() != 0 || capacity == 0)));
      require(!output.works() || capacity == 0 || !lost);
      if (!lost) accepted.insert(accepted.end(), bytes.begin(), bytes.end());
    } else if (step < 220) {
      hdcStartPrintThread(nullptr);
      running = true;
    } else if (step < 240) {
      hdcStopPrintThread();
      running = false;
    } else if (running || cbufferIsEmpty(&hdcContext.buffer)) {
      hdcWaitUntilEmpty();
      require(hdcFailure() != 0 || cbufferIsEmpty(&hdcContext.buffer));
    }
  }
  hdcStopPrintThread();
  require(!output.works() || hdcFailure() == 0);
  if (output.works()) requireAll(output, accepted);
  hdcDestroy();
  const std::uint8_t byte = 0;
  require(hdcWrite(&byte, 1) == -1 && hdcWrite(&byte, 0) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in(data, size);
  if (in.flag()) {
    useChannel(in);
  } else {
    useRing(in);
  }
  return 0;
}
