#include "dmPatch.h"

#include "dmJsonValueImp.h"
#include "dmMatchImp.h"

#include "dmJsonImporter.h"
#include "dmStoredLabel.h"

#include "CoInteger.h"

#include <algorithm>
#include <map>

using namespace dmCompare;

namespace
{

constexpr int patchVersion = 1;

bool isShot(const Value& element)
{
    const std::string_view name = classOf(element);
    return name == "DmSourceNode" || name == "DmContainerNode";
}

/// Of a shot, the members that tell who it is.
Value identityOf(const Value& element, Allocator& allocator)
{
    const auto copyMembers = [&allocator](const Value& from, std::initializer_list<const char*> names)
    {
        Value to(json::kObjectType);
        for (const char* const name : names)
            if (const Value* const value = memberOf(&from, name))
                to.AddMember(Value(name, allocator), Value(*value, allocator), allocator);
        return to;
    };
    Value members = copyMembers(*membersOf(element), {"name", "recIn", "recLength", "relIn", "segmentId", "originalID",
                                                      "segmentPreviousIds", "mediaType"});
    const Value* const input = memberOf(membersOf(element), "srcInput");
    const Value* const of = input ? membersOf(*input) : nullptr;
    if (of)
    {
        Value kept = copyMembers(*of, {"name", "srcLength", "srcFcm", "srcIn", "srcInFcm", "srcInStr", "reelName",
                                       "sourceName", "inputType", "mediaType"});
        const Value* const info = memberOf(of, "srcInfo");
        if (const Value* const texts = info ? membersOf(*info) : nullptr)
        {
            Value named(json::kObjectType);
            named.AddMember("DmSourceInfo", copyMembers(*texts, {"path", "reelName"}), allocator);
            kept.AddMember("srcInfo", named, allocator);
        }
        Value object(json::kObjectType);
        const std::string_view name = classOf(*input);
        object.AddMember(Value(name.data(), json::SizeType(name.size()), allocator), kept, allocator);
        members.AddMember("srcInput", object, allocator);
    }
    Value object(json::kObjectType);
    const std::string_view name = classOf(element);
    object.AddMember(Value(name.data(), json::SizeType(name.size()), allocator), members, allocator);
    return object;
}

Value stringOf(std::string_view text, Allocator& allocator)
{
    return {text.data(), static_cast<json::SizeType>(text.size()), allocator};
}

/// Walks two documents side by side and notes the changes: what an element holds before the list that it stands in, so
/// that every path is one of the old document.
class Maker
{
public:
    Maker(Allocator& allocator, Value& shots, Value& changes)
        : _allocator(allocator)
        , _shots(shots)
        , _changes(changes)
    {
    }

    void compare(const Value& a, const Value& b, const std::string& path, int shot)
    {
        if (a.IsObject() && b.IsObject() && !otherClass(a, b))
            compareObjects(a, b, path, shot);
        else if (a.IsArray() && b.IsArray())
            compareLists(a, b, path, shot);
        else if (!isSame(a, b))
            note(path, &a, &b, shot);
    }

private:
    static bool otherClass(const Value& a, const Value& b)
    {
        return a.MemberCount() == 1 && b.MemberCount() == 1 && a.MemberBegin()->name != b.MemberBegin()->name;
    }

    void note(const std::string& path, const Value* was, const Value* is, int shot)
    {
        Value change(json::kObjectType);
        change.AddMember("path", stringOf(path, _allocator), _allocator);
        if (was)
            change.AddMember("old", Value(*was, _allocator), _allocator);
        if (is)
            change.AddMember("new", Value(*is, _allocator), _allocator);
        finish(change, shot);
    }
    void finish(Value& change, int shot)
    {
        if (shot >= 0)
            change.AddMember("shot", shot, _allocator);
        _changes.PushBack(change, _allocator);
    }

    void compareObjects(const Value& a, const Value& b, const std::string& path, int shot)
    {
        for (const auto& member : a.GetObject())
        {
            const std::string below = pointerTo(path, {member.name.GetString(), member.name.GetStringLength()});
            if (const auto other = b.FindMember(member.name); other != b.MemberEnd())
                compare(member.value, other->value, below, shot);
            else
                note(below, &member.value, nullptr, shot);
        }
        for (const auto& member : b.GetObject())
            if (!a.HasMember(member.name))
                note(pointerTo(path, {member.name.GetString(), member.name.GetStringLength()}), nullptr, &member.value,
                     shot);
    }

