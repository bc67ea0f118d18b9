// Texts in the form in which the exec calls take them.
#pragma once

#include <string>
#include <vector>

namespace kesto::test {

/// Pointers to the texts, which have to outlive them, and a null behind the last.
inline std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> result;
  result.reserve(texts.size() + 1);
  for (std::string& text : texts) result.push_back(text.data());
  result.push_back(nullptr);
  return result;
}

}  // namespace kesto::test
