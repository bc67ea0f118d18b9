// The documents that whole jobs are measured with: PDF files, computed like everything else here.
#pragma once

#include <string>

namespace kesto::bench {

/// Pages full of running text in Helvetica, which every renderer has; no two pages are alike.
[[nodiscard]] std::string makeTextDocument(unsigned pages);

/// Pages filled by a photograph of 300 dpi, stored as JPEG.
[[nodiscard]] std::string makePhotographDocument(unsigned pages);

/// The description of a colour printer for the spooler's own filters: what rastertopclx and pdftoraster must know for
/// RGB rasters of 150 to 1200 dpi, and `modelNumber`, which tells rastertopclx how to print them.
[[nodiscard]] std::string makePrinterDescription(unsigned modelNumber);

}  // namespace kesto::bench
