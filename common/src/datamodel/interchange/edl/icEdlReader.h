/// Reads CMX 3600 edit decision lists, as tape systems wrote them and as today's products export them.
///
/// What is understood: TITLE and FCM lines; event lines with reel names of any length, blanks and dots included; cuts,
/// dissolves, wipes and keys, in one line or two; M2 speed lines; AUD lines; SPLIT lines; and, with or without the "*"
/// before them, clip names, source files and paths, effect names, ASC_SOP and ASC_SAT in any spacing, and LOC. Every
/// other line is kept. Lines end in LF, CR LF or CR; blanks, blank lines and a byte-order mark do no harm; text is
/// UTF-8, or else Latin-1.
///
/// # Rate and drop frame
///
/// A list says whether it drops labels, not at which rate it counts. The rate is the caller's; without one that of a
/// comment behind FCM ("* FRAME RATE: 25 fps", as we write it); without that the one of the file beside it, or else the
/// lowest of 24, 25, 29.97, 50 and 59.94, in which all its labels exist, and a notice (DM608) says so. The first FCM
/// line speaks of the record side, for the whole list; every one speaks of the sources behind it. An event that has a
/// ";" in any of its labels speaks for itself, side by side: the side with a ";" drops, the other does not. The first
/// event settles the record side. At a rate that has no drop-frame form (24, 25, 50, ...) such statements mean nothing,
/// and a warning says so.
///
/// # Order
///
/// A list is in record order, on each channel by itself, and then passes midnight where a record time falls by more
/// than half a day; or it is in one of the other orders that lists are made in (by reels and source times, say), and
/// passes none. Overlaps are looked for in record order.
///
/// # Mistakes
///
/// An error in a strict report; in a lenient one, a warning, and reading goes on as docs/edl.md says for each. Keys
/// are kept with a warning, and so is every line whose keyword is known but not what stands behind it. Binary data and
/// a text that holds neither event nor title are errors in any report.
#pragma once

#include "icEdlList.h"
#include "icReport.h"

#include <optional>
#include <string>

namespace interchange
{

/// Reads a list in one pass, in time and memory in proportion to its bytes. `fcm` gives the rate (FCM_NOT_DEFINED: see
/// above), `beside` that of the file beside it. None when the report has got errors.
[[nodiscard]] std::optional<EdlList> readEdl(std::string bytes, DM::FrameCodeModes fcm, Report& report,
                                             DM::FrameCodeModes beside = DM::FCM_NOT_DEFINED);

} // namespace interchange
