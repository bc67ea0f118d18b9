#include "printerapp/documents.h"

#include <cstdio>
#include <cstdlib>

#include <cups/pwg.h>
#include <jpeglib.h>
#include <png.h>

namespace kesto::test {

std::string rasterOf(const Sheets& sheets) {
  std::string bytes;
  const auto append = [](void* context, unsigned char* data, std::size_t size) -> ssize_t {
    static_cast<std::string*>(context)->append(reinterpret_cast<const char*>(data), size);
    return static_cast<ssize_t>(size);
  };
  cups_raster_t* const raster = cupsRasterOpenIO(append, &bytes, sheets.mode);
  for (std::size_t page = 0; page < sheets.greys.size(); ++page) {
    cups_page_header2_t header;
    cupsRasterInitPWGHeader(&header, pwgMediaForPWG(sheets.media), sheets.type, sheets.resolution, sheets.resolution,
                            "one-sided", "normal");
    if (sheets.change) sheets.change(header, page);
    cupsRasterWriteHeader2(raster, &header);
    for (unsigned y = 0; y < header.cupsHeight && y < 20000; ++y) {
      std::vector<unsigned char> line(header.cupsBytesPerLine, static_cast<unsigned char>(sheets.greys[page]));
      if (sheets.draw) sheets.draw(line, y);
      cupsRasterWritePixels(raster, line.data(), header.cupsBytesPerLine);
    }
  }
  cupsRasterClose(raster);
  return bytes;
}

std::string jpegOf(unsigned width, unsigned height, int grey, unsigned density) {
  jpeg_compress_struct image = {};
  jpeg_error_mgr errors;
  image.err = jpeg_std_error(&errors);
  jpeg_create_compress(&image);
  unsigned char* bytes = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&image, &bytes, &size);
  image.image_width = width;
  image.image_height = height;
  image.input_components = 1;
  image.in_color_space = JCS_GRAYSCALE;
  jpeg_set_defaults(&image);
  image.density_unit = density != 0 ? 1 : 0;
  image.X_density = image.Y_density = static_cast<UINT16>(density != 0 ? density : 1);
  jpeg_start_compress(&image, TRUE);
  std::vector<JSAMPLE> line(width, static_cast<JSAMPLE>(grey));
  JSAMPROW row = line.data();
  while (image.next_scanline < height) jpeg_write_scanlines(&image, &row, 1);
  jpeg_finish_compress(&image);
  jpeg_destroy_compress(&image);
  std::string text(reinterpret_cast<const char*>(bytes), size);
  std::free(bytes);
  return text;
}

std::string pngOf(unsigned width, unsigned height, int grey) {
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  image.width = width;
  image.height = height;
  image.format = PNG_FORMAT_GRAY;
  const std::vector<png_byte> pixels(std::size_t{width} * height, static_cast<png_byte>(grey));
  png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
  std::string bytes(size, '\0');
  png_image_write_to_memory(&image, bytes.data(), &size, 0, pixels.data(), 0, nullptr);
  bytes.resize(size);
  return bytes;
}

}  // namespace kesto::test
