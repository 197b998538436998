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
        .optional(L"backgroundColourRed", _backgroundColourRed)
        .optional(L"backgroundColourGreen", _backgroundColourGreen)
        .optional(L"backgroundColourBlue", _backgroundColourBlue)
        .optional(L"propScaling", _propScaling)
        .optional(L"preserveAspect", _preserveAspect)
        .status();
}

eDmErrorId DmResizeSettings::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory(L"length", _length)
        .mandatory(L"preserveAspect", _preserveAspect)
        .mandatory(L"borderColorRed", _borderColorRed)
        .mandatory(L"borderColorGreen", _borderColorGreen)
        .mandatory(L"borderColorBlue", _borderColorBlue)
        .status();
}
