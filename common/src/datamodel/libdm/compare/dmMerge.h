/// Puts together what two editors did to the same cut.
///
///     const DmMerge merge = DmMerge::merge(base.get(), *ours, *theirs);
///     for (const DmMergeConflict& conflict : merge.conflicts())
///         std::cerr << conflict.text() << '\n';
///     save(merge.result());
///
/// Edits of different shots merge, and so do edits of one shot in different respects; the same edit on both sides is
/// one. What pushes a track along adds up. Where both want the same thing differently, ours stands, and a red cue mark
/// at the place says what theirs had, unless the options say otherwise; each is a conflict. docs/comparing.md says how
/// shots are known.
///
/// The result is a tree of its own. Calls are independent of each other.
#pragma once

#include "dmRoot.h"
#include "dmStatus.h"

#include <string>
#include <vector>

enum class DmMergeFavour
{
    OursAndMark,
    Ours,
    Theirs
};

struct ZR_DM_API DmMergeConflict
{
    std::string path;  ///< a JSON pointer into ours
    std::string track; ///< "V1"; empty beside the tracks
    std::string clip;
    std::string label;  ///< of its record time
    double record = 0.; ///< record time, where there is a label
    double result = 0.; ///< and where that is in the result
    std::string what;   ///< "both trimmed this cut"
    std::string ours;   ///< what each side has
    std::string theirs;

    /// One line.
    std::string text() const;
};

class ZR_DM_API DmMerge
{
public:
    /// Null for `base`: nothing is known of what both come from. The status says why there is no result: a tree that
    /// cannot be written, or one that holds itself.
    static DmMerge merge(const DmRoot* base, const DmRoot& ours, const DmRoot& theirs,
                         DmMergeFavour favour = DmMergeFavour::OursAndMark);

    const DmStatus& status() const { return _status; }
    const CoSharedPtr<DmRoot>& result() const { return _result; }
    const std::vector<DmMergeConflict>& conflicts() const { return _conflicts; }
    /// What was done that nobody asked for: a track that moved with the other side's picture.
    const std::vector<std::string>& notes() const { return _notes; }

private:
    DmStatus _status;
    CoSharedPtr<DmRoot> _result;
    std::vector<DmMergeConflict> _conflicts;
    std::vector<std::string> _notes;
};
