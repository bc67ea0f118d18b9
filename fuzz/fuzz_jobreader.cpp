// Anything at all as a job: checked, with its pages decoded, and listed both ways.
#include <ostream>
#include <streambuf>

#include "kestojob/reader/fault.h"
#include "kestojob/reader/jobcheck.h"
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

/// Runs an action; true when it finds no fault. A fault lies within the job.
template <class Action>
bool isGood(std::size_t size, Action action) {
  try {
    action();
  } catch (const Fault& fault) {
    require(fault.offset() <= size && *fault.what() != '\0');
    kesto::fuzz::note(std::string_view(fault.what()));
    kesto::fuzz::note(static_cast<std::int64_t>(fault.offset()));
    return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::span bytes(data, size);
  Onlooker onlooker;
  const bool seen = isGood(size, [&] { checkJob(bytes, &onlooker); });
  const bool checked = isGood(size, [&] { checkJob(bytes); });
  require(seen == checked);
  Nowhere nowhere;
  std::ostream out(&nowhere);
  const bool listed = isGood(size, [&] {
    ByteSource source(bytes);
    listJob(source, *makeTextWriter(out));
  });
  require(listed || !checked);
  const bool listedForPrograms = isGood(size, [&] {
    ByteSource source(bytes);
    listJob(source, *makeJsonWriter(out));
  });
  require(listedForPrograms == listed);
  return 0;
}
