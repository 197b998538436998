#include "icOtioChildren.h"

#include "icOtioQuick.h"
#include "icText.h"

#include <utility>

namespace interchange::otio
{

namespace
{

/// Of values around a child: the document, the stack, its children, the track, its children.
constexpr std::size_t depthOfChild = 5;

} // namespace

Children::Children(std::string_view list, const char* end)
    : _begin(list.data() + 1)
    , _at(_begin)
    , _listEnd(list.data() + list.size())
    , _end(end)
{
    for (std::unique_ptr<Place>& place : _places)
        place = std::make_unique<Place>();
}

bool Children::next()
{
    const auto skip = [this]
    {
        while (_at < _listEnd && isJsonBlank(*_at))
            ++_at;
    };
    skip();
    if (_at + 1 >= _listEnd)
    {
        // Where the list was taken to end it must end.
        if (_at + 1 != _listEnd || *_at != ']')
            throw NotInPieces();
        return false;
    }
    if (!std::exchange(_isFirst, false))
    {
        if (*_at != ',')
            throw NotInPieces();
        ++_at;
        skip();
    }
    _begin = _at;
    return true;
}

std::optional<KnownClip> Children::known(const std::vector<Shape>& shapes)
{
    KnownClip clip{{}, &_metadata.value()};
    for (std::size_t i = 0; i < shapes.size(); ++i)
    {
        const std::size_t shape = (_shape + i) % shapes.size();
        if (const char* at = _begin; shapes[shape].match(at, _end, clip.facts, _metadata))
        {
            _shape = shape;
            _at = at;
            return clip;
        }
    }
    return std::nullopt;
}

const Value& Children::parse()
{
    _place = (_place + 1) % places;
    Place& place = *_places[_place];
    place.value.SetNull();
    place.allocator.Clear();
    json::Document document(&place.allocator);
    _at = _begin;
    if (!parseValueQuickly(document, _at, _end, depthOfChild))
        throw NotInPieces();
    place.value = std::move(static_cast<Value&>(document));
    return place.value;
}

void Children::keep()
{
    if (_kept.size() > mostKept)
        throw NotInPieces();
    for (std::unique_ptr<Place>& place : _places)
        _kept.push_back(std::exchange(place, std::make_unique<Place>()));
}

} // namespace interchange::otio
