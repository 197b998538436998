#include "dmStroke.h"

#include "dmDeclare.h"

DmPoint::DmPoint(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DmPoint>::data())
{
}

eDmErrorId DmPoint::createList()
{
    return declare(*this)
        .mandatory<X>(L"x", _x, "Where the brush was, across.", dmPixels)
        .mandatory<Y>(L"y", _y, "Where the brush was, vertically.", dmPixels)
        .mandatory<Width>(L"width", _width, "How wide the stroke is there.", dmPixels)
        .status();
}

DmStroke::DmStroke(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DmStroke>::data())
{
}

eDmErrorId DmStroke::createList()
{
    return declare(*this)
        .mandatory<Points>(L"points", _points, "The points, in the order in which they were painted.")
        .mandatory<Red>(L"red", _red, "The red of the colour.", dmZeroToOne)
        .mandatory<Green>(L"green", _green, "The green of the colour.", dmZeroToOne)
        .mandatory<Blue>(L"blue", _blue, "The blue of the colour.", dmZeroToOne)
        .mandatory<Alpha>(L"alpha", _alpha, "The opacity of the colour.", dmZeroToOne)
        .mandatory<Type>(L"type", _type, "The kind of stroke, in the painting application's words.")
        .mandatory<Brush>(L"brush", _brush, "The brush, in the painting application's words.")
        .status();
}
