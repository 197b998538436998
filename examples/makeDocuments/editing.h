/// What the example edits have in common: material, and layers that are filled in record order.
#pragma once

#include <ZRdmtree.h>

#include <initializer_list>
#include <stdexcept>
#include <string>

namespace examples
{

/// Ends the program when the data model refuses something: an example is right or it is none.
inline void must(eDmErrorId status)
{
    if (status != DM_NO_ERROR)
        throw std::runtime_error(dmUtf8(DmPSetHelper::getStrFromError(status)));
}

/// How an edit counts time, looks and sounds.
struct Format
{
    DM::FrameCodeModes fcm;
    int width;
    int height;
    const wchar_t* colourSpace;
    const wchar_t* idPrefix; ///< of the segments' ids
};

/// A piece of recorded material.
struct Material
{
    const wchar_t* name;
    const wchar_t* reel;
    const wchar_t* path;
    double start;  ///< its first frame's time code, in frames
    double length; ///< in frames
};

/// A stretch of material in a layer.
struct Clip
{
    const Material& material;
    double length;
    double relIn = 0.0; ///< offset into the material
};

struct Key
{
    float frame;
    float value;
};

DmString fcmName(DM::FrameCodeModes fcm);

/// `start`: the label of its first frame.
CoSharedPtr<DmCompositionNode> makeComposition(const wchar_t* name, const Format& format, const char* start);
CoSharedPtr<DmRoot> makeRoot(const wchar_t* title, const wchar_t* user, const wchar_t* date);

/// The curve of a channel, through these keys.
void animate(const CoSharedPtr<DmAnimationChannel>& channel, std::initializer_list<Key> keys);
void setConstant(const CoSharedPtr<DmAnimationChannel>& channel, float value);

CoSharedPtr<DmCueMark> makeMark(const wchar_t* name, const wchar_t* comment, double time, int red, int green, int blue);

CoSharedPtr<DmTrackNode> addTrack(DmCompositionNode& composition, int number, eDmTreeMediaType media);

/// Fills one layer of a track: what is added begins where the element before it ended, with a cut between two segments
/// that have no transition.
class Layer
{
public:
    Layer(DmTrackNode& track, int number, const Format& format);
    /// The length of the layer is known now.
    ~Layer();
    Layer(const Layer&) = delete;
    Layer& operator=(const Layer&) = delete;

    DmSourceNode& clip(const Clip& clip);
    DmSourceNode& generated(const wchar_t* inputType, double length);
    void gap(double length);
    void container(const CoSharedPtr<DmCompositionNode>& composition, const wchar_t* name, double length);
    /// A picture or a sound dissolve.
    void dissolve(double length);
    void transition(const CoSharedPtr<DmEffectSettings>& effect, double length);

    double time() const { return _time; }

private:
    void place(DmSegmentNode& segment);
    template <class Node>
    Node& placed(const CoSharedPtr<Node>& node);

    CoSharedPtr<DmLayerNode> _layer;
    const Format& _format;
    eDmTreeMediaType _media;
    std::wstring _idStem;
    int _segments = 0;
    double _time = 0.0;
};

CoSharedPtr<DmRoot> makeCommercial();
CoSharedPtr<DmRoot> makeNews();
CoSharedPtr<DmRoot> makeFeature();
/// The commercial, after two accidents: a shot that plays beyond the end of its material, and a removed cut.
CoSharedPtr<DmRoot> makeCommercialWithMistakes();

} // namespace examples
