#include "dmTreeUtil.h"

#include "dmCompositionNode.h"
#include "dmElementImp.h"
#include "dmFetchImp.h"
#include "dmIdTableImp.h"
#include "dmLayerNode.h"
#include "dmNesting.h"
#include "dmSourceInput.h"
#include "dmTrackNode.h"
#include "dmTreeIterator.h"
#include "dmTreeTool.h"
#include "dmTrxEffectNode.h"
#include "dmUtf8.h"

#include "CoHashImp.h"
#include "zrPost.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <initializer_list>
#include <unordered_map>

namespace
{

/// Times agree to within this much of a frame; a source's end, which many sums lead to, to within the other.
constexpr double timeTolerance = 1e-5;
constexpr double sourceTolerance = 1e-4;

/// What an error report may have.
constexpr std::size_t reportSize = 300;

DmString text(std::initializer_list<std::wstring_view> parts)
{
    std::wstring text;
    for (const std::wstring_view part : parts)
        text += part;
    return DmString(std::wstring_view(text));
}

/// To the nearest frame, halves away from zero, within the range of an int; what is no number is frame 0.
int rounded(double frames)
{
    if (std::isnan(frames))
        return 0;
    const double nearest = std::round(frames);
    return nearest >= INT_MAX ? INT_MAX : nearest <= INT_MIN ? INT_MIN : static_cast<int>(nearest);
}

std::wstring number(int value)
{
    return std::to_wstring(value);
}

} // namespace

/// What the visitors of one validation share: that of the composition, and those of what containers hold.
struct DmValidationVisitor::Run
{
    using Nested = std::pair<const DmCompositionNode*, bool>; ///< a composition, and whether its rules are asked for

    std::vector<DmTreeViolation>* all = nullptr;  ///< takes every violation; null: the first one is posted
    std::vector<const DmCompositionNode*> inside; ///< that are being looked at, each nested in the one before
    std::unordered_map<Nested, bool, DM::CoHash::OfPair> known; ///< looked at once, however many containers share them
};

/// How nested compositions are followed where their rules are not asked for: from container to container.
class DmValidationVisitor::ContainerFinder final : public DmTreeVisitor
{
public:
    explicit ContainerFinder(DmValidationVisitor& validation)
        : DmTreeVisitor(validation.getName())
        , _validation(validation)
    {
    }
    void visitContainer(DmSegmentNode* node) override
    {
        if (node->getNestedComposition() && !_validation.isSound(node->getNestedComposition(), false))
            stop();
    }

private:
    DmValidationVisitor& _validation;
};

DmValidationVisitor::DmValidationVisitor(unsigned options)
    : DmValidationVisitor(options, nullptr, std::make_shared<Run>())
{
}

DmValidationVisitor::DmValidationVisitor(unsigned options, const DmValidationVisitor* outer,
                                         const std::shared_ptr<Run>& run)
    : DmTreeVisitor("DmValidationVisitor")
    , _options(options)
    , _ids(std::make_unique<DmIdTable<DmSegmentNode*>>())
    , _outer(outer)
    , _run(run)
{
}

DmValidationVisitor::~DmValidationVisitor() = default;

void DmValidationVisitor::findAll(DmCompositionNode* composition, unsigned options, std::vector<DmTreeViolation>& all)
{
    DmValidationVisitor visitor(options);
    visitor._run->all = &all;
    static_cast<void>(DmPreIt(composition).applyOrThrow(visitor)); // what stands below itself breaks a rule on the way
}

void DmValidationVisitor::setValidFlag(bool valid, const DmString& message)
{
    if (!valid)
    {
        const std::string mediaType = dmMediaTypeText(_place.mediaType);
        // Not by a wide printf: one that overflows its buffer gives nothing at all.
        const DmString report = text(
            {L"Invalid DmTree structure ", message.view(), L"\nCurrent state: \nTrack index: ",
             number(_place.trackIndex), L" \nLayer index: ", number(_place.layerIndex), L" \nMedia type: ",
             std::wstring(mediaType.begin(), mediaType.end()), L" \nLayer element index: ", number(_place.elementIndex),
             L" \nRecord frame: ", number(rounded(_place.recordFrame)), L" \nEffect name: ", _place.effectName.view()});
        ZR_POST_ERROR("\nXML IMPORT Validation errors:\n%s.\n", dmUtf8(report.view().substr(0, reportSize)).c_str());
    }
    _valid = valid;
    stop(!valid);
}

// Rules. Each goes on after a violation when all are asked for.

bool DmValidationVisitor::isDone() const
{
    return !_valid && !_run->all;
}

/// A rule is broken. False: nothing more is to be checked.
bool DmValidationVisitor::broken(const DmString& message, Spot spot)
{
    if (_run->all)
    {
        _valid = false;
        _run->all->push_back({pathTo(spot), message, _place, {}});
        if (_atElement && _composition)
            _run->all->back().record = _composition->getRecordLabel(_place.recordFrame);
    }
    else
        setValidFlag(false, message);
    return !isDone();
}

