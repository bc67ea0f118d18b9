// The rules of a job's PJL: which lines in which order, with which values.
//
// One job, one object each, lines in their order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "kestojob/reader/element.h"
#include "kestojob/reader/fault.h"

namespace kesto::job {

/// What the header says that the pages have to agree with.
struct PjlFacts {
  bool color = false;
  bool duplex = false;
  bool draft = false;
  bool edgeToEdge = false;
  std::uint16_t resolution = 0;  ///< the low 16 bits, which is what the pages repeat
};

/// From the job's start to the line that enters PCL XL.
class PjlHeaderRules {
 public:
  /// Judges the next line; a Fault when it is not what may come here. True when it was the header's last line.
  [[nodiscard]] bool take(const PjlLine& line);
  [[nodiscard]] const PjlFacts& facts() const { return facts_; }
  /// What the printer may take in another way than was meant, in the lines so far.
  [[nodiscard]] const std::vector<Note>& notes() const { return notes_; }

 private:
  void note(std::size_t row, const std::string& value, std::uint64_t offset);

  std::size_t row_ = 0;
  PjlFacts facts_;
  std::vector<Note> notes_;
};

/// The lines that end a job.
class PjlEndRules {
 public:
  /// Judges the next line. True when it was the job's last.
  [[nodiscard]] bool take(const PjlLine& line);

 private:
  std::size_t line_ = 0;
};

}  // namespace kesto::job
