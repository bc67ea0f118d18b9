// The choices of a job in words.
//
// Stateless; any thread may use it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "kestojob/reader/element.h"

namespace kesto::job {

/// What is said of a job, in the order in which it is shown.
namespace label {
inline constexpr std::string_view TITLE = "Title", USER = "User", DATE = "Date", PAPER = "Paper", SOURCE = "Source",
                                  MEDIA = "Media", SIDES = "Sides", COLLATION = "Collation", COLOR = "Colour",
                                  QUALITY = "Quality", TONER = "Toner", IMPROVEMENT = "Improvement";
inline constexpr std::string_view ALL[] = {TITLE, USER,      DATE,  PAPER,   SOURCE, MEDIA,
                                           SIDES, COLLATION, COLOR, QUALITY, TONER,  IMPROVEMENT};
}  // namespace label

struct Wording {
  std::string_view label;
  std::string phrase;  ///< empty: a choice that is not worth a word
};

/// What a line of the PJL header says, or nothing for a line that says nothing to people.
[[nodiscard]] std::optional<Wording> wordingOf(const PjlLine& line);

/// The paper of a page, with its size in millimetres and its border.
[[nodiscard]] std::string paperText(const Operator& beginPage);

/// Where the paper of a page is taken from.
[[nodiscard]] std::string sourceText(std::int64_t mediaSource);

}  // namespace kesto::job
