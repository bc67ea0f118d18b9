// What a person sees of the job while it prints: the queue's message and the job's progress.
#pragma once

#include <cstdint>

namespace kesto {

/// Job thread only.
class Progress {
 public:
  /// `impressions` is the number of pages of the job, 0 or less when nobody knows it.
  explicit Progress(std::int64_t impressions) : impressions_(impressions) {}

  /// Makes "Printing page `page`." the queue's message, unless the printer reports an error: that is of more use.
  void pageBegins(int page) const;

  /// Reports how much of the job is done, in per cent, where the number of its pages is known.
  void pageEnds(int page) const;

 private:
  std::int64_t impressions_;
};

}  // namespace kesto
