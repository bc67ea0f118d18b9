#include "documents.h"

#include <array>
#include <sstream>
#include <vector>

#include "fractalnoise.h"
#include "jpegencoder.h"
#include "support/pdf.h"

namespace kesto::bench {
namespace {

// A Letter sheet in points.
constexpr int SHEET_WIDTH = 612;
constexpr int SHEET_HEIGHT = 792;

std::string makeLine(std::uint32_t page, std::uint32_t line) {
  constexpr std::array WORDS{"the", "of",     "sheet", "tray",   "toner",    "margin", "raster", "a",
                             "and", "colour", "page",  "prints", "document", "in",     "which",  "renders"};
  constexpr std::size_t LINE_LENGTH = 84;
  std::string text;
  for (std::uint32_t word = 0; text.size() < LINE_LENGTH; ++word) {
    text += WORDS[hashOf(page, line, word) % WORDS.size()];
    text += ' ';
  }
  return text;
}

std::string makeTextPage(std::uint32_t page) {
  constexpr std::uint32_t LINES = 46;
  constexpr std::uint32_t LINES_IN_A_PARAGRAPH = 7;
  std::ostringstream content;
  content << "BT /F 11 Tf 14 TL 72 720 Td\n";
  for (std::uint32_t line = 0; line < LINES; ++line) {
    if (line % LINES_IN_A_PARAGRAPH != 0) content << '(' << makeLine(page, line) << ") Tj ";
    content << "T*\n";
  }
  content << "ET";
  return content.str();
}

}  // namespace

std::string makeTextDocument(unsigned pages) {
  std::vector<std::string> contents;
  for (unsigned page = 0; page < pages; ++page) contents.push_back(makeTextPage(page));
  return test::pdfOfPages(SHEET_WIDTH, SHEET_HEIGHT, "/Font<</F 3 0 R>>", contents,
                          {"<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>"});
}

std::string makePhotographDocument(unsigned pages) {
  constexpr std::size_t WIDTH = 2544;
  constexpr std::size_t HEIGHT = 3296;
  constexpr int CAMERA_QUALITY = 90;
  const Bytes jpeg = JpegEncoder().encodeFile(makePhotograph(WIDTH, HEIGHT), WIDTH, CAMERA_QUALITY);
  std::ostringstream entries;
  entries << "/Type/XObject/Subtype/Image/ColorSpace/DeviceRGB/BitsPerComponent 8/Filter/DCTDecode/Width " << WIDTH
          << "/Height " << HEIGHT;
  std::ostringstream content;
  content << SHEET_WIDTH << " 0 0 " << SHEET_HEIGHT << " 0 0 cm /I Do";
  return test::pdfOfPages(SHEET_WIDTH, SHEET_HEIGHT, "/XObject<</I 3 0 R>>",
                          std::vector<std::string>(pages, content.str()),
                          {test::streamObject(entries.str(), {jpeg.begin(), jpeg.end()})});
}

std::string makePrinterDescription(unsigned modelNumber) {
  std::ostringstream ppd;
  ppd << "*PPD-Adobe: \"4.3\"\n*FormatVersion: \"4.3\"\n*FileVersion: \"1.0\"\n*LanguageVersion: English\n"
         "*LanguageEncoding: ISOLatin1\n*PCFileName: \"BENCH.PPD\"\n*Manufacturer: \"Bench\"\n*Product: \"(Bench)\"\n"
         "*ModelName: \"Bench Colour\"\n*NickName: \"Bench Colour\"\n*ShortNickName: \"Bench Colour\"\n"
         "*PSVersion: \"(3010.000) 0\"\n*LanguageLevel: \"3\"\n*ColorDevice: True\n*DefaultColorSpace: RGB\n"
         "*cupsModelNumber: "
      << modelNumber << '\n';
  for (const char* option : {"PageSize", "PageRegion"}) {
    ppd << "*OpenUI *" << option << ": PickOne\n*Default" << option << ": Letter\n*" << option
        << " Letter: \"<</PageSize[612 792]>>setpagedevice\"\n*CloseUI: *" << option << '\n';
  }
  ppd << "*DefaultImageableArea: Letter\n*ImageableArea Letter: \"12 12 600 780\"\n"
         "*DefaultPaperDimension: Letter\n*PaperDimension Letter: \"612 792\"\n"
         "*OpenUI *ColorModel: PickOne\n*DefaultColorModel: RGB\n*ColorModel RGB: "
         "\"<</cupsColorOrder 0/cupsColorSpace 1/cupsCompression 10>>setpagedevice\"\n*CloseUI: *ColorModel\n"
         "*OpenUI *Resolution: PickOne\n*DefaultResolution: 600dpi\n";
  for (const unsigned dpi : {150, 300, 600, 1200}) {
    ppd << "*Resolution " << dpi << "dpi: \"<</HWResolution[" << dpi << ' ' << dpi
        << "]/cupsBitsPerColor 8>>setpagedevice\"\n";
  }
  ppd << "*CloseUI: *Resolution\n";
  return ppd.str();
}

}  // namespace kesto::bench
