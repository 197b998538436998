/// The findings of an earlier check that were accepted. A finding is known again by its code and by the medium and
/// source range that it is about, not by its record time: what others did to a shot's place brings nothing back.
///
///     {"accepted":[
///     {"code":"DM302","of":"/media/A001.mov 01:00:00:00 - 01:00:04:00"},
///     {"code":"DM307","of":"/media/B003.mov 10:00:00:00 - 10:00:02:00","count":2}
///     ]}
#pragma once

#include "dmFinding.h"

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace dmtree
{

class CheckBaseline
{
public:
    CheckBaseline() = default;
    /// Throws, naming the file, for what is no baseline.
    explicit CheckBaseline(const std::string& path);

    /// The findings of a file: of those that are alike, as many are accepted as the file with the most has.
    void accept(const std::vector<DmFinding>& findings);
    /// Takes what was accepted out of the findings of a file; returns how many those were.
    std::size_t hide(std::vector<DmFinding>& findings) const;

    std::size_t count() const;
    std::string text() const;

private:
    using Key = std::pair<std::string, std::string>; ///< the code, and what it is about
    std::map<Key, int> _accepted;
};

} // namespace dmtree
