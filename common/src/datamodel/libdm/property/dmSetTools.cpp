#include "dmSetTools.h"

#include "dmMemoryImp.h"
#include "dmNesting.h"
#include "dmNumberAtImp.h"
#include "dmPropertyFactory.h"
#include "dmSetAccessImp.h"
#include "dmUtf8.h"

#include "CoHashImp.h"
#include "zrAssert.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <unordered_set>

namespace
{

/// The sets that an operation is inside of, from the current one up.
struct Level
{
    const Level* above = nullptr;
    const DmPropertySet* set = nullptr;
    const DmPropertySet* top = nullptr;
    int depth = 0;

    /// Below itself stands only what is held twice, or the set at the top, which need not be held from outside.
    static eDmErrorId enter(const Level* above, const DmPropertySet& set, Level& level)
    {
        level = {above, &set, above ? above->top : &set, above ? above->depth + 1 : 0};
        if (level.depth >= dmMaxNesting)
            return DM_BAD_VALUE;
        if (set.refCount() <= 1 && &set != level.top)
            return DM_NO_ERROR;
        for (const Level* up = above; up; up = up->above)
            if (up->set == &set)
                return DM_BAD_VALUE;
        return DM_NO_ERROR;
    }
};

template <class T>
bool sameNumber(T a, T b)
{
    if constexpr (std::is_floating_point_v<T>)
        if (std::isnan(a) && std::isnan(b))
            return true;
    return a == b;
}

// Walk

class Walk
{
public:
    explicit Walk(DmPropertyWalker& walker)
        : _walker(walker)
    {
    }

    eDmErrorId properties(const DmPropertySet& set, const DmPropertyPath* above, const Level* levelAbove)
    {
        Level level;
        if (const eDmErrorId status = Level::enter(levelAbove, set, level); status != DM_NO_ERROR)
            return status;
        const DmPropertySetData& data = set.classData();
        for (int i = 0; i < data.size() && !_stopped; ++i)
        {
            DmPropertyPath path{above, &set, i, -1, nullptr};
            const DmWalkStep step = _walker.property(path);
            _stopped = step == DmWalkStep::Stop;
            if (step == DmWalkStep::Into)
                if (const eDmErrorId status = elements(path, data.at(i)->_type, level); status != DM_NO_ERROR)
                    return status;
        }
        return DM_NO_ERROR;
    }

private:
    eDmErrorId elements(DmPropertyPath& path, eDmPropType type, const Level& level)
    {
        if (type == DM_PROPERTY_SET)
            return held(path, static_cast<const DmPropertySetPtr*>(path.field())->get(), level);
        eDmErrorId status = DM_NO_ERROR;
        if (type == DM_VECTOR_PROPERTY_SET)
        {
            for (const DmPropertySet* const element : path.owner->elementsOf(path.index))
            {
                ++path.element;
                if (status = held(path, element, level); status != DM_NO_ERROR || _stopped)
                    break;
            }
        }
        else if (type == DM_MAP_PROPERTY_SET)
        {
            for (const auto& [key, entry] : *static_cast<const DmPropertySetMap*>(path.field()))
            {
                path.key = &key;
                if (status = held(path, entry.get(), level); status != DM_NO_ERROR || _stopped)
                    break;
            }
        }
        return status;
    }

    eDmErrorId held(const DmPropertyPath& path, const DmPropertySet* set, const Level& level)
    {
        if (!set)
            return DM_NO_ERROR;
        const DmWalkStep step = _walker.held(path, *set);
        _stopped = step == DmWalkStep::Stop;
        return step == DmWalkStep::Into ? properties(*set, &path, &level) : DM_NO_ERROR;
    }

