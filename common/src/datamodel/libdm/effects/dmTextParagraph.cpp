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
        .mandatory<TextStr>(L"textStr", _textStr, "The text.")
        .mandatory<ImagePath>(L"imagePath", _imagePath, "A picture in the place of the text; empty for none.")
        .mandatory<FontName>(L"fontName", _fontName, "The name of the font's file, or of an installed font.")
        .mandatory<Style>(L"fontStyle", _fontStyle, "The style of the font; 0 is plain.")
        .mandatory<FontDir>(L"fontDir", _fontDir, "The directory of the font's file.")
        .mandatory<Outline>(L"outline", _outline, "The characters have an outline.")
        .mandatory<ItalicAngle>(L"italicAngle", _italicAngle, "The slant, for fonts without an italic of their own.",
                                dmDegrees)
        .mandatory<Indentation>(L"indentation", _indentation, "The indentation of the first line.", dmPixels)
        .mandatory<Width>(L"width", _width, "The width of the paragraph; 0 is as wide as the text.", dmPixels)
        .mandatory<Underline>(L"underline", _underline, "The text is underlined.")
        .mandatory<DropShadow>(L"dropShadow", _dropShadow, "The text has a shadow.")
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
