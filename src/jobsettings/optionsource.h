// Where option values come from: the ticket, parsed once for each text, and the PPD that the environment names, opened
// once for each record that is filled: in a job, once each.
//
// What these functions return points into the parsed ticket or the opened PPD and stays valid until
// releaseOptionSource(), because a job setting record keeps such pointers until the job ends.
//
// Thread rule: job thread only; other threads may read the texts that were returned.
#pragma once

#include <cstdint>
#include <string_view>

struct ppd_file_s;  // CUPS' opened PPD, ppd_file_t

namespace kesto {

/// Returns the value of `option` in the ticket, or null. The option's name is compared without case.
const char* ticketValue(const char* ticket, const char* option);

/// Returns the value of the first option in the parsed ticket whose name begins with `prefix`, compared with case,
/// or null.
const char* ticketValueByPrefix(const char* ticket, std::string_view prefix);

/// Returns the PPD that the environment variable PPD names, opened, or null when it cannot be read. Not the
/// caller's to close.
ppd_file_s* jobPpd();

/// Makes the next lookup reopen the PPD. Texts returned so far stay valid.
void reopenPpd();

/// Returns the keyword of the option's default choice in the PPD, or null when the PPD has no such option.
const char* ppdDefaultChoice(const char* option);

/// Returns the value text of a main keyword of `ppd`, or null when `ppd` is null or has no such keyword.
const char* ppdAttribute(ppd_file_s* ppd, const char* keyword);

/// Returns the option's value in the ticket, else its default choice in the PPD, else null.
const char* resolveOption(const char* ticket, const char* option);

/// Reads a decimal integer as `atoi` does, 0 for text that is no number, without its undefined overflow.
std::int32_t decimalInteger(const char* text);

/// The system's error that kept options from being read (no memory, no descriptor, a damaged disk), or 0. After an
/// error the functions above may have missed what a person has chosen.
[[nodiscard]] int optionSourceFailure();

/// Frees the parsed tickets and closes the PPD: at the end of the job, when no record is in use any more.
void releaseOptionSource();

}  // namespace kesto
