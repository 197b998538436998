/// The format of pictures: size, shape, depth and place. Every getter gives its value through its argument.
///
/// A reference from a getter is good until the object's next setter.
#pragma once

#include "dmPropertySetInit.h"

class ZR_DM_API DmFrameResolution final : public DmConcrete<DmFrameResolution>
{
public:
    enum Property : int
    {
        Width,
        Height,
        Ratio,
        ScanFormat,
        BitsPerPixel,
        BitsPerChannel,
        NumChannels,
        BufSize,
        ByteOrder,
        IsFloat,
        ColourSpace,
        CenterX,
        CenterY,
        SizeX,
        SizeY,
        PropertyCount
    };

    explicit DmFrameResolution(const DmNodeId& id);
    eDmErrorId createList() override;

    void getWidth(int& pixels) const { pixels = _width; }
    eDmErrorId setWidth(int pixels) { return set(Width, pixels); }
    void getHeight(int& pixels) const { pixels = _height; }
    eDmErrorId setHeight(int pixels) { return set(Height, pixels); }
    /// Width to height of the frame as it is shown.
    void getFrameRatio(float& ratio) const { ratio = _ratio; }
    eDmErrorId setFrameRatio(float ratio) { return set(Ratio, ratio); }
    void getScanFormat(DmString& format) const { format = _scanFormat; }
    eDmErrorId setScanFormat(const DmString& format) { return set(ScanFormat, format); }
    void getBitsPerPixel(int& bits) const { bits = _bitsPerPixel; }
    eDmErrorId setBitsPerPixel(int bits) { return set(BitsPerPixel, bits); }
    void getDepth(int& bitsPerChannel, int& numChannels, bool& isFloat, bool& byteOrder) const;
    /// The status of the last of the four.
    eDmErrorId setDepth(int bitsPerChannel, int numChannels, bool isFloat, bool byteOrder);
    /// Bytes.
    void getFrameBufferSize(int& size) const { size = _bufSize; }
    eDmErrorId setFrameBufferSize(int size) { return set(BufSize, size); }
    void getColorSpace(DmString& name) const { name = rare()->colourSpace; }
    eDmErrorId setColorSpace(const DmString& name) { return set(ColourSpace, name); }
    void getCenterX(double& x) const { x = rare()->centerX; }
    eDmErrorId setCenterX(double x) { return set(CenterX, x); }
    void getCenterY(double& y) const { y = rare()->centerY; }
    eDmErrorId setCenterY(double y) { return set(CenterY, y); }
    void getSizeX(double& x) const { x = rare()->sizeX; }
    eDmErrorId setSizeX(double x) { return set(SizeX, x); }
    void getSizeY(double& y) const { y = rare()->sizeY; }
    eDmErrorId setSizeY(double y) { return set(SizeY, y); }

private:
    /// What few formats say.
    struct Rare
    {
        static constexpr int place = 0;
        DmString colourSpace;
        double centerX = 0.0;
        double centerY = 0.0;
        double sizeX = 0.0;
        double sizeY = 0.0;
    };

    DmRareView<Rare> rare() const { return _rares.of<Rare>(); }

    int _width = 0;
    int _height = 0;
    float _ratio = 0.0F;
    int _bitsPerPixel = 0;
    int _bitsPerChannel = 0;
    int _numChannels = 0;
    int _bufSize = 0;
    bool _byteOrder = false;
    bool _isFloat = false;
    DmString _scanFormat;
    DmRares _rares;
};
