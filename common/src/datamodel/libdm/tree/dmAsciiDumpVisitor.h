/// Writes a tree for people: one line for each node, indented by its depth. A track of a composition in 25 fps:
///
///       DmTrackNode "untitled" number 1 video layers 1
///         DmLayerNode "untitled" number 0 video from 01:00:00:00 length 00:00:12:00 elements 3
///           DmSourceNode "shot 1" 01:00:00:00 - 01:00:08:00 effect Colour plays 10:00:04:00 of MediaInput "A001"
///           DmCutNode "untitled" 01:00:08:00 - 01:00:08:00
///           DmGapNode "untitled" 01:00:08:00 - 01:00:12:00
///
/// Record times are labels as editors know them (DmCompositionNode::getRecordLabel); "plays" is where the range that
/// plays begins: of a source in the mode of its material, of a container in that of the composition around it. Without
/// any mode, times are frame counts. Characters that would break a line are escapes. Usually through DmTreeTool::dump.
#pragma once

#include "dmTreeVisitor.h"
#include "tuFcm.h"

#include <iosfwd>
#include <string>

class DmEffectSettings;
class DmString;

class ZR_DM_API DmAsciiDumpVisitor final : public DmTreeVisitor
{
public:
    /// The stream outlives the visitor; whether it took the text is its own state.
    explicit DmAsciiDumpVisitor(std::ostream& out);

    void visitNode(DmTreeNode* node) override;
    void visitCollection(DmCollectionNode* node) override;
    void visitSegment(DmSegmentNode* node) override;
    void visitContainer(DmSegmentNode* node) override;
    void visitTransition(DmTransitionNode* node) override;
    void visitCompositionNode(DmCompositionNode* node) override;
    void visitTrackNode(DmTrackNode* node) override;
    void visitLayerNode(DmLayerNode* node) override;
    void visitTrxEffectNode(DmTrxEffectNode* node) override;
    void visitSourceNode(DmSourceNode* node) override;
    void visitBlobNode(DmBlobNode* node) override;
    void visitBatchFxNode(DmBatchFxNode* node) override;
    void visitRootNode(DmRoot* node) override;
    /// A line that says why.
    void notFollowed(DmTreeNode* node, DmNotFollowed why) override;

private:
    // The parts of a line; empty texts and names, and counts of zero, are left out.
    void begin(const DmTreeNode& node);
    void begin(const DmTreeNode& node, int depth);
    void add(const char* word, const std::string& text);
    void addName(const char* word, const DmString& name);
    void addCount(const char* word, int count);
    void addChildren(const char* word, const DmTreeNode& node);
    void addTime(const char* word, double frames, DM::FrameCodeModes fcm);
    void addRecordTime(const char* word, double frames);
    void addRange(double in, double out);
    void addSegment(const DmSegmentNode& node);
    void addInput(DmSourceNode& node);
    void addEffect(const char* word, const DmEffectSettings* effect);
    void end();

    void followMode();

    std::ostream& _out;
    std::string _line;
    const DmTreeNode* _composition = nullptr;      ///< the one that the nodes being visited stand in
    DM::FrameCodeModes _fcm = DM::FCM_NOT_DEFINED; ///< its mode
    double _labelOffset = 0.0;                     ///< from its record times to their labels' times
};
