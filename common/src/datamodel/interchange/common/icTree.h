/// What the makers of trees share.
#pragma once

#include "icText.h"

#include "CoSharedPtr.h"
#include "dmErrorId.h"
#include "dmSegmentNode.h"
#include "dmSetTools.h"

#include <exception>
#include <new>
#include <string_view>
#include <type_traits>
#include <typeinfo>

namespace interchange
{

/// The data model has refused a value.
class Refusal : public std::exception
{
public:
    explicit Refusal(eDmErrorId status)
        : _status(status)
    {
    }
    eDmErrorId status() const { return _status; }
    const char* what() const noexcept override { return "a value that the document refuses"; }

private:
    eDmErrorId _status;
};

inline void require(eDmErrorId status)
{
    if (status != DM_NO_ERROR)
        throw Refusal(status);
}

/// Gives a set a text in UTF-8.
inline void setText(DmPropertySet& set, int property, std::string_view utf8)
{
    require(dmTakeText(set, property, toDmString(utf8)));
}

/// The object; throws where it is null, which creators answer when memory runs out.
template <class T>
const CoSharedPtr<T>& orBadAlloc(const CoSharedPtr<T>& object)
{
    if (!object)
        throw std::bad_alloc();
    return object;
}

/// The object, where it is of that very class, from which nobody derives; null otherwise. A dynamic_cast searches the
/// bases, and compares names where it finds nothing: half a microsecond a clip.
template <class T, class Base>
const T* as(const Base* object)
{
    static_assert(std::is_final_v<T>);
    return object && typeid(*object) == typeid(T) ? static_cast<const T*>(object) : nullptr;
}

/// The segment that mixes have left nothing of, and that a gap of no length stands for; null of all other nodes. What a
/// host has attached to a gap that plays is none, nor is one that would play longer than the gap.
inline const DmSegmentNode* carriedBy(const DmTreeNode& node)
{
    constexpr double leastLength = 0.5; // of frames
    const DmSegmentNode* const gap = node.whatIs() == DM_GAP_NODE ? node.asSegment() : nullptr;
    const auto* const attached =
        gap && gap->getRecLength() < leastLength ? dynamic_cast<const DmTreeNode*>(gap->getBaseBlob()) : nullptr;
    const DmSegmentNode* const segment =
        attached && attached->isSegment() && attached->whatIs() != DM_GAP_NODE ? attached->asSegment() : nullptr;
    return segment && segment->getRecLength() < leastLength ? segment : nullptr;
}

} // namespace interchange
