// The PJL vocabulary of a job, and the job header and end of job written in it.
//
// Every text is a printf format, those without a conversion included: "%%" goes out as one "%".
//
// Thread rule: the job thread writes; the bytes reach the printer through the output channel.
#pragma once

#include "jobsettings/jobsettings.h"

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

/// Writes the job header through the output channel, one write for each line: the job's identity, its settings, and
/// the switch to PCL XL as the last line. A setting that is INVALIDOPTION leaves its line out.
///
/// `title` and `user` go out as they are, in lines cut to 2047 bytes. `fileType` is the spooler's type of the file
/// or null; a "job-sheet" gets no binding, every other file does when the job is two-sided.
void writePJLHeader(const JobSetting& setting, const char* title, const char* user, const char* fileType);

/// Writes the end of job through the output channel: the 44 bytes that leave PCL XL and close the job.
void writePJLEndOfJob();

}  // namespace kesto
