#include "kestojob/reader/jobcheck.h"

#include <algorithm>
#include <string>

#include "kestojob/reader/fault.h"
#include "kestojob/reader/npapackets.h"
#include "kestojob/reader/wicketblock.h"

namespace kesto::job {
namespace {

constexpr std::string_view STREAM_HEADER_START = ") HP-PCL XL;2;1;";
constexpr std::size_t STREAM_HEADER_LENGTH = 63;  // without its line feed

PixelForm formOf(const PageSink* sink) {
  return sink == nullptr ? UNSEEN : sink->form();
}

void checkNpaPacket(const NpaPacket& packet, std::size_t index) {
  if (index >= START_REQUESTS.size()) throw Fault(packet.offset, "There are more NPA packets than a job begins with.");
  const NpaRequest& request = START_REQUESTS[index];
  const auto [ours, theirs] = std::ranges::mismatch(packet.bytes, request.bytes);
  if (ours == packet.bytes.end() && theirs == request.bytes.end()) return;
  throw Fault(packet.offset + static_cast<std::uint64_t>(ours - packet.bytes.begin()),
              "The NPA packet is not the request \"" + std::string(request.name) + "\" that belongs here.");
}

void checkStreamHeader(const StreamHeader& header) {
  if (!header.text.starts_with(STREAM_HEADER_START)) {
    throw Fault(header.offset, "The stream header is not that of PCL XL 2.1 with low bytes first.");
  }
  if (header.text.size() != STREAM_HEADER_LENGTH) {
    throw Fault(header.offset, "The stream header has " + std::to_string(header.text.size() + 1) + " bytes, not 64.");
  }
  const auto odd = std::ranges::find_if(header.text, [](char c) { return c < ' ' || c > '~'; });
  if (odd != header.text.end()) {
    throw Fault(header.offset + static_cast<std::uint64_t>(odd - header.text.begin()),
                "The stream header holds a byte that is no character.");
  }
}

[[noreturn]] void failBehindEnd(const ByteSource& source) {
  throw Fault(source.offset(), "There are bytes behind the end of the job.");
}

std::uint64_t offsetOf(const Element& element) {
  return std::visit([](const auto& e) { return e.offset; }, element);
}

template <class Kind>
const Kind& expect(const Element& element, const char* what) {
  if (const Kind* kind = std::get_if<Kind>(&element)) return *kind;
  throw Fault(offsetOf(element), std::string("Here belongs ") + what + '.');
}

}  // namespace

JobCheck::JobCheck(ByteSource& source, PageSink* sink)
    : source_(source),
      sink_(sink == nullptr ? &noSink_ : sink),
      elements_(source),
      entropy_(tables_),
      decoder_(tables_, formOf(sink)) {}

Element JobCheck::nextElement(const char* what) {
  auto element = elements_.next();
  if (!element) throw Fault(source_.offset(), std::string("The job ends where ") + what + " belongs.");
  return std::move(*element);
}

void JobCheck::checkStart() {
  if (source_.atEnd()) throw Fault(source_.offset(), "The job is empty.");
  std::size_t packets = 0;
  for (bool last = false; !last;) {
    const Element element = nextElement("the PJL header");
    if (const auto* packet = std::get_if<NpaPacket>(&element)) {
      checkNpaPacket(*packet, packets++);
      continue;
    }
    const PjlLine& line = expect<PjlLine>(element, "the PJL header");
    if (packets != 0 && packets != START_REQUESTS.size()) throw Fault(line.offset, "An NPA packet is missing.");
    last = header_.take(line);
  }
  rules_.setPjl(header_.facts());
  checkStreamHeader(expect<StreamHeader>(nextElement("the PCL XL stream header"), "the PCL XL stream header"));
}

void JobCheck::checkSession() {
  SessionGrammar grammar;
  while (!grammar.complete()) {
    const Element element = nextElement("the session's end");
    const auto& op = expect<Operator>(element, "an operator");
    const Step step = grammar.take(op);
    rules_.take(step, op);
    carryOut(step);
  }
}

void JobCheck::carryOut(Step step) {
  switch (step) {
    case Step::SET_ROP:  // the last of a page's setup
      return sink_->beginPage(rules_.layout());
    case Step::BEGIN_IMAGE:
      return sink_->beginStrip(rules_.strip());
    case Step::READ_WICKET:
    case Step::READ_TAGS:
      return readImageData(step);
    case Step::END_PAGE:
      return sink_->endPage();
    default:
      return;
  }
}

void JobCheck::readImageData(Step step) {
  const Element element = nextElement("image data");
  const auto& data = expect<DataBlock>(element, "the length of image data");
  BlockReader block(source_, data.length);
  if (step == Step::READ_WICKET) return readWicket(block);
  const StripShape& strip = rules_.strip();
  const std::uint64_t packed = std::uint64_t{strip.width} * strip.height / 4;
  sink_->endStrip(readTags(block, packed, [this](std::uint8_t byte, std::uint64_t n) { sink_->tags(byte, n); }));
}

void JobCheck::readWicket(BlockReader& block) {
  const StripShape& strip = rules_.strip();
  BandShape shape{strip.width, rules_.layout().color, false};
  const unsigned units = strip.width / (shape.color ? 16 : 8);
  WicketBlockReader reader(block, EntropyCheck::longestBand(units, shape.color));
  shape.scaled = reader.readSelect();
  for (unsigned line = 0; line < strip.height; line += BAND_LINES) {
    const BandData band = reader.readBand();
    entropy_.check(band.bytes, units, shape.color, band.offset);
    try {
      sink_->rows(decoder_.decode(shape, band.bytes), decoder_.rowBytes(shape));
    } catch (const BandDecoder::Error& error) {
      throw Fault(band.offset, std::string("libjpeg does not decode a band: ") + error.what() + '.');
    }
  }
  reader.finish();
}

void JobCheck::checkEnd() {
  PjlEndRules end;
  while (!end.take(expect<PjlLine>(nextElement("the end of job"), "the end of job"))) {
  }
  if (!source_.atEnd()) failBehindEnd(source_);
}

JobSummary JobCheck::run() {
  checkStart();
  checkSession();
  checkEnd();
  return {rules_.pages(), rules_.strips(), source_.offset() - source_.jobStart()};
}

JobSummary checkJob(std::span<const std::uint8_t> bytes, PageSink* sink) {
  ByteSource source(bytes);
  const JobSummary summary = JobCheck(source, sink).run();
  if (source.nextJob()) failBehindEnd(source);
  return summary;
}

}  // namespace kesto::job
