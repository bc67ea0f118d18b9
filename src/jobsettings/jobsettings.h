// The job setting record: every choice that shapes one print job, resolved once from the first raster page header,
// the job's option string (the ticket) and the printer's PPD.
//
// An option is taken from the ticket; failing that it is the PPD's default choice; failing that a fixed fall-back.
// A ticket value that a setter does not know is not replaced by the PPD's. Nothing here reports or fails: a missing
// or damaged PPD counts as one without options.
//
// Thread rule: the job thread fills the record before it starts any other thread; after that everyone only reads it.
#pragma once

#include <cstdint>

#include <cups/raster.h>

struct ppd_file_s;  // CUPS' opened PPD, ppd_file_t

namespace kesto {

/// How the paper size is sent to the printer; selects the member of MediaSize.
enum MediaSizeType : std::int32_t {
  MEDIA_SIZE_ENUMERATED = 1,  // the printer's number of a standard size: mediaSizeId
  MEDIA_SIZE_NAMED = 2,       // the printer's name of the size: mediaSizeName
  MEDIA_SIZE_CUSTOM = 3,      // width and height: custom
};

/// A custom paper size in inches.
struct CustomMediaSize {
  float customWidth;
  float customHeight;
};

union MediaSize {
  std::uint32_t mediaSizeId;
  char mediaSizeName[64];  // ends with a NUL
  CustomMediaSize custom;
};

/// Which way a mirrored job is mirrored; every value but MIRROR_BY_FILTER leaves the pages as they come.
enum Mirror : std::int32_t {
  MIRROR_NOT_BY_FILTER = 1,
  MIRROR_BY_FILTER = 2,  // the filter mirrors every page itself
};

enum Orientation : std::int32_t {
  ORIENTATION_PORTRAIT = 0,
  ORIENTATION_LANDSCAPE = 1,
  ORIENTATION_REVERSE_PORTRAIT = 2,
  ORIENTATION_REVERSE_LANDSCAPE = 3,
};

/// The settings of one job. The texts are not owned: each is a constant of optionvalues.h, a text field of the
/// raster header, a value inside the parsed ticket or a choice keyword inside the opened PPD; the last two live until
/// releaseOptionSource(). The header has to live as long as the record.
struct JobSetting {
  const char* binding;
  const char* duplex;
  const char* printQuality;  // the header's OutputType, up to 64 characters
  const char* collation;
  const char* duplexDryTime;
  const char* colorModel;
  const char* tonersave;
  const char* halftone;
  const char* mediaType;  // the header's MediaType, up to 64 characters
  const char* pageMode;
  const char* sharpen;
  const char* colorPreference;
  const char* inkToUse;
  const char* colorOutput;  // null when the choice is not one of the four known
  const char* improvementSettings;
  float fDateTime;  // days since 1899-12-30 UTC, the time of day as the fraction
  const char* ghosting;
  const char* printDensity;
  std::uint32_t resolution;  // dots per inch
  std::uint32_t mediaSource;
  std::uint8_t isColor;  // 1 = colour job, 0 = black job
  std::int32_t mirror;   // MIRROR_BY_FILTER or any other number
  std::int32_t copies;
  std::int32_t threshold;
  std::int32_t mediaSizeType;  // MediaSizeType
  MediaSize mediaSize;
  std::int32_t customPixelWidth;  // line width in pixels of a custom size; zero or less when its margins eat it up
  std::int32_t customMargin;      // left margin of a custom size, in points
  std::uint8_t reverseOrder;      // 1 = last page first
  std::int32_t orientation;       // Orientation
};

/// The settings of the running job. The job thread sets it before it starts the threads that read the record, and
/// sets it to null when they have nothing left to read.
extern JobSetting* jobsetting;

/// 1 once a ticket has asked for collation; never cleared. Job thread only.
extern std::uint8_t collatedFlag_Prototype;

/// Fills every field of `setting` from the first page's header and the ticket `options` (null counts as empty).
///
/// For a custom paper size a zero resolution in the header becomes 600; `resolution` keeps the zero.
void initializeJobSetting(JobSetting* setting, cups_page_header2_t* header, const char* options);

/// Reads the main keyword `keyword` of an opened PPD as a decimal integer, text that is no number as 0. Returns
/// `defaultValue` when `ppd` is null, or the keyword is missing or has no value.
std::int32_t getIntAttrFromPPD(ppd_file_s* ppd, const char* keyword, std::int32_t defaultValue);

// The setters, in the order in which initializeJobSetting runs them. Each writes the fields that its name says.

void setPrintQuality(JobSetting* setting, cups_page_header2_t* header);
void setResolution(JobSetting* setting, cups_page_header2_t* header);
/// Sets `collation`, and collatedFlag_Prototype when it is on. Any value but "false" is on; the PPD has no say.
void setCollation(JobSetting* setting, cups_page_header2_t* header, const char* options);
/// Sets `duplex` and `binding`.
void setDuplex(JobSetting* setting, cups_page_header2_t* header);
/// Sets `pageMode`, `mediaSizeType` and `mediaSize`; for a custom size also `customPixelWidth` and `customMargin`,
/// and a zero resolution in the header becomes 600.
void setPaperSize(JobSetting* setting, cups_page_header2_t* header, const char* options);
void setOutputOrder(JobSetting* setting, const char* options);
void setOrientation(JobSetting* setting, const char* options);
void setMediaType(JobSetting* setting, cups_page_header2_t* header);
/// Sets `copies` to 1: the filter repeats pages itself.
void setCopies(JobSetting* setting, cups_page_header2_t* header);
void setDuplexDryTime(JobSetting* setting, const char* options);
void setMediaSource(JobSetting* setting, cups_page_header2_t* header);
/// Sets `colorModel` and `isColor`.
void setColorModel(JobSetting* setting, cups_page_header2_t* header);
/// Reads `isColor`: a black job gets IMAGE whatever is asked.
void setColorPreference(JobSetting* setting, const char* options);
void setTonerSave(JobSetting* setting, const char* options);
void setHalftone(JobSetting* setting, const char* options);
/// Sets `threshold`, 128 when it is set nowhere.
void setThreshold(JobSetting* setting, const char* options);
void setReduceGhosting(JobSetting* setting, const char* options);
void setPrintDensity(JobSetting* setting, const char* options);
void setImprovementSettings(JobSetting* setting, const char* options);
void setInkToUse(JobSetting* setting, const char* options);
/// Sets `mirror`. Only a PPD that has the option lets the ticket ask for it; otherwise the header decides.
void setMirror(JobSetting* setting, cups_page_header2_t* header, const char* options);
void setSharpen(JobSetting* setting, const char* options);
void setColorOutput(JobSetting* setting, const char* options);
/// Sets `fDateTime` to the current time.
void setFDateTime(JobSetting* setting, const char* options);

}  // namespace kesto
