// Operations that touch every node, inside containers too: they change a copy of the tree in place and publish it.
#include "dmEditImp.h"

#include "dmContainerNode.h"
#include "dmKeyFrame.h"
#include "dmSetTools.h"
#include "dmSourceInput.h"
#include "dmStoredLabel.h"
#include "dmTreeTool.h"
#include "dmTrxEffectNode.h"
#include "dmUtf8.h"
#include "tuTimeUnit.h"

#include <algorithm>
#include <cmath>
#include <unordered_set>

namespace
{

/// Calls `visit` for a set and for all that it holds, each once.
template <class Visit>
void forEachSet(DmPropertySet& set, std::unordered_set<const DmPropertySet*>& seen, const Visit& visit)
{
    if (set.isFrozen() || !seen.insert(&set).second)
        return;
    visit(set);
    dmForEachHeld(set,
                  [&](const DmPropertySetPtr& held)
                  {
                      forEachSet(*held, seen, visit);
                      return true;
                  });
}

bool isOneOf(const DmString& name, std::initializer_list<std::wstring_view> names)
{
    return std::ranges::find(names, name.view()) != names.end();
}

/// A name without a meaning for each name, the same for equal ones.
class Neutral
{
public:
    explicit Neutral(const char* word)
        : _word(word)
    {
    }
    DmString operator()(const DmString& name)
    {
        if (name.empty())
            return {};
        const auto [found, isNew] = _names.emplace(name, DmString());
        if (isNew)
            found->second = DmString((_word + std::to_string(_names.size())).c_str());
        return found->second;
    }

private:
    std::string _word;
    std::map<DmString, DmString> _names;
};

class Redaction
{
public:
    void operator()(DmPropertySet& set)
    {
        const bool isEffect = dynamic_cast<DmEffectSettings*>(&set) != nullptr;
        const bool isChannel = dynamic_cast<DmChannel*>(&set) != nullptr;
        const DmPropertySetData& data = set.classData();
        for (int i = 0; i < data.size(); ++i)
        {
            const DmPropertyDef& def = *data.at(i);
            if (def._type == DM_STRING || def._type == DM_CDATA)
            {
                DmString was;
                if (set.getPropertyValue(i, def._type, &was) != DM_NO_ERROR || was.empty())
                    continue;
                const DmString now = isChannel ? channelText(def._name, was) : text(set, def._name, was, isEffect);
                if (now != was)
                    static_cast<void>(set.setPropertyValue(i, def._type, &now));
            }
            else if (def._type == DM_VECTOR_STRING)
                static_cast<void>(set.clearList(i, DM_VECTOR_STRING));
        }
        if (auto* const node = dynamic_cast<DmTreeNode*>(&set); node && node->getBaseBlob())
            static_cast<void>(node->setBaseBlob(nullptr));
        if (auto* const media = dynamic_cast<DmSourceNode::MediaInput*>(&set))
            redactEntries(*media);
    }

private:
    static DmString channelText(const DmString& property, const DmString& was)
    {
        // A parameter's value, unless it is a path.
        const bool isPath = was.view().find_first_of(L"/\\") != std::wstring_view::npos;
        return property == DmString(L"value") && isPath ? DmString() : was;
    }

    DmString text(const DmPropertySet& set, const DmString& property, const DmString& was, bool isEffect)
    {
        if (isOneOf(property, {L"fcm", L"startTCStr", L"startTcFcm", L"srcFcm", L"srcInStr", L"srcInFcm", L"VaricamFcm",
                               L"inputType", L"scanFormat", L"storageFormat", L"colourSpace", L"imageResizeType",
                               L"imageFilterType", L"PDFrameType", L"filmGauge", L"telecineSpeed", L"key", L"value"}))
            return was;
        if (isOneOf(property, {L"segmentId", L"originalID"}))
            return idFor(was);
        if (property == DmString(L"reelName"))
            return _reels(was);
        if (property == DmString(L"name"))
            return dynamic_cast<const DmSegmentNode*>(&set) || dynamic_cast<const DmSourceNode::Input*>(&set) ||
                           dynamic_cast<const DmSourceInfo*>(&set)
                       ? _clips(was)
                   : dynamic_cast<const DmTreeNode*>(&set) ? DmString(L"untitled")
                                                           : DmString();
        if (isEffect && !isOneOf(property, {L"setup", L"setupFileName", L"comment", L"path", L"text"}))
            return was; // a parameter
        return {};
    }

