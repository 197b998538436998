#include "dmValueMergeImp.h"

#include <algorithm>
#include <set>
#include <string>
#include <tuple>
#include <unordered_map>

namespace dmCompare
{
namespace
{

std::string shown(const Value* value)
{
    if (!value)
        return "nothing";
    if (value->IsString())
        return {value->GetString(), value->GetStringLength()};
    if (value->IsObject() && membersOf(*value))
        return std::string(classOf(*value));
    constexpr std::size_t longest = 60;
    std::string text = textOf(*value);
    return text.size() > longest ? text.substr(0, longest) + "..." : text;
}

/// What follows from other values, and is set when these are known.
bool follows(std::string_view name)
{
    for (const std::string_view each :
         {"recIn", "recLength", "relIn", "srcIn", "srcInStr", "srcLength", "compLength", "layerLength"})
        if (name == each)
            return true;
    return false;
}

std::string_view viewOf(const Value& text)
{
    return {text.GetString(), text.GetStringLength()};
}

/// A speed is no look: one side may change the one, the other the other.
bool isWarp(const Value& effect)
{
    return classOf(effect).ends_with("TimewarpSettings");
}

/// By time, then text: the same whichever side it came from.
auto orderOf(const Value* element)
{
    double time = 0.0;
    for (const char* const name : {"cueMarkTime", "frame"})
        if (const Value* const value = memberOf(membersOf(*element), name); value && value->IsNumber())
            time = value->GetDouble();
    return std::tuple(time, textOf(*element));
}

/// The ids, or else the names, of what stands on a track.
std::set<std::string> shotsOf(const Value& trackMembers)
{
    std::set<std::string> shots;
    const auto forEachChild = [](const Value* members, const auto& call)
    {
        const Value* const children = memberOf(members, "children");
        if (children && children->IsArray())
            for (const Value& child : children->GetArray())
                if (const Value* const inside = membersOf(child))
                    call(*inside);
    };
    const auto add = [&shots](const Value& element)
    {
        const Value* const source = memberOf(&element, "srcInput");
        for (const char* const key : {"segmentId", "name"})
            if (const Value* const name = memberOf(&element, key);
                source && name && name->IsString() && name->GetStringLength() > 0)
            {
                shots.emplace(viewOf(*name));
                return;
            }
    };
    forEachChild(&trackMembers, [&](const Value& layer) { forEachChild(&layer, add); });
    return shots;
}

/// Whether two tracks have nothing in common: neither their number nor anything that stands on them.
bool areOtherTracks(const Value& one, const Value& other)
{
    const Value* const a = membersOf(one);
    const Value* const b = membersOf(other);
    if (!a || !b || classOf(one) != "DmTrackNode" || classOf(other) != "DmTrackNode")
        return false;
    const auto isSameOf = [&](const char* name)
    {
        const Value* const x = memberOf(a, name);
        const Value* const y = memberOf(b, name);
        return x == y || (x && y && isSame(*x, *y));
    };
    if (isSameOf("trackNum") && isSameOf("mediaType"))
        return false;
    const std::set<std::string> shots = shotsOf(*a);
    const std::set<std::string> others = shotsOf(*b);
    return !shots.empty() && !others.empty() &&
           std::ranges::none_of(shots, [&](const std::string& shot) { return others.contains(shot); });
}

} // namespace

Value ValueMerge::copy(const Value* value, bool& isThere)
{
    isThere = value != nullptr;
    return value ? Value(*value, _allocator) : Value();
}

Value ValueMerge::decide(const Value* ours, const Value* theirs, const std::string& path, bool& isThere,
                         const char* what)
{
    DmMergeConflict& conflict = _conflicts.emplace_back();
    conflict.path = path;
    conflict.what = what;
    conflict.ours = shown(ours);
    conflict.theirs = shown(theirs);
    return copy(_favoursTheirs ? theirs : ours, isThere);
}

Value ValueMerge::merge(const Value* base, const Value* ours, const Value* theirs, const std::string& path,
                        bool& isThere)
{
    const auto same = [](const Value* a, const Value* b) { return a == b || (a && b && isSame(*a, *b)); };
    if (const Value* const done = merged ? merged(path) : nullptr)
        return copy(done, isThere);
    // A list that was merged already may stand below: then all is walked, whatever is the same.
    const bool walks = merged && ours && theirs && path.find("/DmLayerNode/") == std::string::npos &&
                       ours->IsObject() == theirs->IsObject();
    const Value* const from = base ? base : ours;
    if (!walks || !from || from->GetType() != ours->GetType() || !(ours->IsObject() || ours->IsArray()))
    {
        if (same(ours, theirs) || same(base, theirs))
            return copy(ours, isThere);
        if (same(base, ours))
            return copy(theirs, isThere);
    }
    if (!ours || !theirs)
        return decide(ours, theirs, path, isThere, base ? "one side removed what the other changed" : "both set it");
    isThere = true;
    const Value none(ours->GetType());
    const Value& known = base && base->GetType() == ours->GetType() ? *base : none;
    if (ours->IsArray() && theirs->IsArray())
        return mergeLists(known, *ours, *theirs, path);
    const bool otherClass = ours->IsObject() && theirs->IsObject() && ours->MemberCount() == 1 &&
                            theirs->MemberCount() == 1 && ours->MemberBegin()->name != theirs->MemberBegin()->name;
    if (ours->IsObject() && theirs->IsObject() && !otherClass)
        return mergeObjects(known, *ours, *theirs, path);
    const std::string_view name = lastStep(path);
    if (follows(name))
        return copy(ours, isThere);
    // A mark that both pushed along goes as far as both together.
    if (name == "cueMarkTime" && base && base->IsNumber() && ours->IsNumber() && theirs->IsNumber())
        return Value(ours->GetDouble() + (theirs->GetDouble() - base->GetDouble()));
    return decide(ours, theirs, path, isThere, "both changed it");
}

Value ValueMerge::mergeObjects(const Value& base, const Value& ours, const Value& theirs, const std::string& path)
{
    Value result(json::kObjectType);
    const auto find = [](const Value& object, const Value& name) -> const Value*
    {
        const auto found = object.FindMember(name);
        return found == object.MemberEnd() ? nullptr : &found->value;
    };
    const auto add = [&](const Value& name)
    {
        bool isThere = false;
        Value value =
            merge(find(base, name), find(ours, name), find(theirs, name), pointerTo(path, viewOf(name)), isThere);
        if (isThere)
            result.AddMember(Value(name, _allocator), value, _allocator);
    };
    for (const auto& member : ours.GetObject())
        add(member.name);
    for (const auto& member : theirs.GetObject())
        if (!ours.HasMember(member.name))
            add(member.name);
    return result;
}

void ValueMerge::addBoth(Value& list, std::vector<const Value*> ours, std::vector<const Value*> theirs,
                         const std::string& path, Added& known)
{
    const auto drop = [](std::vector<const Value*>& some, std::unordered_map<std::uint64_t, int>& counts)
    {
        std::erase_if(some,
                      [&](const Value* each)
                      {
                          const auto found = counts.find(hashOf(*each));
                          return found != counts.end() && found->second-- > 0;
                      });
    };
    const auto without = [&drop](std::vector<const Value*> some, const std::vector<const Value*>& others)
    {
        std::unordered_map<std::uint64_t, int> hashes;
        for (const Value* const each : others)
            ++hashes[hashOf(*each)];
        drop(some, hashes);
        return some;
    };
    // What both added is added once, be it in front of one that the other side removed or named otherwise.
    drop(ours, known.byThem);
    drop(theirs, known.byUs);
    const std::vector<const Value*> onlyOurs = without(ours, theirs);
    std::vector<const Value*> further = without(theirs, ours);
    for (const Value* const each : onlyOurs)
        ++known.byUs[hashOf(*each)];
    for (const Value* const each : further)
        ++known.byThem[hashOf(*each)];
    // Where one added all that the other did, its order holds.
    if (onlyOurs.empty() && !further.empty())
    {
        ours = std::move(theirs);
        further.clear();
    }
    theirs = std::move(further);
    const std::string_view name = lastStep(path);
    if (name == "effects")
        for (const bool areWarps : {false, true})
        {
            const auto isOne = [&](const Value* each) { return isWarp(*each) == areWarps; };
            const auto one = std::ranges::find_if(ours, isOne);
            const auto other = std::ranges::find_if(theirs, isOne);
            if (one == ours.end() || other == theirs.end())
                continue;
            DmMergeConflict& conflict = _conflicts.emplace_back();
            conflict.path = path;
            conflict.what = areWarps ? "both changed its speed" : "both added an effect";
            conflict.ours = shown(*one);
            conflict.theirs = shown(*other);
            std::erase_if(_favoursTheirs ? ours : theirs, isOne);
        }
    ours.insert(ours.end(), theirs.begin(), theirs.end());
    if (!theirs.empty() && ours.size() > theirs.size())
        std::ranges::stable_sort(ours, {}, orderOf);
    for (const Value* const each : ours)
        list.PushBack(Value(*each, _allocator), _allocator);
}

Value ValueMerge::mergeLists(const Value& base, const Value& ours, const Value& theirs, const std::string& path)
{
    constexpr json::SizeType none = ~json::SizeType(0);
    const auto placesIn = [&](const Value& side)
    {
        std::vector<json::SizeType> places(base.Size(), none);
        for (const ListPair& pair : alignLists(base, side))
            if (!areOtherTracks(base[pair.before], side[pair.after]))
                places[pair.before] = pair.after;
        return places;
    };
    const std::vector<json::SizeType> inOurs = placesIn(ours);
    const std::vector<json::SizeType> inTheirs = placesIn(theirs);
    Value result(json::kArrayType);
    Added known;
    json::SizeType atOurs = 0;
    json::SizeType atTheirs = 0;
    const auto upTo = [](const Value& list, json::SizeType& at, json::SizeType end)
    {
        std::vector<const Value*> added;
        for (; at < end; ++at)
            added.push_back(&list[at]);
        return added;
    };
    for (json::SizeType i = 0; i < base.Size(); ++i)
    {
        const json::SizeType endOurs = inOurs[i] == none ? atOurs : inOurs[i];
        const json::SizeType endTheirs = inTheirs[i] == none ? atTheirs : inTheirs[i];
        // What stands in front of one that one side removed is added where the next one stands in both.
        if (inOurs[i] != none && inTheirs[i] != none)
        {
            addBoth(result, upTo(ours, atOurs, endOurs), upTo(theirs, atTheirs, endTheirs), path, known);
            known = {}; // what stands further behind is something else
        }
        else if (inOurs[i] != none)
            addBoth(result, upTo(ours, atOurs, endOurs), {}, path, known);
        else if (inTheirs[i] != none)
            addBoth(result, {}, upTo(theirs, atTheirs, endTheirs), path, known);
        bool isThere = false;
        Value value = merge(&base[i], inOurs[i] == none ? nullptr : &ours[atOurs],
                            inTheirs[i] == none ? nullptr : &theirs[atTheirs],
                            pointerTo(path, inOurs[i] == none ? i : atOurs), isThere);
        atOurs += inOurs[i] != none ? 1 : 0;
        atTheirs += inTheirs[i] != none ? 1 : 0;
        if (isThere)
            result.PushBack(value, _allocator);
    }
    addBoth(result, upTo(ours, atOurs, ours.Size()), upTo(theirs, atTheirs, theirs.Size()), path, known);
    return result;
}

} // namespace dmCompare
