#include "icOtioKeep.h"

#include "icLeftovers.h"
#include "icOtioOwn.h"
#include "icOtioShort.h"
#include "icOtioUsual.h"
#include "icText.h"
#include "icTree.h"

#include "dmBlobNode.h"
#include "dmCutNode.h"
#include "dmGapNode.h"
#include "dmReelNode.h"
#include "dmRoot.h"
#include "dmSetTools.h"
#include "dmUtf8.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace interchange::otio
{

namespace
{

constexpr int longestChain = 64;

/// Ours, in whatever version that can be read.
bool isLeftover(const DmPropertySet& set)
{
    const auto* const blob = as<DmBlobNode>(&set);
    return blob && (blob->getBlobType() == L"otio" || blob->getBlobType() == L"otio 2");
}

/// The notes of cut lists that a document shows to other programs.
std::vector<Note> shownNotes(const DmTreeNode& node)
{
    std::vector<Note> notes = interchange::notesOf(node);
    std::erase_if(notes, [](const Note& note) { return isOfModel(note.kind); });
    return notes;
}

void setNotes(DmTreeNode& node, const std::vector<Note>& notes)
{
    std::vector<Note> all = interchange::notesOf(node);
    std::erase_if(all, [](const Note& note) { return !isOfModel(note.kind); });
    all.insert(all.end(), notes.begin(), notes.end());
    require(setEdlLeftover(node, withNotes(edlLeftoverOf(node).value_or(""), all)));
}

std::string textOf(const Value& value)
{
    std::string text;
    appendJson(text, value);
    return text;
}

bool isFlag(const Value& value)
{
    return value.IsBool();
}
bool isNumber(const Value& value)
{
    return value.IsNumber();
}
bool isString(const Value& value)
{
    return value.IsString();
}
bool isList(const Value& value)
{
    return value.IsArray();
}
bool isObject(const Value& value)
{
    return value.IsObject();
}

/// The first member under our key that is none of ours, or none of its kind; the key where it is no object; empty for
/// nothing such.
std::string_view foreignOf(const Value& object, const Value* own)
{
    using Ours = std::pair<std::string_view, bool (*)(const Value&)>;
    constexpr std::array<Ours, 14> ours{{{"node", isObject},
                                         {"attached", isList},
                                         {"before", isList},
                                         {"behind", isList},
                                         {"isHole", isFlag},
                                         {"isRoot", isFlag},
                                         {"isLayer", isFlag},
                                         {"isEmpty", isFlag},
                                         {"index", isNumber},
                                         {"layer", isObject},
                                         {"mode", isString},
                                         {"recordStart", isNumber},
                                         {"root", isObject},
                                         {"inside", isObject}}};
    const Value* const said = own ? own : member(member(&object, "metadata"), ownKey);
    if (!said)
        return {};
    if (!said->IsObject())
        return ownKey;
    for (const auto& each : said->GetObject())
        if (const auto* const found = std::ranges::find(ours, otio::text(&each.name), &Ours::first);
            found == ours.end() || !found->second(each.value))
            return otio::text(&each.name);
    return {};
}

} // namespace

Between usualBetween(const DmTreeNode* before, const DmTreeNode* behind)
{
    const bool follows = before && before->isSegment();
    const bool goesOn = behind && behind->isSegment();
    if (follows && goesOn)
        return Between::Cut;
    const bool hasTransition = (before && before->isTransition()) || (behind && behind->isTransition());
    return hasTransition && !follows && !goesOn ? Between::EmptyGap : Between::Nothing;
}

CoSharedPtr<DmTreeNode> makeBetween(Between what, eDmTreeMediaType mediaType, double time)
{
    if (what == Between::EmptyGap)
        return orBadAlloc(DmGapNode::create(mediaType, time, 0));
    if (what == Between::Nothing)
        return {};
    const auto cut = orBadAlloc(DmCutNode::create());
    require(cut->setMediaType(mediaType));
    require(cut->setRecIn(time));
    return cut;
}

// Reading

std::vector<Note> Keep::take(DmTreeNode& node, const Value& object, const Value* own) const
{
    std::vector<Note> notes = otio::notesOf(object);
    std::string_view foreign = foreignOf(object, own);
    if (own)
    {
        if (const Value* const properties = member(own, "node"))
            if (const std::string_view passedOver = takeOwn(node, *properties); foreign.empty())
                foreign = passedOver;
        DmTreeNode* last = &node;
        if (const Value* const chain = arrayOf(own, "attached"))
            for (const Value& each : chain->GetArray())
            {
                const CoSharedPtr<DmPropertySet> set = last ? setOf(each) : CoSharedPtr<DmPropertySet>();
                if (!set || last->setBaseBlob(set) != DM_NO_ERROR)
                    break;
                last = dynamic_cast<DmTreeNode*>(set.get());
            }
    }
    if (!foreign.empty())
        _items.warn(object.ObjectEmpty() ? nullptr : &object, "\"" + std::string(foreign) +
                                                                  "\" among what stands under \"" + ownKey +
                                                                  "\" is nothing that is written there: left out");
    if (!node.getBaseBlob())
    {
        std::string lines;
        appendNoteLines(lines, notes);
        require(setEdlLeftover(node, lines));
    }
    // A line and a comment look the same there.
    else if (!std::ranges::equal(shownNotes(node), notes, {}, noteText, noteText))
        setNotes(node, notes);
    return notes;
}

std::optional<Manner> Keep::keepUsual(DmSourceNode& node, const Value& object, Trim trim,
                                      const std::vector<Note>& notes)
{
    const std::optional<Manner> manner = usualManner(object, node, trim, _items);
    const Value* const metadata = member(&object, "metadata");
    const std::optional<std::string> leftover =
        manner && metadata ? usualLeftover(*metadata, *manner, notes) : std::nullopt;
    if (leftover && !leftover->empty())
        static_cast<void>(setLeftover(node, leftoverType, *leftover)); // a host's set may end the chain
    return leftover ? manner : std::nullopt;
}

void Keep::keepKnown(DmTreeNode& node, const std::vector<Note>& notes, std::string_view leftover)
{
    std::string lines;
    appendNoteLines(lines, notes);
    require(setEdlLeftover(node, lines));
    require(setLeftover(node, leftoverType, leftover));
}

void Keep::keepLeftover(DmTreeNode& node, Value leftover, const Form& form)
{
    Allocator& allocator = _parts.allocator();
    if (const Value formValue = form.toValue(allocator); !formValue.IsNull())
    {
        if (!leftover.IsObject())
            leftover.SetObject();
        leftover.AddMember(json::StringRef("form"), Value(formValue, allocator), allocator);
    }
    if (!leftover.IsNull())
        static_cast<void>(setLeftover(node, leftoverType, textOf(leftover))); // a host's set may end the chain
}

// Writing

Value Keep::plainOf(const DmTreeNode& node, const Form& form)
{
    return _parts.value(
        [&](Listener& to)
        {
            if (const auto* const container = dynamic_cast<const DmContainerNode*>(&node))
                return _parts.container(to, *container, {}, form);
            if (const auto* const segment = dynamic_cast<const DmSegmentNode*>(&node))
                return _parts.segment(to, *segment, {}, form);
            if (const auto* const mix = dynamic_cast<const DmTrxEffectNode*>(&node))
                return _parts.transition(to, *mix);
            if (const auto* const track = dynamic_cast<const DmTrackNode*>(&node))
                return _parts.track(to, node, track->getMediaType());
            if (const auto* const composition = dynamic_cast<const DmCompositionNode*>(&node))
                return _parts.composition(to, *composition, form,
                                          form.schema.empty() ? composition->getStartTC() : 0.0);
            _parts.collection(to, node);
        });
}

Form Keep::formOf(const DmTreeNode& node, Value& difference)
{
    Allocator& allocator = _parts.allocator();
    difference = leftoverValue(node, leftoverType, allocator);
    if (difference.IsObject())
    {
        const Value* const form = member(&difference, "form");
        return form ? Form::fromValue(*form, allocator) : Form();
    }
    difference.SetNull();
    Value old = leftoverValue(node, oldLeftoverType, allocator);
    lengthen(old, allocator);
    Form form;
    form.isImplied = old.IsArray();
    if (!old.IsObject())
        return form;
    form = Form::of(old, node.whatIs());
    const auto* const container = dynamic_cast<const DmContainerNode*>(&node);
    const double length = container && container->getComposition() ? container->getComposition()->getCompLength() : 0;
    if (const CoSharedPtr<DmTreeNode> then = read(old, node, length, 0))
        difference = differenceOf(plainOf(*then, form), old, allocator, leavesChildren(node));
    return form;
}

CoSharedPtr<DmTreeNode> Keep::read(const Value& object, const DmTreeNode& like, double length, int number)
{
    if (const DmSegmentNode* const segment = like.asSegment())
        _items.setMediaType(segment->getMediaType());
    else if (const DmTransitionNode* const transition = like.asTransition())
        _items.setMediaType(transition->getMediaType());
    else
        _items.setMediaType(DM_MEDIA_VIDEO);
    if (const auto* const container = dynamic_cast<const DmContainerNode*>(&like))
        return _items.container(
            object, CoSharedPtr<DmCompositionNode>(const_cast<DmCompositionNode*>(container->getComposition())), length,
            container->getMediaType());
    if (const auto* const segment = dynamic_cast<const DmSegmentNode*>(&like))
    {
        if (like.whatIs() == DM_SOURCE_NODE)
            return _items.clip(object, segment->getMediaType());
        return _items.gap(object, segment->getMediaType());
    }
    if (const auto* const mix = dynamic_cast<const DmTrxEffectNode*>(&like))
        return _items.transition(object, mix->getMediaType(), mix->getRelIn(), mix->getRecLength() - mix->getRelIn());
    if (const auto* const track = dynamic_cast<const DmTrackNode*>(&like))
        return _items.track(object, track->getMediaType(), number);
    if (like.whatIs() == DM_COMPOSITION_NODE)
        return _items.composition(object);
    CoSharedPtr<DmTreeNode> collection;
    if (like.whatIs() == DM_ROOT_NODE)
        collection = orBadAlloc(DmRoot::create());
    else
        collection = orBadAlloc(DmReelNode::create());
    Items::setName(*collection, object);
    return collection;
}

Value Keep::attached(const DmTreeNode& node)
{
    Value chain(json::kArrayType);
    const DmPropertySet* at = node.getBaseBlob();
    for (int i = 0; at && i < longestChain; ++i)
    {
        const auto* const held = dynamic_cast<const DmTreeNode*>(at);
        const DmPropertySet* const next = held ? held->getBaseBlob() : nullptr;
        if (!isLeftover(*at))
        {
            // Without what hangs behind it, which comes next.
            CoSharedPtr<DmPropertySet> alone = at->clone();
            if (auto* const copy = dynamic_cast<DmTreeNode*>(alone.get()); copy && next)
                require(copy->setBaseBlob({}));
            if (Value value = alone ? setValue(*alone, _parts.allocator()) : Value(); !value.IsNull())
                chain.PushBack(value, _parts.allocator());
        }
        at = next;
    }
    return chain;
}

void Keep::describeDifference(Value& own, const DmTreeNode& node, const DmTreeNode& read, const Value& object)
{
    Allocator& allocator = _parts.allocator();
    const auto add = [&](const char* name, Value value)
    {
        if (!own.IsObject())
            own.SetObject();
        own.AddMember(json::StringRef(name), value, allocator);
    };
    if (Value properties = ownOf(node, read, allocator); !properties.IsNull())
        add("node", std::move(properties));
    // Notes alone stand among the metadata of cut lists already.
    std::string plainNotes;
    appendNoteLines(plainNotes, otio::notesOf(object));
    const auto* const first = dynamic_cast<const DmTreeNode*>(node.getBaseBlob());
    const bool isNotesOnly = first && first->whatIs() == DM_BLOB_NODE && leftoverOf(node, edlLeftover) == plainNotes &&
                             (!first->getBaseBlob() || isLeftover(*first->getBaseBlob()));
    if (isNotesOnly)
        return;
    if (Value chain = attached(node); !chain.Empty())
        add("attached", std::move(chain));
}

} // namespace interchange::otio