    DmPropertyWalker& _walker;
    bool _stopped = false;
};

// Plans: what is the same in every object of a class is found out once in a process: which numbers lie side by side and
// are copied and compared as bytes, which blocks objects share as long as nobody wrote to them, and where the rest is.
// That pays with a third of a copy's time, five sixths of a comparison's, and makes copying a single set of 13
// numbers cost what making it does (documentsBench, propertyBench). A copy that asks again for the type of each text
// and nested set takes a seventh more instructions; one that waits for the memory of each element, some hundredths
// longer.

template <class T>
inline constexpr bool isSlot =
    std::same_as<T, DmPropertySetPtr> || std::same_as<T, DmPropertySetVector> || std::same_as<T, DmPropertySetMap>;

bool holdsSets(eDmPropType type)
{
    return type == DM_PROPERTY_SET || type == DM_VECTOR_PROPERTY_SET || type == DM_MAP_PROPERTY_SET;
}

/// How the objects of a class lie in memory.
struct ClassPlan
{
    struct Bytes
    {
        std::ptrdiff_t offset;
        std::size_t size;
    };
    struct Field
    {
        std::ptrdiff_t offset;
        int index;
        eDmPropType type;
    };
    /// What lies in the object itself, or in one of its rare blocks.
    struct Part
    {
        const DmPropertyDef* rare;  ///< a property of the block; null for the object
        std::vector<Bytes> numbers; ///< none beginning where another ends
        std::vector<Field> fields;  ///< texts and lists of values
        std::vector<Field> slots;   ///< what holds sets

        /// Where it lies for a set: objects that share a block have it in one place.
        const char* of(const DmPropertySet& set) const
        {
            const char* const place = reinterpret_cast<const char*>(&set);
            return rare ? static_cast<const char*>(rare->_rare->read(place + rare->_rareAt)) : place;
        }
    };

    const DmPropertySetData* data;
    DmPropertyCreator creator;
    std::vector<Part> parts{{nullptr, {}, {}, {}}};
    std::vector<int> elsewhere; ///< properties that the class addresses from a place of its own
    std::vector<int> constants; ///< what the class sets itself

    explicit ClassPlan(const DmPropertySet& set)
        : data(&set.classData())
        , creator(DmPropertyFactory::getInstance().findCreator(data->className().view()))
    {
        for (int i = 0; i < data->size(); ++i)
        {
            const DmPropertyDef& def = *data->at(i);
            if (def._constant)
                constants.push_back(i);
            else if (!def._rare && !def._isInside)
                elsewhere.push_back(i);
            else if (const std::size_t size = sizeOfNumber(def._type))
                partOf(def).numbers.push_back({def._offset, size});
            else
                (holdsSets(def._type) ? partOf(def).slots : partOf(def).fields).push_back({def._offset, i, def._type});
        }
        for (Part& part : parts)
            joinNeighbours(part.numbers);
    }

private:
    static std::size_t sizeOfNumber(eDmPropType type)
    {
        return dmVisitStorage(type,
                              []<class T>(std::type_identity<T>) -> std::size_t
                              {
                                  if constexpr (DmNumberStorage<T>)
                                      return sizeof(T);
                                  return 0;
                              });
    }
    Part& partOf(const DmPropertyDef& def)
    {
        for (Part& part : parts)
            if ((part.rare ? part.rare->_rare : nullptr) == def._rare)
                return part;
        return parts.emplace_back(Part{&def, {}, {}, {}});
    }
    static void joinNeighbours(std::vector<Bytes>& numbers)
    {
        std::ranges::sort(numbers, {}, &Bytes::offset);
        std::size_t count = 0;
        for (const Bytes& next : numbers)
        {
            Bytes* const last = count == 0 ? nullptr : &numbers[count - 1];
            if (last && last->offset + static_cast<std::ptrdiff_t>(last->size) == next.offset)
                last->size += next.size;
            else
                numbers[count++] = next;
        }
        numbers.resize(count);
    }
};

/// That of a set's class. Made once and never destroyed, as the class's table is.
const ClassPlan& planOf(const DmPropertySet& set)
{
    static auto& mutex = *new std::mutex;
    static auto& plans = *new std::unordered_map<const DmPropertySetData*, std::unique_ptr<const ClassPlan>>;
    const std::lock_guard guard(mutex);
    std::unique_ptr<const ClassPlan>& plan = plans[&set.classData()];
    if (!plan)
        plan = std::make_unique<const ClassPlan>(set);
    return *plan;
}

/// The plans that an operation has met: a cut is of a few classes, again and again.
class ClassPlans
{
public:
    const ClassPlan& of(const DmPropertySet& set)
    {
        const DmPropertySetData* const data = &set.classData();
        const ClassPlan*& known = _known[reinterpret_cast<std::uintptr_t>(data) * 0x9E3779B97F4A7C15 >> 59];
        if (!known || known->data != data)
            known = &planOf(set);
        return *known;
    }

private:
    std::array<const ClassPlan*, 32> _known{}; ///< by five bits of the address of their class's table
};

// Comparison

class Comparison
{
public:
    explicit Comparison(std::string* difference)
        : _difference(difference)
    {
    }

