/// Any cut list in, any out.
///
///     interchange::Reading cut = interchange::readFile("reel1.edl");
///     std::cerr << dmFindingsText("reel1.edl", cut.findings);
///     if (cut.root)
///         std::cerr << dmFindingsText("reel1.otio", interchange::writeFile(*cut.root, "reel1.otio").findings);
///
/// Formats have names ("edl", "otio", "json" for documents); a host registers more (icFormat.h). Nothing here throws,
/// and nothing that is read stops the process: whatever goes wrong is a finding.
///
/// Threads: calls are independent of each other, and formats may be registered at any time.
#pragma once

#include "icFormat.h"

#include "dmFinding.h"
#include "dmRoot.h"

#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace interchange
{

// Formats

/// False, and nothing is registered, where the name is taken or is no name.
ZR_DM_API bool registerFormat(std::shared_ptr<const Format> format);
/// In the order in which they were registered: our own come first.
ZR_DM_API std::vector<std::shared_ptr<const Format>> formats();

// Each is null where there is none.

ZR_DM_API std::shared_ptr<const Format> formatNamed(std::string_view name);
/// By what stands behind the last dot of the path's last part, case aside.
ZR_DM_API std::shared_ptr<const Format> formatOfPath(std::string_view path);
ZR_DM_API std::shared_ptr<const Format> formatOfBytes(std::string_view firstBytes);

// Reading

struct Reading
{
    CoSharedPtr<DmRoot> root; ///< null where the findings hold an error that reading could not go on from
    std::vector<DmFinding> findings;
    std::vector<NodePlace> places;        ///< where each node came from, as far as the format tells, when asked for
    std::shared_ptr<const Format> format; ///< null where it was not found
};

ZR_DM_API Reading readFile(const std::string& path, const Options& options = {});
/// `name` is that of the file, if there is one: of its extension, and of what findings say.
ZR_DM_API Reading readBuffer(std::string_view bytes, const Options& options = {}, std::string_view name = {});
ZR_DM_API Reading readStream(std::istream& stream, const Options& options = {}, std::string_view name = {});
ZR_DM_API Reading readSource(Source& source, const Options& options = {}, std::string_view name = {});

// Completing

/// Fills in what a cut does not say of its media (paths, reels, looks) from a document whose sources are media, as an
/// ALE is read. A row fits where its reel, or else its source file or name, is the source's reel or clip name, case
/// aside, and its range holds what plays; a reel that a list has cut short counts if nothing else fits. What the cut
/// says stays. Where two rows fit, nothing is filled in, which a finding names.
ZR_DM_API std::vector<DmFinding> fillMedia(DmRoot& cut, const DmRoot& media);

// Writing

struct Writing
{
    bool done = false; ///< else the findings hold an error, and a file is as it was
    std::vector<DmFinding> findings;
};

/// Replaces the file as a whole or not at all, and keeps its mode; what is no regular file is written in place.
ZR_DM_API Writing writeFile(const DmRoot& root, const std::string& path, const Options& options = {});
/// Replaces the bytes as a whole or not at all.
ZR_DM_API Writing writeBuffer(const DmRoot& root, std::string& bytes, const Options& options);
ZR_DM_API Writing writeStream(const DmRoot& root, std::ostream& stream, const Options& options);
ZR_DM_API Writing writeSink(const DmRoot& root, Sink& sink, const Options& options);

/// Removes the files that are half written; async-signal-safe, for the handler of an interruption.
ZR_DM_API void removeHalfWrittenFiles();

} // namespace interchange