/// The report names the effect; a null one has no name.
bool DmValidationVisitor::brokenBy(const DmEffectSettings* effect, const DmString& message, Spot spot)
{
    DmString name = effect ? effect->getName() : _place.effectName;
    _place.effectName.swap(name);
    const bool goesOn = broken(message, spot);
    _place.effectName.swap(name);
    return goesOn;
}

std::string DmValidationVisitor::pathTo(Spot spot) const
{
    std::string text = _outer ? _outer->pathTo({"composition", -1}) : std::string();
    const auto add = [&text](const std::string& step)
    {
        if (!text.empty() && !step.empty())
            text += '/';
        text += step;
    };
    if (path())
        add(path()->text());
    if (spot.list)
        add(spot.index < 0 ? spot.list : std::string(spot.list) + '[' + std::to_string(spot.index) + ']');
    return text;
}

void DmValidationVisitor::visitCompositionNode(DmCompositionNode* node)
{
    if (isDone())
        return;
    if (!_outer)
    {
        _run->inside.assign(1, node);
        _run->known.clear();
    }
    _ids->clear();
    _composition = node;
    _atElement = false;
    for (int i = 0; i < node->getNbChildren(); ++i)
    {
        const DmTreeNode* const child = node->getChild(i);
        if (child && child->whatIs() == DM_TRACK_NODE)
            continue;
        _place.trackIndex = i;
        if (!broken(L"Composition children must be tracks.", {"children", i}))
            return;
    }
}

void DmValidationVisitor::visitTrackNode(DmTrackNode* node)
{
    if (isDone())
        return;
    _place.trackIndex = node->getTrackNum();
    _place.mediaType = node->getMediaType();
    for (int i = 0; i < node->getNbChildren(); ++i)
    {
        const auto* const layer = dynamic_cast<const DmLayerNode*>(node->getChild(i));
        _place.layerIndex = i;
        if (!layer && !broken(L"Track children must be layers.", {"children", i}))
            return;
        if (layer && layer->getMediaType() != node->getMediaType() &&
            !broken(L"Wrong layer media type.", {"children", i}))
            return;
    }
}

/// Positions 0, 2, 4, ... hold segments and the others transitions. Told from what stands in front instead of from the
/// number, a missing element is one violation and not one for each element behind it.
void DmValidationVisitor::visitLayerNode(DmLayerNode* node)
{
    if (isDone())
        return;
    _place.layerIndex = node->getLayerNum();
    if (_options & DM_VALIDATE_SEGMENT_IDS)
        _ids->reserve(static_cast<std::size_t>(node->getNbChildren()) / 2); // every second one is a segment
    const DmSegmentNode* previous = nullptr;
    bool wantsSegment = true;
    bool endsInTransition = false;
    for (int i = 0; i < node->getNbChildren(); ++i)
    {
        const Spot spot{"children", i};
        _place.elementIndex = i;
        dmFetch::element(*node, i + dmFetch::ahead);
        DmTreeNode* const child = node->getChild(i);
        const DmSegmentNode* const segment = dmSegment(child);
        const DmTransitionNode* const transition = dmTransition(child);
        if (segment)
        {
            _place.recordFrame = segment->getRecIn();
            _atElement = true;
            if ((!wantsSegment && !broken(L"Missing transition.", spot)) || !checkElement(*node, *segment, previous))
                return;
            previous = segment;
        }
        else if (!transition)
        {
            if (!broken(L"Layer children must be segments or transitions.", spot))
                return;
        }
        else if ((wantsSegment && !broken(L"Missing segment.", spot)) ||
                 (transition->getMediaType() != node->getMediaType() && !broken(L"Wrong transition media type.", spot)))
            return;
        wantsSegment = segment ? false : transition ? true : !wantsSegment;
        endsInTransition = transition != nullptr;
    }
    if (endsInTransition && !broken(L"Missing segment at the end of the layer."))
        return;
    leaveElement();
}

/// What a layer asks of its segment at the current place.
bool DmValidationVisitor::checkElement(const DmLayerNode& layer, const DmSegmentNode& segment,
                                       const DmSegmentNode* previous)
{
    const Spot spot{"children", _place.elementIndex};
    if (segment.getMediaType() != layer.getMediaType() && !broken(L"Wrong segment media type.", spot))
        return false;
    // Written so that a time that is no number is out of order too; other comparisons of times likewise.
    if (!(_options & DM_VALIDATE_ORDER) || !previous || segment.getRecIn() >= previous->getRecOut() - timeTolerance)
        return true;
    return broken(text({L"Segment ", segment.getName().view(), L" in-time ", number(rounded(segment.getRecIn())),
                        L" is inferior to last segment's out-time ", number(rounded(previous->getRecOut())), L"."}),
                  spot);
}

void DmValidationVisitor::postProcessLayerNode(DmLayerNode* /*node*/)
{
    if (!isDone())
        leaveElement();
}

/// The rules of an element are checked on the visits behind that of its layer: reports then name that element.
void DmValidationVisitor::enterElement(double recIn)
{
    if (path() && path()->index() >= 0)
    {
        _place.elementIndex = path()->index();
        dmFetch::elementsBehind(*path()->above(), path()->index(), *_ids);
    }
    _place.recordFrame = recIn;
    _atElement = true;
}