    DmString idFor(const DmString& was)
    {
        const std::wstring_view group = dmLinkGroupOf(was);
        if (group.empty())
            return _ids(was);
        std::wstring id(_ids(DmString(group)).view());
        id += L'#';
        id += _ids(DmString(was.view().substr(group.size() + 1))).view();
        return DmString(std::wstring_view(id));
    }

    static void redactEntries(DmSourceNode::MediaInput& media)
    {
        for (int i = media.getExtraDataDictionary().count(); i-- > 0;)
            if (const DmSourceNode::DictionaryEntry* const entry = media.getExtraDataDictionary().at(i);
                !entry || entry->getKey() != DmString(dmMaterialLengthKey))
                static_cast<void>(media.removeValueFromPropertyList(DmSourceNode::MediaInput::ExtraDataDictionary,
                                                                    DM_VECTOR_PROPERTY_SET, i));
    }

    Neutral _clips{"clip "};
    Neutral _reels{"REEL"};
    Neutral _ids{"id"};
};

bool replaceBegin(DmString& text, const DmString& from, const DmString& to)
{
    if (from.empty() || !text.view().starts_with(from.view()))
        return false;
    std::wstring now(to.view());
    now += text.view().substr(from.view().size());
    DmString(std::wstring_view(now)).swap(text);
    return true;
}

} // namespace

/// Changes a copy of the tree, that nobody else sees, in place.
void DmEdit::Imp::rewrite(const std::function<void(DmTreeNode& tree, DmCompositionNode& composition)>& how)
{
    const DmTimeline now(std::make_shared<const DmTimelineValue>(draft.value), _timeline);
    CoSharedPtr<DmTreeNode> own = dmThawed(*now.tree());
    if (!own)
        dmRefuse("The tree cannot be copied.");
    CoSharedPtr<DmTreeNode> node = own;
    for (const int step : draft.value.path)
        node = CoSharedPtr<DmTreeNode>(node->getChild(step));
    how(*own, static_cast<DmCompositionNode&>(*node));
    node.reset();
    const int nextLayer = draft.value.nextLayer;
    const DmTimeline rewritten = DmTimeline::takeOver(std::move(own), draft.value.number);
    if (!rewritten)
        dmRefuse("The tree cannot be published.");
    draft.value = *rewritten.value();
    draft.value.nextLayer += nextLayer;
    for (DmTimelineValue::Track& track : draft.value.tracks)
        for (DmTimelineValue::Layer& layer : track.layers)
            draft.bytes += std::size_t(layer.runs.count()) * (sizeof(DmSourceNode) + 256);
    draft.fcm = dmModeOrDefault(dmFcmFromText(draft.value.bare->getFCM()));
}

DmStatus DmEdit::relink(const Relink& how)
{
    return _imp->run(
        [&]
        {
            int changed = 0;
            const auto relinkSet = [&](DmPropertySet& set)
            {
                bool any = false;
                if (auto* const info = dynamic_cast<DmSourceInfo*>(&set))
                {
                    DmString path = info->getPath();
                    if (replaceBegin(path, how.fromPath, how.toPath))
                        any = info->setPath(path) == DM_NO_ERROR;
                    std::vector<DmString> files = info->getFileList();
                    bool filesChanged = false;
                    for (DmString& file : files)
                        filesChanged = replaceBegin(file, how.fromPath, how.toPath) || filesChanged;
                    if (filesChanged)
                        any = info->setFileList(files) == DM_NO_ERROR;
                    if (!how.fromReel.empty() && info->getReelName() == how.fromReel)
                        any = info->setReelName(how.toReel) == DM_NO_ERROR;
                }
                if (auto* const input = dynamic_cast<DmSourceNode::Input*>(&set))
                    if (!how.fromName.empty() && input->getName() == how.fromName)
                        any = input->setName(how.toName) == DM_NO_ERROR;
                if (auto* const derived = dynamic_cast<DmSourceNode::DerivedInput*>(&set))
                    if (!how.fromReel.empty() && derived->getReelName() == how.fromReel)
                        any = derived->setReelName(how.toReel) == DM_NO_ERROR;
                if (auto* const relinked = dynamic_cast<DmSourceNode::RelinkedInput*>(&set))
                    if (!how.fromReel.empty() && relinked->getReelName() == how.fromReel)
                        any = relinked->setReelName(how.toReel) == DM_NO_ERROR;
                changed += any;
            };
            _imp->rewrite(
                [&](DmTreeNode& tree, DmCompositionNode&)
                {
                    std::unordered_set<const DmPropertySet*> seen;
                    forEachSet(tree, seen, relinkSet);
                });
            if (changed == 0)
                dmRefuse("No source has such a path, name or reel.");
        });
}

