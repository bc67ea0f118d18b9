// Cuts a job into its elements.
//
//   job := npa-packet* (pjl-line+ stream-header (operator | data-block)*)* pjl-line*
//
// Only what cannot be cut into elements is refused here. Whether the elements make a job is judged elsewhere, so that a
// job with a fault can still be listed. No element takes more memory than the longest that a job can hold.
#pragma once

#include <cstdint>
#include <optional>

#include "kestojob/reader/bytesource.h"
#include "kestojob/reader/element.h"

namespace kesto::job {

class ElementReader {
 public:
  explicit ElementReader(ByteSource& source) : source_(source) {}

  /// The next element, or nothing at the end of the job. After a DataBlock its bytes may be read from the source; what
  /// is left of them is stepped over.
  [[nodiscard]] std::optional<Element> next();

 private:
  enum class Language { NONE, PJL, PCLXL };

  NpaPacket readNpaPacket();
  PjlLine readPjlLine();
  StreamHeader readStreamHeader();
  Operator readOperator();
  Attribute readAttribute();
  DataBlock readDataBlock();

  ByteSource& source_;
  Language language_ = Language::NONE;
  bool headerRead_ = false;    // of the PCL XL stream
  std::uint64_t dataEnd_ = 0;  // offset behind the last data block
};

}  // namespace kesto::job
