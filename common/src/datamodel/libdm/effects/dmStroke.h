/// What an artist paints: strokes of points, on the layers of an annotation (dmPaintLayer.h).
#pragma once

#include "dmOwned.h"
#include "dmPropertySetInit.h"

/// Where the brush was, in pixels of the picture, and how wide the stroke is there: one pixel until it is set.
class ZR_DM_API DmPoint final : public DmConcrete<DmPoint>
{
public:
    enum Property : int
    {
        X,
        Y,
        Width,
        PropertyCount
    };

    explicit DmPoint(const DmNodeId& id);
    eDmErrorId createList() override;

    double getX() const { return _x; }
    eDmErrorId setX(double x) { return set(X, x); }
    double getY() const { return _y; }
    eDmErrorId setY(double y) { return set(Y, y); }
    double getWidth() const { return _width; }
    eDmErrorId setWidth(double width) { return set(Width, width); }

private:
    double _x = 0;
    double _y = 0;
    double _width = 1;
};

/// One movement of the brush, in one colour. A fresh one is opaque black. A copy has points of its own.
class ZR_DM_API DmStroke final : public DmConcrete<DmStroke>
{
public:
    enum Property : int
    {
        Points,
        Red,
        Green,
        Blue,
        Alpha,
        Type,
        Brush,
        PropertyCount
    };

    explicit DmStroke(const DmNodeId& id);
    eDmErrorId createList() override;

    int getNbPoints() const { return _points.count(); }
    /// Null when there is no such point.
    CoSharedPtr<DmPoint> getPoint(int index) const { return CoSharedPtr<DmPoint>(_points.at(index)); }
    /// Appends: points stand in the order in which they were painted. Null is DM_BAD_VALUE.
    eDmErrorId addPoint(const CoSharedPtr<DmPoint>& point) { return addTo(Points, point); }
    eDmErrorId clear() { return clearList(Points, DM_VECTOR_PROPERTY_SET); }

    /// Components from 0 to 1.
    float getRed() const { return _red; }
    eDmErrorId setRed(float red) { return set(Red, red); }
    float getGreen() const { return _green; }
    eDmErrorId setGreen(float green) { return set(Green, green); }
    float getBlue() const { return _blue; }
    eDmErrorId setBlue(float blue) { return set(Blue, blue); }
    float getAlpha() const { return _alpha; }
    eDmErrorId setAlpha(float alpha) { return set(Alpha, alpha); }
    /// Names of the painting application, carried as they are.
    const DmString& getType() const { return _type; }
    eDmErrorId setType(const DmString& type) { return set(Type, type); }
    const DmString& getBrush() const { return _brush; }
    eDmErrorId setBrush(const DmString& brush) { return set(Brush, brush); }

private:
    DmOwnedList<DmPoint> _points;
    float _red = 0;
    float _green = 0;
    float _blue = 0;
    float _alpha = 1;
    DmString _type;
    DmString _brush;
};
