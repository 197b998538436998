/// Writes a tree for people: a line a node, indented by its depth, times as time code of the composition's frame-code
/// mode.
///
///     DmCompositionNode "Reel 1" 25 fps from 01:00:00:00 length 00:00:12:00 tracks 1 marks 2
///       DmTrackNode "untitled" number 1 video layers 1
///         DmLayerNode "untitled" number 0 video from 00:00:00:00 length 00:00:12:00 elements 3
///           DmSourceNode "shot 1" 00:00:00:00 - 00:00:08:00 id "a1" material 10:00:04:00 "A001" effects Colour
///           DmCutNode "untitled" 00:00:08:00 - 00:00:08:00
///           DmGapNode "untitled" 00:00:08:00 - 00:00:12:00
///
/// In a mode that is not defined, and without a default one, times are frame counts. Characters that would break a line
/// are written as escapes. Usually through DmTreeTool::dump.
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

    void visitCompositionNode(DmCompositionNode* node) override;
    void visitTrackNode(DmTrackNode* node) override;
    void visitLayerNode(DmLayerNode* node) override;
    void visitTransitionNode(DmTransitionNode* node) override;
    void visitCutNode(DmCutNode* node) override;
    void visitTrxEffectNode(DmTrxEffectNode* node) override;
    void visitSegmentNode(DmSegmentNode* node) override;
    void visitSourceNode(DmSourceNode* node) override;
    void visitContainerNode(DmContainerNode* node) override;
    void visitGapNode(DmGapNode* node) override;
    void visitBlobNode(DmBlobNode* node) override;
    void visitBatchFxNode(DmBatchFxNode* node) override;
    void visitReelNode(DmReelNode* node) override;
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
};
