/// What all effect classes have in common, written once: a class states its table, and adds its own properties and
/// what is particular to it.
///
///     class ZR_DM_API DmCompSettings final : public DmEffect<DmCompSettings>
///     {
///     public:
///         static constexpr const wchar_t* typeName = L"Comp";
///         static constexpr DmEffectUse use = dmOnVideoSegments;
///         ZR_DM_NAMES(enum class AttributId, attributNames, compositeMode)
///         ZR_DM_NAMES(enum class ChannelId, channelNames, transparency)
///
///         using DmEffect::DmEffect;
///         eDmErrorId createList() override;
///         ...
///     };
///
/// and in a source: `template class DmEffect<DmCompSettings>;` behind #include "dmEffectDefinition.h", which defines
/// the members. A class without attributes or channels leaves their table out; one that derives
/// from another effect, `DmEffect<T, Base>`, may leave `use` and tables to it. A class with channels and nothing else
/// is one line: ZR_DM_CHANNEL_EFFECT.
#pragma once

#include "dmEffectSettings.h"

/// Where an effect may sit, and what it works on.
struct DmEffectUse
{
    bool segment;
    bool transition;
    eDmTreeMediaType media;
};

inline constexpr DmEffectUse dmOnVideoSegments{true, false, DM_MEDIA_VIDEO};
inline constexpr DmEffectUse dmOnVideo{true, true, DM_MEDIA_VIDEO};
inline constexpr DmEffectUse dmOnAudioSegments{true, false, DM_MEDIA_AUDIO};
inline constexpr DmEffectUse dmOnAudioTransitions{false, true, DM_MEDIA_AUDIO};
/// A part of an effect, which sits on neither by itself.
inline constexpr DmEffectUse dmInVideoEffects{false, false, DM_MEDIA_VIDEO};

/// An effect through the factory with its default attributes, made once whatever the factory's own setting is. Null
/// when it fails.
ZR_DM_API CoSharedPtr<DmEffectSettings> dmCreateEffect(const wchar_t* className);

template <class T, class Base = DmEffectSettings>
class ZR_DM_API DmEffect : public DmConcrete<T, Base>
{
public:
    explicit DmEffect(const DmNodeId& id);
    /// With its default attributes.
    static CoSharedPtr<T> create() { return DM::staticPointerCast<T>(dmCreateEffect(T::className)); }

    DmString getName() const override;
    bool isSegmentCompatible() const override;
    bool isTrxCompatible() const override;
    eDmTreeMediaType getMediaType() const override;
    const DmNameTable& getAttributTable() const override;
    const DmNameTable& getChannelTable() const override;

    // By an id of the class's tables. (`Effect` is the class itself, whose tables are not known before its end.) An id
    // outside the table is null, an empty name, or DM_BAD_INDEX.

    using Base::getAttribut;
    using Base::getAttributName;
    using Base::removeAttribut;
    using Base::removeChannel;
    using Base::setAttribut;

    template <class Effect = T>
    CoSharedPtr<DmSimpleChannel> getAttribut(typename Effect::AttributId id) const
    {
        return this->attributAt(Effect::attributNames[id]);
    }
    template <class Effect = T>
    static const DmString& getAttributName(typename Effect::AttributId id)
    {
        return Effect::attributNames[id];
    }
    template <class Effect = T>
    eDmErrorId setAttribut(typename Effect::AttributId id, const CoSharedPtr<DmSimpleChannel>& attribut)
    {
        return this->setAttributAt(Effect::attributNames[id], attribut);
    }
    template <class Effect = T>
    eDmErrorId removeAttribut(typename Effect::AttributId id)
    {
        return this->removeAttribut(Effect::attributNames[id]);
    }

    /// Made if there is none.
    template <class Effect = T>
    CoSharedPtr<DmAnimationChannel> getChannel(typename Effect::ChannelId id) const
    {
        return this->channelAt(Effect::channelNames[id]);
    }
    template <class Effect = T>
    CoSharedPtr<DmAnimationChannel> getExistingChannel(typename Effect::ChannelId id) const
    {
        return this->existingChannelAt(Effect::channelNames[id]);
    }
    template <class Effect = T>
    static const DmString& getChannelName(typename Effect::ChannelId id)
    {
        return Effect::channelNames[id];
    }
    template <class Effect = T>
    eDmErrorId setChannel(typename Effect::ChannelId id, const CoSharedPtr<DmAnimationChannel>& channel)
    {
        return this->setChannelAt(Effect::channelNames[id], channel);
    }
    template <class Effect = T>
    eDmErrorId removeChannel(typename Effect::ChannelId id)
    {
        return this->removeChannel(Effect::channelNames[id]);
    }

protected:
    /// For a class that others derive from.
    DmEffect(const DmNodeId& id, CoSharedPtr<DmPropertySetData>& classData);
};

/// A class that is nothing but a row: its name, its type name, its use, and its channels.
#define ZR_DM_CHANNEL_EFFECT(Class, type, effectUse, ...)                                                              \
    class ZR_DM_API Class final : public DmEffect<Class>                                                               \
    {                                                                                                                  \
    public:                                                                                                            \
        static constexpr const wchar_t* typeName = type;                                                               \
        static constexpr DmEffectUse use = effectUse;                                                                  \
        ZR_DM_NAMES(enum class ChannelId, channelNames, __VA_ARGS__)                                                   \
                                                                                                                       \
        using DmEffect::DmEffect;                                                                                      \
    };
