/// Clips of one shape: what stands between the values that tell one clip from another is the same text in all of them.
///
/// A file comes from one program, which writes the same members in the same order with the same indentation each time.
/// So of a clip that was parsed, and was a usual one (icOtioUsual.h), the text is kept with a hole for each value that
/// differs; the next clip is held against that, piece by piece, and only what stands in the holes is read. Whatever
/// does not fit is parsed. Reading a clip takes five eighths of the instructions that it took without.
///
/// For sources of this library only.
#pragma once

#include "icOtioJson.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace interchange::otio
{

/// How a usual clip says what it says: as it is written here, or as other and older programs do.
struct Manner
{
    bool isOld = false;    ///< "Clip.1"
    bool isSingle = false; ///< one media reference, not one of several
    bool hasEnabled = true;
    bool hasColour = false;    ///< null
    bool hasMediaName = true;  ///< not null
    bool hasBounds = true;     ///< of the media's picture, null
    bool isMediaFirst = false; ///< in front of the metadata

    /// All that is written for its node stands there as it is written.
    bool isOurs() const { return !isOld && hasEnabled && hasMediaName && hasBounds; }
};

/// What stands in the holes. Times are whole frames of the composition, not negative.
struct ClipFacts
{
    std::string_view name;
    std::string_view mediaName;
    std::string_view url; ///< of a file; empty for missing media
    double start = 0;
    double length = 0;
    double availableStart = 0;
    double availableLength = -1; ///< negative where nobody knows it
    bool isMuted = false;
    Manner manner = {};
};

/// The metadata that stand at a place of the text, parsed once for all the shapes that a clip is held against.
class MetadataAt
{
public:
    /// Until others are parsed.
    const Value& value() const { return _value; }
    /// Those that begin at `at`, which comes to their end.
    bool parse(const char*& at, const char* end);

private:
    std::vector<char> _room = std::vector<char>(1 << 14);
    json::Document::AllocatorType _allocator{_room.data(), _room.size()};
    Value _value;
    const char* _begin = nullptr;
    const char* _behind = nullptr; ///< null where they cannot be parsed quickly
};

class Shape
{
public:
    /// Of a usual clip's text, which was parsed.
    Shape(std::string_view text, bool isMuted, const Manner& manner);
    /// All that tells clips apart stands in holes. Not so of names that are spelt with escapes, for one.
    bool isPlain() const;

    /// Whether a clip of the shape stands at `at`, which then comes to its end. `metadata` gets those of the clip.
    bool match(const char*& at, const char* end, ClipFacts& facts, MetadataAt& metadata) const;

private:
    enum class Hole
    {
        Metadata,
        Name,
        Start,
        Length,
        MediaName,
        Url,
        AvailableStart,
        AvailableLength
    };
    struct Piece
    {
        std::string before; ///< what stands in front of the hole
        Hole hole;
    };
    class Finder;
    static bool fill(Hole hole, const char*& at, const char* end, ClipFacts& facts, MetadataAt& metadata);

    std::vector<Piece> _pieces;
    std::string _rest; ///< what stands behind the last one
    bool _isMuted;
    Manner _manner;
};

} // namespace interchange::otio
