/// A property set as an object of Python: one type for each class, made of its definitions when it is first met, its
/// properties attributes. An object of Python holds one reference; while it lives, the same set is the same object.
#pragma once

#include "pyError.h"

#include "dmPropertySet.h"

#include <optional>

namespace zrpy
{

class Draft;

/// A set as an object of Python has it: itself, or what a session made of it.
class Reached
{
public:
    Reached(DmPropertySet& set, Draft* draft = nullptr) // NOLINT(google-explicit-constructor): most are reached alone
        : _set(&set)
        , _draft(draft)
    {
    }

    /// As it is known in the session: the constant one.
    DmPropertySet& set() const { return *_set; }
    Draft* draft() const { return _draft; }
    DmPropertySet& read() const;
    /// Raises when the session has gone on, or ended. What read() answered before may be another set now.
    DmPropertySet& write() const;
    /// Alone, with all that it holds, for those who know nothing of sessions.
    DmPropertySet& settled() const;
    bool isConstant() const;

    py::object object() const;
    /// The object of what the set holds, in an element of a list or elsewhere.
    py::object held(DmPropertySet* held, const DmPropertyDef& def, int element = -1) const;

private:
    DmPropertySet* _set;
    Draft* _draft;
};

/// None for null.
py::object wrap(DmPropertySet* set);
inline py::object wrap(const DmPropertySetPtr& set)
{
    return wrap(set.get());
}

/// The set of an object, settled; null when it is something else.
DmPropertySet* unwrap(py::handle object);
/// Likewise, to be set too.
std::optional<Reached> reachedBy(py::handle object);
/// Raises TypeError for what is no property set.
Reached requireReached(py::handle object, const char* what);
/// Raises TypeError for what is no property set; `what` says whose argument it is.
DmPropertySet& requireSet(py::handle object, const char* what);

/// A new object of a class, without default attributes; null for a name that no class has.
DmPropertySetPtr createSet(const DmString& className);

/// "DmSourceNode.recIn"
std::string nameOf(const DmPropertySet& set, const DmPropertyDef& def);

/// Whether `set` is `inside`, or holds it on whatever way.
bool holds(const DmPropertySet& set, const DmPropertySet& inside);

/// The type of a class, or of an abstract class that slots hold; null for a name that is neither.
py::object typeOfClass(const std::string& name);
/// Every class that has a type: of the factory, and those that slots hold.
py::list typeNames();

void addSets(py::module_& module);

} // namespace zrpy