    eDmErrorId sets(const DmPropertySet& a, const DmPropertySet& b, const DmPropertyPath* above,
                    const Level* levelAbove, bool& equal);

private:
    eDmErrorId differs(const DmPropertyPath* path, bool& equal)
    {
        equal = false;
        if (_difference)
            *_difference = path ? path->text() : std::string();
        return DM_NO_ERROR;
    }

    eDmErrorId inOrder(const DmPropertySet& a, const DmPropertySet& b, const DmPropertyPath* above, const Level& level,
                       bool& equal);
    eDmErrorId byPlan(const ClassPlan& plan, const DmPropertySet& a, const DmPropertySet& b,
                      const DmPropertyPath* above, const Level& level, bool& equal);
    eDmErrorId valuesByPlan(const ClassPlan& plan, const DmPropertySet& a, const DmPropertySet& b, const Level& level,
                            bool& isSure, bool& equal);
    eDmErrorId fields(DmPropertyPath& path, eDmPropType type, const DmPropertySet& b, const void* left,
                      const void* right, const Level& level, bool& equal);
    eDmErrorId slots(DmPropertyPath& path, eDmPropType type, const DmPropertySet& b, const void* left,
                     const void* right, const Level& level, bool& equal);

    eDmErrorId values(DmPropertyPath& path, const DmString& a, const DmString& b, const Level&, bool& equal)
    {
        return a == b ? DM_NO_ERROR : differs(&path, equal);
    }

    eDmErrorId values(DmPropertyPath& path, const DmPropertySetPtr& a, const DmPropertySetPtr& b, const Level& level,
                      bool& equal)
    {
        return values(path, a.get(), b.get(), level, equal);
    }

    eDmErrorId values(DmPropertyPath& path, const DmPropertySet* a, const DmPropertySet* b, const Level& level,
                      bool& equal)
    {
        if (a && b)
            return sets(*a, *b, &path, &level, equal);
        return !a && !b ? DM_NO_ERROR : differs(&path, equal);
    }

    /// Of vectors or windows.
    template <class List>
    eDmErrorId lists(DmPropertyPath& path, const List& a, const List& b, const Level& level, bool& equal)
    {
        if (a.size() != b.size())
            return differs(&path, equal);
        auto right = b.begin();
        for (const auto& left : a)
        {
            ++path.element;
            if constexpr (DmNumberStorage<std::remove_cvref_t<decltype(left)>>)
            {
                if (!sameNumber(left, *right))
                    return differs(&path, equal);
            }
            else if (const eDmErrorId status = values(path, left, *right, level, equal);
                     status != DM_NO_ERROR || !equal)
                return status;
            ++right;
        }
        return DM_NO_ERROR;
    }

    eDmErrorId values(DmPropertyPath& path, const DmPropertySetMap& a, const DmPropertySetMap& b, const Level& level,
                      bool& equal)
    {
        if (a.size() != b.size())
            return differs(&path, equal);
        for (auto left = a.begin(), right = b.begin(); left != a.end() && equal; ++left, ++right)
        {
            path.key = &left->first;
            if (left->first != right->first)
                return differs(&path, equal);
            if (const eDmErrorId status = values(path, left->second, right->second, level, equal);
                status != DM_NO_ERROR)
                return status;
        }
        return DM_NO_ERROR;
    }

