/// Opening and saving documents as every subcommand does it: a path, or "-" for standard input and output. Whatever
/// interchange reads is a document.
#pragma once

#include "dmFinding.h"
#include "dmRoot.h"
#include "dmTreeJsonBuilder.h"
#include "icInterchange.h"

#include <string>
#include <vector>

namespace CLI
{
class App;
}

namespace dmtree
{

/// What a FILE argument is, in the words of --help.
inline constexpr const char* fileHelp =
    "A document, or a cut list of any format that convert reads; - is standard input";

/// Whether a finding says that a value of a document is not kept as it stands.
bool isChange(const DmFinding& finding);
/// "line 2, column 9"; empty where a finding has no line.
std::string placeText(const DmFinding& finding);

struct Document
{
    CoSharedPtr<DmRoot> root; ///< null when the file is no document that can be read
    std::vector<DmFinding> findings;
    std::vector<interchange::NodePlace> places; ///< when the options ask for them, and the format tells

    /// Why it cannot be read: the first error with its place, without the file's name; empty without one.
    std::string what() const;
    /// Takes a document whose values are not all kept as they stand for one that cannot be read: its error names each,
    /// on a line of its own.
    void refuseChanges();
};

/// A file of more than a few megabytes shows a progress bar where standard error is a terminal.
/// `name`: what tells the format where the path does not, as a path with an extension; without either, the first bytes.
Document openDocument(const std::string& path, const interchange::Options& options = {}, const std::string& name = {});

/// As openDocument, for a subcommand that works on one document: what is wrong is an exception that names the file, and
/// so are mistakes of lists and values of documents that are not kept as they stand, unless they are to be taken as
/// they are. What else there is to say goes to standard error. `mode`: that of --fcm, empty where it was not given;
/// `beside`: that of a document that the file belongs to.
CoSharedPtr<DmRoot> requireDocument(const std::string& path, bool lenient, const std::string& mode,
                                    const std::string& name = {}, DM::FrameCodeModes beside = DM::FCM_NOT_DEFINED);
/// The same of versions of one cut; null for an empty path. A list that would guess its mode counts in that of those
/// that say theirs, or else in the highest that one of them needs.
std::vector<CoSharedPtr<DmRoot>> requireVersions(const std::vector<std::string>& paths, bool lenient,
                                                 const std::string& mode, const std::string& name = {},
                                                 DM::FrameCodeModes beside = DM::FCM_NOT_DEFINED);

/// The mode of a document's first composition; FCM_NOT_DEFINED without one.
DM::FrameCodeModes modeOf(const DmTreeNode& document);
/// Whether nobody said the mode that a file was read in.
bool isModeGuessed(const Document& document);
/// The mode that all of the files say that say one; FCM_NOT_DEFINED where none does, or two say another. Standard input
/// is left for others to read.
DM::FrameCodeModes modeSaidBy(const std::vector<std::string>& paths, const interchange::Options& options);

// The options for that

void addLenient(CLI::App& command, bool& lenient);
void addMode(CLI::App& command, std::string& mode);

/// Replaces the file as a whole or not at all; the file may be the one that was read. Throws, naming the file.
void saveDocument(const DmRoot& root, const std::string& path, DmTreeJsonBuilder::Layout layout);

/// As saveDocument; a cut list where the path's extension, or else the name's, is of one: what that leaves out goes to
/// standard error.
void saveAsNamed(const DmRoot& root, const std::string& path, const std::string& name = {},
                 DM::FrameCodeModes fcm = DM::FCM_NOT_DEFINED);

} // namespace dmtree
