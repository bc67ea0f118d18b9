// The image thread: takes line blocks out of imageLineBlockBuffer and has strips made of them.
#pragma once

#include <cstdint>

#include "base/thread.h"

namespace kesto {

/// Owns the thread that runs process_image_thread. Job thread only.
class ImageThread {
 public:
  ImageThread() = default;
  ImageThread(const ImageThread&) = delete;
  ImageThread& operator=(const ImageThread&) = delete;
  ~ImageThread() { stop(); }

  /// Starts the thread unless it has been started. Ends the job when no thread can be made.
  void ensureRunning();

  /// Clears the run flag and waits for the thread to end. A thread that waits in hdcWrite ends only when the print
  /// thread makes room or the channel has been abandoned.
  void stop();

 private:
  Thread thread_;
};

/// Thread body: compresses the line blocks of imageLineBlockBuffer until the run flag at `runFlag` (a
/// std::atomic<std::uint8_t>, set to 1 here) is cleared. A lack of memory ends the thread and leaves the error number
/// in imageThreadFailure.
void* process_image_thread(void* runFlag);

}  // namespace kesto
