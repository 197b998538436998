/// The properties of a set, and of the sets that it holds, as people read them.
#pragma once

#include "dmPropertySet.h"

#include <functional>
#include <string>
#include <string_view>

namespace view
{

/// Is given a property that differs from its default: its path ("srcInput/srcInfo/reelName"), and its value as a number
/// or, where it is none, as a text.
class PropertySink
{
public:
    virtual void number(const std::string& path, double value) = 0;
    virtual void text(const std::string& path, std::string_view value) = 0;

protected:
    ~PropertySink() = default;
};

/// In declaration order. What `skip` names on the first level is left out. Lists of sets are given as the number of
/// their elements, below the first few.
void forEachProperty(const DmPropertySet& set, std::initializer_list<std::wstring_view> skip, PropertySink& sink);

/// A float as its own digits say it: 0.94, not the double that lies nearest to it.
double readableFloat(float value);

} // namespace view
