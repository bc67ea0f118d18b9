// The PJL vocabulary of a job.
//
// Every text is a printf format, those without a conversion included: "%%" goes out as one "%".
//
// Thread rule: constants, read by everyone.
#pragma once

namespace kesto {

inline constexpr char PJL_START_JOB[] = "\x1B%%-12345X@PJL JOB\n";
inline constexpr char PJL_STRINGCODESET[] = "@PJL SET STRINGCODESET=UTF8\n";
inline constexpr char PJL_FDATETIME[] = "@PJL SET FDATETIME=%f\n";
inline constexpr char PJL_CMD_COMMENT_DRIVERNAME[] = "@PJL COMMENT %s\n";
inline constexpr char PJL_CMD_JOBNAME[] = "@PJL SET JOBNAME=\"%s\"\n";
inline constexpr char PJL_CMD_HOSTID[] = "@PJL LJOBINFO HOSTID=\"%s\"\n";
inline constexpr char PJL_CMD_SET_SHARPEN[] = "@PJL SET LSHARPEN=%s\n";
inline constexpr char PJL_CMD_SET_COLOR_MODEL[] = "@PJL SET LCOLORMODEL=%s\n";
inline constexpr char PJL_CMD_SET_TONER_SAVE[] = "@PJL SET ECONOMODE=%s\n";
inline constexpr char PJL_CMD_SET_IMPROVE_SETTINGS[] = "@PJL SET FIMPROVE=%s\n";
inline constexpr char PJL_CMD_SET_REDUCE_GHOSTING[] = "@PJL SET FGHOST=%s\n";
inline constexpr char PJL_CMD_SET_IMPROVE_DENSITY[] = "@PJL SET FDENSITY=%s\n";
inline constexpr char PJL_CMD_SET_COLORTABLE_PREFERENCE[] = "@PJL SET LCTPREFERENCE=%s\n";
inline constexpr char PJL_CMD_SET_INK_SET[] = "@PJL SET LINKSET=%s\n";
inline constexpr char PJL_CMD_SET_BRIGHTNESS[] = "@PJL SET LIMAGEBRIGHTNESS=%d\n";
inline constexpr char PJL_CMD_SET_PRINT_QUALITY[] = "@PJL SET PRINTQUALITY=%s\n";
inline constexpr char PJL_CMD_SET_DUPLEX[] = "@PJL SET DUPLEX=%s\n";
inline constexpr char PJL_CMD_SET_BINDING[] = "@PJL SET BINDING=%s\n";
inline constexpr char PJL_CMD_SET_COLLATION[] = "@PJL SET LCOLLATION=%s\n";
inline constexpr char PJL_CMD_SET_DUPLEXDRYTIME[] = "@PJL SET LDRYTIMEDELAY=%s\n";
inline constexpr char PJL_CMD_SET_RESOLUTION[] = "@PJL SET RESOLUTION=%d\n";
inline constexpr char PJL_CMD_SET_BORDERLESS[] = "@PJL SET LPAGEMODE=%s\n";
inline constexpr char PJL_CMD_SET_CONTRAST[] = "@PJL SET LIMAGECONTRAST=%d\n";
inline constexpr char PJL_MULTIPAGEPRINT[] = "@PJL SET LMULTIPAGEPRINT=OFF\n";
inline constexpr char PJL_ENTER_XL[] = "@PJL ENTER LANGUAGE=PCLXL\n";
inline constexpr char PJL_END_JOB[] = "\x1B%%-12345X@PJL EOJ\n@PJL LPORTROTATE\n\x1B%%-12345X";

}  // namespace kesto
