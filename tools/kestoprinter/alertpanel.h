// The virtual printer's panel: which alerts it shows, how full its toner cartridges are, and the lines by which these
// are changed while it runs.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "kestoprinter/supplies.h"

namespace kesto::printer {

struct PanelAlert {
  bool isError;  ///< else a warning
  std::string text;
};

class AlertPanel {
 public:
  /// Obeys one line: `alert error "TEXT"`, `alert warning "TEXT"` (the quotes may be left out), `clear` or
  /// `level COLOUR=PERCENT`. Returns an empty text, or what is wrong with the line.
  [[nodiscard]] std::string obey(std::string_view line);

  [[nodiscard]] const std::vector<PanelAlert>& alerts() const { return alerts_; }
  [[nodiscard]] const Supplies& supplies() const { return supplies_; }

  /// The alert mask of an answer: bit 0 when an error is shown, bit 1 when a warning is.
  [[nodiscard]] unsigned char mask() const;

 private:
  std::vector<PanelAlert> alerts_;
  Supplies supplies_;
};

/// Lines for the panel that come from a descriptor.
class PanelInput {
 public:
  /// -1 for none.
  explicit PanelInput(int descriptor) : descriptor_(descriptor) {}

  /// The descriptor to wait for; -1 once it has ended.
  [[nodiscard]] int descriptor() const { return descriptor_; }

  /// Reads what has come and has the panel obey its whole lines; complaints go to standard error. A line of nonsense
  /// without an end is the last that is read.
  void read(AlertPanel& panel);

 private:
  int descriptor_;
  std::string text_;
};

/// Has the panel obey a line; a complaint goes to standard error.
void obeyOrComplain(AlertPanel& panel, std::string_view line);

}  // namespace kesto::printer
