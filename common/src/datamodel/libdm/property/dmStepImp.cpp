#include "dmStepImp.h"

#include "dmHearersImp.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace
{
constexpr std::size_t usual = 3; ///< changes: of an element's time, or of a layer's begin and length, and of the layer
}

struct DmStep::Change
{
    /// What needs memory, or cannot be; inside the mutex.
    eDmErrorId prepare();
    void store();

    DmPropertySet* object = nullptr;
    DmPropertySetPtr alive{}; ///< unless nobody counts the object yet
    int index = -1;
    const DmPropertyDef* def = nullptr;
    double number = 0.0;
    std::size_t first = 0;
    std::size_t count = 0;
    std::size_t fresh = 0;
    DmPropertySetVector elements{}; ///< the new ones, which become the old ones
    std::unique_ptr<DmSetAccess::Hearers> hearers{};
    bool isLocked = false;
};

eDmErrorId DmStep::Change::prepare()
{
    if (DmSetAccess::Hearers::areThere(*object))
    {
        hearers = std::make_unique<DmSetAccess::Hearers>();
        if (const eDmErrorId status = hearers->take(*object, object->getNodeId()); status != DM_NO_ERROR)
            return status;
    }
    if (def->_type == DM_DOUBLE)
    {
        const double old = DmSetAccess::field<double>(*object, index, *def);
        return def->_constant && std::memcmp(&old, &number, sizeof(old)) != 0 ? DM_BAD_VALUE : DM_NO_ERROR;
    }
    auto& list = DmSetAccess::field<DmPropertySetVector>(*object, index, *def);
    if (first > list.size() || count > list.size() - first)
        return DM_BAD_INDEX;
    if (const std::size_t size = list.size() - count + fresh; size > list.capacity())
        list.reserve(std::max(size, 2 * list.capacity()));
    elements.resize(std::max(count, fresh));
    return DM_NO_ERROR;
}

void DmStep::Change::store()
{
    if (def->_type == DM_DOUBLE)
    {
        DmSetAccess::field<double>(*object, index, *def) = number;
        return;
    }
    auto& list = DmSetAccess::field<DmPropertySetVector>(*object, index, *def);
    const std::size_t size = list.size();
    if (fresh > count) // behind the old ones
    {
        list.resize(size - count + fresh);
        const auto behind = list.begin() + static_cast<std::ptrdiff_t>(first + count);
        std::rotate(behind, list.begin() + static_cast<std::ptrdiff_t>(size), list.end());
    }
    const auto begin = list.begin() + static_cast<std::ptrdiff_t>(first);
    std::swap_ranges(elements.begin(), elements.end(), begin);
    if (fresh < count)
    {
        std::rotate(begin + static_cast<std::ptrdiff_t>(fresh), begin + static_cast<std::ptrdiff_t>(count), list.end());
        list.resize(size - count + fresh);
    }
}

/// Holds the mutexes of all objects of a step for a scope.
class DmStep::Locks
{
public:
    explicit Locks(std::vector<Change>& changes)
        : _changes(changes)
    {
        for (Change& change : _changes)
            change.isLocked = DmSetAccess::lockWord(*change.object).lock(); // not a second time
    }
    Locks(const Locks&) = delete;
    Locks& operator=(const Locks&) = delete;
    ~Locks()
    {
        for (Change& change : _changes)
            if (change.isLocked)
                DmSetAccess::lockWord(*change.object).unlock();
    }

private:
    std::vector<Change>& _changes;
};

DmStep::DmStep() = default;
DmStep::~DmStep() = default;

/// Null when it cannot be: the step has the status.
DmStep::Change* DmStep::add(DmPropertySet& object, int index, eDmPropType type)
{
    const DmPropertyDef* const def = object.classData().at(index);
    const auto check = [&]
    {
        if (!def)
            return DM_PROPERTY_NOT_FOUND;
        if (def->_type != type)
            return DM_BAD_PROPERTY_TYPE;
        if (object.isFrozen())
            return DM_CANNOT_LOCK;
        if (_changes.empty())
            _changes.reserve(usual);
        _changes.emplace_back();
        return DM_NO_ERROR;
    };
    if (_status == DM_NO_ERROR)
        _status = dmWithMemory(check);
    if (_status != DM_NO_ERROR)
        return nullptr;
    Change& change = _changes.back();
    change.object = &object;
    change.alive.reset(object.refCount() > 0 ? &object : nullptr);
    change.index = index;
    change.def = def;
    return &change;
}

void DmStep::set(DmPropertySet& object, int index, double value)
{
    if (Change* const change = add(object, index, DM_DOUBLE))
        change->number = value;
}

void DmStep::splice(DmPropertySet& object, int list, int first, int count, DmPropertySetVector&& elements)
{
    Change* const change = add(object, list, DM_VECTOR_PROPERTY_SET);
    if (!change)
        return;
    if (first < 0 || count < 0)
        _status = DM_BAD_INDEX;
    for (auto element = elements.begin(); _status == DM_NO_ERROR && element != elements.end(); ++element)
        _status = DmSetAccess::checkSlot(object, *change->def, element->get());
    change->first = static_cast<std::size_t>(first);
    change->count = static_cast<std::size_t>(count);
    change->fresh = elements.size();
    change->elements = std::move(elements);
}

eDmErrorId DmStep::store()
{
    if (_status != DM_NO_ERROR)
        return _status;
    const Locks locks(_changes);
    const auto prepare = [this]
    {
        for (Change& change : _changes)
            if (const eDmErrorId status = change.object->isFrozen() ? DM_CANNOT_LOCK : change.prepare();
                status != DM_NO_ERROR)
                return status;
        return DM_NO_ERROR;
    };
    _status = dmWithMemory(prepare);
    if (_status == DM_NO_ERROR)
        for (Change& change : _changes)
        {
            change.store();
            if (!change.hearers)
                DmSetAccess::touch(*change.object);
        }
    return _status;
}

void DmStep::announce()
{
    bool isLater = false;
    for (Change& change : _changes)
    {
        if (!change.hearers)
            continue;
        change.hearers->notifyAll(*change.object, change.def->_type, change.def->_name, change.alive, isLater);
        DmSetAccess::touch(*change.object);
        isLater = true;
    }
}

eDmErrorId DmStep::take()
{
    const eDmErrorId status = store();
    if (status == DM_NO_ERROR)
        announce();
    return status;
}
