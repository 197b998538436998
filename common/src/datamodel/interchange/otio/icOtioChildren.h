/// The children of a track, one by one as they stand in the text: the values of a child are forgotten when the third
/// behind it is parsed, so that they lie where the processor has them at hand, and a document of any length is parsed
/// in the memory of a few clips. Reading 100 000 clips takes a fifth less memory than with the values of all of them,
/// and a sixth fewer pages.
///
/// For sources of this library only.
#pragma once

#include "icOtioShape.h"

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace interchange::otio
{

/// Thrown where a text is none that is read in pieces: it is to be parsed as a whole.
struct NotInPieces
{
};

/// A clip that was recognised by its shape.
struct KnownClip
{
    ClipFacts facts;
    const Value* metadata;
};

class Children
{
public:
    /// `list`: with its brackets; `end`: of the text. Both last longer than this, as the shapes do.
    Children(std::string_view list, const char* end);

    /// Goes to the next child. False at the end of the list.
    bool next();
    /// The child, where it is a clip of one of the shapes, until the next is asked for.
    std::optional<KnownClip> known(const std::vector<Shape>& shapes);
    /// The child, until the third behind it is parsed.
    const Value& parse();
    /// As it stands in the text, once it is known or parsed.
    std::string_view text() const { return {_begin, _at}; }
    /// Something points at values: from now on, those that are here stay.
    void keep();

private:
    struct Place
    {
        std::vector<char> room = std::vector<char>(1 << 14);
        json::Document::AllocatorType allocator{room.data(), room.size()};
        Value value;
    };
    static constexpr std::size_t places = 4;
    static constexpr std::size_t mostKept = 64;

    const char* _begin; ///< of the child
    const char* _at;    ///< what comes next
    const char* const _listEnd;
    const char* const _end;
    bool _isFirst = true;
    std::size_t _shape = 0; ///< of the clip before, which is likely that of the next
    std::size_t _place = 0;
    std::array<std::unique_ptr<Place>, places> _places;
    std::vector<std::unique_ptr<Place>> _kept;
    MetadataAt _metadata;
};

} // namespace interchange::otio
