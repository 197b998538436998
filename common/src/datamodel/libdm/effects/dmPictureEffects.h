/// Effects that take the picture as a whole, or put a drawn one in its place.
#pragma once

#include "dmEffect.h"

/// Mirrors the picture, or turns it by quarters.
class ZR_DM_API DmFlipSettings final : public DmEffect<DmFlipSettings>
{
public:
    static constexpr const wchar_t* typeName = L"Flip";
    static constexpr DmEffectUse use = dmOnVideoSegments;

    enum Property : int
    {
        OrientationType = FirstOwn,
        DomCorrectionType,
        PropertyCount
    };

    using DmEffect::DmEffect;
    eDmErrorId createList() override;

    const DmString& getOrientationType() const { return _orientationType; }
    eDmErrorId setOrientationType(const DmString& type) { return set(OrientationType, type); }
    /// How the dominance of fields is corrected.
    const DmString& getDomCorrectionType() const { return _domCorrectionType; }
    eDmErrorId setDomCorrectionType(const DmString& type) { return set(DomCorrectionType, type); }

private:
    DmString _orientationType;
    DmString _domCorrectionType;
};

/// A vector drawing, kept as its SVG text.
class ZR_DM_API DmSVGSettings final : public DmEffect<DmSVGSettings>
{
public:
    static constexpr const wchar_t* typeName = L"SVG";
    static constexpr DmEffectUse use = dmOnVideoSegments;

    enum Property : int
    {
        Svg = FirstOwn,
        PropertyCount
    };

    using DmEffect::DmEffect;
    eDmErrorId createList() override;

    const DmString& getSvg() const { return _svg; }
    eDmErrorId setSvg(const DmString& text) { return set(Svg, text); }

private:
    DmString _svg;
};

/// A setup of several inputs, kept in a file.
class ZR_DM_API DmQuillSettings final : public DmEffect<DmQuillSettings>
{
public:
    static constexpr const wchar_t* typeName = L"Quill";
    static constexpr DmEffectUse use = dmOnVideoSegments;

    enum Property : int
    {
        Inputs = FirstOwn,
        PathName,
        PropertyCount
    };

    using DmEffect::DmEffect;
    eDmErrorId createList() override;

    /// The numbers of the inputs, in order.
    const std::vector<std::int32_t>& getInputs() const { return _inputs; }
    eDmErrorId addInput(std::int32_t input) { return addValueInPropertyList(Inputs, DM_VECTOR_INT, &input); }
    eDmErrorId clearInputs() { return clearList(Inputs, DM_VECTOR_INT); }
    const DmString& getPathName() const { return _pathName; }
    eDmErrorId setPathName(const DmString& path) { return set(PathName, path); }

private:
    std::vector<std::int32_t> _inputs;
    DmString _pathName;
};
