#include "dmTextParagraph.h"

#include "dmEffectDefinition.h"
#include "dmFontSearchImp.h"
#include "zrPost.h"

template class DmEffect<DmTextParagraph>;

namespace
{

constexpr struct
{
    const wchar_t* type;
    const wchar_t* extension;
} fontFileKinds[] = {{L"TYPE1", L".font"}, {L"CID", L".cid"}, {L"TRUE_TYPE", L".ttf"}, {L"OPEN_TYPE", L".otf"}};

} // namespace

eDmErrorId DmTextParagraph::createList()
{
    return declare(*this, DmEffect::createList())
        .mandatory(L"textStr", _textStr)
        .mandatory(L"imagePath", _imagePath)
        .mandatory(L"fontName", _fontName)
        .mandatory(L"fontStyle", _fontStyle)
        .mandatory(L"fontDir", _fontDir)
        .mandatory(L"outline", _outline)
        .mandatory(L"italicAngle", _italicAngle)
        .mandatory(L"indentation", _indentation)
        .mandatory(L"width", _width)
        .mandatory(L"underline", _underline)
        .mandatory(L"dropShadow", _dropShadow)
        .status();
}

DmString DmTextParagraph::getFontExtension() const
{
    const DmString type = getAttributText(attributNames[AttributId::fontType]);
    for (const auto& kind : fontFileKinds)
        if (type == kind.type)
            return DmString(kind.extension);
    return {};
}

DmString DmTextParagraph::buildFontName() const
{
    DmString composed = composeFontPath();
    if (dmIsFontFile(composed))
        return composed;
    const DmFontFace face{_fontName, fontStyleNames[_fontStyle], _fontStyle == BOLD || _fontStyle == BOLDITALIC,
                          _fontStyle == ITALIC || _fontStyle == BOLDITALIC};
    DmString installed = dmFindInstalledFont(face);
    if (!installed.empty())
        return installed;
    ZR_POST_ERROR("Font \"%ls\" not installed.  Using default font.", _fontName.c_str());
    return DmString(defaultFont);
}

DmTextColor DmTextParagraph::getFontColor(float frame) const
{
    return {storedAt(ChannelId::fontColorRed, frame), storedAt(ChannelId::fontColorGreen, frame),
            storedAt(ChannelId::fontColorBlue, frame), storedAt(ChannelId::fontOpacity, frame)};
}

DmTextColor DmTextParagraph::getOutColor(float frame) const
{
    return {storedAt(ChannelId::outColorRed, frame), storedAt(ChannelId::outColorGreen, frame),
            storedAt(ChannelId::outColorBlue, frame), storedAt(ChannelId::outOpacity, frame)};
}

DmTextColor DmTextParagraph::getUnderlineColor(float frame) const
{
    return {storedAt(ChannelId::underlineColorRed, frame), storedAt(ChannelId::underlineColorGreen, frame),
            storedAt(ChannelId::underlineColorBlue, frame), storedAt(ChannelId::underlineOpacity, frame)};
}

DmTextColor DmTextParagraph::getDropShadowColor(float frame) const
{
    return {storedAt(ChannelId::dropShadowColorRed, frame), storedAt(ChannelId::dropShadowColorGreen, frame),
            storedAt(ChannelId::dropShadowColorBlue, frame), storedAt(ChannelId::dropShadowOpacity, frame)};
}

float DmTextParagraph::storedAt(ChannelId id, float frame) const
{
    const CoSharedPtr<DmAnimationChannel> channel = getExistingChannel(id);
    return channel ? channel->storedValueAt(frame) : 0;
}

/// Empty without a directory: neither the working directory nor the root is where fonts are.
DmString DmTextParagraph::composeFontPath() const
{
    if (_fontDir.empty() || _fontName.empty())
        return {};
    DmString path(_fontDir);
    if (path[path.length() - 1] != L'/')
        path += L'/';
    path += _fontName;
    path += getFontExtension();
    return path;
}
