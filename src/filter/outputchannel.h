// The output channel as the job holds it: started before the first byte, drained and stopped after the last one.
#pragma once

namespace kesto {

/// Owns the channel's print thread. It has to outlive the image thread, which writes into the channel. Job thread only.
class OutputChannel {
 public:
  OutputChannel() = default;
  OutputChannel(const OutputChannel&) = delete;
  OutputChannel& operator=(const OutputChannel&) = delete;
  /// Stops the print thread, if `finish` has not: the job has failed, and what has not been written is lost.
  ~OutputChannel();

  /// Makes the channel's ring and starts its print thread; ends the job when either fails.
  void start(const char* connectivity);

  /// Returns once every byte has reached standard output; ends the job when that fails.
  void finish();
};

}  // namespace kesto
