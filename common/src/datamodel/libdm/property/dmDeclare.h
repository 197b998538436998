/// How a model class declares its properties: one line each, in index order, from which type, index, default and
/// relevance follow.
///
///     eDmErrorId DmCueMark::createList()
///     {
///         return declare(*this)
///             .optional(L"cueMarkName", _name)
///             .optional(L"cueMarkTime", _time)     // its default is what the member is initialised with
///             .mandatory(L"cueMarkColorRed", _red)
///             .status();
///     }
///
/// A derived class passes what its base declared: `declare(*this, DmTreeNode::createList())`. Nothing is declared after
/// the first status that is not zero.
///
/// optional: written only when it differs from its default. mandatory: always written.
#pragma once

#include "dmSlots.h"

#include <memory>

template <class Owner>
class DmDeclaration
{
public:
    DmDeclaration(Owner& set, eDmErrorId base)
        : _set(set)
        , _status(base)
    {
        _index = set.classData().size();
    }

    /// Always written.
    template <class Member>
    DmDeclaration& mandatory(const wchar_t* name, Member& member)
    {
        return add(name, dmTypeOf<Member>, member, false);
    }

    /// Written when it differs from its default: the value that the member of a fresh object holds. A vector of sets:
    /// when it is not empty.
    template <class Member>
    DmDeclaration& optional(const wchar_t* name, Member& member)
    {
        constexpr eDmPropType type = dmTypeOf<Member>;
        static_assert(dmIsAtomic(type) || type == DM_VECTOR_PROPERTY_SET,
                      "maps and vectors of values are always written: declare them mandatory");
        return add(name, type, member, true);
    }

    /// Free text of many lines, kept as an array of lines in documents.
    DmDeclaration& mandatoryCdata(const wchar_t* name, DmString& member) { return add(name, DM_CDATA, member, false); }
    DmDeclaration& optionalCdata(const wchar_t* name, DmString& member) { return add(name, DM_CDATA, member, true); }

    /// Always written, and fixed by the class: setting it to another value is DM_BAD_VALUE.
    template <class Member>
    DmDeclaration& constant(const wchar_t* name, Member& member)
    {
        mandatory(name, member);
        if (DmPropertyDef* const def = added())
            def->_constant = true;
        return *this;
    }

    /// The property just declared has a text form of its own.
    DmDeclaration& textForm(DmSerializer serializer, DmUnserializer unserializer)
    {
        if (DmPropertyDef* const def = added())
        {
            def->_serializer = serializer;
            def->_unserializer = unserializer;
        }
        return *this;
    }

    /// Goes on although the property just declared may have failed.
    DmDeclaration& whateverItsStatus()
    {
        _status = _statusBefore;
        return *this;
    }

    eDmErrorId status() const { return _status; }

private:
    template <class Member>
    DmDeclaration& add(const wchar_t* name, eDmPropType type, Member& member, bool skipIfDefault)
    {
        static_assert(dmTypeOf<Member> != DM_NB_TYPES, "no property type is stored like this member");
        _statusBefore = _status;
        if (_status != DM_NO_ERROR)
            return *this;

        const void* defaultValue = nullptr;
        if constexpr (dmTypeOf<Member> == DM_PROPERTY_SET)
        {
            // The default is shared by all instances, the first one included: nobody may change it.
            if (skipIfDefault)
            {
                if (member)
                    member->freeze();
                defaultValue = _set.keepDefault(std::make_shared<const DmPropertySetPtr>(member));
            }
        }
        else if constexpr (dmIsAtomic(dmTypeOf<Member>))
            defaultValue = _set.keepDefault(std::make_shared<const Member>(member));

        _status = _set.addProperty(DmString(name), type, storage(member), _index, skipIfDefault, defaultValue);
        if constexpr (requires { typename Member::Held; })
            if (DmPropertyDef* const def = _set.lastAdded(_index))
                def->_held = dmHeldClassOf<typename Member::Held>();
        _index = _set.classData().size();
        return *this;
    }

    /// The address of the member as the property layer knows its type.
    template <class Member>
    static void* storage(Member& member)
    {
        if constexpr (dmTypeOf<Member> == DM_PROPERTY_SET)
            return static_cast<DmPropertySetPtr*>(&member);
        else if constexpr (dmTypeOf<Member> == DM_VECTOR_PROPERTY_SET)
            return static_cast<DmPropertySetVector*>(&member);
        else if constexpr (dmTypeOf<Member> == DM_MAP_PROPERTY_SET)
            return static_cast<DmPropertySetMap*>(&member);
        else
            return &member;
    }

    DmPropertyDef* added() { return _status == DM_NO_ERROR ? _set.lastAdded(_index - 1) : nullptr; }

    Owner& _set;
    eDmErrorId _status;
    eDmErrorId _statusBefore = DM_NO_ERROR;
    int _index;
};

template <class Owner>
[[nodiscard]] DmDeclaration<Owner> declare(Owner& set, eDmErrorId base = DM_NO_ERROR)
{
    return DmDeclaration<Owner>(set, base);
}
