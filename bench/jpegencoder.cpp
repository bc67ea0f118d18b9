#include "jpegencoder.h"

#include <array>
#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

namespace kesto::bench {
namespace {

constexpr std::size_t BUFFER_SIZE = 65536;
constexpr int ROWS_AT_ONCE = 8;

/// A destination that counts what it gets, and keeps it where there is a place.
struct CountingDestination : jpeg_destination_mgr {
  std::array<JOCTET, BUFFER_SIZE> buffer;
  std::size_t total = 0;
  Bytes* kept = nullptr;

  void take(std::size_t count) {
    total += count;
    if (kept != nullptr) kept->insert(kept->end(), buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(count));
    next_output_byte = buffer.data();
    free_in_buffer = buffer.size();
  }
};

CountingDestination& destinationOf(j_compress_ptr info) {
  return *static_cast<CountingDestination*>(info->dest);
}

}  // namespace

struct JpegEncoder::State {
  jpeg_compress_struct info = {};
  jpeg_error_mgr errors = {};
  CountingDestination destination = {};

  void start(std::size_t width, std::size_t height, int channels) {
    info.image_width = static_cast<JDIMENSION>(width);
    info.image_height = static_cast<JDIMENSION>(height);
    info.input_components = channels;
    info.in_color_space = channels == 1 ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&info);
    info.dct_method = JDCT_ISLOW;
    info.restart_in_rows = 1;
    if (channels == 1) return;
    info.comp_info[0].h_samp_factor = 2;
    info.comp_info[0].v_samp_factor = 1;
  }

  void useTablesOfOnes() {
    std::array<unsigned, DCTSIZE2> ones{};
    ones.fill(1);
    for (int table = 0; table < 2; ++table) jpeg_add_quant_table(&info, table, ones.data(), 100, TRUE);
  }

  void writeRows(const Bytes& pixels) {
    jpeg_start_compress(&info, TRUE);
    const std::size_t stride = std::size_t{info.image_width} * static_cast<std::size_t>(info.input_components);
    while (info.next_scanline < info.image_height) {
      std::array<JSAMPROW, ROWS_AT_ONCE> rows{};
      for (std::size_t i = 0; i < rows.size(); ++i) {
        // The library reads its rows only, but asks for pointers that could write.
        rows[i] = const_cast<JSAMPROW>(&pixels[(info.next_scanline + i) * stride]);
      }
      jpeg_write_scanlines(&info, rows.data(), ROWS_AT_ONCE);
    }
    jpeg_finish_compress(&info);
  }
};

JpegEncoder::JpegEncoder() : state_(std::make_unique<State>()) {
  state_->info.err = jpeg_std_error(&state_->errors);
  jpeg_create_compress(&state_->info);
  state_->info.dest = &state_->destination;
  state_->destination.init_destination = [](j_compress_ptr info) {
    destinationOf(info).total = 0;
    destinationOf(info).take(0);
  };
  state_->destination.empty_output_buffer = [](j_compress_ptr info) -> boolean {
    destinationOf(info).take(BUFFER_SIZE);
    return TRUE;
  };
  state_->destination.term_destination = [](j_compress_ptr info) {
    destinationOf(info).take(BUFFER_SIZE - info->dest->free_in_buffer);
  };
}

JpegEncoder::~JpegEncoder() {
  jpeg_destroy_compress(&state_->info);
}

std::size_t JpegEncoder::encode(const Bytes& pixels, std::size_t width, int channels) {
  state_->destination.kept = nullptr;
  state_->start(width, pixels.size() / width / static_cast<std::size_t>(channels), channels);
  state_->useTablesOfOnes();
  state_->writeRows(pixels);
  return state_->destination.total;
}

Bytes JpegEncoder::encodeFile(const Bytes& rgb, std::size_t width, int quality) {
  Bytes file;
  state_->destination.kept = &file;
  state_->start(width, rgb.size() / width / 3, 3);
  jpeg_set_quality(&state_->info, quality, TRUE);
  state_->writeRows(rgb);
  return file;
}

}  // namespace kesto::bench