    std::string* _difference;
    ClassPlans _plans;
    std::unordered_set<std::pair<const void*, const void*>, DM::CoHash::OfPair> _known; ///< shared sets found equal
};

eDmErrorId Comparison::sets(const DmPropertySet& a, const DmPropertySet& b, const DmPropertyPath* above,
                            const Level* levelAbove, bool& equal)
{
    equal = true;
    if (&a == &b)
        return DM_NO_ERROR;
    if (&a.classData() != &b.classData())
        return differs(above, equal);
    Level level;
    if (const eDmErrorId status = Level::enter(levelAbove, a, level); status != DM_NO_ERROR)
        return status;
    const bool shared = a.refCount() > 1 && b.refCount() > 1;
    if (shared && _known.contains({&a, &b}))
        return DM_NO_ERROR;
    const bool hasPlan = !_difference && !a.classData().className().empty(); // an object may come before its class
    const eDmErrorId status =
        hasPlan ? byPlan(_plans.of(a), a, b, above, level, equal) : inOrder(a, b, above, level, equal);
    if (shared && status == DM_NO_ERROR && equal)
        _known.insert({&a, &b});
    return status;
}

/// Which difference is the first goes by the order of properties.
eDmErrorId Comparison::inOrder(const DmPropertySet& a, const DmPropertySet& b, const DmPropertyPath* above,
                               const Level& level, bool& equal)
{
    const DmPropertySetData& data = a.classData();
    eDmErrorId status = DM_NO_ERROR;
    for (int i = 0; i < data.size() && equal && status == DM_NO_ERROR; ++i)
    {
        DmPropertyPath path{above, &a, i, -1, nullptr};
        const eDmPropType type = data.at(i)->_type;
        const void* const left = a.fieldOf(i);
        const void* const right = b.fieldOf(i);
        status = holdsSets(type) ? slots(path, type, b, left, right, level, equal)
                                 : fields(path, type, b, left, right, level, equal);
    }
    return status;
}

eDmErrorId Comparison::byPlan(const ClassPlan& plan, const DmPropertySet& a, const DmPropertySet& b,
                              const DmPropertyPath* above, const Level& level, bool& equal)
{
    bool isSure = true;
    eDmErrorId status = valuesByPlan(plan, a, b, level, isSure, equal);
    if (!isSure)
        return inOrder(a, b, above, level, equal);
    for (const ClassPlan::Part& part : plan.parts)
    {
        const char* const left = part.slots.empty() ? nullptr : part.of(a);
        const char* const right = part.slots.empty() ? nullptr : part.of(b);
        if (left == right)
            continue; // both are the class's
        for (const ClassPlan::Field& slot : part.slots)
        {
            if (status != DM_NO_ERROR || !equal)
                return status;
            DmPropertyPath path{above, &a, slot.index, -1, nullptr};
            status = slots(path, slot.type, b, left + slot.offset, right + slot.offset, level, equal);
        }
    }
    return status;
}

/// All but what holds sets: kept out of the frames of a chain of sets, which is as long as a small stack is deep.
eDmErrorId Comparison::valuesByPlan(const ClassPlan& plan, const DmPropertySet& a, const DmPropertySet& b,
                                    const Level& level, bool& isSure, bool& equal)
{
    const auto differsAt = [&](int index, eDmPropType type, const void* left, const void* right, eDmErrorId& status)
    {
        DmPropertyPath path{nullptr, &a, index, -1, nullptr};
        status = fields(path, type, b, left, right, level, equal);
        return status != DM_NO_ERROR || !equal;
    };
    eDmErrorId status = DM_NO_ERROR;
    for (const ClassPlan::Part& part : plan.parts)
    {
        const char* const left = part.of(a);
        const char* const right = part.of(b);
        if (left == right)
            continue;
        for (const ClassPlan::Bytes& bytes : part.numbers)
        {
            isSure = std::memcmp(left + bytes.offset, right + bytes.offset, bytes.size) == 0;
            if (!isSure)
                return DM_NO_ERROR; // 0.0 and -0.0 are equal
        }
        for (const ClassPlan::Field& each : part.fields)
            if (differsAt(each.index, each.type, left + each.offset, right + each.offset, status))
                return status;
    }
    for (const std::vector<int>* const indices : {&plan.elsewhere, &plan.constants})
        for (const int index : *indices)
            if (differsAt(index, plan.data->at(index)->_type, a.fieldOf(index), b.fieldOf(index), status))
                return status;
    return DM_NO_ERROR;
}

eDmErrorId Comparison::fields(DmPropertyPath& path, eDmPropType type, const DmPropertySet& b, const void* left,
                              const void* right, const Level& level, bool& equal)
{
    return dmVisitStorage(
        type,
        [&]<class T>(std::type_identity<T>) -> eDmErrorId
        {
            if constexpr (std::is_void_v<T>)
                return DM_TYPE_NOT_IMPLEMENTED;
            else if constexpr (DmNumberStorage<T>)
                return sameNumber(dmNumberAt<T>(left), dmNumberAt<T>(right)) ? DM_NO_ERROR : differs(&path, equal);
            else if constexpr (isSlot<T>)
                return slots(path, type, b, left, right, level, equal);
            else if constexpr (dmIsVector<T>)
                return lists(path, *static_cast<const T*>(left), *static_cast<const T*>(right), level, equal);
            else
                return values(path, *static_cast<const T*>(left), *static_cast<const T*>(right), level, equal);
        });
}

eDmErrorId Comparison::slots(DmPropertyPath& path, eDmPropType type, const DmPropertySet& b, const void* left,
                             const void* right, const Level& level, bool& equal)
{
    if (type == DM_VECTOR_PROPERTY_SET)
        return lists(path, path.owner->elementsOf(path.index), b.elementsOf(path.index), level, equal);
    if (type == DM_MAP_PROPERTY_SET)
        return values(path, *static_cast<const DmPropertySetMap*>(left), *static_cast<const DmPropertySetMap*>(right),
                      level, equal);
    return values(path, static_cast<const DmPropertySetPtr*>(left)->get(),
                  static_cast<const DmPropertySetPtr*>(right)->get(), level, equal);
}

// Copy: a fresh object of the source's class takes over field by field. What the source's slots hold, its slots may
// hold, and nobody else sees it yet: values go straight into its fields, numbers as bytes.

class Copy
{
public:
    /// What objects share as the default of their class is shared by the copy, at its top excepted. A text that has no
    /// memory only counts as lost.
    eDmErrorId copy(const DmPropertySet& source, const Level* levelAbove, DmPropertySetPtr& out);

private:
    /// An object that a public constructor made may be the first of its class: the factory makes one then, for the
    /// table.
    static eDmErrorId declareClass(const DmPropertySet& set)
    {
        const DmPropertyFactory& factory = DmPropertyFactory::getInstance();
        const DmPropertyCreator creator = factory.findCreator(set.getPSetName().view());
        if (!creator)
            return DM_PROPERTY_NOT_FOUND;
        DmPropertySet* made = nullptr;
        const eDmErrorId status = factory.createBare(creator, made);
        const DmPropertySetPtr lastReference(made);
        return status;
    }

