/// The members of DmEffect, for sources that define effect classes, a host's own included: `template class
/// DmEffect<T>;` makes them for a class. What registers it is DmConcrete.
#pragma once

#include "dmDeclare.h"
#include "dmEffect.h"

template <class T, class Base>
DmEffect<T, Base>::DmEffect(const DmNodeId& id)
    : DmEffect(id, DmPropertySetInit<T>::data())
{
}

template <class T, class Base>
DmEffect<T, Base>::DmEffect(const DmNodeId& id, CoSharedPtr<DmPropertySetData>& classData)
    : DmConcrete<T, Base>(id, classData)
{
}

template <class T, class Base>
DmString DmEffect<T, Base>::getName() const
{
    return DmString(T::typeName);
}

template <class T, class Base>
bool DmEffect<T, Base>::isSegmentCompatible() const
{
    return T::use.segment;
}

template <class T, class Base>
bool DmEffect<T, Base>::isTrxCompatible() const
{
    return T::use.transition;
}

template <class T, class Base>
eDmTreeMediaType DmEffect<T, Base>::getMediaType() const
{
    return T::use.media;
}

template <class T, class Base>
const DmNameTable& DmEffect<T, Base>::getAttributTable() const
{
    return T::attributNames;
}

template <class T, class Base>
const DmNameTable& DmEffect<T, Base>::getChannelTable() const
{
    return T::channelNames;
}
