/// From the path of a node in a document to its place in a scene.
#pragma once

#include "vwScene.h"

#include <cstddef>
#include <optional>
#include <string_view>
#include <unordered_map>

namespace view
{

struct Place
{
    std::size_t composition;
    std::uint32_t row = noSegment;
    std::uint32_t segment = noSegment;
    std::optional<double> time = {}; ///< at which it begins, if it is an element
};

class Places
{
public:
    explicit Places(const Scene& scene)
        : _scene(scene)
    {
    }

    /// Of "children[0]/children[2]/children[0]/children[7]", or the nearest node above it; nothing for what stands
    /// outside of all compositions of the version. What a container holds is found where the container opens it.
    std::optional<Place> find(std::string_view path, Version version = Version::Only);

private:
    struct Element
    {
        bool isTransition;
        std::uint32_t index;
    };
    /// By row and position; made when first asked for.
    using Elements = std::unordered_map<std::uint64_t, Element>;
    const Elements& elementsOf(std::size_t composition);

    const Scene& _scene;
    std::unordered_map<std::size_t, Elements> _elements;
};

} // namespace view
