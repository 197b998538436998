/// The named parameters of effects: a static one (DmSimpleChannel, an "attribute") or an animated one
/// (DmAnimationChannel). The name is the parameter's key inside its effect.
#pragma once

#include "dmPropertySetInit.h"

class ZR_DM_API DmChannel : public DmPropertySet
{
public:
    static constexpr const wchar_t* className = dmClassName<DmChannel>;

    enum Property : int
    {
        Name,
        PropertyCount
    };

    eDmErrorId createList() override;

    const DmString& getName() const { return _name; }
    /// Does not move the channel to another key of the effect that holds it.
    eDmErrorId setName(const DmString& name) { return set(Name, name); }

protected:
    DmChannel(const DmNodeId& id, CoSharedPtr<DmPropertySetData>& classData);
    DmChannel(const DmChannel& other) = default;

    DmString _name;
};

/// An attribute: a value that does not change over time, always held as text.
class ZR_DM_API DmSimpleChannel final : public DmConcrete<DmSimpleChannel, DmChannel>
{
public:
    enum Property : int
    {
        Value = FirstOwn,
        PropertyCount
    };

    explicit DmSimpleChannel(const DmNodeId& id);
    eDmErrorId createList() override;

    using DmConcrete::create;
    /// Without a name, which the caller gives it. Null when the factory fails.
    static CoSharedPtr<DmSimpleChannel> create(const DmString& value);

    const DmString& getValue() const { return _value; }
    eDmErrorId setValue(const DmString& value) { return set(Value, value); }

private:
    DmString _value;
};
