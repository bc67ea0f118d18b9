// The values that a job setting can take, each as one constant of the whole program.
//
// A setter stores the address of one of these texts, never a copy, so that a reader may compare settings by
// comparing pointers. They are arrays and not pointers because only an inline array is certain to be one object in
// all translation units; two `const char*` constants of one text may well point at two literals.
//
// Thread rule: constants, read by everyone.
#pragma once

namespace kesto {

inline constexpr char ON[] = "ON";
inline constexpr char OFF[] = "OFF";
/// Neither the ticket nor the PPD names the option: nothing is sent about it.
inline constexpr char INVALIDOPTION[] = "INVALIDOPTION";

// binding
inline constexpr char LONGEDGE[] = "LONGEDGE";
inline constexpr char SHORTEDGE[] = "SHORTEDGE";
// colorModel
inline constexpr char CMYK[] = "CMYK";
inline constexpr char BLACK[] = "BLACK";
// pageMode
inline constexpr char NORMAL[] = "NORMAL";
inline constexpr char EDGETOEDGE[] = "EDGETOEDGE";
// colorPreference
inline constexpr char IMAGE[] = "IMAGE";
inline constexpr char OBJECT[] = "OBJECT";
inline constexpr char GRAPHIC[] = "GRAPHIC";
// improvementSettings
inline constexpr char PAPERCURL[] = "PAPERCURL";
inline constexpr char TONERFIX[] = "TONERFIX";
inline constexpr char CREASE[] = "CREASE";
// halftone
inline constexpr char DITHER[] = "DITHER";
inline constexpr char ERRORDIFFUSION[] = "ERRORDIFFUSION";
// inkToUse
inline constexpr char COMPOSITEBLACK[] = "COMPOSITEBLACK";
inline constexpr char COMPOSITEONLY[] = "COMPOSITEONLY";
inline constexpr char BLACKONLY[] = "BLACKONLY";
inline constexpr char AUTOMATIC[] = "AUTOMATIC";
// colorOutput
inline constexpr char COLOR_OUTPUT_MONO[] = "Mono";
inline constexpr char COLOR_OUTPUT_COLOR[] = "Color";
inline constexpr char COLOR_OUTPUT_GRAYSCALE[] = "GrayScale";
inline constexpr char COLOR_OUTPUT_BLACK[] = "Black";

}  // namespace kesto