    /// A shot's number in the table of shots: entered when it is first asked for.
    int shotAt(const Value& element, const std::string& path)
    {
        const auto [entry, isNew] = _entered.try_emplace(path, int(_shots.Size()));
        if (isNew)
        {
            Value shot(json::kObjectType);
            shot.AddMember("path", stringOf(path, _allocator), _allocator);
            shot.AddMember("shot", identityOf(element, _allocator), _allocator);
            _shots.PushBack(shot, _allocator);
        }
        return entry->second;
    }

    void compareLists(const Value& a, const Value& b, const std::string& path, int shot)
    {
        const std::vector<ListPair> pairs = alignLists(a, b);
        const bool isLayer = shot < 0 && path.ends_with("/DmLayerNode/children");
        for (const ListPair& pair : pairs)
        {
            const Value& one = a[pair.before];
            const Value& other = b[pair.after];
            if (isSame(one, other))
                continue;
            const std::string below = pointerTo(path, pair.before);
            compare(one, other, below, isLayer && isShot(one) ? shotAt(one, below) : shot);
        }
        Value list(json::kArrayType);
        json::SizeType atOld = 0;
        json::SizeType atNew = 0;
        for (std::size_t i = 0; i <= pairs.size(); ++i)
        {
            const json::SizeType endOld = i < pairs.size() ? pairs[i].before : a.Size();
            const json::SizeType endNew = i < pairs.size() ? pairs[i].after : b.Size();
            if (atOld != endOld || atNew != endNew)
                list.PushBack(pieceOf(a, atOld, endOld, b, atNew, endNew, isLayer ? path : std::string()), _allocator);
            atOld = endOld + 1;
            atNew = endNew + 1;
        }
        if (list.Empty())
            return;
        Value change(json::kObjectType);
        change.AddMember("path", stringOf(path, _allocator), _allocator);
        change.AddMember("list", list, _allocator);
        finish(change, shot);
    }

    static bool holdsShot(const Value& list, json::SizeType first, json::SizeType last)
    {
        return std::any_of(list.Begin() + first, list.Begin() + last, isShot);
    }

    /// Elements [first, last) that others take the place of; in a layer, with the shot that they stand behind.
    Value pieceOf(const Value& a, json::SizeType first, json::SizeType last, const Value& b, json::SizeType from,
                  json::SizeType to, const std::string& layer)
    {
        const auto copies = [this](const Value& list, json::SizeType begin, json::SizeType end)
        {
            Value values(json::kArrayType);
            for (json::SizeType i = begin; i < end; ++i)
                values.PushBack(Value(list[i], _allocator), _allocator);
            return values;
        };
        Value piece(json::kObjectType);
        piece.AddMember("at", first, _allocator);
        if (!layer.empty())
            for (json::SizeType i = first; i-- > 0 && first - i <= 2;)
                if (isShot(a[i]))
                {
                    piece.AddMember("behind", shotAt(a[i], pointerTo(layer, i)), _allocator);
                    piece.AddMember("distance", first - i, _allocator);
                    break;
                }
        // A seam is where both of its shots are.
        if (!layer.empty() && !holdsShot(a, first, last) && !holdsShot(b, from, to))
            for (json::SizeType i = last; i < a.Size() && i - last < 2; ++i)
                if (isShot(a[i]))
                {
                    piece.AddMember("before", shotAt(a[i], pointerTo(layer, i)), _allocator);
                    break;
                }
        piece.AddMember("old", copies(a, first, last), _allocator);
        piece.AddMember("new", copies(b, from, to), _allocator);
        return piece;
    }

    Allocator& _allocator;
    Value& _shots;
    Value& _changes;
    std::map<std::string, int> _entered;
};

/// Puts changes on a document.
class Applier
{
public:
    Applier(const Value& patch, json::Document& document, DmPatchReport& report)
        : _patch(patch)
        , _document(document)
        , _report(report)
    {
    }

    /// On the document that the patch was made from; false where that is not this one, which may then be half done.
    bool asMade()
    {
        for (const Value& shot : _patch["shots"].GetArray())
        {
            const Value* const element = valueAt(_document, textAt(shot, "path"));
            if (!element || !isShot(*element) || !isSame(identityOf(*element, _document.GetAllocator()), shot["shot"]))
                return false;
        }
        for (const Value& change : _patch["changes"].GetArray())
        {
            const std::string path = textAt(change, "path");
            const bool done =
                change.HasMember("list") ? listAsMade(change, path) : setOne(change, path) == Outcome::Done;
            if (!done)
                return false;
            ++_report.applied;
        }
        return true;
    }

