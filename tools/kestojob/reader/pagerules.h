// The rules that tie a page's values together: to the PJL header, to the session, to the strips before, to the pages
// before.
//
// One job, one object; operators in their order, after the grammar has found each in its place with its attributes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "kestojob/reader/element.h"
#include "kestojob/reader/media.h"
#include "kestojob/reader/pjlheader.h"
#include "kestojob/reader/xlgrammar.h"

namespace kesto::job {

/// How the pages of a job lie on their sheets. One unit is one pixel of the page's image.
struct PageLayout {
  SheetSize sheet;
  unsigned unitsPerInch = 0;
  int originX = 0, originY = 0;  ///< the image's first pixel on the sheet
  bool color = false;
};

/// A strip of a page's image.
struct StripShape {
  unsigned firstLine = 0, width = 0, height = 0;
};

class PageRules {
 public:
  void setPjl(const PjlFacts& facts) { pjl_ = facts; }
  /// Judges an operator's values; a Fault at the attribute that disagrees.
  void take(Step step, const Operator& op);

  [[nodiscard]] const PageLayout& layout() const { return layout_; }
  [[nodiscard]] const StripShape& strip() const { return strip_; }
  [[nodiscard]] std::uint64_t pages() const { return pages_; }
  [[nodiscard]] std::uint64_t strips() const { return strips_; }

 private:
  void beginSession(const Operator& op);
  void beginPage(const Operator& op);
  void setMedia(const Operator& op);
  void setPageOrigin(const Operator& op);
  void setColor(const Operator& op);
  void beginStrip(const Operator& op);
  void beginImage(const Operator& op);
  void endPage(const Operator& op);
  void compareWithFirstPage(Step step, Operator op);

  PjlFacts pjl_;
  PageLayout layout_;
  StripShape strip_;
  bool bordered_ = false;
  std::uint64_t pages_ = 0, strips_ = 0;
  unsigned pageHeight_ = 0;              // of the strips so far
  unsigned imageWidth_ = 0;              // of every page's image, once one is known
  std::optional<unsigned> imageHeight_;  // likewise
  std::vector<Operator> setup_;          // the first page's operators before its strips, with what all pages share
};

}  // namespace kesto::job
