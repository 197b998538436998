#include "dmAsciiDumpVisitor.h"

#include "dmBatchFxNode.h"
#include "dmBlobNode.h"
#include "dmContainerNode.h"
#include "dmCutNode.h"
#include "dmGapNode.h"
#include "dmLayerNode.h"
#include "dmReelNode.h"
#include "dmRoot.h"
#include "dmSourceInput.h"
#include "dmStoredLabel.h"
#include "dmTrackNode.h"
#include "dmTreeIterator.h"
#include "dmTreeTool.h"
#include "dmTrxEffectNode.h"
#include "dmUtf8.h"

#include "tuLabel.h"

#include <cmath>
#include <ostream>
#include <utility>

namespace
{

/// In quotes, on one line.
std::string quoted(const DmString& name)
{
    std::string text = "\"";
    for (const char c : dmUtf8(name))
    {
        const auto code = static_cast<unsigned char>(c);
        if (c == '\n')
            text += "\\n";
        else if (c == '\t')
            text += "\\t";
        else if (code < 0x20 || code == 0x7F)
        {
            constexpr char digits[] = "0123456789ABCDEF";
            text += {'\\', 'x', digits[code >> 4], digits[code & 0xF]};
        }
        else
        {
            if (c == '"' || c == '\\')
                text += '\\';
            text += c;
        }
    }
    return text + '"';
}

/// A label; without a mode, the frame count.
std::string timeText(double frames, DM::FrameCodeModes mode)
{
    if (!std::isfinite(frames))
        return std::isnan(frames) ? "nan" : frames < 0.0 ? "-inf" : "inf";
    const DM::TimeUnit time(frames);
    if (!time.isATime())
        return "unset";
    return DM::TimeLabel::text(time, mode);
}

} // namespace

DmAsciiDumpVisitor::DmAsciiDumpVisitor(std::ostream& out)
    : DmTreeVisitor("DmAsciiDumpVisitor")
    , _out(out)
{
}

// Lines

void DmAsciiDumpVisitor::begin(const DmTreeNode& node, int depth)
{
    _line.assign(2 * static_cast<std::size_t>(depth), ' ');
    _line += node.classData().utf8ClassName();
    _line += ' ';
    _line += quoted(node.getName());
}

void DmAsciiDumpVisitor::begin(const DmTreeNode& node)
{
    followMode();
    begin(node, path() ? path()->depth() : 0);
}

void DmAsciiDumpVisitor::add(const char* word, const std::string& text)
{
    if (*word)
        (_line += ' ') += word;
    if (!text.empty())
        (_line += ' ') += text;
}

void DmAsciiDumpVisitor::addName(const char* word, const DmString& name)
{
    if (!name.empty())
        add(word, quoted(name));
}

void DmAsciiDumpVisitor::addCount(const char* word, int count)
{
    if (count > 0)
        add(word, std::to_string(count));
}

void DmAsciiDumpVisitor::addChildren(const char* word, const DmTreeNode& node)
{
    add(word, std::to_string(node.getNbChildren()));
    int missing = 0;
    for (int i = 0; i < node.getNbChildren(); ++i)
        missing += node.getChild(i) ? 0 : 1;
    addCount("missing", missing);
}

void DmAsciiDumpVisitor::addTime(const char* word, double frames, DM::FrameCodeModes fcm)
{
    add(word, timeText(frames, fcm));
}

void DmAsciiDumpVisitor::addRecordTime(const char* word, double frames)
{
    addTime(word, frames == dmNoTime ? dmNoTime : frames + _labelOffset, _fcm);
}

void DmAsciiDumpVisitor::addRange(double in, double out)
{
    addRecordTime("", in);
    addRecordTime("-", out);
}

void DmAsciiDumpVisitor::addEffect(const char* word, const DmEffectSettings* effect)
{
    add(word, effect ? dmUtf8(effect->getName()) : "none");
    if (effect && effect->isMuted())
        add("muted", "");
}

/// What holds for segments of every kind.
void DmAsciiDumpVisitor::addSegment(const DmSegmentNode& node)
{
    addRange(node.getRecIn(), node.getRecOut());
    addName("id", node.getSegmentId());
    if (node.getMuted())
        add("muted", "");
    for (int i = 0; i < node.getEffects().count(); ++i)
        addEffect("effect", node.getEffects().at(i));
    addCount("marks", node.getSegmentMarks().count());
}

/// The first frame that is played, in the mode of the material.
void DmAsciiDumpVisitor::addInput(DmSourceNode& node)
{
    const DmSourceNode::Input* const input = node.getSrcInput();
    if (!input)
        return add("input", "none");
    const DM::FrameCodeModes fcm = dmFcmFromText(input->getFcm());
    addTime("plays", DmTreeTool::getSourceRange(&node, _fcm).in, fcm == DM::FCM_NOT_DEFINED ? _fcm : fcm);
    add("of", input->classData().utf8ClassName());
    addName("", input->getName());
}

