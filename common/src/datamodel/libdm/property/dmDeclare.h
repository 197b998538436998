/// How a model class declares its properties: one line each, in index order, with the enumerator by which the class's
/// setters know it, its name in documents, its member, and what people should know about it. Type, default and
/// relevance follow from the member.
///
///     enum Property : int { // in the class
///         CueMarkName,
///         CueMarkTime,
///         PropertyCount
///     };
///     return declare(*this) // in DmCueMark::createList()
///         .optional<CueMarkName>(L"cueMarkName", _name, "Its name.")
///         .optional<CueMarkTime>(L"cueMarkTime", _time, "Where it stands.", dmFrames)
///         .status();
///
/// The compiler refuses a line that stands elsewhere than its enumerator, and an enumerator without a line. A derived
/// class's enumerators begin with FirstOwn, where its base's end, and it passes what its base declared: `declare(*this,
/// DmTreeNode::createList())`. Nothing is declared after the first status that is not zero. Lines without enumerators
/// are counted as they come.
///
/// Behind the member, in any order: the rare block in which it lies, if it does, the meaning ("one sentence."), a
/// DmUnit, a DmRange, a DmEnumTable, a DmTextTable.
///
/// optional: written only when it differs from its default. mandatory: always written.
#pragma once

#include "dmSlots.h"

#include "zrAssert.h"

#include <memory>

// Units.

/// Of the composition's frame-code mode, or of the effect's own time.
inline constexpr DmUnit dmFrames{"frames"};
/// Of the mode that the material counts in.
inline constexpr DmUnit dmMaterialFrames{"frames of the material"};
inline constexpr DmUnit dmPixels{"pixels"};
inline constexpr DmUnit dmDegrees{"degrees"};
inline constexpr DmUnit dmRadians{"radians"};
inline constexpr DmUnit dmHertz{"hertz"};
inline constexpr DmUnit dmSamples{"samples"};
inline constexpr DmUnit dmBits{"bits"};
inline constexpr DmUnit dmBytes{"bytes"};

/// Components of a colour, and shares of a whole.
inline constexpr DmRange dmZeroToOne{0, 1};
/// Counts and indices.
inline constexpr DmRange dmNotNegative{0, 2147483647};

template <class T>
inline constexpr bool dmIsRare = false;
template <class Block>
inline constexpr bool dmIsRare<DmRareView<Block>> = true;

/// Follows the lines of a declaration; `next` is the enumerator that the next line must name, -1 before the first.
template <class Owner, int next = -1>
class DmDeclaration
{
    static constexpr int nextPlain = next < 0 ? -1 : next + 1;

public:
    DmDeclaration(Owner& set, eDmErrorId base)
        : _set(set)
        , _status(base)
    {
    }

    /// Always written.
    template <int property, class Member, class... Facts>
    auto mandatory(const wchar_t* name, Member& member, const Facts&... facts)
    {
        checkOrder<property>();
        return add<property + 1>(property, name, dmTypeOf<Member>, member, false, facts...);
    }
    template <class Member, class... Facts>
    auto mandatory(const wchar_t* name, Member& member, const Facts&... facts)
    {
        return add<nextPlain>(_set.classData().size(), name, dmTypeOf<Member>, member, false, facts...);
    }

    /// Written when it differs from its default: the value that the member of a fresh object holds. A vector of sets:
    /// when it is not empty.
    template <int property, class Member, class... Facts>
    auto optional(const wchar_t* name, Member& member, const Facts&... facts)
    {
        checkOrder<property>();
        checkOptional<Member>();
        return add<property + 1>(property, name, dmTypeOf<Member>, member, true, facts...);
    }
    template <class Member, class... Facts>
    auto optional(const wchar_t* name, Member& member, const Facts&... facts)
    {
        checkOptional<Member>();
        return add<nextPlain>(_set.classData().size(), name, dmTypeOf<Member>, member, true, facts...);
    }

    /// Free text of many lines, kept as an array of lines in documents.
    template <int property, class Member, class... Facts>
    auto mandatoryCdata(const wchar_t* name, Member& member, const Facts&... facts)
    {
        checkOrder<property>();
        return add<property + 1>(property, name, DM_CDATA, member, false, facts...);
    }
    template <class Member, class... Facts>
    auto mandatoryCdata(const wchar_t* name, Member& member, const Facts&... facts)
    {
        return add<nextPlain>(_set.classData().size(), name, DM_CDATA, member, false, facts...);
    }
    template <int property, class Member, class... Facts>
    auto optionalCdata(const wchar_t* name, Member& member, const Facts&... facts)
    {
        checkOrder<property>();
        return add<property + 1>(property, name, DM_CDATA, member, true, facts...);
    }
    template <class Member, class... Facts>
    auto optionalCdata(const wchar_t* name, Member& member, const Facts&... facts)
    {
        return add<nextPlain>(_set.classData().size(), name, DM_CDATA, member, true, facts...);
    }

    /// Always written, and fixed by the class: setting it to another value is DM_BAD_VALUE.
    template <int property, class Member, class... Facts>
    auto constant(const wchar_t* name, Member& member, const Facts&... facts)
    {
        return mandatory<property>(name, member, facts...).fixed();
    }
    template <class Member, class... Facts>
    auto constant(const wchar_t* name, Member& member, const Facts&... facts)
    {
        return mandatory(name, member, facts...).fixed();
    }

    /// The property just declared has a text form of its own.
    DmDeclaration& textForm(DmSerializer serializer, DmUnserializer unserializer)
    {
        ZR_ASSERT_SOFT(!serializer == !unserializer);
        if (_added)
        {
            _added->_serializer = serializer;
            _added->_unserializer = unserializer;
        }
        return *this;
    }