    /// On another one, whose shots stand at these places; "" for one that is not there.
    void elsewhere(const std::vector<std::string>& places)
    {
        for (const Value& change : _patch["changes"].GetArray())
        {
            std::string path = textAt(change, "path");
            if (const Value* const shot = memberOf(&change, "shot"))
            {
                const std::string& place = places[shot->GetUint()];
                const std::string made = textAt(_patch["shots"][shot->GetUint()], "path");
                if (place.empty())
                {
                    leave(change, path, "the shot is not there");
                    continue;
                }
                path = place + path.substr(made.size());
            }
            if (change.HasMember("list"))
                for (json::SizeType i = change["list"].Size(); i-- > 0;)
                    listElsewhere(change["list"][i], path, places);
            else
                count(setOne(change, path), change, path);
        }
    }

private:
    enum class Outcome
    {
        Done,
        There,
        Other,
        Nowhere
    };

    static std::string textAt(const Value& object, const char* name)
    {
        return {object[name].GetString(), object[name].GetStringLength()};
    }
    void leave(const Value& change, const std::string& path, const std::string& why)
    {
        std::string text = path + ": " + why;
        if (const Value* const shot = memberOf(&change, "shot"))
        {
            const Value* const name = memberOf(membersOf(_patch["shots"][shot->GetUint()]["shot"]), "name");
            if (name && name->IsString())
                text = std::string(name->GetString()) + ": " + text;
        }
        _report.left.push_back(text);
    }
    void count(Outcome outcome, const Value& change, const std::string& path)
    {
        if (outcome == Outcome::Done)
            ++_report.applied;
        else if (outcome == Outcome::There)
            ++_report.skipped;
        else
            leave(change, path, outcome == Outcome::Other ? "another value stands there" : "there is no such place");
    }

    Outcome setOne(const Value& change, const std::string& path)
    {
        Allocator& allocator = _document.GetAllocator();
        const Value* const was = memberOf(&change, "old");
        const Value* const is = memberOf(&change, "new");
        const std::string_view step = lastStep(path);
        Value* const owner = path.empty()
                                 ? nullptr
                                 : valueAt(_document, std::string_view(path).substr(0, path.size() - step.size() - 1));
        Value* const at = valueAt(_document, path);
        if (!path.empty() && !owner)
            return Outcome::Nowhere;
        const bool isOld = was ? at && isSame(*at, *was) : !at;
        if (!isOld)
            return (is ? at && isSame(*at, *is) : !at) ? Outcome::There : Outcome::Other;
        if (at && is)
            at->CopyFrom(*is, allocator);
        else if (!owner || !owner->IsObject())
            return Outcome::Nowhere;
        else if (is)
            owner->AddMember(stringOf(unescaped(step), allocator), Value(*is, allocator), allocator);
        else
            owner->RemoveMember(Value(unescaped(step).c_str(), allocator));
        return Outcome::Done;
    }

    static bool standsAt(const Value& list, json::SizeType at, const Value& elements)
    {
        if (at > list.Size() || elements.Size() > list.Size() - at)
            return false;
        for (json::SizeType i = 0; i < elements.Size(); ++i)
            if (!isSame(list[at + i], elements[i]))
                return false;
        return true;
    }
    void replace(Value& list, json::SizeType at, json::SizeType removed, const Value& elements)
    {
        Allocator& allocator = _document.GetAllocator();
        Value result(json::kArrayType);
        result.Reserve(list.Size() - removed + elements.Size(), allocator);
        for (json::SizeType i = 0; i < at; ++i)
            result.PushBack(list[i].Move(), allocator);
        for (const Value& element : elements.GetArray())
            result.PushBack(Value(element, allocator), allocator);
        for (json::SizeType i = at + removed; i < list.Size(); ++i)
            result.PushBack(list[i].Move(), allocator);
        list = result;
    }

    bool listAsMade(const Value& change, const std::string& path)
    {
        Value* const list = valueAt(_document, path);
        if (!list || !list->IsArray())
            return false;
        Allocator& allocator = _document.GetAllocator();
        Value result(json::kArrayType);
        json::SizeType from = 0;
        for (const Value& piece : change["list"].GetArray())
        {
            const json::SizeType at = piece["at"].GetUint();
            if (at < from || !standsAt(*list, at, piece["old"]))
                return false;
            for (; from < at; ++from)
                result.PushBack((*list)[from].Move(), allocator);
            for (const Value& element : piece["new"].GetArray())
                result.PushBack(Value(element, allocator), allocator);
            from = at + piece["old"].Size();
        }
        for (; from < list->Size(); ++from)
            result.PushBack((*list)[from].Move(), allocator);
        *list = result;
        return true;
    }

