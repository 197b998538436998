/// Post-processing effects that a segment carries as a setup: the model knows their kind and keeps the setup, the
/// renderer knows the rest.
#pragma once

#include "dmEffect.h"

/// Any post-processing effect, and the base of those below.
class ZR_DM_API DmPPFxSettings : public DmEffect<DmPPFxSettings>
{
public:
    static constexpr const wchar_t* typeName = L"PPFx";
    static constexpr DmEffectUse use = dmOnVideoSegments;

    using DmEffect::DmEffect;
};

/// A colour correction.
class ZR_DM_API DmPPFxCCSettings final : public DmEffect<DmPPFxCCSettings, DmPPFxSettings>
{
public:
    static constexpr const wchar_t* typeName = L"PPFxCC";

    using DmEffect::DmEffect;
};

/// A colour warp.
class ZR_DM_API DmPPFxCWSettings final : public DmEffect<DmPPFxCWSettings, DmPPFxSettings>
{
public:
    static constexpr const wchar_t* typeName = L"PPFxCW";

    using DmEffect::DmEffect;
};

/// A composite.
class ZR_DM_API DmPPFxCompSettings final : public DmEffect<DmPPFxCompSettings, DmPPFxSettings>
{
public:
    static constexpr const wchar_t* typeName = L"PPFxComp";

    using DmEffect::DmEffect;
};
