/// What an import stored otherwise than it stood in the document.
///
/// A value travels into its property as text, and keeps what the conversion makes of it: "x" in a Double is 0,
/// 3000000000 in an Int is 2147483647. The import succeeds; whoever hands it a list learns of it:
///
///     DmJsonChanges changes;
///     const DmStatus status = DmJsonImporter::importRootFromFile("edit.json", root, nullptr, &changes);
///     for (const DmJsonChange& change : changes.list)
///         std::cerr << change.place.line << ": " << change.text() << '\n';
///
/// No change are 25.0 in an Int, and a number that is rounded to the nearest Float or Double.
#pragma once

#include "zrExport.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// Where something stands in a document, from 1 on; 0 where that is nowhere in it.
struct DmJsonPlace
{
    std::uint64_t line = 0;
    std::uint64_t column = 0; ///< in bytes
};

struct ZR_DM_API DmJsonChange
{
    enum Reason
    {
        Converted,  ///< of another kind, out of the type's range, a fraction in an integer, text beyond the value
        Twice,      ///< its name stands again in the same object, and that value counts
        NoVersion,  ///< a member of the version beside its two numbers
        NoProperty, ///< "VERSION" among properties
        NoName,     ///< a text that means nothing, as the name of a mode that there is not: kept as it is
        NotInTable  ///< a value that the property's enumeration has not: kept as it is
    };

    Reason reason = Converted;
    DmJsonPlace place = {};  ///< of the value
    std::string path = {};   ///< of the property: children[0]/channels["gain"]/value
    std::string was = {};    ///< the value as it stands there; of a long one the beginning
    std::string became = {}; ///< Converted: the value that is stored

    /// One sentence without the place: `children[0]/compLength: "x" became 0`.
    std::string text() const;
};

struct DmJsonChanges
{
    static constexpr std::size_t most = 1000;

    std::vector<DmJsonChange> list = {}; ///< the first ones, in the order of the document
    std::size_t more = 0;                ///< how many there are beyond these

    bool empty() const { return list.empty(); }
    std::size_t size() const { return list.size() + more; }
};
