#include "editing.h"

namespace examples
{

DmString fcmName(DM::FrameCodeModes fcm)
{
    return dmFcmText(fcm);
}

CoSharedPtr<DmCompositionNode> makeComposition(const wchar_t* name, const Format& format, const char* start)
{
    const CoSharedPtr<DmFrameResolution> resolution = DmFrameResolution::create();
    must(resolution->setWidth(format.width));
    must(resolution->setHeight(format.height));
    must(resolution->setFrameRatio(static_cast<float>(format.width) / static_cast<float>(format.height)));
    must(resolution->setScanFormat(L"progressive"));
    must(resolution->setDepth(10, 3, false, false));
    CoSharedPtr<DmCompositionNode> composition = DmCompositionNode::create(name, fcmName(format.fcm), resolution);
    must(composition->setStartTC(DM::TimeUnit().fromTimeCode(start, format.fcm).getFrames(), fcmName(format.fcm)));
    must(composition->setSamplingRate(48000.0));
    must(composition->setColourSpace(format.colourSpace));
    must(composition->setOrigin(DM_ORIGIN_STRICT)); // every rule holds in it
    return composition;
}

CoSharedPtr<DmRoot> makeRoot(const wchar_t* title, const wchar_t* user, const wchar_t* date)
{
    CoSharedPtr<DmRoot> root = DmRoot::create();
    must(root->setName(title));
    const CoSharedPtr<DmIdentification> id = DmIdentification::create();
    must(id->setAppName(L"makeDocuments"));
    must(id->setAppVersion(L"1.0"));
    must(id->setUser(user));
    must(id->setHost(L"suite-3"));
    must(id->setDateStr(date));
    must(root->setIdentification(id));
    return root;
}

void animate(const CoSharedPtr<DmAnimationChannel>& channel, std::initializer_list<Key> keys)
{
    for (const Key& key : keys)
        must(channel->addKeyFrame(
            DmKeyFrame::create2(key.frame, key.value, {}, DmKeyFrame::InterpOrder{1}, 4.0F, 0.0F, -4.0F, 0.0F,
                                DmKeyFrame::AutoRightVelocityFlag | DmKeyFrame::AutoLeftVelocityFlag)));
}

void setConstant(const CoSharedPtr<DmAnimationChannel>& channel, float value)
{
    must(channel->setValue(value));
}

CoSharedPtr<DmCueMark> makeMark(const wchar_t* name, const wchar_t* comment, double time, int red, int green, int blue)
{
    CoSharedPtr<DmCueMark> mark = DmCueMark::create(name, time);
    must(mark->setCueMarkComment(comment));
    must(mark->setCueMarkColorRed(red));
    must(mark->setCueMarkColorGreen(green));
    must(mark->setCueMarkColorBlue(blue));
    return mark;
}

CoSharedPtr<DmTrackNode> addTrack(DmCompositionNode& composition, int number, eDmTreeMediaType media)
{
    CoSharedPtr<DmTrackNode> track = DmTrackNode::create(number, media);
    must(track->setName(DmString((media == DM_MEDIA_VIDEO ? L"V" : L"A") + std::to_wstring(number))));
    composition.addChild(track);
    return track;
}

Layer::Layer(DmTrackNode& track, int number, const Format& format)
    : _layer(DmLayerNode::create(number, track.getMediaType(), 0, false))
    , _format(format)
    , _media(track.getMediaType())
    , _idStem(std::wstring(format.idPrefix) + L'-' + std::wstring(track.getName().view()) + L'-')
{
    track.addChild(_layer);
}

Layer::~Layer()
{
    static_cast<void>(_layer->setLayerLength(_time)); // it is nobody else's yet, so it can be set
}

void Layer::place(DmSegmentNode& segment)
{
    const int count = _layer->getNbChildren();
    if (count > 0 && _layer->getChild(count - 1)->isSegment())
        _layer->addChild(DmCutNode::create(_media, _time));
    must(segment.setSegmentId(DmString(_idStem + std::to_wstring(++_segments))));
    _layer->addChild(&segment);
    _time += segment.getRecLength();
}

template <class Node>
Node& Layer::placed(const CoSharedPtr<Node>& node)
{
    place(*node);
    return *node; // the layer holds it
}

DmSourceNode& Layer::clip(const Clip& clip)
{
    const Material& material = clip.material;
    const CoSharedPtr<DmSourceInfo> info = DmSourceInfo::create();
    must(info->setSourceType(DmSourceInfo::File));
    must(info->setName(material.name));
    must(info->setReelName(material.reel));
    must(info->setPath(material.path));
    const CoSharedPtr<DmSourceNode::MediaInput> input =
        DmSourceNode::MediaInput::create(material.length, material.start, info, fcmName(_format.fcm), _media, true);
    must(input->setName(material.name));
    must(input->setFcm(fcmName(_format.fcm)));
    if (_media == DM_MEDIA_AUDIO)
    {
        const CoSharedPtr<DmAudioProperties> sound = DmAudioProperties::create();
        must(sound->setSamplingRate(48000.0));
        must(sound->setStorageFormat(L"24 bits"));
        must(sound->setNbChannels(1));
        must(input->setAudioProperties(sound));
    }
    const CoSharedPtr<DmSourceNode> source = DmSourceNode::create(input, _time, clip.length, clip.relIn, false, false);
    must(source->setName(material.name));
    return placed(source);
}

DmSourceNode& Layer::generated(const wchar_t* inputType, double length)
{
    const auto input = DmSourceNode::GeneratedInput::create(inputType, length, _media);
    must(input->setFcm(fcmName(_format.fcm)));
    const CoSharedPtr<DmSourceNode> source = DmSourceNode::create(input, _time, length, 0.0, false, false);
    must(source->setName(inputType));
    return placed(source);
}

void Layer::gap(double length)
{
    placed(DmGapNode::create(_media, _time, length));
}

void Layer::container(const CoSharedPtr<DmCompositionNode>& composition, const wchar_t* name, double length)
{
    const CoSharedPtr<DmContainerNode> node = DmContainerNode::create(composition, _media, _time, length);
    must(node->setName(name));
    placed(node);
}

void Layer::dissolve(double length)
{
    if (_media == DM_MEDIA_VIDEO)
    {
        const CoSharedPtr<DmVDissolveSettings> effect = DmVDissolveSettings::create();
        must(effect->setLength(length));
        transition(effect, length);
    }
    else
    {
        const CoSharedPtr<DmADissolveSettings> effect = DmADissolveSettings::create();
        must(effect->setLength(length));
        transition(effect, length);
    }
}

void Layer::transition(const CoSharedPtr<DmEffectSettings>& effect, double length)
{
    must(effect->setFocusAlignment(DM_FOCUS_CENTER));
    _layer->addChild(DmTrxEffectNode::create(effect, _time, length));
    _time += length;
}

} // namespace examples
