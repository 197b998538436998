/// The fields of a property set from inside, for code that fills a fresh object which nobody else sees yet: without the
/// object's mutex, and without a look-up a value. What guards a value stays with the caller: frozen objects, constant
/// properties and the classes that slots hold.
#pragma once

#include "dmPropertySet.h"

class DmSetAccess
{
public:
    static void* field(DmPropertySet& set, int index, const DmPropertyDef& def) { return set.fieldOf(index, def); }
    /// Whether an object may stand in a slot: DM_BAD_PROPERTY_TYPE when it is of another class than the slot holds.
    static eDmErrorId checkSlot(const DmPropertySet& set, const DmPropertyDef& def, const DmPropertySet* held)
    {
        return set.checkSlot(def, held);
    }
    /// Tells the listeners and sets the dirty flag, as every setter does.
    static void changed(DmPropertySet& set, const DmPropertyDef& def) { set.changed(def); }
};
