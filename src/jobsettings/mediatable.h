// Page size names and what they are to the printer.
//
// A name is tested against one row after the other and the first match decides, so the order is part of the result:
// "5x7" is found in "2L-5x7in.Photo" before the row meant for it. Names in a ticket and default choices in a PPD have
// an order each, and differ in a few rows.
//
// Thread rule: constants, read by everyone.
#pragma once

#include <cstdint>

#include "jobsettings/jobsettings.h"

namespace kesto {

/// How a size is sent to the printer. `number` belongs to MEDIA_SIZE_ENUMERATED, `name` to MEDIA_SIZE_NAMED.
struct Media {
  MediaSizeType type;
  std::uint32_t number;
  const char* name;
};

enum class MediaOrder { TICKET, PPD };

/// Returns what the size called `name` is, by the first row of the order that matches, or null when none does.
const Media* findMedia(MediaOrder order, const char* name);

}  // namespace kesto
