// A whole file at once.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace kesto::test {

/// What the file holds, as text or as a vector of bytes; empty when it cannot be read.
template <typename Content = std::string>
Content contentOf(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

}  // namespace kesto::test
