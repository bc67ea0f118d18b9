#include "kestojob/reader/wicketcode.h"

#include <algorithm>
#include <cstdio>

#include <jpeglib.h>

namespace kesto::job {
namespace {

HuffmanSpec specOf(const JHUFF_TBL& table) {
  HuffmanSpec spec;
  std::ranges::copy(table.bits, spec.counts.begin());
  std::ranges::copy(table.huffval, spec.symbols.begin());
  return spec;
}

Quantizers quantizersOf(const JQUANT_TBL& table) {
  Quantizers quantizers;
  std::ranges::copy(table.quantval, quantizers.begin());
  return quantizers;
}

}  // namespace

WicketTables standardTables() {
  jpeg_error_mgr errors;
  jpeg_compress_struct info;
  info.err = jpeg_std_error(&errors);
  jpeg_create_compress(&info);
  info.in_color_space = JCS_YCbCr;
  info.input_components = 3;
  jpeg_set_defaults(&info);
  jpeg_set_quality(&info, SCALED_QUALITY, TRUE);
  WicketTables tables;
  for (std::size_t i = 0; i < 2; ++i) {
    tables.dc[i] = specOf(*info.dc_huff_tbl_ptrs[i]);
    tables.ac[i] = specOf(*info.ac_huff_tbl_ptrs[i]);
    tables.scaled[i] = quantizersOf(*info.quant_tbl_ptrs[i]);
  }
  jpeg_destroy_compress(&info);
  return tables;
}

}  // namespace kesto::job
