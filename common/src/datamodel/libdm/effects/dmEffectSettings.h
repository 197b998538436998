/// The base of everything that an editor calls an effect: what segments and transitions carry, and parts of such.
///
/// An effect's parameters are held by name, in name order: attributes (static, as text) and channels (animated). A
/// channel is made when it is first asked for; attributes are those of a new effect (createAttributes), and those set.
///
///     CoSharedPtr<DmResizeSettings> resize = DmResizeSettings::create();
///     if (const eDmErrorId status = resize->setConvertType(L"RESIZE_FIT"); status != DM_NO_ERROR)
///         return status;
///     return resize->getChannel(DmResizeSettings::ChannelId::scale_x)->addKeyFrame(key);
///
/// A clone shares nothing with its source but the "output" media. Empty names stop the process: they are programming
/// errors. An entry that is null, as a document may bring it, counts as missing.
///
/// Threads: as for every property set; getChannelByName and getChannel count as changes, although they are const.
///
/// A reference from a getter is good until the object's next setter.
#pragma once

#include "dmAnimationChannel.h"
#include "dmChannel.h"
#include "dmFocusAlignment.h"
#include "dmMediaNode.h"
#include "dmNameTable.h"
#include "dmOwned.h"

class ZR_DM_API DmEffectSettings : public DmPropertySet
{
public:
    static constexpr const wchar_t* className = dmClassName<DmEffectSettings>;

    enum Property : int
    {
        AttributList,
        ChannelList,
        SetupFileName,
        Setup,
        Comment,
        Muted,
        Output,
        PropertyCount
    };
    static constexpr int EffectPropertyCount = PropertyCount;

    struct Imp
    {
        ZR_DM_NAMES(enum class BlobAttributId, attributNames, encoded_blob, blob_size, blob_checksum)
    };
    /// The attributes of effects whose setup is an encoded blob of bytes.
    using BlobAttributId = Imp::BlobAttributId;

    // The tables of a class that has no attributes, or no channels.
    ZR_DM_NAMES(enum class AttributId, attributNames)
    ZR_DM_NAMES(enum class ChannelId, channelNames)

    eDmErrorId createList() override;
    /// "focusAlignment" at FOCUS_START on effects that may sit on a transition; classes with a list of their own
    /// replace this by createAttributesFromEnum.
    eDmErrorId createAttributes() override;

    /// The effect's type name, for example "Resize".
    virtual DmString getName() const = 0;
    virtual bool isSegmentCompatible() const = 0;
    virtual bool isTrxCompatible() const = 0;
    virtual eDmTreeMediaType getMediaType() const = 0;
    /// The names that its class knows, in the order of their ids. What this effect has are the keys of its maps.
    virtual const DmNameTable& getAttributTable() const { return attributNames; }
    virtual const DmNameTable& getChannelTable() const { return channelNames; }

    /// Whether an attribute or a channel may have a name: DM_EMPTY_ID, where the operations below stop the process, or
    /// DM_BAD_VALUE for one with a zero in it.
    static eDmErrorId mayName(const DmString& name);

    // Attributes.

    /// Under the attribute's own name. An existing name is DM_PROPERTY_ALREADY_EXIST, null is DM_BAD_VALUE.
    eDmErrorId addAttribut(const CoSharedPtr<DmSimpleChannel>& attribut);
    /// Null when there is none.
    CoSharedPtr<DmSimpleChannel> getAttributByName(const DmString& name) const;
    /// Inserts or replaces under `name`, whatever the attribute's own name is; tells no listener.
    eDmErrorId setAttributByName(const DmString& name, const CoSharedPtr<DmSimpleChannel>& attribut);
    /// DM_BAD_INDEX when there is none, as under the empty name.
    eDmErrorId removeAttribut(const DmString& name);

    CoSharedPtr<DmSimpleChannel> getAttribut(BlobAttributId id) const { return attributAt(Imp::attributNames[id]); }
    eDmErrorId setAttribut(BlobAttributId id, const CoSharedPtr<DmSimpleChannel>& attribut)
    {
        return setAttributAt(Imp::attributNames[id], attribut);
    }
    static const DmString& getAttributName(BlobAttributId id) { return Imp::attributNames[id]; }

