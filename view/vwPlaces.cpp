#include "vwPlaces.h"

#include <CoInteger.h>

#include <algorithm>

namespace view
{
namespace
{

/// Takes "children[N]" from the front of a path, with the slash behind it: N, or -1 where it goes on otherwise.
int takeChild(std::string_view& path)
{
    constexpr std::string_view step = "children[";
    int position = -1;
    if (!path.starts_with(step))
        return position;
    std::size_t digits = 0;
    position = DM::CoInteger::read<int>(path.substr(step.size()), digits);
    path.remove_prefix(std::min(step.size() + digits + 2, path.size()));
    return digits > 0 ? position : -1;
}

std::uint64_t keyOf(std::uint32_t row, std::uint32_t position)
{
    return static_cast<std::uint64_t>(row) << 32 | position;
}

} // namespace

const Places::Elements& Places::elementsOf(std::size_t composition)
{
    const auto [known, isNew] = _elements.try_emplace(composition);
    if (!isNew)
        return known->second;
    const Composition& all = _scene.compositions[composition];
    for (std::uint32_t row = 0; row < all.rows.size(); ++row)
        for (std::uint32_t i = all.rows[row].first; i < all.rows[row].last; ++i)
            known->second.try_emplace(keyOf(row, all.segments.position[i]), Element{false, i});
    for (std::uint32_t i = 0; i < all.transitions.size(); ++i)
        known->second.try_emplace(keyOf(all.transitions[i].row, all.transitions[i].position), Element{true, i});
    return known->second;
}

std::optional<Place> Places::find(std::string_view path, Version version)
{
    const auto pathOf = [&](const Composition& composition) -> const std::string&
    {
        static const std::string none;
        const bool isOld = version == Version::Old && composition.versions;
        return isOld ? composition.versions->oldPath : composition.version == version ? composition.path : none;
    };
    const auto holds = [&](const Composition& composition)
    {
        const std::string& its = pathOf(composition);
        return !its.empty() && path.starts_with(its) && (path.size() == its.size() || path[its.size()] == '/');
    };
    const auto top = std::ranges::find_if(_scene.compositions, holds);
    if (top == _scene.compositions.end())
        return {};
    path.remove_prefix(std::min(pathOf(*top).size() + 1, path.size()));
    Place place{static_cast<std::size_t>(top - _scene.compositions.begin())};
    while (true)
    {
        const Composition& composition = _scene.compositions[place.composition];
        const int track = takeChild(path);
        const int layer = takeChild(path);
        const auto row = std::ranges::find_if(composition.rows,
                                              [&](const Row& one)
                                              {
                                                  return one.trackAt == track && (one.layerAt == layer || layer < 0) &&
                                                         (one.version == version || one.version == Version::Only);
                                              });
        if (row == composition.rows.end())
            return place;
        place.row = static_cast<std::uint32_t>(row - composition.rows.begin());
        const int position = takeChild(path);
        const Elements& elements = elementsOf(place.composition);
        const auto element = elements.find(keyOf(place.row, static_cast<std::uint32_t>(position)));
        if (position < 0 || element == elements.end())
            return place;
        if (element->second.isTransition)
        {
            place.time = composition.transitions[element->second.index].in;
            return place;
        }
        place.segment = element->second.index;
        place.time = composition.segments.in[place.segment];
        constexpr std::string_view inside = "composition";
        if (!path.starts_with(inside))
            return place;
        path.remove_prefix(std::min(inside.size() + 1, path.size()));
        const auto& opens = composition.opens;
        std::size_t at = 0;
        while (at < opens.size() && opens[at] != place.segment)
            at += 2;
        if (at == opens.size())
            return place;
        place = Place{opens[at + 1]};
    }
}

} // namespace view
