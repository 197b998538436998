/// An animated parameter of an effect: its key frames, and the value that holds where there are none. The library
/// carries curves and evaluates none: interpolation and extrapolation codes are the renderer's.
///
/// Key frames stay in the order in which they were added: they are neither sorted nor made unique.
#pragma once

#include "dmChannel.h"
#include "dmKeyFrame.h"
#include "dmOwned.h"

class ZR_DM_API DmAnimationChannel final : public DmConcrete<DmAnimationChannel, DmChannel>
{
public:
    enum Property : int
    {
        Interpolation = FirstOwn,
        Extrapolation,
        Version,
        Value,
        KeyFrameList,
        PropertyCount
    };

    /// Curve-wide interpolation, kept for old data.
    enum DeprecatedInterpType : int
    {
    };
    enum ExtrapolationType : int
    {
    };

    explicit DmAnimationChannel(const DmNodeId& id);
    DmAnimationChannel(const DmAnimationChannel& other) = default;
    /// Takes the other's name, settings and clones of its key frames; tells no listener.
    DmAnimationChannel& operator=(const DmAnimationChannel& other);
    eDmErrorId createList() override;

    /// As the factory makes it: in key-frame format version 1.
    using DmConcrete::create;
    /// Without a name, which the caller gives it. `version` is the format of its keys (DmKeyFrame), `value` the
    /// constant. Null when the factory fails.
    static CoSharedPtr<DmAnimationChannel> create(DeprecatedInterpType interpolation, ExtrapolationType extrapolation,
                                                  float version, float value);

    DeprecatedInterpType getInterpolation() const { return static_cast<DeprecatedInterpType>(_curve.interpolation); }
    eDmErrorId setInterpolation(DeprecatedInterpType type) { return set(Interpolation, static_cast<int>(type)); }
    ExtrapolationType getExtrapolation() const { return static_cast<ExtrapolationType>(_curve.extrapolation); }
    eDmErrorId setExtrapolation(ExtrapolationType type) { return set(Extrapolation, static_cast<int>(type)); }
    float getVersion() const { return _curve.version; }
    eDmErrorId setVersion(float version) { return set(Version, version); }
    /// The constant value of a channel without key frames.
    float getValue() const { return _curve.value; }
    eDmErrorId setValue(float value) { return set(Value, value); }

    int getNbKeyFrames() const { return _curve.keyFrames.count(); }
    /// Null when there is no such key.
    CoSharedPtr<DmKeyFrame> getKeyFrame(int index) const { return CoSharedPtr<DmKeyFrame>(_curve.keyFrames.at(index)); }
    /// Appends. Null is DM_BAD_VALUE.
    eDmErrorId addKeyFrame(const CoSharedPtr<DmKeyFrame>& keyFrame) { return addTo(KeyFrameList, keyFrame); }
    /// DM_BAD_INDEX when there is no such key.
    eDmErrorId removeKeyFrame(int index) { return removeFrom(KeyFrameList, index); }
    /// The constant value, unless a key stands at exactly that frame: then the first such key's value. No
    /// interpolation.
    float storedValueAt(float frame) const;

    // For editors; never written to documents. A constant channel keeps what it has.

    bool needsKeyOnEmptyChannels() const { return _curve.needsKeyOnEmptyChannels; }
    void setNeedsKeyOnEmptyChannels(bool needs);
    float getDefaultKeyFrameFrame() const { return _curve.defaultKeyFrameFrame; }
    void setDefaultKeyFrameFrame(float frame);

private:
    struct Curve
    {
        int interpolation = 1;
        int extrapolation = 0;
        float version = DmKeyFrame::DM_KEY_VERSION_1;
        float value = 0;
        DmOwnedList<DmKeyFrame> keyFrames;
        float defaultKeyFrameFrame = 0;
        bool needsKeyOnEmptyChannels = true;
    };

    Curve _curve;
};
