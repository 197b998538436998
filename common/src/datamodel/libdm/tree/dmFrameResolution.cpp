#include "dmFrameResolution.h"

#include "dmDeclare.h"

DmFrameResolution::DmFrameResolution(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DmFrameResolution>::data())
{
}

eDmErrorId DmFrameResolution::createList()
{
    return declare(*this)
        .mandatory<Width>(L"width", _width, "The width of the picture.", dmPixels, dmNotNegative)
        .mandatory<Height>(L"height", _height, "The height of the picture.", dmPixels, dmNotNegative)
        .mandatory<Ratio>(L"ratio", _ratio, "Width to height of the frame as it is shown.")
        .mandatory<ScanFormat>(L"scanFormat", _scanFormat,
                               "How the lines are scanned, for example progressive or by fields.")
        .mandatory<BitsPerPixel>(L"bitsPerPixel", _bitsPerPixel, "The depth of a pixel.", dmBits, dmNotNegative)
        .mandatory<BitsPerChannel>(L"bitsPerChannel", _bitsPerChannel, "The depth of one channel of a pixel.", dmBits,
                                   dmNotNegative)
        .mandatory<NumChannels>(L"numChannels", _numChannels, "The number of channels of a pixel.", dmNotNegative)
        .mandatory<BufSize>(L"bufSize", _bufSize, "The size of one frame in memory.", dmBytes, dmNotNegative)
        .mandatory<ByteOrder>(L"byteOrder", _byteOrder, "The order of a channel's bytes, as the application codes it.")
        .mandatory<IsFloat>(L"isFloat", _isFloat, "The channels hold floating numbers.")
        .optional<ColourSpace>(L"colourSpace", rare()->colourSpace, rare(), "The name of the colour space.")
        .optional<CenterX>(L"centerX", rare()->centerX, rare(), "The picture's centre, across.")
        .optional<CenterY>(L"centerY", rare()->centerY, rare(), "The picture's centre, vertically.")
        .optional<SizeX>(L"sizeX", rare()->sizeX, rare(), "The picture's size, across.")
        .optional<SizeY>(L"sizeY", rare()->sizeY, rare(), "The picture's size, vertically.")
        .status();
}

void DmFrameResolution::getDepth(int& bitsPerChannel, int& numChannels, bool& isFloat, bool& byteOrder) const
{
    bitsPerChannel = _bitsPerChannel;
    numChannels = _numChannels;
    isFloat = _isFloat;
    byteOrder = _byteOrder;
}

eDmErrorId DmFrameResolution::setDepth(int bitsPerChannel, int numChannels, bool isFloat, bool byteOrder)
{
    static_cast<void>(set(BitsPerChannel, bitsPerChannel));
    static_cast<void>(set(NumChannels, numChannels));
    static_cast<void>(set(IsFloat, isFloat));
    return set(ByteOrder, byteOrder);
}
