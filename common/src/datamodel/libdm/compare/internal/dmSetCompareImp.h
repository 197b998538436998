/// Where two sets of one class differ, property by property: the differences that no rule about cuts has a word for.
#pragma once

#include "dmPropertySet.h"

#include <functional>
#include <string>

namespace dmCompare
{

struct Difference
{
    std::string path; ///< "effects[0]/channelList["gain"]/value"
    std::string was;  ///< as people read it; empty where there was nothing
    std::string became;
};

/// Which properties of the first level are left out.
using LeftOut = std::function<bool(int index)>;
using Tell = std::function<void(const Difference&)>;

/// Tells each difference of two sets, which need not be of one class. Elements of lists are told apart by what they
/// are: key frames by their frame, marks and entries by name; others by position, equal ones at both ends aside. False
/// where they hold each other, or are nested too deep to be documents.
/// `keysBy`: by how much later key frames of `b` may stand without being others.
[[nodiscard]] bool compareSets(const DmPropertySet& a, const DmPropertySet& b, const std::string& path,
                               const LeftOut& leftOut, const Tell& sink, double keysBy = 0.0);

} // namespace dmCompare
