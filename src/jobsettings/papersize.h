// The paper size: a number or a name of the printer's own, or a custom width and height.
//
// A custom size is never read from its name. Its dimensions follow from the raster, which covers the imageable area:
// raster plus both margins, and at most what the printer takes.
//
// Thread rule: job thread only, before other threads start.
#pragma once

#include <cstdint>

#include "jobsettings/jobsettings.h"

namespace kesto {

/// Sets `mediaSizeType` and `mediaSize` for a choice keyword of the PPD's PageSize option; Letter for an unknown one.
///
/// For a custom size also sets `customPixelWidth` and `customMargin`, and a zero resolution in the header becomes 600.
void checkMediaSize(JobSetting* setting, cups_page_header2_t* header, const char* choice);

/// Returns a custom page dimension in inches, in steps of 1/100: `pixels` rounded up to a multiple of 16 plus both
/// margins, limited to `maxPoints`. Serves the width and the height. Without a resolution the limit is returned.
float decideCustomPageWidth(std::uint32_t pixels, std::uint32_t marginPoints, std::uint32_t maxPoints,
                            std::uint32_t dpi);

/// Returns the line width in pixels of a page `widthInches` wide less both margins, rounded up to a multiple of 16.
///
/// Margins wider than the page give a negative count in two's complement. Widths beyond the record's field give the
/// nearest multiple of 16 that fits; one that is not a number gives 0.
std::uint32_t decideCustomPixelWidth(std::uint32_t marginPoints, std::uint32_t dpi, float widthInches);

}  // namespace kesto
