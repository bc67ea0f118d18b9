// Tag planes through the coder and back, and anything at all into the decoder, against a decoder of a few lines.
#include "codec/tbrle.h"
#include "input.h"
#include "kestojob/reader/tagblock.h"
#include "require.h"

namespace {

using namespace kesto;
using fuzz::Bytes;
using fuzz::Input;
using fuzz::require;

std::uint32_t sizeOf(const Bytes& bytes) {
  return static_cast<std::uint32_t>(bytes.size());
}

/// Runs of tags: what most planes are made of.
Bytes readTagPlane(Input& in) {
  Bytes tags;
  while (!in.empty() && tags.size() < 40'000) {
    const std::uint8_t what = in.byte();
    const std::size_t count = (what & 0x80) != 0 ? in.word16() : what >> 3 & 15;
    tags.insert(tags.end(), count, what & 7);
  }
  return tags;
}

/// True when the job reader, too, finds exactly these packed bytes.
bool isReadAs(const Bytes& stream, const Bytes& packed) {
  job::ByteSource source(stream);
  job::BlockReader block(source, stream.size());
  Bytes read;
  job::readTags(block, packed.size(),
                [&read](std::uint8_t byte, std::uint64_t count) { read.insert(read.end(), count, byte); });
  return read == packed;
}

void encode(Input& in) {
  const std::uint32_t smallCapacity = in.word16();
  const Bytes tags = readTagPlane(in);
  Bytes stream(2 * tags.size());
  stream.resize(tbrle_encode(sizeOf(stream), stream.data(), sizeOf(tags), tags.data()));
  const bool good =
      !tags.empty() && tags.size() % 4 == 0 && std::ranges::all_of(tags, [](auto tag) { return tag <= 4; });
  require(good == !stream.empty());
  fuzz::note(stream);

  Bytes small(smallCapacity);
  small.resize(tbrle_encode(sizeOf(small), small.data(), sizeOf(tags), tags.data()));
  require(small.empty() || small == stream);
  if (!good) return;
  Bytes packed(tags.size() / 4);
  require(tbrle_decode(sizeOf(packed), packed.data(), sizeOf(stream), stream.data(), sizeOf(packed), sizeOf(packed)) ==
          packed.size());
  require(isReadAs(stream, packed));
  fuzz::note(packed);
}

void decode(Input& in) {
  const std::uint32_t outSize = in.word16();
  const std::uint32_t lineWidth = in.number(0, 300);
  const std::uint32_t stride = lineWidth + in.byte() - 2;
  const Bytes stream = in.rest();
  Bytes out(outSize);
  const std::uint32_t end = tbrle_decode(outSize, out.data(), sizeOf(stream), stream.data(), lineWidth, stride);
  require(end <= outSize);
  if (end > 0) fuzz::note(out);
  fuzz::note(end);
}

void encodePattern(Input& in) {
  const std::uint32_t pattern = in.number(0, 4);
  Bytes run(in.byte());
  run.resize(encode_pattern(run.data(), sizeOf(run), pattern, in.word32() & 0x7FFF));
  fuzz::note(run);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in(data, size);
  switch (in.byte() % 3) {
    case 0:
      encode(in);
      break;
    case 1:
      decode(in);
      break;
    default:
      encodePattern(in);
  }
  return 0;
}
