#include "dmStroke.h"

#include "dmDeclare.h"

static const DmPropertySetInit<DmPoint> pointRegistration;
static const DmPropertySetInit<DmStroke> strokeRegistration;

DmPoint::DmPoint(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DmPoint>::data())
{
}

eDmErrorId DmPoint::createList()
{
    return declare(*this).mandatory(L"x", _x).mandatory(L"y", _y).mandatory(L"width", _width).status();
}

DmStroke::DmStroke(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<DmStroke>::data())
{
}

eDmErrorId DmStroke::createList()
{
    return declare(*this)
        .mandatory(L"points", _points)
        .mandatory(L"red", _red)
        .mandatory(L"green", _green)
        .mandatory(L"blue", _blue)
        .mandatory(L"alpha", _alpha)
        .mandatory(L"type", _type)
        .mandatory(L"brush", _brush)
        .status();
}
