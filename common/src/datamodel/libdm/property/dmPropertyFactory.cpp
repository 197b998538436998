#include "dmPropertyFactory.h"

#include "dmDefaultAttributesImp.h"
#include "dmMemoryImp.h"
#include "dmPropertySetInit.h"

#include <algorithm>
#include <sys/single_threaded.h>
#include <utility>

namespace
{

/// Without memory for all of the object there is none.
template <class MakeId>
eDmErrorId make(DmPropertyCreator creator, bool attributes, DmPropertySet*& out, MakeId&& makeId)
{
    DmPropertySet* made = nullptr;
    const unsigned lost = DmString::lost();
    eDmErrorId status = DM_BAD_VALUE;
    bool isWhole = false;
    try
    {
        status = creator(makeId(), made, attributes);
        isWhole = lost == DmString::lost();
    }
    catch (const std::bad_alloc&)
    {
    }
    if (!isWhole)
    {
        const DmPropertySetPtr lastReference(std::exchange(made, nullptr));
        status = DM_BAD_VALUE;
    }
    out = made;
    return status;
}

/// Without a locked instruction while there is one thread.
std::uint64_t takeId(std::atomic<std::uint64_t>& next)
{
    if (!__libc_single_threaded)
        return next.fetch_add(1, std::memory_order_relaxed);
    const std::uint64_t id = next.load(std::memory_order_relaxed);
    next.store(id + 1, std::memory_order_relaxed);
    return id;
}

} // namespace

thread_local constinit int DmDefaultAttributes::_scopes = 0;

DmPropertyFactory& DmPropertyFactory::getInstance()
{
    // Never destroyed: it may be made after objects of static storage that ask it for something to the end.
    static DmPropertyFactory& factory = *new DmPropertyFactory;
    return factory;
}

eDmErrorId DmPropertyFactory::registerCreator(const DmString& className, DmPropertyCreator creator)
{
    DmClassEntry::registerAll();
    const bool added = _creators.try_emplace(std::wstring(className.view()), Entry{creator, false}).second;
    return added ? DM_NO_ERROR : DM_PROPERTYSET_ALREADY_EXIST;
}

eDmErrorId DmPropertyFactory::registerAlias(const DmString& name, DmPropertyCreator creator)
{
    DmClassEntry::registerAll();
    const bool added = _creators.try_emplace(std::wstring(name.view()), Entry{creator, true}).second;
    return added ? DM_NO_ERROR : DM_PROPERTYSET_ALREADY_EXIST;
}

eDmErrorId DmPropertyFactory::createPropertySetInstance(const DmString& className, const DmNodeId& parentId, int index,
                                                        DmPropertySet*& out) const
{
    const DmPropertyCreator creator = findCreator(className.view());
    return creator ? create(creator, parentId, index, out) : DM_PROPERTY_NOT_FOUND;
}

DmPropertyCreator DmPropertyFactory::findCreator(std::wstring_view className) const
{
    DmClassEntry::registerAll();
    const auto found = _creators.find(className);
    return found == _creators.end() ? nullptr : found->second.creator;
}

eDmErrorId DmPropertyFactory::create(DmPropertyCreator creator, const DmNodeId& parentId, int index,
                                     DmPropertySet*& out) const
{
    // Taken before the object is made, so that creations inside it, or beside it, never share an id.
    const std::uint64_t number = takeId(_nextId);
    const bool attributes = DmDefaultAttributes::areOn() || _createDefaultAttributes.load(std::memory_order_relaxed);
    return make(creator, attributes, out,
                [&] { return parentId.isEmpty() ? DmNodeId(number) : DmNodeId(parentId, index, number); });
}

eDmErrorId DmPropertyFactory::createBare(DmPropertyCreator creator, DmPropertySet*& out) const
{
    return make(creator, false, out, [this] { return DmNodeId(takeId(_nextId)); });
}

bool DmPropertyFactory::setCreateDefaultAttributes(bool create)
{
    return _createDefaultAttributes.exchange(create);
}

std::vector<DmString> DmPropertyFactory::classNames(eDmErrorId* status) const
{
    DmClassEntry::registerAll();
    const auto list = [this](std::vector<DmString>& names)
    {
        names.reserve(_creators.size());
        for (const auto& [name, entry] : _creators)
            if (!entry.isAlias)
                names.emplace_back(std::wstring_view(name));
        std::sort(names.begin(), names.end(), [](const DmString& a, const DmString& b) { return a < b; });
    };
    return dmListWithMemory<DmString>(status, list);
}
