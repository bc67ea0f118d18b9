// The virtual printer's toner cartridges and how full they are.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace kesto::printer {

struct Toner {
  std::string_view colorant;
  std::string_view description;
  int percent = 100;  ///< what is left
};

class Supplies {
 public:
  /// Obeys "COLOUR=PERCENT". Returns an empty text, or what is wrong, in which case nothing changes.
  [[nodiscard]] std::string set(std::string_view text);

  [[nodiscard]] const auto& toners() const { return toners_; }

 private:
  std::array<Toner, 4> toners_ = {{{"cyan", "Cyan Toner Cartridge"},
                                   {"magenta", "Magenta Toner Cartridge"},
                                   {"yellow", "Yellow Toner Cartridge"},
                                   {"black", "Black Toner Cartridge"}}};
};

}  // namespace kesto::printer
