// The frame of the PCL XL stream: the session around all pages, and the start and end of each.
//
// Job thread only, and only while the image thread holds no line block, as both write through hdcWrite.
#pragma once

#include <cstdint>

namespace kesto {

/// Writes the stream header, BeginSession with `resolution` (dots per inch, its low 16 bits) as the unit of measure,
/// OpenDataSource and the comment that names the stream's dialect.
void startSession(std::uint32_t resolution);

/// Writes CloseDataSource and EndSession.
void endSession();

/// Writes the PCL XL page start for the job settings, up to SetROP.
void start_page();

/// Writes PageCopies and EndPage.
void end_page();

}  // namespace kesto