    void listElsewhere(const Value& piece, std::string path, const std::vector<std::string>& places)
    {
        json::SizeType at = piece["at"].GetUint();
        if (const Value* const behind = memberOf(&piece, "behind"))
        {
            const std::string& place = places[behind->GetUint()];
            if (place.empty())
                return leave(piece, path, "the shot in front is not there");
            const std::string_view step = lastStep(place);
            path = place.substr(0, place.size() - step.size() - 1);
            at = DM::CoInteger::whole<json::SizeType>(step).value_or(0) + piece["distance"].GetUint();
        }
        Value* const list = valueAt(_document, path);
        if (!list || !list->IsArray() || at > list->Size())
            return leave(piece, path, "there is no such place");
        const Value& was = piece["old"];
        const Value& is = piece["new"];
        if (const Value* const before = memberOf(&piece, "before"))
        {
            const auto isNext = [&](json::SizeType from)
            {
                const std::string& place = places[before->GetUint()];
                return place == pointerTo(path, from) || place == pointerTo(path, from + 1);
            };
            if (!isNext(at + was.Size()) && !isNext(at + is.Size()))
                return leave(piece, pointerTo(path, at), "the shot behind is not there");
        }
        if (!is.Empty() && standsAt(*list, at, is))
            ++_report.skipped;
        else if (standsAt(*list, at, was))
        {
            replace(*list, at, was.Size(), is);
            ++_report.applied;
        }
        else if (is.Empty() && !holdsAny(*list, was))
            ++_report.skipped;
        else
            leave(piece, pointerTo(path, at), "other elements stand there");
    }
    static bool holdsAny(const Value& list, const Value& elements)
    {
        std::map<std::uint64_t, int> hashes;
        for (const Value& element : elements.GetArray())
            ++hashes[hashOf(element)];
        return std::ranges::any_of(list.GetArray(), [&](const Value& each) { return hashes.contains(hashOf(each)); });
    }

    const Value& _patch;
    json::Document& _document;
    DmPatchReport& _report;
};

/// Why a text is no patch; empty for one.
std::string faultOf(const Value& patch)
{
    const auto isText = [](const Value* value) { return value && value->IsString(); };
    const auto isList = [](const Value* value) { return value && value->IsArray(); };
    const Value* const version = memberOf(&patch, "patch");
    if (!version || !version->IsInt())
        return "It is no patch.";
    if (version->GetInt() > patchVersion)
        return "It is a patch of a newer version.";
    const Value* const shots = memberOf(&patch, "shots");
    const Value* const changes = memberOf(&patch, "changes");
    if (!isList(shots) || !isList(changes))
        return "Its shots or changes are missing.";
    const auto isNumber = [](const Value* value, json::SizeType below)
    { return !value || (value->IsUint() && value->GetUint() < below); };
    for (const Value& shot : shots->GetArray())
    {
        const Value* const identity = memberOf(&shot, "shot");
        if (!isText(memberOf(&shot, "path")) || !identity || !isShot(*identity))
            return "Shot " + std::to_string(&shot - shots->Begin()) + " is none.";
    }
    for (const Value& change : changes->GetArray())
    {
        const std::string place = "Change " + std::to_string(&change - changes->Begin());
        const Value* const shot = memberOf(&change, "shot");
        if (!isText(memberOf(&change, "path")) || !isNumber(shot, shots->Size()))
            return place + " has no place.";
        if (shot &&
            !std::string_view(change["path"].GetString()).starts_with((*shots)[shot->GetUint()]["path"].GetString()))
            return place + " is outside of its shot.";
        const Value* const list = memberOf(&change, "list");
        if (!list)
            continue;
        if (!list->IsArray())
            return place + " has no list.";
        for (const Value& piece : list->GetArray())
        {
            const Value* const at = memberOf(&piece, "at");
            const Value* const behind = memberOf(&piece, "behind");
            if (!at || !at->IsUint() || !isList(memberOf(&piece, "old")) || !isList(memberOf(&piece, "new")) ||
                !isNumber(behind, shots->Size()) || !isNumber(memberOf(&piece, "before"), shots->Size()) ||
                !isNumber(memberOf(&piece, "distance"), 1000) || (behind && !memberOf(&piece, "distance")))
                return place + " has a piece that is none.";
        }
    }
    return {};
}

/// Where a document has the shots of a patch, as JSON pointers; "" for those that it has not.
std::vector<std::string> placesOf(const Value& shots, const DmRoot& root)
{
    std::vector<CoSharedPtr<DmPropertySet>> kept;
    std::vector<Shot> wanted;
    std::vector<json::SizeType> numbers;
    const std::vector<Cut> cuts = cutsOf(root);
    const DM::FrameCodeModes fcm = cuts.empty() ? DM::FCM_NOT_DEFINED : cuts.front().fcm();
    for (json::SizeType i = 0; i < shots.Size(); ++i)
    {
        CoSharedPtr<DmPropertySet> set;
        if (DmJsonImporter::importSetFromStr(textOf(shots[i]["shot"]), set).failed())
            continue;
        const auto* const segment = dynamic_cast<const DmSegmentNode*>(set.get());
        if (!segment)
            continue;
        kept.push_back(set);
        wanted.push_back(shotOf(*segment, fcm));
        wanted.back().lane = int(i) + 1; // what stands beside what is not known
        numbers.push_back(i);
    }
    std::vector<Shot> there;
    std::vector<std::string> paths;
    for (const Cut& cut : cuts)
        for (const Shot& shot : cut.shots())
        {
            const Lane& lane = cut.laneOf(shot);
            const auto child = [](const std::string& above, int at, const char* name)
            { return pointerTo(above + "/children", json::SizeType(at)) + (*name ? std::string("/") + name : ""); };
            there.push_back(shot);
            paths.push_back(child(child(child(cut.path(), lane.trackAt, "DmTrackNode"), lane.layerAt, "DmLayerNode"),
                                  shot.element, ""));
        }
    const Match match = matchShots(wanted, there);
    std::vector<std::string> places(shots.Size());
    for (std::size_t i = 0; i < numbers.size(); ++i)
        if (match.toNew[i] >= 0)
            places[numbers[i]] = paths[std::size_t(match.toNew[i])];
    return places;
}

} // namespace

