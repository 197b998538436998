#include "dmResizeSettings.h"

#include "dmEffectDefinition.h"

template class DmEffect<DmPPFxResizeSettings, DmConvertSettings>;
template class DmEffect<DmResizeSettings, DmConvertSettings>;

DmConvertSettings::DmConvertSettings(const DmNodeId& id, CoSharedPtr<DmPropertySetData>& classData)
    : DmEffectSettings(id, classData)
{
}

DmConvertSettings::ConvertType DmConvertSettings::getConvertType() const
{
    const DmString text = getAttributText(attributNames[AttributId::convert_type]);
    return static_cast<ConvertType>(convertTypeNames.find(text, RESIZE_INVALID_TYPE));
}

eDmErrorId DmConvertSettings::setConvertType(const DmString& text)
{
    return setAttributText(attributNames[AttributId::convert_type], text);
}

DmConvertSettings::ConvertFilter DmConvertSettings::getConvertFilter() const
{
    const DmString text = getAttributText(attributNames[AttributId::convert_filter]);
    return static_cast<ConvertFilter>(convertFilterNames.find(text, RESIZE_INVALID_FILTER));
}

eDmErrorId DmConvertSettings::setConvertFilter(const DmString& text)
{
    return setAttributText(attributNames[AttributId::convert_filter], text);
}

eDmErrorId DmPPFxResizeSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .optional<BackgroundColourRed>(L"backgroundColourRed", _backgroundColourRed,
                                       "The red of what shows around the picture.", dmZeroToOne)
        .optional<BackgroundColourGreen>(L"backgroundColourGreen", _backgroundColourGreen,
                                         "The green of what shows around the picture.", dmZeroToOne)
        .optional<BackgroundColourBlue>(L"backgroundColourBlue", _backgroundColourBlue,
                                        "The blue of what shows around the picture.", dmZeroToOne)
        .optional<PropScaling>(L"propScaling", _propScaling, "Width and height scale together.")
        .optional<PreserveAspect>(L"preserveAspect", _preserveAspect,
                                  "The picture keeps the aspect ratio that it is shown with.")
        .status();
}

eDmErrorId DmResizeSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory<Length>(L"length", _length, "The length of the effect.", dmFrames)
        .mandatory<PreserveAspect>(L"preserveAspect", _preserveAspect,
                                   "The picture keeps the aspect ratio that it is shown with.")
        .mandatory<BorderColorRed>(L"borderColorRed", _borderColorRed, "The red of what shows around the picture.",
                                   dmZeroToOne)
        .mandatory<BorderColorGreen>(L"borderColorGreen", _borderColorGreen,
                                     "The green of what shows around the picture.", dmZeroToOne)
        .mandatory<BorderColorBlue>(L"borderColorBlue", _borderColorBlue, "The blue of what shows around the picture.",
                                    dmZeroToOne)
        .status();
}
