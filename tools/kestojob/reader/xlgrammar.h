// The grammar of the PCL XL session: which operator may follow which, with which attributes of which type in which
// order.
//
// What an attribute's value has to be is decided here only where it is the same in every job; what depends on other
// elements is decided by the page rules. One session, one object.
#pragma once

#include <array>
#include <cstdint>

#include "kestojob/reader/element.h"

namespace kesto::job {

/// The places in a session. ReadImage has two: a strip's image data and its tags.
enum class Step : std::uint8_t {
  BEGIN_SESSION,
  OPEN_DATA_SOURCE,
  COMMENT,
  BEGIN_PAGE,
  SET_PAGE_ORIGIN,
  SET_PAGE_SCALE,
  SET_COLOR_SPACE,
  OPERATOR_0x40,
  SET_ROP,
  SET_CURSOR,
  BEGIN_IMAGE,
  READ_WICKET,
  READ_TAGS,
  END_IMAGE,
  END_PAGE,
  CLOSE_DATA_SOURCE,
  END_SESSION,
};

class SessionGrammar {
 public:
  /// Judges the next operator; a Fault when it may not come here or its attributes are not those it takes.
  Step take(const Operator& op);
  /// True when the session has ended.
  [[nodiscard]] bool complete() const { return ended_; }

 private:
  std::array<Step, 2> due_ = {Step::BEGIN_SESSION, Step::BEGIN_SESSION};
  bool ended_ = false;
};

}  // namespace kesto::job
