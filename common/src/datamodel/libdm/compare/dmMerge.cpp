#include "dmMerge.h"

#include "dmLaneMergeImp.h"
#include "dmValueMergeImp.h"

#include "dmCueMark.h"
#include "dmJsonImporter.h"
#include "dmTreeJsonBuilder.h"
#include "dmTreeTool.h"
#include "dmUtf8.h"

#include <algorithm>
#include <map>
#include <set>

using namespace dmCompare;

namespace
{

/// By name, then in order.
const Cut* partnerOf(const std::vector<Cut>& all, std::vector<Cut>& others, std::size_t i)
{
    const auto named = std::ranges::count_if(
        others, [&](const Cut& each) { return each.composition().getName() == all[i].composition().getName(); });
    if (named == 1)
        return &*std::ranges::find_if(others, [&](const Cut& each)
                                      { return each.composition().getName() == all[i].composition().getName(); });
    return named == 0 && all.size() == others.size() ? &others[i] : nullptr;
}

std::string laneListOf(const Cut& cut, int lane)
{
    const Lane& at = cut.lanes()[std::size_t(lane)];
    return cut.path() + "/children/" + std::to_string(at.trackAt) + "/DmTrackNode/children/" +
           std::to_string(at.layerAt) + "/DmLayerNode/children";
}

/// The elements of a layer, as a value.
void addList(const DmLayerNode& layer, const std::string& path, std::map<std::string, Value>& lists,
             Allocator& allocator)
{
    json::Document value;
    const Value* const list = valueOf(layer, value).ok() ? valueAt(value, "/DmLayerNode/children") : nullptr;
    if (list)
        lists[path].CopyFrom(*list, allocator);
}

/// Sets a number that follows from others; a member that has its default is left out.
void setNumber(Value& members, const char* name, double value, Allocator& allocator)
{
    members.RemoveMember(name);
    if (value != 0.0)
        members.AddMember(Value(name, allocator), Value(value), allocator);
}

/// How long a merged layer is, and where all end.
void setLengths(Value& layerMembers, double start, Allocator& allocator, double& end, bool isMerged)
{
    double last = start;
    if (const Value* const elements = memberOf(&layerMembers, "children"))
        for (const Value& element : elements->GetArray())
        {
            const Value* const in = memberOf(membersOf(element), "recIn");
            const Value* const length = memberOf(membersOf(element), "recLength");
            last = std::max(last, (in ? in->GetDouble() : 0.0) + (length ? length->GetDouble() : 0.0));
        }
    if (isMerged)
        setNumber(layerMembers, "layerLength", last - start, allocator);
    end = std::max(end, last);
}

double numberAt(const Value& members, const char* name)
{
    const Value* const value = memberOf(&members, name);
    return value && value->IsNumber() ? value->GetDouble() : 0.0;
}

std::multiset<std::wstring> violationsOf(const DmRoot& root)
{
    std::multiset<std::wstring> all;
    for (const Cut& cut : cutsOf(root))
        for (const DmTreeViolation& violation :
             DmTreeTool::findViolations(const_cast<DmCompositionNode*>(&cut.composition()), DM_VALIDATE_ALL))
            all.insert(std::wstring(violation.message.view()));
    return all;
}

/// Whether one has a violation that neither of the others has.
bool isWorse(const DmRoot& result, const DmRoot& ours, const DmRoot& theirs)
{
    const auto found = violationsOf(result);
    const auto inOurs = violationsOf(ours);
    const auto inTheirs = violationsOf(theirs);
    return found.size() > inOurs.size() + inTheirs.size() ||
           std::ranges::any_of(found, [&](const std::wstring& each)
                               { return !inOurs.contains(each) && !inTheirs.contains(each); });
}

std::map<std::wstring, int> idsOf(const DmRoot& root)
{
    std::map<std::wstring, int> ids;
    for (const Cut& cut : cutsOf(root))
        for (const Shot& shot : cut.shots())
            ++ids[std::wstring(shot.node->getSegmentId().view())];
    return ids;
}

/// Of shots that both sides added with one id, the later one gets another; its link group with it.
void nameApart(DmRoot& root, const DmRoot& ours, const DmRoot& theirs)
{
    std::map<std::wstring, int> ids = idsOf(root);
    const std::map<std::wstring, int> inOurs = idsOf(ours);
    const std::map<std::wstring, int> inTheirs = idsOf(theirs);
    std::set<std::wstring> seen;
    const auto hasTwice = [](const std::map<std::wstring, int>& all, const std::wstring& id)
    {
        const auto found = all.find(id);
        return found != all.end() && found->second > 1;
    };
    for (const Cut& cut : cutsOf(root))
        for (const Shot& shot : cut.shots())
        {
            const std::wstring id(shot.node->getSegmentId().view());
            if (id.empty() || seen.insert(id).second || hasTwice(inOurs, id) || hasTwice(inTheirs, id))
                continue;
            const std::size_t group = std::min(id.rfind(L'#'), id.size());
            std::wstring other;
            for (int number = 2; other.empty() || ids.contains(other); ++number)
                other = id.substr(0, group) + L'-' + std::to_wstring(number) + id.substr(group);
            ids[other] = 1;
            static_cast<void>(const_cast<DmSegmentNode*>(shot.node)->setSegmentId(other.c_str()));
        }
}

class Merger
{
public:
    Merger(const DmRoot& base, const DmRoot& ours, const DmRoot& theirs, bool favoursTheirs,
           std::vector<DmMergeConflict>& conflicts, std::vector<std::string>& notes)
        : _favoursTheirs(favoursTheirs)
        , _conflicts(conflicts)
        , _notes(notes)
        , _baseCuts(cutsOf(base))
        , _ourCuts(cutsOf(ours))
        , _theirCuts(cutsOf(theirs))
    {
    }