void DmAsciiDumpVisitor::end()
{
    _line += '\n';
    _out.write(_line.data(), static_cast<std::streamsize>(_line.size()));
}

/// The mode is that of the nearest composition above the node, or of the node itself.
void DmAsciiDumpVisitor::followMode()
{
    const DmTreeNode* composition = path() ? path()->node() : nullptr;
    for (int i = 1; composition && composition->whatIs() != DM_COMPOSITION_NODE; ++i)
        composition = path()->above(i);
    if (composition == _composition)
        return;
    _composition = composition;
    const auto* const node = dynamic_cast<const DmCompositionNode*>(composition);
    _fcm = node ? dmFcmFromText(node->getFCM()) : DM::FCM_NOT_DEFINED;
    _labelOffset = node ? node->getLabelTime(0.0) : 0.0;
}

// Nodes

void DmAsciiDumpVisitor::visitRootNode(DmRoot* node)
{
    begin(*node);
    if (const DmIdentification* const origin = std::as_const(*node).getIdentification())
    {
        addName("by", origin->getAppName());
        addName("version", origin->getAppVersion());
        addName("on", origin->getHost());
    }
    addChildren("children", *node);
    end();
}

void DmAsciiDumpVisitor::visitNode(DmTreeNode* node)
{
    begin(*node);
    end();
}

void DmAsciiDumpVisitor::visitCollection(DmCollectionNode* node)
{
    begin(*node);
    addChildren("children", *node);
    end();
}

void DmAsciiDumpVisitor::visitCompositionNode(DmCompositionNode* node)
{
    begin(*node);
    addName("", node->getFCM());
    addTime("from", node->getStartTC(), _fcm);
    addTime("length", node->getCompLength(), _fcm);
    addChildren("tracks", *node);
    addCount("marks", node->getCueMarks().count());
    end();
}

void DmAsciiDumpVisitor::visitTrackNode(DmTrackNode* node)
{
    begin(*node);
    add("number", std::to_string(node->getTrackNum()));
    add("", dmMediaTypeText(node->getMediaType()));
    addChildren("layers", *node);
    end();
}

void DmAsciiDumpVisitor::visitLayerNode(DmLayerNode* node)
{
    begin(*node);
    add("number", std::to_string(node->getLayerNum()));
    add("", dmMediaTypeText(node->getMediaType()));
    if (node->isResultLayer())
        add("result", "");
    addRecordTime("from", node->getLayerStartTC());
    addTime("length", node->getLayerLength(), _fcm);
    addChildren("elements", *node);
    addCount("marks", node->getCueMarks().count());
    end();
}

void DmAsciiDumpVisitor::visitTransition(DmTransitionNode* node)
{
    begin(*node);
    addRange(node->getRecIn(), node->getRecOut());
    end();
}

void DmAsciiDumpVisitor::visitTrxEffectNode(DmTrxEffectNode* node)
{
    begin(*node);
    addRange(node->getRecIn(), node->getRecOut());
    addEffect("effect", node->getEffect());
    end();
}

void DmAsciiDumpVisitor::visitSegment(DmSegmentNode* node)
{
    begin(*node);
    addSegment(*node);
    end();
}

void DmAsciiDumpVisitor::visitSourceNode(DmSourceNode* node)
{
    begin(*node);
    addSegment(*node);
    addInput(*node);
    end();
}

/// What it plays is on the lines below.
void DmAsciiDumpVisitor::visitContainer(DmSegmentNode* node)
{
    begin(*node);
    addSegment(*node);
    addTime("plays", node->getRelIn(), _fcm);
    if (!node->getNestedComposition())
        add("composition", "none");
    end();
}

void DmAsciiDumpVisitor::visitBatchFxNode(DmBatchFxNode* node)
{
    begin(*node);
    addSegment(*node);
    addName("setup", node->getSetupFileName());
    end();
}

void DmAsciiDumpVisitor::visitBlobNode(DmBlobNode* node)
{
    begin(*node);
    addName("type", node->getBlobType());
    add("size", std::to_string(node->getData().length()));
    end();
}

void DmAsciiDumpVisitor::notFollowed(DmTreeNode* node, DmNotFollowed why)
{
    begin(*node, path()->depth() + 1);
    add("", why == DmNotFollowed::BelowItself ? "stands below itself: not followed"
            : why == DmNotFollowed::TooDeep   ? "stands too deep: not followed"
                                              : "is shared: see above");
    end();
}