    /// The text of an attribute, empty when there is none.
    DmString getAttributText(const DmString& name) const;
    /// Makes the attribute if there is none.
    eDmErrorId setAttributText(const DmString& name, const DmString& text);

    /// The attribute "focusAlignment": DM_FOCUS_UNDEFINED when there is none, or when it holds another text.
    eDmFocusAlignment getFocusAlignment() const;
    eDmErrorId setFocusAlignment(eDmFocusAlignment alignment);

    // Channels.

    /// Under the channel's own name. An existing name is DM_PROPERTY_ALREADY_EXIST, null is DM_BAD_VALUE.
    eDmErrorId addChannel(const CoSharedPtr<DmAnimationChannel>& channel);
    /// Null when there is none.
    CoSharedPtr<DmAnimationChannel> getExistingChannelByName(const DmString& name) const;
    /// Made if there is none, in the current key-frame format and without telling listeners. Of a constant effect,
    /// which keeps its map: a loose constant channel with a new one's values. Null only when the factory fails.
    CoSharedPtr<DmAnimationChannel> getChannelByName(const DmString& name) const;
    /// Inserts or replaces under `name`, whatever the channel's own name is; tells no listener.
    eDmErrorId setChannelByName(const DmString& name, const CoSharedPtr<DmAnimationChannel>& channel);
    /// DM_BAD_INDEX when there is none, as under the empty name. Asked for again, it is a new one.
    eDmErrorId removeChannel(const DmString& name);
    /// All keys, in order.
    void getChannelNames(DmStringArray& names) const;
    /// Posts one debug message a channel: name, number of key frames, constant value.
    void dumpChannels() const;

    // Plain settings.

    const DmString& getSetupFileName() const { return rare()->setupFileName; }
    eDmErrorId setSetupFileName(const DmString& name) { return set(SetupFileName, name); }
    /// Free text, of any number of lines.
    const DmString& getSetup() const { return rare()->setup; }
    eDmErrorId setSetup(const DmString& setup) { return set(Setup, setup); }
    const DmString& getComment() const { return rare()->comment; }
    eDmErrorId setComment(const DmString& comment) { return set(Comment, comment); }
    /// A muted effect is bypassed.
    bool isMuted() const { return _muted; }
    eDmErrorId setMuted(bool muted) { return set(Muted, muted); }
    /// The media that the effect produced, shared with all clones; null when there is none.
    CoSharedPtr<DmMediaNode> getOutput() const { return rare()->output.share(); }
    /// Tells no listener.
    void setOutput(const CoSharedPtr<DmMediaNode>& output);

protected:
    DmEffectSettings(const DmNodeId& id, CoSharedPtr<DmPropertySetData>& classData);
    DmEffectSettings(const DmEffectSettings& other) = default;

    /// The first `count` attributes of T's table, with empty values.
    template <class T, class Id>
    eDmErrorId createAttributesFromEnum(int count)
    {
        for (int i = 0; i < count; ++i)
            if (const eDmErrorId status = addEmptyAttribut(T::getAttributName(static_cast<Id>(i)));
                status != DM_NO_ERROR)
                return status;
        return DM_NO_ERROR;
    }

    // By a name out of a table, which is empty for an id that the table does not have: null, or DM_BAD_INDEX.

    CoSharedPtr<DmSimpleChannel> attributAt(const DmString& name) const;
    eDmErrorId setAttributAt(const DmString& name, const CoSharedPtr<DmSimpleChannel>& attribut);
    CoSharedPtr<DmAnimationChannel> channelAt(const DmString& name) const;
    CoSharedPtr<DmAnimationChannel> existingChannelAt(const DmString& name) const;
    eDmErrorId setChannelAt(const DmString& name, const CoSharedPtr<DmAnimationChannel>& channel);

private:
    /// What few effects have.
    struct Rare
    {
        static constexpr int place = 0;
        DmString setupFileName;
        DmString setup;
        DmString comment;
        DmNested<DmMediaNode> output;
    };

    DmRareView<Rare> rare() const { return _rares.of<Rare>(); }
    eDmErrorId addEmptyAttribut(const DmString& name);

    DmOwnedMap<DmSimpleChannel> _attributs;
    DmOwnedMap<DmAnimationChannel> _channels; ///< asking for a channel makes it
    bool _muted = false;
    DmRares _rares;
};