DmStatus DmEdit::redact()
{
    return _imp->run(
        [&]
        {
            _imp->rewrite(
                [](DmTreeNode& tree, DmCompositionNode&)
                {
                    std::unordered_set<const DmPropertySet*> seen;
                    Redaction redaction;
                    forEachSet(tree, seen, [&](DmPropertySet& set) { redaction(set); });
                });
            for (DmTimelineValue::Track& track : _imp->draft.value.tracks)
                for (DmTimelineValue::Layer& layer : track.layers)
                    if (layer.bare && layer.bare->getCueMarks().count() > 0)
                    {
                        const CoSharedPtr<DmLayerNode> bare = dmEditCopy(*layer.bare);
                        for (int i = 0; i < bare->getCueMarks().count(); ++i)
                            if (DmCueMark* const mark = bare->getCueMarks().at(i))
                            {
                                static_cast<void>(mark->setCueMarkName(DmString()));
                                static_cast<void>(mark->setCueMarkComment(DmString()));
                            }
                        bare->freeze();
                        layer.bare = bare;
                    }
        });
}

namespace
{

/// Record times of one mode in another.
class Conforming
{
public:
    Conforming(const DmCompositionNode& composition, DM::FrameCodeModes from, DM::FrameCodeModes to, bool byClock)
        : _from(from)
        , _to(to)
        , _byClock(byClock)
        , _start(composition.getStartTC())
        , _recordStart(composition.getRecordStart())
        , _isAbsolute(composition.countsAbsolutely())
        , _newStart(relabelled(_start))
    {
    }

    double ratio() const { return DM::FcmUtil::getDoubleFPS(_to) / DM::FcmUtil::getDoubleFPS(_from); }
    double newStart() const { return _newStart; }

    double time(double record) const
    {
        if (!dmIsTime(record))
            return record;
        const double newRecordStart = _isAbsolute ? _newStart : 0.0;
        if (_byClock)
            return newRecordStart + std::round((record - _recordStart) * ratio());
        return relabelled(record - _recordStart + _start) - _newStart + newRecordStart;
    }

private:
    double relabelled(double labelTime) const
    {
        int hours = 0;
        int minutes = 0;
        int seconds = 0;
        int frames = 0;
        const bool isNegative = labelTime < 0.0;
        DM::TimeUnit(std::abs(labelTime)).toTimeCode(hours, minutes, seconds, frames, _from);
        const int from = DM::FcmUtil::getIntFPS(_from);
        const int to = DM::FcmUtil::getIntFPS(_to);
        if (from != to)
            frames = std::min(to - 1, static_cast<int>(std::lround(frames * double(to) / from)));
        DM::TimeUnit time;
        time.fromTimeCode(hours, minutes, seconds, frames, _to, true, true);
        return isNegative ? -time.getFrames() : time.getFrames();
    }

