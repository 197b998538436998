#include "dmFrameResolution.h"

#include "dmDeclare.h"

static const DmPropertySetInit<DmFrameResolution> registration;

DmFrameResolution::DmFrameResolution(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DmFrameResolution>::data())
{
}

eDmErrorId DmFrameResolution::createList()
{
    return declare(*this)
        .mandatory(L"width", _width)
        .mandatory(L"height", _height)
        .mandatory(L"ratio", _ratio)
        .mandatory(L"scanFormat", _scanFormat)
        .mandatory(L"bitsPerPixel", _bitsPerPixel)
        .mandatory(L"bitsPerChannel", _bitsPerChannel)
        .mandatory(L"numChannels", _numChannels)
        .mandatory(L"bufSize", _bufSize)
        .mandatory(L"byteOrder", _byteOrder)
        .mandatory(L"isFloat", _isFloat)
        .optional(L"colourSpace", _colourSpace)
        .optional(L"centerX", _centerX)
        .optional(L"centerY", _centerY)
        .optional(L"sizeX", _sizeX)
        .optional(L"sizeY", _sizeY)
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