    void run(const Value& base, Value& ours, Value& theirs, json::Document& result)
    {
        Allocator& allocator = result.GetAllocator();
        std::map<std::string, Value> lists;
        for (std::size_t i = 0; i < _baseCuts.size(); ++i)
        {
            const Cut* const one = partnerOf(_baseCuts, _ourCuts, i);
            const Cut* const other = partnerOf(_baseCuts, _theirCuts, i);
            if (one && other && _baseCuts[i].fcm() == one->fcm() && _baseCuts[i].fcm() == other->fcm())
                mergeCut(_baseCuts[i], *one, *other, lists, allocator, ours, theirs);
        }
        ValueMerge merge(allocator, _favoursTheirs, _conflicts);
        merge.merged = [&](const std::string& path) -> const Value*
        {
            const auto found = lists.find(path);
            return found == lists.end() ? nullptr : &found->second;
        };
        bool isThere = false;
        Value merged = merge.merge(&base, &ours, &theirs, {}, isThere);
        static_cast<Value&>(result) = merged;
        settle(result, lists, allocator);
    }

private:
    void mergeCut(const Cut& base, const Cut& ours, const Cut& theirs, std::map<std::string, Value>& lists,
                  Allocator& allocator, Value& ourDocument, Value& theirDocument)
    {
        LaneMerge lanes(base, ours, theirs, _favoursTheirs, _conflicts);
        for (const LaneMerge::Merged& merged : lanes.run())
        {
            const Cut& cut = merged.theirs >= 0 ? theirs : ours;
            const DmLayerNode& layer =
                merged.layer ? *merged.layer
                             : *cut.lanes()[std::size_t(merged.theirs >= 0 ? merged.theirs : merged.lane)].layer;
            addList(layer, laneListOf(ours, merged.lane), lists, allocator);
        }
        const auto push = [&](Value& document, const Cut& cut, bool isOurs)
        {
            for (const auto& [lane, layer] : lanes.pushedAlong(isOurs))
            {
                json::Document value;
                Value* const list = valueAt(document, laneListOf(cut, lane));
                const Value* const pushed =
                    valueOf(*layer, value).ok() ? valueAt(value, "/DmLayerNode/children") : nullptr;
                if (list && pushed)
                    list->CopyFrom(*pushed, allocator);
                _notes.push_back(cut.lanes()[std::size_t(lane)].name + " of " + (isOurs ? "ours" : "theirs") +
                                 " moved with the picture of " + (isOurs ? "theirs" : "ours"));
            }
        };
        push(ourDocument, ours, true);
        push(theirDocument, theirs, false);
    }

    /// What follows from the merged layers, and numbers of tracks that both sides gave.
    void settle(Value& document, const std::map<std::string, Value>& lists, Allocator& allocator)
    {
        for (const Cut& cut : _ourCuts)
        {
            Value* const members = valueAt(document, cut.path());
            const auto list =
                members && members->IsObject() ? members->FindMember("children") : Value::MemberIterator();
            if (!members || !members->IsObject() || list == members->MemberEnd() || !list->value.IsArray())
                continue;
            double end = 0.0;
            bool isMerged = false;
            json::SizeType trackAt = 0;
            std::set<std::pair<int, int>> numbers;
            for (Value& track : list->value.GetArray())
            {
                const std::string above = pointerTo(cut.path() + "/children", trackAt++) + "/DmTrackNode/children";
                Value* const of = classOf(track) == "DmTrackNode" ? membersOf(track) : nullptr;
                if (!of)
                    continue;
                const int type = int(numberAt(*of, "mediaType"));
                int number = int(numberAt(*of, "trackNum"));
                if (!numbers.insert({type, number}).second && !hadTwice(cut, type, number))
                {
                    DmMergeConflict& conflict = _conflicts.emplace_back();
                    conflict.path = cut.path();
                    conflict.what = "both added a track " + std::to_string(number);
                    while (!numbers.insert({type, number}).second)
                        ++number;
                    conflict.ours = "its number";
                    conflict.theirs = "is now " + std::to_string(number);
                    of->RemoveMember("trackNum");
                    of->AddMember("trackNum", number, allocator);
                }
                const auto layers = of->FindMember("children");
                if (layers == of->MemberEnd() || !layers->value.IsArray())
                    continue;
                json::SizeType layerAt = 0;
                for (Value& layer : layers->value.GetArray())
                {
                    const bool isOne = lists.contains(pointerTo(above, layerAt++) + "/DmLayerNode/children");
                    if (Value* const inner = classOf(layer) == "DmLayerNode" ? membersOf(layer) : nullptr)
                        setLengths(*inner, numberAt(*inner, "layerStartTC"), allocator, end, isOne);
                    isMerged = isMerged || isOne;
                }
            }
            if (isMerged)
                setNumber(*members, "compLength", std::max(end - cut.composition().getRecordStart(), 0.0), allocator);
        }
    }
    static bool hadTwice(const Cut& cut, int type, int number)
    {
        int count = 0;
        for (int i = 0; i < cut.composition().getNbChildren(); ++i)
            if (const auto* const track = dynamic_cast<const DmTrackNode*>(cut.composition().getChild(i)))
                count += track->getMediaType() == type && track->getTrackNum() == number ? 1 : 0;
        return count > 1;
    }

