#include "kestojob/pngwriter.h"

#include <cerrno>
#include <csetjmp>
#include <utility>

#include <png.h>

namespace kesto::job {

/// The libpng objects. libpng leaves a failing call by a long jump, so every call is in a function of its own that
/// holds nothing to be released.
struct PngWriter::Png {
  std::unique_ptr<OutputFile> file;
  png_structp png = nullptr;
  png_infop info = nullptr;

  explicit Png(std::unique_ptr<OutputFile> output) : file(std::move(output)) {}
  Png(const Png&) = delete;
  Png& operator=(const Png&) = delete;
  ~Png() { png_destroy_write_struct(&png, &info); }

  void open() {
    errno = 0;
    // The caller reports what went wrong; libpng's own way out of an error, and its warnings, print a line first.
    const auto leave = [](png_structp structure, png_const_charp) { png_longjmp(structure, 1); };
    png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, leave, [](png_structp, png_const_charp) {});
    if (png != nullptr) info = png_create_info_struct(png);
    if (info == nullptr) file->fail();
  }
  // What libpng calls a user limit guards readers; how large a picture may be is decided before one is begun.
  bool begin(unsigned width, unsigned height, unsigned channels) {
    if (setjmp(png_jmpbuf(png)) != 0) return false;  // NOLINT(cert-err52-cpp)
    png_init_io(png, file->stream());
    png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
    const int color = channels == 3 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY;
    png_set_IHDR(png, info, width, height, 8, color, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    return true;
  }
  bool writeRow(const std::uint8_t* pixels) {
    if (setjmp(png_jmpbuf(png)) != 0) return false;  // NOLINT(cert-err52-cpp)
    png_write_row(png, pixels);
    return true;
  }
  bool end() {
    if (setjmp(png_jmpbuf(png)) != 0) return false;  // NOLINT(cert-err52-cpp)
    png_write_end(png, nullptr);
    return true;
  }
};

PngWriter::PngWriter(std::unique_ptr<OutputFile> file, unsigned width, unsigned height, unsigned channels)
    : png_(std::make_unique<Png>(std::move(file))) {
  png_->open();
  if (!png_->begin(width, height, channels)) png_->file->fail();
}

PngWriter::~PngWriter() = default;

void PngWriter::row(std::span<const std::uint8_t> pixels) {
  errno = 0;
  if (!png_->writeRow(pixels.data())) png_->file->fail();
}

void PngWriter::finish() {
  errno = 0;
  if (!png_->end()) png_->file->fail();
  png_->file->commit();
}

}  // namespace kesto::job