    eDmErrorId properties(const ClassPlan& plan, const DmPropertySet& source, DmPropertySet& target,
                          const Level& level);
    eDmErrorId field(eDmPropType type, const DmPropertySet& source, int index, const void* from, void* to,
                     const Level& level);
    eDmErrorId slot(eDmPropType type, const DmPropertySet& source, int index, const void* from, void* to,
                    const Level& level);

    static void fetch(const DmPropertySet* set)
    {
        constexpr int lines = 3; // a source has
        for (int i = 0; set && i < lines; ++i)
            __builtin_prefetch(reinterpret_cast<const char*>(set) + i * 64);
    }

    /// Of the types that nearly all fields have, without asking for the type again.
    template <class T>
    eDmErrorId valuesAt(const void* from, void* to, const Level& level)
    {
        return values(*static_cast<const T*>(from), *static_cast<T*>(to), level);
    }

    // What a fresh object begins with may be a default of its class's.

    static eDmErrorId values(const DmString& from, DmString& to, const Level& /*level*/)
    {
        const bool isAlreadyHeld = to.isKept() && (from.c_str() == to.c_str() || (!to.empty() && from == to));
        if (!isAlreadyHeld)
            to = from;
        return DM_NO_ERROR;
    }

    eDmErrorId values(const DmPropertySetPtr& from, DmPropertySetPtr& to, const Level& level)
    {
        if (from)
            return copy(*from, &level, to);
        if (to)
            to.reset();
        return DM_NO_ERROR;
    }