    bool _favoursTheirs;
    std::vector<DmMergeConflict>& _conflicts;
    std::vector<std::string>& _notes;
    std::vector<Cut> _baseCuts;
    std::vector<Cut> _ourCuts;
    std::vector<Cut> _theirCuts;
};

/// Red cue marks at the places of conflicts, by time, then text.
void addMarks(DmRoot& root, const std::vector<DmMergeConflict>& conflicts)
{
    const std::vector<Cut> cuts = cutsOf(root);
    for (const Cut& cut : cuts)
    {
        auto* const composition = const_cast<DmCompositionNode*>(&cut.composition());
        std::vector<std::pair<double, std::string>> marks;
        for (const DmMergeConflict& conflict : conflicts)
            if (conflict.path.starts_with(cut.path()) ||
                (!conflict.path.starts_with("/DmRoot/children/") && &cut == cuts.data()))
                marks.emplace_back(conflict.result, conflict.what + "; theirs: " + conflict.theirs);
        std::ranges::sort(marks);
        for (const auto& [time, text] : marks)
        {
            const CoSharedPtr<DmCueMark> mark = DmCueMark::create(L"conflict", time);
            DmString comment;
            constexpr int red = 255;
            if (mark && dmFromUtf8(text, comment) && mark->setCueMarkComment(comment) == DM_NO_ERROR &&
                mark->setCueMarkColorRed(red) == DM_NO_ERROR)
                static_cast<void>(composition->addCueMark(mark));
        }
    }
}

} // namespace

std::string DmMergeConflict::text() const
{
    std::string where;
    for (const std::string& part : {track, label, clip})
        where += part.empty() ? "" : (where.empty() ? "" : " ") + part;
    if (where.empty())
        where = path;
    return where + ": " + what + "; ours: " + ours + ", theirs: " + theirs;
}

DmMerge DmMerge::merge(const DmRoot* base, const DmRoot& ours, const DmRoot& theirs, DmMergeFavour favour)
{
    DmMerge merge;
    const CoSharedPtr<DmRoot> none = base ? CoSharedPtr<DmRoot>() : DmRoot::create();
    const DmRoot& from = base ? *base : *none;
    std::string texts[3];
    const DmRoot* const roots[] = {&from, &ours, &theirs};
    for (int i = 0; i < 3 && merge._status.ok(); ++i)
        merge._status = DmTreeJsonBuilder::generateUtf8(roots[i], texts[i], DmTreeJsonBuilder::Layout::Compact);
    if (merge._status.failed())
        return merge;
    const auto read = [](const std::string& text, CoSharedPtr<DmRoot>& result)
    { return DmJsonImporter::importRootFromStr(text.c_str(), result); };
    if (texts[1] == texts[2] || texts[0] == texts[2])
    {
        merge._status = read(texts[1], merge._result);
        return merge;
    }
    if (texts[0] == texts[1])
    {
        merge._status = read(texts[2], merge._result);
        return merge;
    }
    json::Document values[3];
    for (int i = 0; i < 3; ++i)
        if (std::string why; !parse(texts[i], values[i], why))
        {
            merge._status.fail(DM_BAD_VALUE, "%s", why.c_str());
            return merge;
        }
    const bool favoursTheirs = favour == DmMergeFavour::Theirs;
    json::Document result;
    Merger(from, ours, theirs, favoursTheirs, merge._conflicts, merge._notes)
        .run(values[0], values[1], values[2], result);
    CoSharedPtr<DmRoot> root;
    const DmStatus status = read(textOf(result), root);
    if (status.ok())
        nameApart(*root, ours, theirs);
    // Never a document that breaks rules that both kept.
    if (status.failed() || isWorse(*root, ours, theirs))
    {
        DmMergeConflict& conflict = merge._conflicts.emplace_back();
        conflict.path = "/DmRoot";
        conflict.what = "the edits cannot be put together";
        conflict.ours = "as it stands";
        conflict.theirs = "as it stands";
        merge._status = read(texts[favoursTheirs ? 2 : 1], root);
        if (merge._status.failed())
            return merge;
    }
    if (favour == DmMergeFavour::OursAndMark)
        addMarks(*root, merge._conflicts);
    merge._result = root;
    return merge;
}
