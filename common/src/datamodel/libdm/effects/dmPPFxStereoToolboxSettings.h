/// Aligns the two eyes of a stereoscopic picture: convergence, and a floating window that keeps objects from being cut
/// at the screen's edge.
#pragma once

#include "dmPPFxSettings.h"

class ZR_DM_API DmPPFxStereoToolboxSettings final : public DmEffect<DmPPFxStereoToolboxSettings, DmPPFxSettings>
{
public:
    static constexpr const wchar_t* typeName = L"PPFxStereoToolbox";

    /// The second of the two perspective ids has the first one's name, so both mean one channel.
    enum class ChannelId : int
    {
        XConvergence,
        FloatingWindow_BL,
        FloatingWindow_TL,
        FloatingWindow_TR,
        FloatingWindow_BR,
        FloatingWindow_PRS,
        FloatingWindow_PRS2,
        FloatingWindow_Offset,
        FloatingWindow_Aux
    };
    static inline constinit const DmNameTable channelNames{
        L"XConvergence, FloatingWindow_BL, FloatingWindow_TL, FloatingWindow_TR, FloatingWindow_BR,"
        L"FloatingWindow_PRS, FloatingWindow_PRS, FloatingWindow_Offset, FloatingWindow_Aux"};

    enum Property : int
    {
        FWAligment = FirstOwn, ///< spelled as documents spell it
        PropertyCount
    };

    using DmEffect::DmEffect;
    eDmErrorId createList() override;

    /// How the floating window is aligned: a code of the renderer.
    int getFWAligment() const { return _fwAligment; }
    eDmErrorId setFWAligment(int code) { return set(FWAligment, code); }

private:
    int _fwAligment = 0;
};