    /// Goes on although the property just declared may have failed.
    DmDeclaration& whateverItsStatus()
    {
        _status = _statusBefore;
        return *this;
    }

    eDmErrorId status() const
    {
        if constexpr (next >= 0)
            static_assert(next == Owner::PropertyCount, "PropertyCount is the last enumerator, and each has its line");
        return _status;
    }

private:
    template <class Other, int otherNext>
    friend class DmDeclaration;

    /// What the line before knew.
    template <int before>
    DmDeclaration(const DmDeclaration<Owner, before>& line, eDmErrorId status, DmPropertyDef* added)
        : _set(line._set)
        , _status(status)
        , _statusBefore(line._status)
        , _added(added)
    {
    }

    template <int property>
    static constexpr void checkOrder()
    {
        static_assert(next < 0 || property == next, "declared in another order than the enumerators");
    }
    template <class Member>
    static constexpr void checkOptional()
    {
        static_assert(dmIsAtomic(dmTypeOf<Member>) || dmTypeOf<Member> == DM_VECTOR_PROPERTY_SET,
                      "maps and vectors of values are always written: declare them mandatory");
    }

    template <int following, class Member, class... Facts>
    DmDeclaration<Owner, following> add(int index, const wchar_t* name, eDmPropType type, Member& member,
                                        bool skipIfDefault, const Facts&... facts)
    {
        static_assert(dmTypeOf<Member> != DM_NB_TYPES, "no property type is stored like this member");
        static_assert(!std::is_const_v<Member> || (dmIsRare<Facts> || ...),
                      "a field of a rare block comes with its block");
        if (_status != DM_NO_ERROR)
            return {*this, _status, nullptr};

        const eDmErrorId status = _set.addProperty(DmString(name), type, storage(member), index, skipIfDefault,
                                                   defaultOf(member, skipIfDefault));
        DmPropertyDef* const def = status == DM_NO_ERROR ? _set.lastAdded(index) : nullptr;
        if (def)
        {
            if constexpr (requires { typename Member::Held; })
                def->_held = dmHeldClassOf<typename Member::Held>();
            (describe(*def, facts), ...);
            if constexpr ((dmIsRare<Facts> || ...))
                def->_offset = static_cast<const char*>(storage(member)) -
                               static_cast<const char*>(def->_rare->read(rareOf(*def)));
        }
        return {*this, status, def};
    }

    /// Kept with the class, and no object's own: the first object of a class is like all later ones.
    template <class Member>
    const void* defaultOf(const Member& member, bool skipIfDefault)
    {
        if constexpr (dmTypeOf<Member> == DM_PROPERTY_SET)
        {
            if (!skipIfDefault)
                return nullptr;
            DmPropertySetPtr shared(member);
            if (shared && std::is_const_v<Member>)
                shared->freezeAsSharedDefault(); // in a block that objects share
            else if (shared && !shared->isFrozen())
            {
                shared = shared->clone();
                if (!shared)
                    throw std::bad_alloc(); // createList() is tried again
                shared->freezeAsSharedDefault();
            }
            return _set.keepDefault(std::make_shared<const DmPropertySetPtr>(std::move(shared)));
        }
        else if constexpr (dmIsAtomic(dmTypeOf<Member>))
            return _set.keepDefault(std::make_shared<const Member>(member));
        else
            return nullptr;
    }

    /// The address of the member as the property layer knows its type.
    template <class Member>
    static void* storage(const Member& constant)
    {
        auto& member = const_cast<std::remove_const_t<Member>&>(constant);
        if constexpr (dmTypeOf<Member> == DM_PROPERTY_SET)
            return static_cast<DmPropertySetPtr*>(&member);
        else if constexpr (dmTypeOf<Member> == DM_STRING)
            return static_cast<DmString*>(&member);
        else if constexpr (dmTypeOf<Member> == DM_VECTOR_PROPERTY_SET)
            return static_cast<DmPropertySetVector*>(&member);
        else if constexpr (dmTypeOf<Member> == DM_MAP_PROPERTY_SET)
            return static_cast<DmPropertySetMap*>(&member);
        else
            return &member;
    }

    template <class Block>
    void describe(DmPropertyDef& def, const DmRareView<Block>& rare)
    {
        def._rare = DmRareBlock::of<Block>();
        def._isInside = false;
        def._rareAt = reinterpret_cast<const char*>(&rare.all()) -
                      reinterpret_cast<const char*>(static_cast<DmPropertySet*>(&_set));
    }
    const void* rareOf(const DmPropertyDef& def) const
    {
        return reinterpret_cast<const char*>(static_cast<DmPropertySet*>(&_set)) + def._rareAt;
    }
    static void describe(DmPropertyDef& def, const char* meaning) { def._meaning = meaning; }
    static void describe(DmPropertyDef& def, const DmUnit& unit) { def._unit = unit.text; }
    static void describe(DmPropertyDef& def, const DmRange& range) { def._range = range; }
    static void describe(DmPropertyDef& def, const DmEnumTable& values) { def._values = values; }
    static void describe(DmPropertyDef& def, const DmTextTable& texts) { def._texts = &texts; }

    DmDeclaration& fixed()
    {
        if (_added)
            _added->_constant = true;
        return *this;
    }

    Owner& _set;
    eDmErrorId _status;
    eDmErrorId _statusBefore = DM_NO_ERROR;
    DmPropertyDef* _added = nullptr;
};

// Beside a base class of every set: a set's own code finds it without the name of the namespace.
namespace DM
{

template <class Owner>
[[nodiscard]] DmDeclaration<Owner> declare(Owner& set, eDmErrorId base = DM_NO_ERROR)
{
    return DmDeclaration<Owner>(set, base);
}

} // namespace DM
