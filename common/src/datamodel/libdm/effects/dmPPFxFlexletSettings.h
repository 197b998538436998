/// A small tool of the renderer's, named by its preset, whose parameters only the renderer knows.
#pragma once

#include "dmPPFxSettings.h"

class ZR_DM_API DmPPFxFlexletSettings final : public DmEffect<DmPPFxFlexletSettings, DmPPFxSettings>
{
public:
    static constexpr const wchar_t* typeName = L"PPFxFlexlet";

    enum Property : int
    {
        PresetName = FirstOwn,
        PropertyCount
    };

    using DmEffect::DmEffect;
    eDmErrorId createList() override;

    const DmString& getPresetName() const { return _presetName; }
    eDmErrorId setPresetName(const DmString& name) { return set(PresetName, name); }

    using DmPPFxSettings::addChannel;
    /// Under `name`, whatever the channel's own name is. Replacing another channel is reported as an error, and done.
    eDmErrorId addChannel(const DmString& name, const CoSharedPtr<DmAnimationChannel>& channel);

private:
    DmString _presetName;
};
