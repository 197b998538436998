/// A line of the list to be, made of a node: its times, reel, speed, look, notes and marks.
///
/// What the node keeps of the list that it came from (icEdlKept.h) holds as long as it does not say otherwise itself.
#pragma once

#include "icEdlKept.h"
#include "icEdlList.h"
#include "icReport.h"

#include "dmCueMark.h"
#include "dmSegmentNode.h"
#include "dmSourceInput.h"
#include "dmSourceNode.h"
#include "dmTrxEffectNode.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace interchange
{

struct EdlLine
{
    struct Mark
    {
        std::int64_t at;
        std::string_view colour;
        std::string text;
    };

    EdlEvent event; ///< with the texts beside it, until the list keeps them
    std::string reel;
    std::vector<Note> notes;
    std::vector<Mark> marks;
    std::optional<Look> look;
};

class EdlLineMaker
{
public:
    /// `offset` leads from the record times of nodes to those of the list. The report is told what lines cannot say.
    EdlLineMaker(DM::FrameCodeModes fcm, double offset, Report& report)
        : _fcm(fcm)
        , _offset(offset)
        , _report(report)
    {
    }

    /// Of a segment, with the transition in front of it, if there is one.
    EdlLine line(const DmSegmentNode& segment, const DmTrxEffectNode* mix, EdlChannels channel);
    /// The line of no length that says what a transition comes from.
    EdlLine outgoingLine(const DmTrxEffectNode& mix, const DmTreeNode* previous, EdlChannels channel);
    /// `origin` is the record time that the mark's time counts from.
    void addMark(EdlLine& line, const DmCueMark& mark, double origin);

private:
    std::int64_t frames(double time);
    void setTransition(EdlLine& line, const DmTrxEffectNode& mix, const EdlKept* kept);
    void setMaterial(EdlLine& line, const DmSourceNode& source, double mixLength, const EdlKept* kept);
    std::string reel(const DmSourceNode::Input* input, const EdlKept* kept);
    /// Where an input's material starts, in the list's mode or its source mode.
    double materialStart(const DmSourceNode::Input* input, bool& drop);
    /// The speed; 1 without an effect.
    double setEffects(EdlLine& line, const DmSegmentNode& segment, const EdlKept* kept);
    void setNotes(EdlLine& line, const DmSourceNode& source, const EdlKept* kept, bool isMix);

    DM::FrameCodeModes _fcm;
    double _offset;
    Report& _report;
};

/// The name of a node; empty for one that nobody has named.
std::string clipName(const DmTreeNode& node);

} // namespace interchange
