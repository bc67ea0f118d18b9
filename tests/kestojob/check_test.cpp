// The judgement of whole jobs: good ones, and every way in which a byte can be wrong.
#include <sstream>

#include <gtest/gtest.h>

#include "kestojob/reader/fault.h"
#include "kestojob/reader/jobcheck.h"
#include "kestojob/reader/lister.h"
#include "kestojob/samplejob.h"
#include "support/jobparser.h"

namespace kesto::test {
namespace {

TEST(Check, FindsGoodJobsGood) {
  const SampleChoices choices[] = {
      {},
      {.usb = true},
      {.color = false, .band = GREY_WHITE},
      {.color = false, .usb = true, .pages = 1, .band = GREY_BLACK},
      {.pages = 0, .resolution = "0", .units = "00 00"},
      {.title = "Gr\xC3\xBC\xC3\x9F\x65 \"quoted\" \xFF"},
  };
  for (const SampleChoices& choice : choices) EXPECT_EQ(faultOf(SampleJob(choice).bytes()), "");

  const job::JobSummary summary = job::checkJob(SampleJob().bytes());
  EXPECT_EQ(summary.pages, 2u);
  EXPECT_EQ(summary.strips, 4u);
  EXPECT_EQ(summary.bytes, SampleJob().bytes().size());
}

TEST(Check, AcceptsATitleThatWasCutAtTheLongestLine) {
  const Bytes job = SampleJob({.pages = 0, .title = std::string(2029, 't')}).bytes();
  // The line's end was cut off: 18 bytes of "@PJL SET JOBNAME=" and quote, 2029 of title.
  EXPECT_EQ(faultOf(replacedText(job, "t\"\n", "t")), "");
  EXPECT_NE(faultOf(replacedText(job, "tt\"\n", "t")), "") << "one byte too early";
}

/// Changes that take more than a byte, and what is said of them.
TEST(Check, NamesTheFirstFaultAndItsOffset) {
  const Bytes job = SampleJob().bytes();
  const Bytes usb = SampleJob({.usb = true}).bytes();
  const auto at = [&job](std::string_view hexText, std::size_t occurrence = 0) {
    std::size_t offset = findBytes(job, hexText);
    for (; occurrence > 0; --occurrence) offset = findBytes(job, hexText, offset + 1);
    return "offset " + std::to_string(offset);
  };
  const auto atText = [&job](std::string_view text, std::size_t behind) {
    return "offset " + std::to_string(findBytes(job, hex(Bytes(text.begin(), text.end()))) + behind);
  };
  const std::string end = "offset " + std::to_string(job.size());
  const std::string secondStrip = "D3 00 00 00 01 F8 4C 6B";
  struct Case {
    Bytes job;
    std::string fault;
  };
  const Case cases[] = {
      {{}, "offset 0: The job is empty."},
      {replacedHex(usb, "A5 00 0D 50 E0 73 03 08 00 00 01 00 00 00 00 00", ""), "offset 56: An NPA packet is missing."},
      {replacedText(job, "@PJL SET LCTPREFERENCE=IMAGE\n", ""),
       atText("@PJL SET LCTPREFERENCE", 0) +
           ": The PJL line \"@PJL SET LIMAGEBRIGHTNESS=0\" is not the line @PJL SET LCTPREFERENCE that belongs "
           "here."},
      {replacedText(job, "LSHARPEN=ON", "LSHARPEN=INVALIDOPTION"),
       atText("LSHARPEN=", 9) + ": The PJL line @PJL SET LSHARPEN has the unknown value \"INVALIDOPTION\"."},
      {replacedText(job, "DUPLEX=ON", "DUPLEX=OFF"), atText("BINDING=", 9) + ": A one-sided job has a BINDING."},
      {replacedText(job, "=PCLXL\n", "=POSTSCRIPT\n"),
       atText("@PJL ENTER", 0) + ": The job goes on in POSTSCRIPT, which is not read here."},
      {replacedHex(job, "C0 00 F8 86 C0 03 F8 8F", "C0 03 F8 8F C0 00 F8 86"),
       at("C0 00 F8 86") + ": BeginSession has ErrorReport where Measure belongs."},
      {replacedHex(job, "C1 10 00 F8 6C", ""), at("C1 10 00 F8 6C") + ": BeginImage has SourceHeight where SourceWidth "
                                                                      "belongs."},
      {replacedHex(job, "C1 10 00 F8 6C", "C2 10 00 00 00 F8 6C"),
       at("C1 10 00 F8 6C") + ": SourceWidth is a uint32, not a uint16."},
      {replacedHex(job, "C1 06 00 F8 F6", ""), at("C1 06 00 F8 F6") + ": BeginImage lacks attribute0xF6."},
      {replacedHex(job, "D3 64 00 64 00 F8 2A 75", ""),
       "offset " + std::to_string(findBytes(job, "D3 64 00 64 00 F8 2A 75") + 11) +
           ": SetPageScale stands where SetPageOrigin belongs."},
      {replacedHex(job, secondStrip, "D3 00 00 08 01 F8 4C 6B"),
       at(secondStrip) + ": Point is (0, 264) where (0, 256) belongs."},
      {replacedHex(job, "C0 00 F8 25", "C0 04 F8 25"), at("C0 00 F8 25") + ": MediaSize 4 is no known paper."},
      {replacedHex(job, "C0 00 F8 25", ""), at("C0 00 F8 28") + ": The page has no size."},
      {replacedHex(job, "C0 04 F8 26", "C0 05 F8 26"),
       at("C0 04 F8 26", 1) + ": MediaSource is not as on the first page."},
      {replacedHex(job, "49 42 1B", "49 42 43 1B"),
       "offset " + std::to_string(job.size() - 44) + ": Here belongs the end of job."},
      {replacedText(job, "LPORTROTATE\n", "LPORTROTAT\n"),
       "offset " + std::to_string(job.size() - 26) + ": The line \"@PJL LPORTROTAT\" is not part of the end of job."},
  };
  for (const Case& c : cases) EXPECT_EQ(faultOf(c.job), c.fault);

  Bytes longer = job;
  longer.push_back('\n');
  EXPECT_EQ(faultOf(longer), end + ": There are bytes behind the end of the job.");
  longer.insert(longer.end(), job.begin(), job.end());
  EXPECT_EQ(faultOf(longer), end + ": There are bytes behind the end of the job.");
}

TEST(Check, NamesWhatIsWrongWithAStripsData) {
  const Bytes job = SampleJob({.pages = 1}).bytes();
  const std::size_t data = findBytes(job, "FF 2B");
  const auto expect = [&](const Bytes& bad, std::size_t offset, const std::string& sentence) {
    EXPECT_EQ(faultOf(bad), "offset " + std::to_string(data + offset) + ": " + sentence);
  };
  const auto longer = [&job](const char* from, const char* to) {
    return replacedHex(replacedHex(job, "FA E2 00 00 00", "FA E3 00 00 00"), from, to);
  };
  const char secondBand[] = "FF D0 FE FE 28 A0 0F";
  expect(replacedHex(job, "FF 2B", "FE FE"), 0, "The strip's image data do not begin with a quantiser-select marker.");
  expect(replacedHex(job, secondBand, "FF D1 FE FE 28 A0 0F"), 7,
         "The marker 0xD1 stands where the restart marker 0xD0 of band 1 belongs.");
  expect(replacedHex(job, secondBand, "FF 2B FE FE 28 A0 0F"), 7,
         "The marker 0x2B stands where the restart marker 0xD0 of band 1 belongs.");
  expect(longer(secondBand, "FF FF D0 FE FE 28 A0 0F"), 7,
         "The marker 0xFF stands where the restart marker 0xD0 of band 1 belongs.");
  expect(longer(secondBand, "FF D0 FE FE 28 A0 0F FF"), 14,
         "The marker 0xFF stands where the restart marker 0xD1 of band 2 belongs.");
  expect(longer(secondBand, "0F FF D0 FE FE 28 A0 0F"), 7, "The image data of a band go on behind its last unit.");
  expect(replacedHex(job, secondBand, "FF D0 FE FE 28 A0 0B"), 13, "The last byte of a band is not padded with ones.");
  expect(replacedHex(job, secondBand, "FF D0 FE FE 28 A8 FF"), 13,
         "The marker 0xFF stands where the restart marker 0xD1 of band 2 belongs.");
  expect(replacedHex(replacedHex(job, "FA E2 00 00 00", "FA E1 00 00 00"), secondBand, "FF D0 FE FE 28 A0"), 13,
         "The image data of a band end before its last unit.");
  expect(longer("FF D7 C1", "FF D7 00 C1"), 226, "The strip's image data go on behind its last band.");
  expect(replacedHex(job, "FA E2 00 00 00", "FA E1 00 00 00"), 225, "The data block ends within a marker.");
}

TEST(Check, NamesWhatIsWrongWithATagPlane) {
  const Bytes job = SampleJob({.pages = 1}).bytes();  // the first strip has 1024 packed bytes of tags
  const std::string lone = "FA 01 00 00 00 FF";
  const std::size_t tags = findBytes(job, lone) + 5;
  const auto fault = [&](const char* block) { return faultOf(replacedHex(job, lone, block)); };
  const auto at = [tags](std::size_t offset) { return "offset " + std::to_string(tags + offset) + ": "; };
  EXPECT_EQ(fault("FA 02 00 00 00 F9 80").substr(0, at(1).size()), at(1)) << "1024 and 1";
  EXPECT_EQ(fault("FA 01 00 00 00 F9"), at(0) + "The lone byte of the tag plane is not four pixels of one tag.");
  EXPECT_EQ(fault("FA 02 00 00 00 F8 B8"), "") << "512 of FF, 512 of 55";
  EXPECT_EQ(fault("FA 04 00 00 00 F8 F6 EE E7"), "") << "512, 448, 56 and 8";
  EXPECT_EQ(fault("FA 06 00 00 00 F8 F6 EE E6 00 39"), "") << "a literal last";
  EXPECT_EQ(fault("FA 06 00 00 00 F8 F6 EE E6 01 39"), at(6) + "The data block ends within a run of literal tags.");
  EXPECT_EQ(fault("FA 05 00 00 00 F8 F6 EE E6 E0"), "") << "a run in two bytes";
  EXPECT_EQ(fault("FA 04 00 00 00 F8 F6 EE E6"), at(4) + "The tag plane has fewer tags than the strip has pixels.");
  EXPECT_EQ(fault("FA 00 00 00 00"), at(0) + "The tag plane has fewer tags than the strip has pixels.");
}

/// What `list` does with a job: it may stop with a fault, but it has to stop.
void listAll(const Bytes& bytes) {
  std::ostringstream out;
  for (const auto& writer : {job::makeTextWriter(out), job::makeJsonWriter(out)}) {
    job::ByteSource source(bytes);
    try {
      job::listJob(source, *writer);
    } catch (const job::Fault& fault) {
      EXPECT_LE(fault.offset(), bytes.size());
    }
  }
}

TEST(Check, ObjectsToATruncationAtEveryByte) {
  for (const bool usb : {false, true}) {
    const Bytes job = SampleJob({.usb = usb, .pages = 1}).bytes();
    for (std::size_t length = 0; length < job.size(); ++length) {
      const Bytes part(job.begin(), job.begin() + static_cast<std::ptrdiff_t>(length));
      EXPECT_NE(faultOf(part), "") << length;
      listAll(part);
    }
  }
}

/// Values that a byte is changed to: each bit turned, and what means something somewhere in a job.
std::vector<std::uint8_t> changesOf(std::uint8_t value) {
  std::vector<std::uint8_t> changes = {0x00, 0x01, 0x0A, 0x1B, '0',  '9',  '-',  'A',  0x2B, 0x2C,
                                       0x55, 0x7F, 0xAA, 0xC0, 0xC1, 0xD0, 0xD3, 0xF8, 0xFA, 0xFF};
  for (int bit = 0; bit < 8; ++bit) changes.push_back(static_cast<std::uint8_t>(value ^ (1U << bit)));
  std::erase(changes, value);
  return changes;
}

/// Changes every byte outside of entropy-coded data and expects an objection, unless the byte has the freedom to be so.
void expectObjections(const SampleJob& sample) {
  Bytes job = sample.bytes();
  for (std::size_t i = 0; i < job.size(); ++i) {
    const Freedom& freedom = *sample.freedoms()[i];
    if (freedom.accepts == nullptr) continue;
    const std::uint8_t good = job[i];
    for (const std::uint8_t value : changesOf(good)) {
      job[i] = value;
      EXPECT_EQ(faultOf(job).empty(), freedom.accepts(value))
          << "byte " << i << " from " << int{good} << " to " << int{value} << ' ' << freedom.reason << faultOf(job);
    }
    job[i] = good;
  }
}

TEST(Check, ObjectsToEveryByteThatIsChanged) {
  expectObjections(SampleJob({.usb = true}));
  expectObjections(SampleJob({.pages = 1, .custom = true, .tall = false}));
  expectObjections(SampleJob({.color = false, .pages = 1, .tall = false, .band = GREY_WHITE}));
}

TEST(Check, BelievesNoLength) {
  const Bytes job = SampleJob().bytes();
  const Bytes cases[] = {
      replacedHex(job, "FA E2 00 00 00", "FA FF FF FF FF"),
      replacedHex(job, "FA 01 00 00 00 FF", "FA FF FF FF FF FF"),
      replacedHex(job, "C8 C0 05 50", "C8 C1 FF FF 50"),
      replacedHex(job, "C1 10 00 F8 6C", "C1 F0 FF F8 6C"),
      replacedHex(SampleJob({.usb = true}).bytes(), "A5 00 10", "A5 FF FF"),
  };
  for (const Bytes& bad : cases) {
    EXPECT_NE(faultOf(bad), "");
    listAll(bad);
  }
  // A tag plane that would expand to 2^32 pixels and more, 4096 packed bytes from each byte.
  Bytes endless = replacedHex(job, "FA 01 00 00 00 FF", "FA FF FF FF FF");
  endless.insert(endless.begin() + static_cast<std::ptrdiff_t>(findBytes(endless, "FA FF FF FF FF") + 5), 1 << 20,
                 0xFF);
  EXPECT_NE(faultOf(endless).find("The tag plane has more tags"), std::string::npos);
  // Attributes without end.
  Bytes attributes = job;
  const std::size_t page = findBytes(job, "C0 00 F8 28");
  for (int i = 0; i < 1000; ++i) {
    const Bytes attribute = unhex("C0 00 F8 28");
    attributes.insert(attributes.begin() + static_cast<std::ptrdiff_t>(page), attribute.begin(), attribute.end());
  }
  EXPECT_NE(faultOf(attributes).find("A list of attributes does not end."), std::string::npos);
}

TEST(Check, RefusesWhatIsNoJob) {
  const std::string_view others[] = {
      "%PDF-1.4\n",
      "%!PS-Adobe-3.0\n",
      "\x1B"
      "E\x1B*t300R",
      ") HP-PCL XL;2;1;no PJL\n",
      "@PJL",
      "\n",
      "\x1B%-12345X@PJL ENTER LANGUAGE=PCL\n",
      "\xA5",
      "\xA5\xFF\xFF",
  };
  for (const std::string_view other : others) {
    const Bytes bytes(other.begin(), other.end());
    EXPECT_NE(faultOf(bytes), "") << other;
    listAll(bytes);
  }
}

}  // namespace
}  // namespace kesto::test
