// The frame of the PCL XL stream: everything before the first page and after the last one.
#pragma once

#include <cstdint>

namespace kesto {

/// Writes the stream header, BeginSession with `resolution` (dots per inch, its low 16 bits) as the unit of measure,
/// OpenDataSource and the comment that names the stream's dialect. Job thread.
void startSession(std::uint32_t resolution);

/// Writes CloseDataSource and EndSession. Job thread.
void endSession();

}  // namespace kesto