    eDmErrorId values(const DmListWindow<DmPropertySet>& from, DmPropertySetVector& to, const Level& level)
    {
        to.clear();
        to.reserve(from.size());
        constexpr int ahead = 4; // whose memory is fetched meanwhile
        const DmListWindow<DmPropertySet> later = from.range(ahead, from.count());
        auto next = later.begin();
        for (const DmPropertySet* const element : from)
        {
            if (next != later.end())
                fetch(*next++);
            DmPropertySetPtr& place = to.emplace_back();
            if (element)
                if (const eDmErrorId status = copy(*element, &level, place); status != DM_NO_ERROR)
                    return status;
        }
        return DM_NO_ERROR;
    }

    static eDmErrorId values(const std::vector<DmString>& from, std::vector<DmString>& to, const Level& level)
    {
        to.resize(from.size());
        for (std::size_t i = 0; i < from.size(); ++i)
            static_cast<void>(values(from[i], to[i], level));
        return DM_NO_ERROR;
    }

    template <DmNumberStorage Element>
    static eDmErrorId values(const std::vector<Element>& from, std::vector<Element>& to, const Level& /*level*/)
    {
        to = from;
        return DM_NO_ERROR;
    }

    eDmErrorId values(const DmPropertySetMap& from, DmPropertySetMap& to, const Level& level)
    {
        to.clear();
        for (const auto& [key, entry] : from)
        {
            const auto place = to.emplace_hint(to.end(), key, DmPropertySetPtr());
            if (const eDmErrorId status = values(entry, place->second, level); status != DM_NO_ERROR)
                return status;
        }
        return DM_NO_ERROR;
    }

    std::unordered_map<const DmPropertySet*, DmPropertySetPtr> _copies; ///< of what is held more than once
    ClassPlans _plans;
};

eDmErrorId Copy::copy(const DmPropertySet& source, const Level* levelAbove, DmPropertySetPtr& out)
{
    if (levelAbove && source.isSharedDefault())
    {
        out.reset(const_cast<DmPropertySet*>(&source)); // a constant: sharing hands out nothing to change
        return DM_NO_ERROR;
    }
    const bool shared = source.refCount() > 1;
    if (shared)
        if (const auto found = _copies.find(&source); found != _copies.end())
        {
            out = found->second;
            return DM_NO_ERROR;
        }
    Level level;
    if (const eDmErrorId status = Level::enter(levelAbove, source, level); status != DM_NO_ERROR)
        return status;

    if (source.classData().className().empty())
        if (const eDmErrorId status = declareClass(source); status != DM_NO_ERROR)
            return status;
    const ClassPlan& plan = _plans.of(source);
    if (!plan.creator)
        return DM_PROPERTY_NOT_FOUND;
    DmPropertySet* made = nullptr;
    eDmErrorId status = DmPropertyFactory::getInstance().createBare(plan.creator, made);
    DmPropertySetPtr target(made);
    if (status == DM_NO_ERROR)
        status = properties(plan, source, *target, level);
    if (status != DM_NO_ERROR)
        return status;
    if (shared)
        _copies.emplace(&source, target);
    out.swap(target);
    return DM_NO_ERROR;
}

eDmErrorId Copy::properties(const ClassPlan& plan, const DmPropertySet& source, DmPropertySet& target,
                            const Level& level)
{
    if (target.isFrozen())
        return DM_CANNOT_LOCK;
    for (const ClassPlan::Part& part : plan.parts)
    {
        const char* from = reinterpret_cast<const char*>(&source);
        char* to = reinterpret_cast<char*>(&target);
        if (part.rare)
        {
            const DmRareBlock& block = *part.rare->_rare;
            const void* const rares = from + part.rare->_rareAt;
            if (!block.isOwn(rares))
                continue; // the copy shares it as well
            from = static_cast<const char*>(block.read(rares));
            to = static_cast<char*>(block.own(to + part.rare->_rareAt));
        }
        for (const ClassPlan::Bytes& bytes : part.numbers)
            std::memcpy(to + bytes.offset, from + bytes.offset, bytes.size);
        for (const ClassPlan::Field& each : part.fields)
            if (const eDmErrorId status =
                    each.type == DM_STRING
                        ? valuesAt<DmString>(from + each.offset, to + each.offset, level)
                        : field(each.type, source, each.index, from + each.offset, to + each.offset, level);
                status != DM_NO_ERROR)
                return status;
        for (const ClassPlan::Field& each : part.slots)
            if (const eDmErrorId status =
                    each.type == DM_PROPERTY_SET
                        ? valuesAt<DmPropertySetPtr>(from + each.offset, to + each.offset, level)
                        : slot(each.type, source, each.index, from + each.offset, to + each.offset, level);
                status != DM_NO_ERROR)
                return status;
    }
    for (const int index : plan.elsewhere)
        if (const eDmErrorId status = field(plan.data->at(index)->_type, source, index, source.fieldOf(index),
                                            const_cast<void*>(target.fieldOf(index)), level);
            status != DM_NO_ERROR)
            return status;
    return DM_NO_ERROR;
}

eDmErrorId Copy::field(eDmPropType type, const DmPropertySet& source, int index, const void* from, void* to,
                       const Level& level)
{
    return dmVisitStorage(type,
                          [&]<class T>(std::type_identity<T>) -> eDmErrorId
                          {
                              if constexpr (std::is_void_v<T>)
                                  return DM_TYPE_NOT_IMPLEMENTED;
                              else if constexpr (DmNumberStorage<T>)
                              {
                                  std::memcpy(to, from, sizeof(T));
                                  return DM_NO_ERROR;
                              }
                              else if constexpr (isSlot<T>)
                                  return slot(type, source, index, from, to, level);
                              else
                                  return values(*static_cast<const T*>(from), *static_cast<T*>(to), level);
                          });
}

eDmErrorId Copy::slot(eDmPropType type, const DmPropertySet& source, int index, const void* from, void* to,
                      const Level& level)
{
    if (type == DM_VECTOR_PROPERTY_SET)
        return values(source.elementsOf(index), *static_cast<DmPropertySetVector*>(to), level);
    if (type == DM_MAP_PROPERTY_SET)
        return values(*static_cast<const DmPropertySetMap*>(from), *static_cast<DmPropertySetMap*>(to), level);
    return values(*static_cast<const DmPropertySetPtr*>(from), *static_cast<DmPropertySetPtr*>(to), level);
}

} // namespace

