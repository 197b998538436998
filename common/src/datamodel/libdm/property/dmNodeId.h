/// Names one object within a tree: a path of "number.index/number.index/.../number", where each number is an object's
/// own and each index the property of it that holds the next. Empty: no id.
///
/// The ids that the factory gives to objects without a parent are a number alone; they are kept as one, so that an
/// object pays eight bytes for its id and no allocation.
#pragma once

#include "dmErrorId.h"
#include "dmString.h"

#include <cstdint>
#include <utility>

class ZR_DM_API DmNodeId
{
public:
    /// The index that pop_front gives with the last number: the path ends at this object.
    static constexpr int self = -1;

    DmNodeId() = default;
    explicit DmNodeId(const DmString& text);
    explicit DmNodeId(std::uint64_t number);
    DmNodeId(const DmNodeId& parent, int index, std::uint64_t number);
    DmNodeId(const DmNodeId& other);
    DmNodeId(DmNodeId&& other) noexcept
        : _rep(other._rep)
    {
        other._rep = 0;
    }
    DmNodeId& operator=(DmNodeId other) noexcept
    {
        std::swap(_rep, other._rep);
        return *this;
    }
    ~DmNodeId();

    eDmErrorId push_back(int index, std::uint64_t number);
    /// The last number. DM_EMPTY_ID on an empty id, `number` untouched.
    eDmErrorId back(std::uint64_t& number) const;
    /// Takes the first component off. DM_EMPTY_ID on an empty id.
    eDmErrorId pop_front(std::uint64_t& number, int& index);

    bool operator==(const DmNodeId& other) const;
    bool isEmpty() const { return _rep == 0; }
    DmString dump() const;

private:
    void setText(const DmString& text);

    /// 0 when empty; a number shifted left by one with the lowest bit set; else a DmString of our own.
    std::uintptr_t _rep = 0;
};
