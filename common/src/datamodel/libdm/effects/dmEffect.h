/// What all effect classes have in common, written once: a class states its table, and adds its own properties and
/// what is particular to it.
///
///     /// Smooths what is above a level: a de-esser.
///     class ZR_DM_API DmAudioDeEsserSettings final : public DmEffect<DmAudioDeEsserSettings>
///     {
///     public:
///         static constexpr const wchar_t* className = L"DmAudioDeEsserSettings";
///         static constexpr const wchar_t* typeName = L"AudioDeEsser";
///         static constexpr DmEffectUse use = dmOnAudioSegments;
///         ZR_DM_NAMES(enum class ChannelId, channelNames, type, freq, range, threshold, monitor)
///
///         using DmEffect::DmEffect;
///     };
///
/// and in a source: `template class DmEffect<DmAudioDeEsserSettings>;` behind #include "dmEffectImp.h", which defines
/// the members and registers the class. A class without attributes or channels leaves their table out; one that
/// derives from another effect, `DmEffect<T, Base>`, may leave `use` to it.
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

    // By an id of the class's tables. (`Effect` is the class itself, whose tables are not known before its end.) An id
    // outside the table is null, an empty name, or DM_BAD_INDEX.

    using Base::getAttribut;
    using Base::getAttributName;
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

protected:
    /// For a class that others derive from.
    DmEffect(const DmNodeId& id, CoSharedPtr<DmPropertySetData>& classData);

private:
    static const DmPropertySetInit<T> registration;
};
