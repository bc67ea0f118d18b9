// The steps of the job that stand alone. What they make of a job is pinned by the digests of whole jobs.
#include <numeric>

#include <gtest/gtest.h>

#include "codec/tbrle.h"
#include "filter/device.h"
#include "filter/document/pdfinspector-linux.h"
#include "filter/jobstate.h"
#include "filter/strips/imagethread.h"
#include "filter/strips/tagplane.h"

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

TEST(TagPlane, CodesTagsOfAnyKindAsTheWholePlaneIsCoded) {
  TagPlane plane;
  for (const int kinds : {1, 2, 5, 1}) {
    Bytes all;
    for (int band = 0; band < 6; ++band) {
      Bytes tags(64, 3);
      if (kinds > 1 && band > 2) std::iota(tags.begin(), tags.end(), std::uint8_t{0});
      for (std::uint8_t& tag : tags) tag = static_cast<std::uint8_t>(kinds == 1 ? 3 : tag % kinds);
      plane.append(tags);
      all.insert(all.end(), tags.begin(), tags.end());
    }
    Bytes expected(2 * all.size());
    expected.resize(tbrle_encode(static_cast<std::uint32_t>(expected.size()), expected.data(),
                                 static_cast<std::uint32_t>(all.size()), all.data()));
    EXPECT_TRUE(std::ranges::equal(plane.encode(), expected)) << kinds;
    EXPECT_EQ(plane.size(), all.size());
    plane.clear();
  }
}

TEST(ImageThread, StopsAtOnceHoweverYoungItIs) {
  for (int i = 0; i < 300; ++i) {
    ImageThread thread;
    thread.ensureRunning();
    thread.ensureRunning();
    thread.stop();
    EXPECT_EQ(imageProcessorContext, 0);
  }
  EXPECT_EQ(imageThreadFailure, 0);
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

}  // namespace
}  // namespace kesto
