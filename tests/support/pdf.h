// Documents for tests.
#pragma once

#include <string>
#include <vector>

namespace kesto::test {

/// A PDF with a page for each of `greys`, filled with that grey (0 black to 1 white) to its edges, so that a test can
/// tell the pages apart. Sizes in points.
[[nodiscard]] std::string pdfOf(int width, int height, const std::vector<double>& greys);

/// A PDF with a page for each of `contents`, all with these entries of resources. `sharedObjects` are the objects from
/// number 3 on, which the resources may refer to. Sizes in points.
[[nodiscard]] std::string pdfOfPages(int width, int height, const std::string& resources,
                                     const std::vector<std::string>& contents,
                                     const std::vector<std::string>& sharedObjects);

/// A stream with these dictionary entries, its length besides.
[[nodiscard]] std::string streamObject(const std::string& entries, const std::string& data);

}  // namespace kesto::test