std::string DmPropertyPath::text() const
{
    return dmTextWithMemory(
        [this]
        {
            std::string text = above ? above->text() + '/' : std::string();
            text += def()._utf8Name;
            if (element >= 0)
                text += '[' + std::to_string(element) + ']';
            if (key)
                text += "[\"" + dmUtf8(*key) + "\"]";
            return text;
        });
}

DmWalkStep DmPropertyWalker::held(const DmPropertyPath& /*path*/, const DmPropertySet& /*set*/)
{
    return DmWalkStep::Into;
}

eDmErrorId dmWalk(const DmPropertySet& set, DmPropertyWalker& walker)
{
    return dmWithMemory([&] { return Walk(walker).properties(set, nullptr, nullptr); });
}

eDmErrorId dmDeepEqual(const DmPropertySet& a, const DmPropertySet& b, bool& equal, std::string* difference)
{
    const eDmErrorId status = dmWithMemory([&] { return Comparison(difference).sets(a, b, nullptr, nullptr, equal); });
    if (status != DM_NO_ERROR)
        equal = false;
    return status;
}

eDmErrorId dmDeepCopy(const DmPropertySet& source, CoSharedPtr<DmPropertySet>& copy)
{
    DmPropertySetPtr result;
    const eDmErrorId status = dmWithMemory([&] { return Copy().copy(source, nullptr, result); });
    if (status == DM_NO_ERROR)
        copy = result;
    return status;
}

eDmErrorId dmTakeText(DmPropertySet& set, int index, DmString&& text)
{
    const DmPropertyDef* const def = set.classData().at(index);
    if (!def)
        return DM_PROPERTY_NOT_FOUND;
    const bool isText = def->_type == DM_STRING || def->_type == DM_CDATA;
    return isText ? DmSetAccess::swapValue(set, DmStore::Announced, index, *def, text) : DM_BAD_PROPERTY_TYPE;
}

