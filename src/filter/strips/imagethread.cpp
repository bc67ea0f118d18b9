#include "filter/strips/imagethread.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "base/poll.h"
#include "filter/joberror.h"
#include "filter/jobstate.h"
#include "filter/lines/lineblock.h"
#include "filter/strips/colorplanes.h"
#include "filter/strips/strips.h"
#include "jobsettings/jobsettings.h"

namespace kesto {
namespace {

/// The image thread's records and buffers, reused for every block.
class BlockProcessor {
 public:
  explicit BlockProcessor(const std::atomic<std::uint8_t>& running)
      : running_(running), settings_(std::make_unique<WicketSettings>()), coder_(std::make_unique<WicketCoder>()) {}

  /// Waits for a line block, takes it, and compresses it. False when the thread is to end.
  bool processNext() {
    if (!waitForBytes(LINE_BLOCK_HEADER_SIZE)) return false;
    gBlockProcessingCompleted.store(0, std::memory_order_release);
    if (!takeBlock()) return false;
    compress();
    if (!releaseBlock()) return false;
    gBlockProcessingCompleted.store(1, std::memory_order_release);
    return true;
  }

 private:
  bool waitForBytes(std::uint32_t count) {
    pollUntil([&] {
      return static_cast<std::uint32_t>(cbufferGetAvailableBytes(&imageLineBlockBuffer)) >= count || stopped();
    });
    return !stopped();
  }

  [[nodiscard]] bool stopped() const { return running_.load(std::memory_order_acquire) == 0; }

  bool takeBlock() {
    std::array<std::uint8_t, LINE_BLOCK_HEADER_SIZE> bytes;
    if (!cbufferReadBytes(&imageLineBlockBuffer, bytes.data(), LINE_BLOCK_HEADER_SIZE)) return false;
    std::memcpy(&header_, bytes.data(), bytes.size());
    if (!waitForBytes(rowBytes())) return false;
    rows_ = cbufferPeekBytes(&imageLineBlockBuffer, rowBytes());
    rowsInRing_ = rows_ != nullptr;
    if (rowsInRing_) return true;
    copy_.resize(rowBytes());
    rows_ = copy_.data();
    return cbufferReadBytes(&imageLineBlockBuffer, copy_.data(), rowBytes());
  }

  /// Returns the space of the block's rows to the ring.
  bool releaseBlock() { return !rowsInRing_ || cbufferSkipBytes(&imageLineBlockBuffer, rowBytes()); }

  /// Bytes of the image rows and the tag rows.
  [[nodiscard]] std::uint32_t rowBytes() const { return header_.imageSize + header_.tagSize; }

  void compress() {
    const std::uint32_t width = header_.bytesPerLine / header_.bytesPerPixel;
    const std::uint32_t pixelCount = header_.imageSize / header_.bytesPerPixel;
    if (jobsetting->isColor != 0) planes_.convert({rows_, header_.imageSize}, width);
    const std::uint8_t lastBand = isLastBand(width, pixelCount) ? 1 : 0;
    compress_and_send(settings_.get(), coder_.get(), header_.firstLine, width, pixelCount, planes_.y(), planes_.cb(),
                      planes_.cr(), rows_, rows_ + header_.imageSize, lastBand);
  }

  bool isLastBand(std::uint32_t width, std::uint32_t pixelCount) {
    if (pagePixels_ == 0) pagePixels_ = std::uint64_t{width} * header_.pageHeight;
    pixelsTaken_ += pixelCount;
    if (pixelsTaken_ < pagePixels_) return false;
    pixelsTaken_ = 0;
    return true;
  }

  const std::atomic<std::uint8_t>& running_;
  std::unique_ptr<WicketSettings> settings_;
  std::unique_ptr<WicketCoder> coder_;
  LineBlockHeader header_;
  const std::uint8_t* rows_ = nullptr;  ///< of the image, then of the tags; in the ring or in `copy_`
  bool rowsInRing_ = false;
  std::vector<std::uint8_t> copy_;  ///< of rows that cross the end of the ring
  ColorPlanes planes_;
  std::uint64_t pagePixels_ = 0;   ///< of the job's every page, from its first block
  std::uint64_t pixelsTaken_ = 0;  ///< of the current page
};

}  // namespace

void* process_image_thread(void* runFlag) {
  auto& running = *static_cast<std::atomic<std::uint8_t>*>(runFlag);
  try {
    gCacheBands.clear();
    gCacheBandIndex = 0;
    BlockProcessor processor(running);
    running.store(1, std::memory_order_release);
    while (processor.processNext()) {
    }
  } catch (const std::bad_alloc&) {
    imageThreadFailure.store(ENOMEM, std::memory_order_release);
  }
  return nullptr;
}

void ImageThread::ensureRunning() {
  if (thread_.isStarted()) return;
  const int error = thread_.start(process_image_thread, &imageProcessorContext);
  if (error != 0) failJobWithText("ERROR: Unable to ran process_image_thread!", error);
}

void ImageThread::stop() {
  // The thread sets the flag itself when it starts. If it were cleared before that, it would be set again.
  pollUntil([this] { return thread_.joinIfEnded() || imageProcessorContext.load(std::memory_order_acquire) != 0; });
  imageProcessorContext.store(0, std::memory_order_release);
  thread_.join();
}

}  // namespace kesto
