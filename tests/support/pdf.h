// Documents for tests.
#pragma once

#include <string>
#include <vector>

namespace kesto::test {

/// A PDF with a page for each of `greys`, filled with that grey (0 black to 1 white) to its edges, so that a test can
/// tell the pages apart. Sizes in points.
[[nodiscard]] std::string pdfOf(int width, int height, const std::vector<double>& greys);

}  // namespace kesto::test
