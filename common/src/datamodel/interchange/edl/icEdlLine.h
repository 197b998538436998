/// A line of the list to be, made of a node: its times, reel, speed, look, notes and marks.
///
/// What the node keeps of the list that it came from (icEdlKept.h) holds as long as it does not say otherwise itself.
#pragma once

#include "icEdlKept.h"
#include "icEdlList.h"
#include "icEdlReels.h"
#include "icLeftovers.h"
#include "icReport.h"
#include "icUnsaid.h"

#include "dmCueMark.h"
#include "dmPlayed.h"
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
    std::string speedReel;
    std::string spelling;
    std::string speedSpelling;
    std::string labels;
    std::string numberTail;
    std::string madeName; ///< of the clip, where no note named it
    std::string medium;   ///< by which one clip on several channels is known
    std::vector<Note> notes;
    std::vector<Mark> marks;
    std::optional<Look> look;
};

class EdlLineMaker
{
public:
    /// `offset` leads from the record times of nodes to those of the list. The report is told what lines cannot say.
    EdlLineMaker(DM::FrameCodeModes fcm, double offset, Report& report, EdlReels& reels)
        : _fcm(fcm)
        , _offset(offset)
        , _report(report)
        , _reels(reels)
        , _unsaidOfMixes(edlLeftover.format, saidOfMixes)
    {
    }

    struct Part
    {
        const DmTrxEffectNode* mix; ///< in front of it; null for none
        EdlChannels channel;
        double recOut;       ///< where it ends, or where a later one covers it
        const EdlKept* kept; ///< what it has of the list that it came from; null for nothing
    };
    EdlLine line(const DmSegmentNode& segment, const Part& part);
    /// The line of no length that says what a transition comes from.
    EdlLine outgoingLine(const DmTrxEffectNode& mix, const DmTreeNode* previous, EdlChannels channel);
    /// `recordTime` is the mark's, as nodes count.
    void addMark(EdlLine& line, const DmCueMark& mark, double recordTime);

private:
    static constexpr std::wstring_view saidOfMixes[] = {L"transition.name", L"effect", L"effect.length",
                                                        L"effect.smptePattern"};

    /// A part of the material, in frames of the list, beside the speed that it plays at.
    struct Range
    {
        double in;
        double out;
        double speed;
    };
    std::int64_t frames(double time);
    void setTransition(EdlLine& line, const DmTrxEffectNode& mix, const EdlKept* kept);
    void setMaterial(EdlLine& line, const DmSegmentNode& segment, const Part& part);
    Range rangeOf(const DmSegmentNode& segment, bool& drop);
    std::string reel(const DmSourceNode::Input* input, const EdlKept* kept);
    /// Where an input's material starts, in the list's mode or its source mode.
    double materialStart(const DmSourceNode::Input* input, bool& drop);
    void setSpeed(EdlLine& line, double speed, const EdlKept* kept) const;
    void makeClear(EdlLine& line, double speed) const;
    void setEffects(EdlLine& line, const DmSegmentNode& segment);
    void setNotes(EdlLine& line, const DmSourceNode& source, const EdlKept* kept, bool isMix);
    void addMarks(EdlLine& line, const DmSegmentNode& segment);
    void clean(EdlLine& line);

    DM::FrameCodeModes _fcm;
    double _offset;
    Report& _report;
    EdlReels& _reels;
    Unsaid _unsaidOfMixes;
};

// The time of a segment's mark is the frame of the material that stands where the mark does. Of what is held, or plays
// at speeds that change, it counts in record time.

double recordTimeOfMark(const DmSegmentNode& segment, DM::FrameCodeModes fcm, double time);
double timeOfMark(const DmSegmentNode& segment, DM::FrameCodeModes fcm, double recordTime);

/// The name of a node; empty for one that nobody has named.
std::string clipName(const DmTreeNode& node);

} // namespace interchange
