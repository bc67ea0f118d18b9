// The judgement of a whole job, and its pages on the way.
//
// The job has to be exactly what the printers take: status requests or none, PJL header, PCL XL session with pages
// whose strips tile them, end of job, and not a byte more. The first thing that is not so is a Fault.
//
// One thread runs a check. It holds one band of image data, never a page.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "kestojob/reader/banddecoder.h"
#include "kestojob/reader/bytesource.h"
#include "kestojob/reader/elementreader.h"
#include "kestojob/reader/entropycheck.h"
#include "kestojob/reader/pagerules.h"
#include "kestojob/reader/pjlheader.h"
#include "kestojob/reader/tagblock.h"
#include "kestojob/reader/xlgrammar.h"

namespace kesto::job {

/// For pixels that nobody looks at, the smallest size will do.
inline constexpr PixelForm UNSEEN = {.divisor = 8};

/// Receives the pages of a job while it is checked. Everything passed in has been found good.
class PageSink {
 public:
  PageSink() = default;
  PageSink(const PageSink&) = delete;
  PageSink& operator=(const PageSink&) = delete;
  virtual ~PageSink() = default;

  /// The pixels that `rows` is to get; asked once.
  [[nodiscard]] virtual PixelForm form() const { return {}; }
  virtual void beginPage(const PageLayout& /*layout*/) {}
  virtual void beginStrip(const StripShape& /*strip*/) {}
  /// A band of the strip: rows of `rowBytes`.
  virtual void rows(std::span<const std::uint8_t> /*pixels*/, std::size_t /*rowBytes*/) {}
  /// A run of the strip's tag plane, in packed bytes of four pixels.
  virtual void tags(std::uint8_t /*packed*/, std::uint64_t /*count*/) {}
  /// The strip's tag plane in numbers, behind its runs.
  virtual void endStrip(const TagCounts& /*tags*/) {}
  virtual void endPage() {}
};

struct JobSummary {
  std::uint64_t pages = 0;
  std::uint64_t strips = 0;
  std::uint64_t bytes = 0;
};

class JobCheck {
 public:
  /// `sink`, if there is one, gets the pages.
  explicit JobCheck(ByteSource& source, PageSink* sink = nullptr);

  /// Reads the whole job; throws the Fault that it finds first, and FileError. A check serves for one job.
  JobSummary run();
  /// What deserves a word without being a fault, also in a job with one, as far as it was read.
  [[nodiscard]] const std::vector<Note>& notes() const { return header_.notes(); }

 private:
  Element nextElement(const char* what);
  void checkStart();
  void checkSession();
  void checkEnd();
  void carryOut(Step step);
  void readImageData(Step step);
  void readWicket(BlockReader& block);

  ByteSource& source_;
  PageSink* sink_;
  PageSink noSink_;
  ElementReader elements_;
  PjlHeaderRules header_;
  PageRules rules_;
  WicketTables tables_ = standardTables();
  EntropyCheck entropy_;
  BandDecoder decoder_;
};

/// Checks a job in memory, which has to be the only one there.
JobSummary checkJob(std::span<const std::uint8_t> bytes, PageSink* sink = nullptr);

}  // namespace kesto::job