void DmValidationVisitor::leaveElement()
{
    _place.elementIndex = 0;
    _place.recordFrame = 0.0;
    _atElement = false;
}

void DmValidationVisitor::visitTrxEffectNode(DmTrxEffectNode* node)
{
    if (isDone())
        return;
    enterElement(node->getRecIn());
    const DmEffectSettings* const effect = node->getEffect();
    if (!effect)
    {
        if (!broken(text({L"Transition node ", node->getName().view(), L" has no effect attached."})))
            return;
    }
    else if (effect->getMediaType() != node->getMediaType() &&
             !brokenBy(effect, L"Wrong trx effect media type.", {"effect", -1}))
        return;
    if (_options & DM_VALIDATE_DURATIONS)
        checkLength(*node);
}

/// A transition takes the record time between its neighbours.
void DmValidationVisitor::checkLength(const DmTrxEffectNode& node)
{
    const auto* const layer = path() ? dynamic_cast<const DmLayerNode*>(path()->above()) : nullptr;
    if (!layer)
        return;
    const DmSegmentNode* const previous = dmSegment(layer->getChild(path()->index() - 1));
    const DmSegmentNode* const next = dmSegment(layer->getChild(path()->index() + 1));
    if (!previous || !next)
        return;
    const double calculated = next->getRecIn() - previous->getRecOut();
    if (!(std::abs(calculated - node.getRecLength()) <= timeTolerance))
        broken(text({L"Inconsistent segment duration. Error in recLength calculated: ", number(rounded(calculated)),
                     L" provided: ", number(rounded(node.getRecLength()))}));
}

void DmValidationVisitor::visitSegment(DmSegmentNode* node)
{
    checkSegment(node);
}

/// What holds for segments of every kind.
bool DmValidationVisitor::checkSegment(DmSegmentNode* node)
{
    if (isDone())
        return false;
    enterElement(node->getRecIn());
    if (node->whatIs() != DM_GAP_NODE && rounded(node->getRecLength()) == 0 &&
        !broken(text({L"Segment ", node->getName().view(), L" has invalid recLength = 0"})))
        return false;
    const DmSetList<DmEffectSettings>& effects = node->getEffects();
    for (int i = 0; i < effects.count(); ++i)
    {
        const DmEffectSettings* const effect = effects.at(i);
        if ((!effect || effect->getMediaType() != node->getMediaType()) &&
            !brokenBy(effect, L"Wrong segment effect media type.", {"effects", i}))
            return false;
    }
    const DmString& id = node->getSegmentId();
    if ((_options & DM_VALIDATE_SEGMENT_IDS) && !id.empty() && _ids->add(node))
        return broken(text({L"Segment \"", node->getName().view(), L"\" has non-unique ID: ", id.view(), L"."}));
    return true;
}

void DmValidationVisitor::visitSourceNode(DmSourceNode* node)
{
    if (!checkSegment(node))
        return;
    const DmSourceNode::Input* const input = node->getSrcInput();
    if (!input)
    {
        broken(text({L"Segment ", node->getName().view(), L" is missing an input"}));
        return;
    }
    const double length = input->getSrcLength();
    if (length > 1.0 && !(node->getRelIn() + node->getRecLength() - length <= sourceTolerance))
        broken(text({L"Segment ", node->getName().view(), L" has invalid relIn '", number(rounded(node->getRelIn())),
                     L"' + recLength '", number(rounded(node->getRecLength())), L"' > srcLength '",
                     number(rounded(length)), L"'"}));
}

void DmValidationVisitor::visitContainer(DmSegmentNode* node)
{
    if (!checkSegment(node))
        return;
    if (!node->getNestedComposition())
        broken(L"Container has no nested composition.");
    else if (!isSound(node->getNestedComposition(), (_options & DM_VALIDATE_DURATIONS) != 0))
        broken(L"Container has invalid nested composition.");
}

bool DmValidationVisitor::isSound(DmCompositionNode* nested, bool withRules)
{
    // From a composition to one nested in it, documents go through a track, a layer and a container.
    constexpr std::size_t maxInside = dmMaxNesting / 4;
    std::vector<const DmCompositionNode*>& inside = _run->inside;
    if (inside.size() >= maxInside || std::find(inside.begin(), inside.end(), nested) != inside.end())
        return false;
    const auto [found, isNew] = _run->known.try_emplace({nested, withRules}, false);
    bool& sound = found->second;
    if (!isNew)
        return sound;

    inside.push_back(nested);
    DmPreIt walk(nested);
    if (withRules)
    {
        // Who asks for every violation says by which rules; a plain validation asks the composition.
        const unsigned options = _run->all ? _options : DmTreeTool::getValidationOptions(nested);
        DmValidationVisitor visitor(options, this, _run);
        sound = walk.applyOrThrow(visitor) == DM_NO_ERROR && visitor.isValid();
    }
    else
    {
        ContainerFinder finder(*this);
        sound = walk.applyOrThrow(finder) == DM_NO_ERROR && !finder.hasStopped();
    }
    inside.pop_back();
    return sound;
}
