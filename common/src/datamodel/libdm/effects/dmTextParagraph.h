/// A paragraph of a title: its text, its font, and how that is drawn. Size, colours and the like are channels, so they
/// may change over time.
#pragma once

#include "dmEffect.h"

/// Components from 0 to 1, as channels hold them.
struct DmTextColor
{
    float red;
    float green;
    float blue;
    float opacity;
};

class ZR_DM_API DmTextParagraph final : public DmEffect<DmTextParagraph>
{
public:
    static constexpr const wchar_t* typeName = L"Text";
    static constexpr DmEffectUse use = dmInVideoEffects;
    ZR_DM_NAMES(enum class AttributId, attributNames, fontEffect, fontType, justification)
    ZR_DM_NAMES(enum class ChannelId, channelNames, fontSize, fontKerning, fontLeading, fontColorRed, fontColorGreen,
                fontColorBlue, fontOpacity, fontSoftness, outWidth, outColorRed, outColorGreen, outColorBlue,
                outOpacity, underlineWidth, underlineColorRed, underlineColorGreen, underlineColorBlue,
                underlineOpacity, dropShadowColorRed, dropShadowColorGreen, dropShadowColorBlue, dropShadowOpacity,
                dropShadowSoftness, scaleX, scaleY, rotation)

    /// The codes of "fontStyle"; Plain and Normal are both upright and of normal weight.
    ZR_DM_NAMES(enum FontStyle, fontStyleNames, ITALIC, BOLD, BOLDITALIC, Plain, Normal)

    enum Property : int
    {
        TextStr = FirstOwn,
        ImagePath,
        FontName,
        Style,
        FontDir,
        Outline,
        ItalicAngle,
        Indentation,
        Width,
        Underline,
        DropShadow,
        PropertyCount
    };

    /// What a font that is nowhere is replaced by: the family that an installation brings with it.
    static constexpr const wchar_t* defaultFont = L"/opt/Norvex/fonts/DejaVuSans.ttf";

    using DmEffect::DmEffect;
    eDmErrorId createList() override;

    const DmString& getTextStr() const { return _textStr; }
    eDmErrorId setTextStr(const DmString& text) { return set(TextStr, text); }
    /// A picture that stands in the place of the text; empty for none.
    const DmString& getImagePath() const { return _imagePath; }
    eDmErrorId setImagePath(const DmString& path) { return set(ImagePath, path); }

    /// The name of the font's file, without directory and extension, or of an installed font.
    const DmString& getFontName() const { return _fontName; }
    eDmErrorId setFontName(const DmString& name) { return set(FontName, name); }
    /// Plain in a fresh paragraph. Codes of no style are carried as they are and mean Plain.
    FontStyle getFontStyle() const { return static_cast<FontStyle>(_fontStyle); }
    eDmErrorId setFontStyle(FontStyle style) { return set(Style, static_cast<int>(style)); }
    const DmString& getFontDir() const { return _fontDir; }
    eDmErrorId setFontDir(const DmString& directory) { return set(FontDir, directory); }
    /// The extension of the files of the attribute "fontType": ".font", ".cid", ".ttf" or ".otf"; empty when there is
    /// none, or when it holds another text.
    DmString getFontExtension() const;
    /// The path of the font's file. Looks for it, in this order:
    ///   - in the font directory, under the font's name and extension;
    ///   - among the installed fonts: a family of that name, in the style; then a font whose PostScript name or full
    ///     name it is ("DejaVuSans-Bold", "DejaVu Sans Bold"). The type of the file does not matter there.
    /// What is in neither place is posted as an error, and the answer is `defaultFont`. Reads disks: not for every
    /// frame. May be called from several threads at once.
    DmString buildFontName() const;

    bool getOutline() const { return _outline; }
    eDmErrorId setOutline(bool on) { return set(Outline, on); }
    /// Slant in degrees, for fonts that have no italic of their own; 0 is upright.
    int getItalicAngle() const { return _italicAngle; }
    eDmErrorId setItalicAngle(int degrees) { return set(ItalicAngle, degrees); }
    /// Of the first line, in pixels.
    float getIndentation() const { return _indentation; }
    eDmErrorId setIndentation(float pixels) { return set(Indentation, pixels); }
    /// In pixels; 0, as in a fresh paragraph, is as wide as the text.
    float getWidth() const { return _width; }
    eDmErrorId setWidth(float pixels) { return set(Width, pixels); }
    bool getUnderline() const { return _underline; }
    eDmErrorId setUnderline(bool on) { return set(Underline, on); }
    bool getDropShadow() const { return _dropShadow; }
    eDmErrorId setDropShadow(bool on) { return set(DropShadow, on); }

    // What the channels hold at a frame: the value of the key at exactly that frame, else the channel's constant value;
    // 0 for a channel that there is not, and none is made.

    float getFontSize(float frame) const { return storedAt(ChannelId::fontSize, frame); }
    float getFontLeading(float frame) const { return storedAt(ChannelId::fontLeading, frame); }
    float getRotation(float frame) const { return storedAt(ChannelId::rotation, frame); }
    DmTextColor getFontColor(float frame) const;
    DmTextColor getOutColor(float frame) const;
    DmTextColor getUnderlineColor(float frame) const;
    DmTextColor getDropShadowColor(float frame) const;

private:
    float storedAt(ChannelId id, float frame) const;
    DmString composeFontPath() const;

    DmString _textStr;
    DmString _imagePath;
    DmString _fontName;
    DmString _fontDir;
    int _fontStyle = Plain;
    int _italicAngle = 0;
    float _indentation = 0;
    float _width = 0;
    bool _outline = false;
    bool _underline = false;
    bool _dropShadow = false;
};
