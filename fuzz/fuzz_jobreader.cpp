// Anything at all as a file of jobs: checked, with their pages decoded, listed both ways and described.
#include <ostream>
#include <streambuf>

#include "kestojob/reader/fault.h"
#include "kestojob/reader/jobcheck.h"
#include "kestojob/reader/jobinfo.h"
#include "kestojob/reader/lister.h"
#include "require.h"

namespace {

using namespace kesto::job;
using kesto::fuzz::require;

/// Looks at every pixel that it is given.
class Onlooker : public PageSink {
 public:
  void rows(std::span<const std::uint8_t> pixels, std::size_t rowBytes) override {
    require(rowBytes > 0 && pixels.size() == rowBytes * BAND_LINES);
    for (const std::uint8_t pixel : pixels) sum_ = sum_ + pixel;
  }
  void tags(std::uint8_t packed, std::uint64_t count) override { sum_ = sum_ + packed * count; }

 private:
  volatile std::uint64_t sum_ = 0;
};

/// Notes what is written, and keeps nothing.
class Nowhere : public std::streambuf {
 protected:
  int_type overflow(int_type c) override {
    kesto::fuzz::note(c);
    return traits_type::not_eof(c);
  }
  std::streamsize xsputn(const char* text, std::streamsize count) override {
    kesto::fuzz::note(std::string_view(text, static_cast<std::size_t>(count)));
    return count;
  }
};

/// Runs an action on every job; true when it finds no fault. A fault lies within its job, and the jobs lie one behind
/// the other.
template <class Action>
bool areGood(std::span<const std::uint8_t> bytes, Action action) {
  ByteSource source(bytes);
  bool good = true;
  std::uint64_t start = 0;
  for (bool more = true; more; start = source.jobStart()) {
    try {
      action(source);
    } catch (const Fault& fault) {
      require(source.jobStart() <= fault.offset() && fault.offset() <= source.offset() && *fault.what() != '\0');
      kesto::fuzz::note(std::string_view(fault.what()));
      kesto::fuzz::note(static_cast<std::int64_t>(fault.offset()));
      good = false;
    }
    more = source.nextJob();
    require(more ? source.jobStart() > start : source.offset() == bytes.size());
  }
  return good;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span bytes(data, size);
  Onlooker onlooker;
  const bool seen = areGood(bytes, [&](ByteSource& source) { JobCheck(source, &onlooker).run(); });
  const bool checked = areGood(bytes, [](ByteSource& source) { JobCheck(source).run(); });
  require(seen == checked);
  Nowhere nowhere;
  std::ostream out(&nowhere);
  const auto text = makeTextWriter(out);
  const bool listed = areGood(bytes, [&](ByteSource& source) { listJob(source, *text, 2); });
  require(listed || !checked);
  const auto json = makeJsonWriter(out);
  const bool listedForPrograms = areGood(bytes, [&](ByteSource& source) { listJob(source, *json, 2); });
  require(listedForPrograms == listed);
  areGood(bytes, [&](ByteSource& source) {
    JobInfo info;
    listJob(source, info);
    info.write(out, "job", size);
  });
  return 0;
}