struct DmPatch::Imp
{
    json::Document value;

    Imp()
    {
        value.SetObject();
        Allocator& allocator = value.GetAllocator();
        value.AddMember("patch", patchVersion, allocator);
        value.AddMember("shots", Value(json::kArrayType), allocator);
        value.AddMember("changes", Value(json::kArrayType), allocator);
    }
};

DmPatch::DmPatch()
    : _imp(std::make_unique<Imp>())
{
}

DmPatch::DmPatch(DmPatch&& other) noexcept = default;
DmPatch& DmPatch::operator=(DmPatch&& other) noexcept = default;
DmPatch::~DmPatch() = default;

DmStatus DmPatch::make(const DmRoot& before, const DmRoot& after, DmPatch& patch)
{
    json::Document a;
    json::Document b;
    DmStatus status = valueOf(before, a);
    if (status.ok())
        status = valueOf(after, b);
    if (status.failed())
        return status;
    patch = DmPatch();
    json::Document& value = patch._imp->value;
    Maker(value.GetAllocator(), value["shots"], value["changes"]).compare(a, b, {}, -1);
    return status;
}

DmStatus DmPatch::read(std::string_view text, DmPatch& patch)
{
    DmStatus status;
    DmPatch read;
    std::string why;
    if (!parse(text, read._imp->value, why) || !(why = faultOf(read._imp->value)).empty())
        status.fail(-1, "%s", why.c_str());
    else
        patch = std::move(read);
    return status;
}

bool DmPatch::isEmpty() const
{
    return _imp->value["changes"].Empty();
}

std::string DmPatch::json() const
{
    return textOf(_imp->value);
}

DmStatus DmPatch::apply(const DmRoot& document, CoSharedPtr<DmRoot>& result, DmPatchReport& report) const
{
    report = {};
    json::Document value;
    DmStatus status = valueOf(document, value);
    if (status.failed())
        return status;
    if (!Applier(_imp->value, value, report).asMade())
    {
        report = {};
        status = valueOf(document, value);
        if (status.failed())
            return status;
        Applier(_imp->value, value, report).elsewhere(placesOf(_imp->value["shots"], document));
    }
    CoSharedPtr<DmRoot> root;
    status = DmJsonImporter::importRootFromStr(textOf(value).c_str(), root);
    if (status.ok())
        result = root;
    return status;
}
