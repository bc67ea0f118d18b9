#include "kestojob/reader/banddecoder.h"

#include <algorithm>
#include <array>
#include <csetjmp>
#include <cstdio>

#include <jpeglib.h>

namespace kesto::job {
namespace {

/// Slots of the quantisers in the decoder: the scaled ones for luma and chroma, and those of 1.
constexpr int FLAT_SLOT = 2;

void appendWord(std::vector<std::uint8_t>& file, std::size_t word) {
  file.push_back(static_cast<std::uint8_t>(word >> 8));
  file.push_back(static_cast<std::uint8_t>(word & 0xFF));
}

/// The width given to libjpeg, and how many bands lie one below the other in its image. libjpeg takes no more than
/// 65,500 pixels; as the units of a scan follow each other row by row, a wider band is the same data as two or three
/// narrower ones.
unsigned piecesOf(unsigned width, bool color) {
  const unsigned unit = color ? 16 : 8;
  unsigned pieces = 1;
  while (width / pieces > JPEG_MAX_DIMENSION || width / unit % pieces != 0) ++pieces;
  return pieces;
}

}  // namespace

/// The libjpeg object, and its way out of an error: libjpeg's own one ends the process.
struct BandDecoder::Jpeg {
  jpeg_error_mgr errors{};  // first, so that libjpeg's pointer to it is one to the whole
  jpeg_decompress_struct info{};
  std::jmp_buf wayOut{};
  std::array<char, JMSG_LENGTH_MAX> message{};

  Jpeg() {
    info.err = jpeg_std_error(&errors);
    info.client_data = this;
    errors.error_exit = [](j_common_ptr common) {
      Jpeg& jpeg = *static_cast<Jpeg*>(common->client_data);
      common->err->format_message(common, jpeg.message.data());
      std::longjmp(jpeg.wayOut, 1);
    };
    // Treats a warning as an error and stops.
    errors.emit_message = [](j_common_ptr common, int level) {
      if (level < 0) common->err->error_exit(common);
    };
    jpeg_create_decompress(&info);
    info.client_data = this;  // creating has cleared it
  }
  ~Jpeg() { jpeg_destroy_decompress(&info); }
  Jpeg(const Jpeg&) = delete;
  Jpeg& operator=(const Jpeg&) = delete;

  void setTables(const WicketTables& tables) {
    auto* common = reinterpret_cast<j_common_ptr>(&info);  // libjpeg's own way to its base object
    for (std::size_t i = 0; i < 2; ++i) {
      info.quant_tbl_ptrs[i] = jpeg_alloc_quant_table(common);
      std::ranges::copy(tables.scaled[i], info.quant_tbl_ptrs[i]->quantval);
      setHuffman(info.dc_huff_tbl_ptrs[i], tables.dc[i]);
      setHuffman(info.ac_huff_tbl_ptrs[i], tables.ac[i]);
    }
    info.quant_tbl_ptrs[FLAT_SLOT] = jpeg_alloc_quant_table(common);
    std::ranges::fill(info.quant_tbl_ptrs[FLAT_SLOT]->quantval, UINT16{1});
  }

  void setHuffman(JHUFF_TBL*& slot, const HuffmanSpec& spec) {
    slot = jpeg_alloc_huff_table(reinterpret_cast<j_common_ptr>(&info));
    std::ranges::copy(spec.counts, slot->bits);
    std::ranges::copy(spec.symbols, slot->huffval);
  }

  /// Decodes a file into rows of `rowBytes`; rows of the pieces of a wide band come to stand side by side. False after
  /// an error, described in `message`. Holds nothing that a jump out of libjpeg could leak.
  bool decode(std::span<const std::uint8_t> file, PixelForm form, std::span<std::uint8_t> pixels,
              std::size_t rowBytes) {
    if (setjmp(wayOut) != 0) {  // NOLINT(cert-err52-cpp): libjpeg is C, an exception must not cross it
      jpeg_abort_decompress(&info);
      return false;
    }
    jpeg_mem_src(&info, file.data(), file.size());
    jpeg_read_header(&info, TRUE);
    if (info.num_components == 3) info.out_color_space = form.ycbcr ? JCS_YCbCr : JCS_RGB;
    info.do_fancy_upsampling = FALSE;
    info.dct_method = JDCT_ISLOW;
    info.scale_num = 1;
    info.scale_denom = form.divisor;
    jpeg_start_decompress(&info);
    const std::size_t lines = BAND_LINES / form.divisor;
    const std::size_t pieceBytes = std::size_t{info.output_width} * static_cast<std::size_t>(info.output_components);
    while (info.output_scanline < info.output_height) {
      const std::size_t line = info.output_scanline;
      JSAMPROW row = &pixels[line % lines * rowBytes + line / lines * pieceBytes];
      jpeg_read_scanlines(&info, &row, 1);
    }
    jpeg_finish_decompress(&info);
    return true;
  }
};

BandDecoder::BandDecoder(const WicketTables& tables, PixelForm form) : form_(form), jpeg_(std::make_unique<Jpeg>()) {
  jpeg_->setTables(tables);
}

BandDecoder::~BandDecoder() = default;

std::size_t BandDecoder::rowBytes(const BandShape& shape) const {
  return std::size_t{shape.width} / form_.divisor * (shape.color ? 3 : 1);
}

void BandDecoder::writeHeaders(const BandShape& shape) {
  const unsigned pieces = piecesOf(shape.width, shape.color);
  const std::size_t components = shape.color ? 3 : 1;
  file_ = {0xFF, 0xD8, 0xFF, 0xC0};  // SOI, SOF0 (T.81 B.2.2)
  appendWord(file_, 8 + 3 * components);
  file_.push_back(8);  // bits a sample
  appendWord(file_, std::size_t{BAND_LINES} * pieces);
  appendWord(file_, shape.width / pieces);
  file_.push_back(static_cast<std::uint8_t>(components));
  for (std::size_t i = 0; i < components; ++i) {
    const std::uint8_t sampling = shape.color && i == 0 ? 0x21 : 0x11;
    const std::size_t slot = shape.scaled ? std::min<std::size_t>(i, 1) : FLAT_SLOT;
    // Components named 1, 2 and 3 are Y, Cb and Cr even without a JFIF header.
    file_.insert(file_.end(), {static_cast<std::uint8_t>(i + 1), sampling, static_cast<std::uint8_t>(slot)});
  }
  file_.insert(file_.end(), {0xFF, 0xDA});  // SOS (T.81 B.2.3)
  appendWord(file_, 6 + 2 * components);
  file_.push_back(static_cast<std::uint8_t>(components));
  for (std::size_t i = 0; i < components; ++i) {
    file_.insert(file_.end(), {static_cast<std::uint8_t>(i + 1), static_cast<std::uint8_t>(i == 0 ? 0x00 : 0x11)});
  }
  file_.insert(file_.end(), {0x00, 0x3F, 0x00});
  headerSize_ = file_.size();
  shape_ = shape;
}

std::span<const std::uint8_t> BandDecoder::decode(const BandShape& shape, std::span<const std::uint8_t> data) {
  if (headerSize_ == 0 || shape != shape_) writeHeaders(shape);
  file_.resize(headerSize_);
  file_.insert(file_.end(), data.begin(), data.end());
  file_.insert(file_.end(), {0xFF, 0xD9});  // EOI
  pixels_.resize(rowBytes(shape) * (BAND_LINES / form_.divisor));
  if (!jpeg_->decode(file_, form_, pixels_, rowBytes(shape))) throw Error(jpeg_->message.data());
  return pixels_;
}

}  // namespace kesto::job