namespace
{

/// Whether two definitions say the same of where a value is.
bool areAlike(const DmPropertyDef& def, const DmPropertyDef& other)
{
    const bool name = def._name == other._name;
    const bool type = def._type == other._type;
    const bool offset = def._offset == other._offset;
    ZR_ASSERT_SOFT_AS("propertyDef._name == defaultPropertyDef._name", name);
    ZR_ASSERT_SOFT_AS("propertyDef._type == defaultPropertyDef._type", type);
    ZR_ASSERT_SOFT_AS("propertyDef._offset == defaultPropertyDef._offset", offset);
    return name && type && offset;
}

} // namespace

bool DmPropertySet_Atomic_Utils::compareAtomicManip(const DmPropertySet& set, int index, const void* value)
{
    const DmPropertyDef* const def = set.classData().at(index);
    ZR_ASSERT_SOFT(def);
    return def && DmSetAccess::equals(*def, set.fieldOf(index), value);
}

bool DmSetAccess::equals(const DmPropertyDef& def, const void* field, const void* value)
{
    if (!value)
        return false;
    return dmVisitStorage(
        def._type,
        [&]<class T>(std::type_identity<T>)
        {
            if constexpr (std::is_void_v<T>)
            {
                ZR_ASSERT_SOFT(!"Type not implemented!");
                return false;
            }
            else if constexpr (DmNumberStorage<T>)
                return dmNumberAt<T>(field) == dmNumberAt<T>(value);
            else if constexpr (std::same_as<T, DmString>)
                return *static_cast<const DmString*>(field) == *static_cast<const DmString*>(value);
            else if constexpr (std::same_as<T, DmPropertySetPtr>)
            {
                const DmPropertySet* const nested = static_cast<const DmPropertySetPtr*>(field)->get();
                const DmPropertySet* const other = static_cast<const DmPropertySetPtr*>(value)->get();
                if (!nested || !other)
                    return false;
                if (nested == other && value == def._default && def._defaultEqualsItself)
                    return *def._defaultEqualsItself;
                const DmPropertySetData& data = nested->classData();
                const DmPropertySetData& otherData = other->classData();
                const bool sameClass = &data == &otherData;
                if (data.size() != otherData.size())
                {
                    ZR_ASSERT_SOFT(0);
                    return false;
                }
                for (int i = 0; i < data.size(); ++i)
                {
                    if (!sameClass && !areAlike(*data.at(i), *otherData.at(i)))
                        return false; // going on would read one class's memory with the other's offsets
                    if (!equals(*data.at(i), nested->fieldOf(i), other->fieldOf(i)))
                        return false;
                }
                return true;
            }
            else
            {
                ZR_ASSERT_SOFT(!"Type not an atomic type!");
                return false;
            }
        });
}

bool DmPropertySet_Atomic_Utils::equalsItself(const DmPropertySet& set)
{
    const DmPropertySetData& data = set.classData();
    for (int i = 0; i < data.size(); ++i)
    {
        const void* const field = set.fieldOf(i);
        const bool equals = dmVisitStorage(data.at(i)->_type,
                                           [&]<class T>(std::type_identity<T>)
                                           {
                                               if constexpr (DmNumberStorage<T>)
                                                   return dmNumberAt<T>(field) == dmNumberAt<T>(field);
                                               else if constexpr (std::same_as<T, DmPropertySetPtr>)
                                               {
                                                   const auto& nested = *static_cast<const DmPropertySetPtr*>(field);
                                                   return nested && equalsItself(*nested);
                                               }
                                               else
                                                   return std::same_as<T, DmString>;
                                           });
        if (!equals)
            return false;
    }
    return true;
}

eDmErrorId DmPropertySet_Atomic_Utils::getAtomicValue(const DmPropertySet& set, int index, eDmPropType type,
                                                      void* value)
{
    return set.getPropertyValue(index, type, value);
}

eDmErrorId DmPropertySet_Atomic_Utils::setAtomicValue(DmPropertySet& set, int index, eDmPropType type,
                                                      const void* value)
{
    return set.setPropertyValue(index, type, value);
}

eDmErrorId DmPropertySet_Collection_Utils::getValueInList(const DmPropertySet& set, int index, eDmPropType type,
                                                          void* value)
{
    return set.getValueFromPropertyList(index, type, 0, value);
}

eDmErrorId DmPropertySet_Collection_Utils::setValueInList(DmPropertySet& set, int index, eDmPropType type,
                                                          const void* value)
{
    return set.addValueInPropertyList(index, type, value);
}
