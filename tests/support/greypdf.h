// A PDF whose pages can be told apart by their one shade of grey.
#pragma once

#include <string>

namespace kesto::test {

/// A Letter document of `count` pages; page n is filled with the grey value 10 n of 255.
[[nodiscard]] std::string greyPdf(int count);

}  // namespace kesto::test
