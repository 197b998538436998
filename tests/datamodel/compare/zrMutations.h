/// Documents changed at random, in ways that editors, other programs and nobody would think of: for what must hold
/// whatever two documents hold.
#pragma once

#include "zrRandomEdits.h"

#include <ZRdmtree.h>

namespace zrMutations
{

using zrRandomEdits::Source;

inline std::string written(const DmPropertySet& root)
{
    std::string text;
    const DmStatus status = DmTreeJsonBuilder::generateUtf8(&root, text, DmTreeJsonBuilder::Layout::Pretty);
    return status.ok() ? text : "not written";
}

/// As a file has it.
inline CoSharedPtr<DmRoot> reread(const std::string& text)
{
    CoSharedPtr<DmRoot> root;
    static_cast<void>(DmJsonImporter::importRootFromStr(text.c_str(), root));
    return root;
}
inline CoSharedPtr<DmRoot> reread(const DmRoot& root)
{
    return reread(written(root));
}

/// Changes one thing in a tree that nobody else holds. Lists are set through their properties, which take what
/// documents may hold.
inline void mutate(DmRoot& root, Source& source)
{
    DmTreeNode* node = &root;
    for (unsigned depth = source.below(6); depth-- > 0 && node->getNbChildren() > 0;)
    {
        DmTreeNode* const child = node->getChild(int(source.below(unsigned(node->getNbChildren()))));
        if (!child)
            break;
        node = child;
    }
    auto* const segment = node->asSegment();
    const auto some = [&]
    {
        const double whole = source.below(40);
        return whole - (source.below(9) == 0 ? 0.125 : 0.0);
    };
    switch (source.below(19))
    {
    case 0:
        static_cast<void>(node->setName(source.below(3) == 0 ? L"\u00c9t\u00e9 \"~/1\"" : L"B"));
        break;
    case 1:
        static_cast<void>(node->setComment(source.below(2) == 0 ? L"" : L"a\nb"));
        break;
    case 2:
        if (segment)
            static_cast<void>(segment->setRecIn(source.below(4) == 0 ? -0.0 : some()));
        break;
    case 3:
        if (segment)
            static_cast<void>(segment->setRecLength(some()));
        break;
    case 4:
        if (segment)
            static_cast<void>(segment->setSegmentId(source.below(2) == 0 ? L"twice" : L""));
        break;
    case 5:
        if (segment)
            static_cast<void>(segment->addEffect(DmColourSettings::create()));
        break;
    case 6:
        if (segment && segment->getEffects().count() > 0)
        {
            auto* const effect = segment->getEffects().at(0);
            if (source.below(3) == 0)
                static_cast<void>(segment->removeEffect(0));
            else if (const auto channel = effect->getChannelByName(source.below(2) == 0 ? L"gain" : L"a/b~c"))
                static_cast<void>(channel->setValue(0.5F));
        }
        break;
    case 7:
        if (segment)
            static_cast<void>(segment->addSegmentMark(DmCueMark::create(L"here", some())));
        break;
    case 8:
    case 9:
        if (node->getNbChildren() > 0)
        {
            // Out, twice, in another place, or nothing in its place.
            DmPropertySetVector children;
            for (int i = 0; i < node->getNbChildren(); ++i)
                children.emplace_back(node->getChild(i));
            const std::size_t at = source.below(unsigned(children.size()));
            const std::size_t to = source.below(unsigned(children.size()));
            const unsigned how = source.below(3);
            if (how == 0)
                children.erase(children.begin() + std::ptrdiff_t(at));
            else if (how == 1)
                children.insert(children.begin() + std::ptrdiff_t(to), children[at]);
            else
                std::swap(children[at], children[to]);
            static_cast<void>(node->setPropertyList(DmCollectionNode::Children, DM_VECTOR_PROPERTY_SET, &children));
        }
        break;
    case 10:
        if (segment && source.below(2) == 0)
            static_cast<void>(segment->addSegmentPreviousId(L"before"));
        else
            static_cast<void>(node->setBaseBlob(DmBlobNode::create(L"note", source.below(2) == 0 ? L"x\ny\n" : L"z")));
        break;
    case 11:
        root.addChild(source.below(2) == 0 ? static_cast<DmTreeNode*>(DmReelNode::create().get())
                                           : zrDrawing::tree(zrRandomEdits::randomDrawing(source))->getChild(0));
        break;
    case 12:
        if (auto* const composition = dynamic_cast<DmCompositionNode*>(node))
            static_cast<void>(composition->addCueMark(DmCueMark::create(L"music", some())));
        else if (auto* const layer = dynamic_cast<DmLayerNode*>(node))
            static_cast<void>(layer->addCueMark(DmCueMark::create(L"beat", some())));
        break;
    case 13:
    case 14:
        if (auto* const shot = dynamic_cast<DmSourceNode*>(node))
        {
            auto* const input = dynamic_cast<DmSourceNode::MediaInput*>(shot->getSrcInput());
            const unsigned what = source.below(7);
            if (what == 0 || !input)
                static_cast<void>(shot->setRelIn(some()));
            else if (what == 1)
                static_cast<void>(shot->setMuted(!shot->getMuted()));
            else if (what == 2)
                static_cast<void>(input->setSrcLength(some()));
            else if (what == 3)
                static_cast<void>(input->setFcm(source.below(2) == 0 ? L"30 fps" : L"50 fps"));
            else if (what == 4)
                static_cast<void>(input->setSrcIn(some() - 20));
            else if (what == 5)
                static_cast<void>(input->setName(L"other"));
            else
                static_cast<void>(input->removeExtraData(0));
        }
        break;
    case 15:
    case 16:
        // A further layer, on a track; else a speed by keys.
        if (auto* const track = dynamic_cast<DmTrackNode*>(node))
        {
            const auto layer = zrDrawing::layerOf(zrRandomEdits::randomDrawing(source), {}, "L", false);
            if (layer->getMediaType() == track->getMediaType())
                track->addChild(layer);
        }
        else if (segment)
        {
            const auto warp = DmVTimewarpSettings::create();
            static_cast<void>(warp->setConstantSpeed(false));
            for (unsigned n = source.below(4); n-- > 0;)
            {
                const auto key = DmKeyFrame::create();
                static_cast<void>(key->setFrame(float(source.below(8))));
                static_cast<void>(key->setValue(float(source.below(20))));
                static_cast<void>(warp->getChannelByName(L"timing")->addKeyFrame(key));
            }
            static_cast<void>(segment->addEffect(warp));
        }
        break;
    case 17:
        if (auto* const composition = dynamic_cast<DmCompositionNode*>(root.getChild(0)))
        {
            const auto mark = DmCueMark::create(L"range", some());
            static_cast<void>(mark->setCueMarkDuration(double(source.below(12))));
            static_cast<void>(composition->addCueMark(mark));
        }
        break;
    default:
        static_cast<void>(root.ownIdentification()->setUser(source.below(2) == 0 ? L"Ann" : L"Ben"));
        break;
    }
}

inline CoSharedPtr<DmRoot> randomDocument(Source& source)
{
    std::string drawing = zrRandomEdits::randomDrawing(source) + '\n';
    drawing += zrRandomEdits::randomDrawing(source);
    const auto root = zrDrawing::tree(drawing, "", source.below(2) == 0);
    for (unsigned n = source.below(6); n-- > 0;)
        mutate(*root, source);
    return reread(*root);
}

} // namespace zrMutations
