// The texts looked for in the name of a page size. Sizes come under names from several generations of PPDs, so most
// are looked for anywhere in the name.
//
// Thread rule: constants, read by everyone.
#pragma once

namespace kesto {

inline constexpr char LETTER[] = "Letter";
inline constexpr char LEGAL[] = "Legal";
inline constexpr char STATEMENT[] = "Statement";
inline constexpr char EXECUTIVE[] = "Executive";
inline constexpr char FOLIO[] = "Folio";
inline constexpr char OFICIO[] = "Oficio";
inline constexpr char CARD3X5[] = "Card3x5";
inline constexpr char CUSTOM[] = "Custom";
inline constexpr char P4X6[] = "4x6";
inline constexpr char P5X7[] = "5x7";
inline constexpr char P3X5[] = "3x5";
inline constexpr char P3p5X5[] = "3.5x5";
inline constexpr char P10x15CM[] = "10x15cm";
inline constexpr char P4X8[] = "4x8";
inline constexpr char P10X20CM[] = "10x20cm";
inline constexpr char A4[] = "A4";
inline constexpr char A5[] = "A5";
inline constexpr char A6[] = "A6";
inline constexpr char POSTCARDHAGAKI[] = "PostcardHagaki";
inline constexpr char HAGAKI[] = "Hagaki";
inline constexpr char DOUBLEPOSTCARD[] = "DoublePostcard";
inline constexpr char P8X10CM[] = "8x10in";
inline constexpr char P2L5X7INPHOTO[] = "2L-5x7in.Photo";
inline constexpr char P2LPHOTO[] = "2L.Photo";
inline constexpr char L312X5PHOTO[] = "L-312x5.Photo";
inline constexpr char LPHOTO[] = "L.Photo";
inline constexpr char P312X5PHOTO[] = "312x5.Photo";
inline constexpr char P5X7PHOTO[] = "5x7.Photo";
inline constexpr char P13X18CM[] = "13x18cm";
inline constexpr char ENV734[] = "Envelope.279.540";
inline constexpr char ENV9[] = "Env9";
inline constexpr char ENV10[] = "Env10";
inline constexpr char ENVC5[] = "EnvC5";
inline constexpr char ENVDL[] = "EnvDL";
inline constexpr char ENVISOB5[] = "EnvISOB5";
inline constexpr char ENVN3[] = "Envelope_jpn_C3";
inline constexpr char ENVN4[] = "Envelope_jpn_C4";
inline constexpr char ENVY4[] = "Envelope_jpn_Y4";
inline constexpr char B5ISO[] = "B5ISO";
inline constexpr char B5[] = "B5";
inline constexpr char ENVC6[] = "EnvC6";
inline constexpr char ENVBARON[] = "Envelope.314.414";
inline constexpr char ENVPERSONAL[] = "Envelop.261.448";
inline constexpr char ENVCHOU3[] = "EnvChou3";
inline constexpr char ENVCHOU4[] = "EnvChou4";
inline constexpr char ENVCHOU40[] = "Envelope.255.638";
inline constexpr char ENVKAKU3[] = "EnvKaku3";
inline constexpr char ENVKAKU4[] = "Envelope.558.757";
inline constexpr char ENVKAKU5[] = "Envelope.538.680";
inline constexpr char ENVKAKU6[] = "Envelope.459.649";
inline constexpr char OTHENV[] = "OthEnv";
inline constexpr char B6ISO[] = "B6ISO";
inline constexpr char B6[] = "B6";
/// In a size's name: its paper is printed to the edges.
inline constexpr char FULLBLEED[] = "FullBleed";

}  // namespace kesto
