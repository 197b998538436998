/// Changes of several properties, of one object or of more, that happen as a whole or not at all: what is stored is
/// stored inside the mutexes of all of these objects, and only then are their listeners told, in the order in which the
/// changes were added.
///
///     DmStep step;
///     step.splice(*layer, DmLayerNode::Children, 4, 0, std::move(elements));
///     step.set(*layer, DmLayerNode::LayerLength, 100.0);
///     return step.take();
///
/// Each property is changed once. The mutexes are taken in the order of the changes, while every other change takes one
/// at a time: steps that meet at several objects name them in the same order.
#pragma once

#include "dmSetAccessImp.h"

#include <vector>

class DmStep
{
public:
    DmStep();
    DmStep(const DmStep&) = delete;
    DmStep& operator=(const DmStep&) = delete;
    ~DmStep();

    /// A Double.
    void set(DmPropertySet& object, int index, double value);
    /// Puts elements in place of `count` others of a vector of sets from `first` on. The caller has looked whether the
    /// list may hold them.
    void splice(DmPropertySet& object, int list, int first, int count, DmPropertySetVector&& elements);

    /// The status of the first change that cannot be; then nothing has changed. To be called once.
    eDmErrorId store();
    /// After it, if that was a success.
    void announce();
    /// Both.
    eDmErrorId take();

private:
    struct Change;
    class Locks;

    Change* add(DmPropertySet& object, int index, eDmPropType type);

    std::vector<Change> _changes;
    eDmErrorId _status = DM_NO_ERROR;
};