    DM::FrameCodeModes _from, _to;
    bool _byClock;
    double _start, _recordStart;
    bool _isAbsolute;
    double _newStart;
};

void scaleKeys(const DmPropertySet& set, double ratio)
{
    dmForEachHeld(set,
                  [ratio](const DmPropertySetPtr& held)
                  {
                      if (auto* const key = dynamic_cast<DmKeyFrame*>(held.get()))
                          static_cast<void>(key->setFrame(static_cast<float>(key->getFrame() * ratio)));
                      else if (!held->isFrozen())
                          scaleKeys(*held, ratio);
                      return true;
                  });
}

void conformMark(DmCueMark& mark, const Conforming& to)
{
    static_cast<void>(mark.setCueMarkTime(to.time(mark.getCueMarkTime())));
    static_cast<void>(mark.setCueMarkDuration(std::round(mark.getCueMarkDuration() * to.ratio())));
}

void conformLayer(DmLayerNode& layer, const Conforming& to, const DmString& oldFcm, DM::FrameCodeModes fcm)
{
    const double end = layer.getLayerStartTC() + layer.getLayerLength();
    const double start = to.time(layer.getLayerStartTC());
    static_cast<void>(layer.setLayerStartTC(start));
    static_cast<void>(layer.setLayerLength(to.time(end) - start));
    for (int i = 0; i < layer.getCueMarks().count(); ++i)
        if (DmCueMark* const mark = layer.getCueMarks().at(i))
            conformMark(*mark, to);
    for (int i = 0; i < layer.getNbChildren(); ++i)
    {
        if (DmSegmentNode* const segment = dmSegment(layer.getChild(i)))
        {
            // Material without a mode of its own counts in what was the composition's.
            if (auto* const source = dynamic_cast<DmSourceNode*>(segment); source && source->getSrcInput())
                if (dmFcmFromText(source->getSrcInput()->getFcm()) == DM::FCM_NOT_DEFINED)
                    static_cast<void>(source->getSrcInput()->setFcm(oldFcm));
            if (auto* const container = dynamic_cast<DmContainerNode*>(segment);
                container && container->getComposition())
                if (dmFcmFromText(container->getComposition()->getFCM()) == DM::FCM_NOT_DEFINED)
                    static_cast<void>(container->getComposition()->setFCM(oldFcm));
            const double in = to.time(segment->getRecIn());
            const double length = to.time(segment->getRecOut()) - in;
            if (length < dmLeastLength && segment->whatIs() != DM_GAP_NODE)
                dmRefuse("In that mode \"%s\" would be left without a frame.", dmUtf8(segment->getName()).c_str());
            DmSegmentChange change(*segment, fcm, {});
            static_cast<void>(segment->setRecIn(in));
            static_cast<void>(segment->setRecLength(length));
            for (int e = 0; e < segment->getEffects().count(); ++e)
                if (const DmEffectSettings* const effect = segment->getEffects().at(e))
                    scaleKeys(*effect, to.ratio());
            change.settle({});
        }
        else if (DmTransitionNode* const transition = dmTransition(layer.getChild(i)))
        {
            const double in = to.time(transition->getRecIn());
            const double length = to.time(transition->getRecOut()) - in;
            static_cast<void>(transition->setRecIn(in));
            static_cast<void>(transition->setRecLength(length));
            static_cast<void>(transition->setRelIn(std::round(transition->getRelIn() * to.ratio())));
            if (auto* const node = dynamic_cast<DmTrxEffectNode*>(transition); node && node->getEffect())
            {
                double was = 0.0;
                if (node->getEffect()->getPropertyValue(L"length", DM_DOUBLE, &was) == DM_NO_ERROR && was > 0.0)
                    static_cast<void>(node->getEffect()->setPropertyValue(L"length", DM_DOUBLE, &length));
                scaleKeys(*node->getEffect(), to.ratio());
            }
        }
    }
}

} // namespace

DmStatus DmEdit::conform(DM::FrameCodeModes fcm, Conform keep)
{
    return _imp->run(
        [&]
        {
            const DM::FrameCodeModes from = _imp->draft.fcm;
            if (from == DM::FCM_NOT_DEFINED || fcm == DM::FCM_NOT_DEFINED)
                dmRefuse("Both modes must be known.");
            if (from == fcm)
                return;
            _imp->rewrite(
                [&](DmTreeNode&, DmCompositionNode& composition)
                {
                    const Conforming to(composition, from, fcm, keep == Conform::Clock);
                    const DmString oldFcm = dmFcmText(from);
                    const double length = to.time(composition.getRecordStart() + composition.getCompLength()) -
                                          to.time(composition.getRecordStart());
                    for (int t = 0; t < composition.getNbChildren(); ++t)
                        for (int l = 0; composition.getChild(t) && l < composition.getChild(t)->getNbChildren(); ++l)
                            if (auto* const layer = dynamic_cast<DmLayerNode*>(composition.getChild(t)->getChild(l)))
                                conformLayer(*layer, to, oldFcm, fcm);
                    static_cast<void>(composition.setCompLength(length));
                    for (int i = 0; i < composition.getCueMarks().count(); ++i)
                        if (DmCueMark* const mark = composition.getCueMarks().at(i))
                            conformMark(*mark, to);
                    for (const int mark : {DmCompositionNode::InMark, DmCompositionNode::OutMark,
                                           DmCompositionNode::EmbInMark, DmCompositionNode::EmbOutMark})
                    {
                        double was = dmNoTime;
                        static_cast<void>(composition.getPropertyValue(mark, DM_DOUBLE, &was));
                        const double now = to.time(was);
                        static_cast<void>(composition.setPropertyValue(mark, DM_DOUBLE, &now));
                    }
                    static_cast<void>(composition.setStartTC(to.newStart(), dmFcmText(fcm)));
                    static_cast<void>(composition.setFCM(dmFcmText(fcm)));
                });
        });
}
