/// The elements of xmeml that the model says: what is written of a node of its own.
///
/// For sources of this library only.
#pragma once

#include "icFcp7xmlCut.h"

#include "icUnsaid.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace interchange::xmeml
{

/// A parameter of a filter, and the channel that it is.
struct Parameter
{
    const char* filter; ///< its effectid
    const char* id;
    const char* name;
    const char* part; ///< of the value: "horiz"; null for the value itself
    const wchar_t* channel;
    enum Unit
    {
        Same,
        OfWidth,  ///< a fraction of the picture's
        OfHeight, ///<
        Opacity,  ///< 100 - transparency
        Level     ///< a factor; the channel has decibels
    } unit;
};
std::vector<const Parameter*> parametersOf(std::string_view filter);
/// A value of the file as one of the channel, and back.
double channelValue(const Parameter& parameter, double value, const Sequence& sequence);
double fileValue(const Parameter& parameter, double value, const Sequence& sequence);

/// Of a changing speed: at a clip's time the frame of the file, by the key frames' times and values; 0 without any.
double frameAt(std::vector<std::pair<double, double>> keys, double time);

struct GeneratorKind
{
    const char* id; ///< the effectid
    const wchar_t* type;
};
const GeneratorKind* generatorOf(std::string_view effectId);

bool isSound(const Track& track);
void sizeOf(const DmCompositionNode& composition, int& width, int& height);

class PlainElements
{
public:
    /// Tells losses if there is a report.
    PlainElements(const Cut& cut, Report* report);

    // Each is added to the parent; of sequences and items, series() are the markers that go with the one made last

    /// Names what the root says and a file has no place for, and `reels` too where no file had them as bins.
    void tellUnsaidAround(const DmRoot& root, bool reels);
    /// What other formats say of the node, into its element. Nothing while a file is read: there it is the node's
    /// already.
    void attached(pugi::xml_node element, const DmTreeNode& node) const;

    pugi::xml_node sequence(pugi::xml_node parent, const Sequence& sequence);
    pugi::xml_node track(pugi::xml_node parent, const Sequence& sequence, const Track& track);
    pugi::xml_node item(pugi::xml_node parent, const Sequence& sequence, const Track& track, const Item& item);
    /// The file of a clip, in full.
    pugi::xml_node file(pugi::xml_node parent, const Sequence& sequence, const DmSegmentNode& segment);
    const Series& series() const { return _series; }

private:
    pugi::xml_node text(pugi::xml_node parent, const char* name, const DmString& value);
    pugi::xml_node text(pugi::xml_node parent, const char* name, std::string value);
    static pugi::xml_node rate(pugi::xml_node parent, Rate rate);
    static pugi::xml_node timecode(pugi::xml_node parent, double frames, DM::FrameCodeModes fcm, const DmString* reel);
    void format(pugi::xml_node parent, const Sequence& sequence, bool isSound);
    /// Null for one without a time.
    pugi::xml_node marker(pugi::xml_node parent, const DmCueMark& mark, double origin, double ratio);
    void markers(pugi::xml_node parent, const DmSetList<DmCueMark>& marks, double origin, double ratio,
                 const Where& where);
    /// Those that the file or the form has; of all others a figure.
    void links(pugi::xml_node clip, const DmSegmentNode& segment, pugi::xml_node element);
    pugi::xml_node transition(pugi::xml_node parent, const Sequence& sequence, const Track& track, const Item& item);
    pugi::xml_node clip(pugi::xml_node parent, const Sequence& sequence, const Track& track, const Item& item);
    void effects(pugi::xml_node clip, const Sequence& sequence, const Item& item, double clipTime, double clipPerRecord,
                 double offset);
    pugi::xml_node filter(pugi::xml_node clip, const char* name, const char* id, bool isSound,
                          const DmEffectSettings& effect);
    void channels(pugi::xml_node clip, const Sequence& sequence, const DmEffectSettings& effect, const char* filter,
                  const char* name, bool isSound, double clipTime, double clipPerRecord);
    void lose(const char* code, const char* choice)
    {
        if (_report)
            _report->lose({code, choice});
    }

    void tellUnsaid(const DmTreeNode& node, bool handedOn = false)
    {
        if (_report)
            _unsaid.report(node, *_report, handedOn);
    }

    /// Of what becomes no item: the layer, its cuts and its gaps.
    void tellUnsaidIn(const Sequence& sequence, const Track& track);

    const Cut& _cut;
    Report* _report;
    Unsaid _unsaid;
    Series _series;
};

} // namespace interchange::xmeml
