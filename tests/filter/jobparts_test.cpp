// The steps of the job that stand alone: device URI, pixel formats, mirroring.
#include <numeric>

#include <gtest/gtest.h>

#include "filter/device.h"
#include "filter/document/pdfinspector-linux.h"
#include "filter/document/pixelformat.h"
#include "filter/strips/strips.h"
#include "filter/util.h"

namespace kesto {
namespace {

using Bytes = std::vector<std::uint8_t>;

TEST(DeviceUri, DecidesConnectivityAndAddress) {
  struct Case {
    const char* uri;
    const char* connectivity;
    std::optional<std::string> address;
  };
  const Case cases[] = {
      {"usb://Kesto/Page?serial=1", "USB", {}},
      {"socket://10.0.0.1/usb://x", "USB", {}},
      {"socket://192.168.0.9:9100", "NETWORK", "192.168.0.9"},
      {"socket://192.168.0.9", "NETWORK", "192.168.0.9"},
      {"socket://", "NETWORK", ""},
      {"lpd://printer.local/queue", "BONJOUR", "printer.local"},
      {"ipp://printer:631/ipp/print", "BONJOUR", "printer:631"},
      {"ipp://printer", "BONJOUR", "printer"},
      {"dnssd://Kesto._ipp._tcp.local/", "BONJOUR", {}},
      {"", "BONJOUR", {}},
  };
  for (const Case& c : cases) {
    const Device device = parseDeviceUri(c.uri);
    EXPECT_STREQ(device.connectivity, c.connectivity) << c.uri;
    EXPECT_EQ(device.address, c.address) << c.uri;
  }
}

TEST(PixelFormat, BringsEveryRasterFormatIntoTheJobsForm) {
  const auto convert = [](cups_cspace_t space, unsigned bits, const Bytes& source, PixelFormat to, std::size_t size) {
    Bytes line(size, 0x55);
    convertPixels(*findRasterFormat(space, bits), source, to, line);
    return line;
  };
  const Bytes rgb = {255, 0, 0, 0, 255, 0, 255, 255, 255};
  EXPECT_EQ(convert(CUPS_CSPACE_RGB, 24, rgb, PixelFormat::RGB, 9), rgb);
  EXPECT_EQ(convert(CUPS_CSPACE_RGB, 24, rgb, PixelFormat::GREY, 4), (Bytes{76, 149, 255, 255})) << "padded white";
  EXPECT_EQ(convert(CUPS_CSPACE_RGB, 24, rgb, PixelFormat::RGB, 6), (Bytes{255, 0, 0, 0, 255, 0})) << "cut";
  EXPECT_EQ(convert(CUPS_CSPACE_SW, 8, {0, 9}, PixelFormat::RGB, 9), (Bytes{0, 0, 0, 9, 9, 9, 255, 255, 255}));
  EXPECT_EQ(convert(CUPS_CSPACE_K, 8, {0, 255, 3}, PixelFormat::GREY, 3), (Bytes{255, 0, 252}));
  EXPECT_EQ(convert(CUPS_CSPACE_CMY, 24, {255, 0, 0}, PixelFormat::RGB, 6), (Bytes{0, 255, 255, 255, 255, 255}));
  EXPECT_FALSE(isStoredAs(*findRasterFormat(CUPS_CSPACE_CMY, 24), PixelFormat::RGB));
  EXPECT_FALSE(isStoredAs(*findRasterFormat(CUPS_CSPACE_SW, 8), PixelFormat::RGB));
  EXPECT_TRUE(isStoredAs(*findRasterFormat(CUPS_CSPACE_SRGB, 24), PixelFormat::RGB));
  EXPECT_EQ(findRasterFormat(CUPS_CSPACE_CMYK, 24), nullptr);
  EXPECT_EQ(findRasterFormat(CUPS_CSPACE_RGB, 48), nullptr);
}

TEST(Mirror, ReversesPixelsAndKeepsTheirBytes) {
  const auto mirrored = [](Bytes bytes, std::int32_t start, std::int32_t end, std::uint32_t size) {
    implement_mirorr_on(bytes.data(), start, end, size);
    return bytes;
  };
  EXPECT_EQ(mirrored({1, 2, 3, 4, 5, 6, 7, 8, 9}, 0, 6, 3), (Bytes{7, 8, 9, 4, 5, 6, 1, 2, 3}));
  EXPECT_EQ(mirrored({0, 1, 2, 3, 4, 9}, 1, 4, 1), (Bytes{0, 4, 3, 2, 1, 9}));
  EXPECT_EQ(mirrored({1, 2, 3}, 1, 1, 1), (Bytes{1, 2, 3}));
  EXPECT_EQ(mirrored({1, 2, 3}, 2, 0, 1), (Bytes{1, 2, 3}));
}

TEST(PdfInspector, ReportsSuccessAndDeliversNoPages) {
  std::vector<PdfPage>* list = nullptr;
  EXPECT_TRUE(pdfGetPages("document.pdf", &list));
  EXPECT_EQ(list, nullptr);
  char name[] = "document.pdf";
  process_pdf_thread(name);
  EXPECT_EQ(getTotalPDFPages(), 0);
  pages = new std::vector<PdfPage>(3);
  EXPECT_EQ(getTotalPDFPages(), 3);
  pdfDestroyPages(&pages);
  EXPECT_EQ(pages, nullptr);
}

TEST(SwapFloat, LeavesLittleEndianFloatsAlone) {
  static_assert(std::endian::native != std::endian::little || swapFloat(8.5f) == 8.5f);
  const auto bytes = std::bit_cast<std::array<std::uint8_t, 4>>(swapFloat(1.0f));
  EXPECT_EQ(bytes, (std::array<std::uint8_t, 4>{0x00, 0x00, 0x80, 0x3F}));
}

}  // namespace
}  // namespace kesto
