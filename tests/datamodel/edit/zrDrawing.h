/// Timelines as drawings: what a test of an edit begins with, and what it expects.
///
///     AAAA|BBBB//CC|--|DD      a letter a frame: shots; '-': gaps; '/': frames of a transition; '|': cuts
///     A10/40 B5 C7/20          from which frame of its material a shot plays, and how much material there is:
///                              without a length nobody knows; shots that are not named play from 0, unknown
///
/// A shot's second half is drawn with the same letter. Several tracks stand below each other, one a line; small letters
/// are sound. A line that begins with spaces begins with a gap. Beside these:
///
///     ~~XX    a layer that begins two frames later than others
///     1111    a container of a composition of 50 frames, or as many as are said
///     AA%%BB  a transition to which what goes out is attached, as readers of lists do
///     (X)     a shot that transitions cover, attached to a gap of no length; '.' is such a gap without a shot
#pragma once

#include <ZRdmtree.h>

#include <cctype>
#include <cmath>
#include <map>
#include <sstream>
#include <string>

namespace zrDrawing
{

struct Material
{
    double relIn = 0.0;
    double length = -1.0; ///< unknown
};

inline std::map<char, Material> materialsOf(const std::string& text)
{
    std::map<char, Material> all;
    std::istringstream words(text);
    for (std::string word; words >> word;)
    {
        Material& material = all[word[0]];
        material.relIn = std::stod(word.substr(1));
        if (const std::size_t slash = word.find('/'); slash != std::string::npos)
            material.length = std::stod(word.substr(slash + 1));
    }
    return all;
}

/// `inFront` and `behind`: the transitions beside it, which play its material too.
inline CoSharedPtr<DmSourceNode> shot(char name, double recIn, double length, const Material& material,
                                      eDmTreeMediaType type = DM_MEDIA_VIDEO, double behind = 0.0)
{
    const bool known = material.length >= 0.0;
    const auto input = DmSourceNode::MediaInput::create(known ? material.length : material.relIn + length + behind,
                                                        1000.0, DmSourceInfo::create(), L"25 fps", type, true);
    static_cast<void>(input->setName(DmString(std::string(1, name).c_str())));
    static_cast<void>(input->setFcm(L"25 fps"));
    static_cast<void>(input->addExtraData(DmSourceNode::DictionaryEntry::create(
        L"materialLength", known ? DmString(std::to_string(int(material.length)).c_str()) : DmString(L"unknown"))));
    const auto node = DmSourceNode::create(input, recIn, length, material.relIn, false, false);
    static_cast<void>(node->setName(DmString(std::string(1, name).c_str())));
    return node;
}

inline CoSharedPtr<DmLayerNode> layerOf(const std::string& line, const std::map<char, Material>& materials,
                                        const std::string& idSuffix, bool withIds)
{
    eDmTreeMediaType type = DM_MEDIA_VIDEO;
    for (const char c : line)
        if (std::islower(static_cast<unsigned char>(c)))
            type = DM_MEDIA_AUDIO;
    const std::size_t begin = std::min(line.find_first_not_of('~'), line.size());
    DmLayerBuilder builder(0, type, double(begin));
    const auto materialOf = [&](char name)
    {
        const auto found = materials.find(name);
        return found == materials.end() ? Material() : found->second;
    };
    auto time = double(begin);
    CoSharedPtr<DmSegmentNode> last;
    for (std::size_t i = begin; i < line.size();)
    {
        const char c = line[i];
        std::size_t end = i;
        while (end < line.size() && line[end] == c)
            ++end;
        const double length = c == '(' || c == '.' ? 0.0 : static_cast<double>(end - i);
        CoSharedPtr<DmTreeNode> node;
        if (c == '(')
        {
            node = DmGapNode::create(type, time, 0.0);
            static_cast<void>(node->setBaseBlob(shot(line[i + 1], time, 0.0, materialOf(line[i + 1]), type)));
            end = i + 3;
        }
        else if (std::isdigit(static_cast<unsigned char>(c)))
        {
            const Material& material = materialOf(c);
            const auto composition = DmCompositionNode::create(L"inner", L"25 fps", nullptr);
            static_cast<void>(composition->setCompLength(material.length >= 0.0 ? material.length : 50.0));
            node = DmContainerNode::create(composition, type, 0.0, length, material.relIn);
            static_cast<void>(node->setName(DmString(std::string(1, c).c_str())));
        }
        else if (c == '/' || c == '%')
        {
            CoSharedPtr<DmEffectSettings> effect;
            if (type == DM_MEDIA_VIDEO)
                effect = DmVDissolveSettings::create();
            else
                effect = DmADissolveSettings::create();
            static_cast<void>(effect->setPropertyValue(L"length", DM_DOUBLE, &length));
            node = DmTrxEffectNode::create(effect, 0.0, length);
            if (c == '%' && last)
                static_cast<void>(
                    node->setBaseBlob(shot(static_cast<char>(last->getName().c_str()[0]), time, 0.0,
                                           {last->getRelIn() + last->getRecLength(),
                                            materialOf(static_cast<char>(last->getName().c_str()[0])).length},
                                           type)));
        }
        else if (c == '-' || c == ' ' || c == '.')
            node = DmGapNode::create(type, 0.0, length);
        else if (std::isalpha(static_cast<unsigned char>(c)))
        {
            std::size_t transition = end;
            while (transition < line.size() && (line[transition] == '/' || line[transition] == '%'))
                ++transition;
            const auto source = shot(c, 0.0, length, materialOf(c), type, static_cast<double>(transition - end));
            if (withIds)
                static_cast<void>(
                    source->setSegmentId(DmString((std::string(1, char(std::toupper(c))) + "#" + idSuffix).c_str())));
            node = last = source;
        }
        if (node)
        {
            static_cast<void>(builder.append(node));
            time += length;
        }
        i = end;
    }
    return builder.finish();
}

/// A composition that counts from 0; its material is at 25 fps. `linked`: shots of one letter, in upper and in lower
/// case, are linked.
inline CoSharedPtr<DmRoot> tree(const std::string& drawing, const std::string& materials = "", bool linked = false,
                                const wchar_t* fcm = L"25 fps")
{
    const auto composition = DmCompositionNode::create(L"cut", fcm, nullptr);
    std::istringstream lines(drawing);
    int number = 0;
    double length = 0.0;
    for (std::string line; std::getline(lines, line); ++number)
    {
        const auto layer = layerOf(line, materialsOf(materials), "T" + std::to_string(number), linked);
        const auto track = DmTrackNode::create(number + 1, layer->getMediaType());
        track->addChild(layer);
        composition->addChild(track);
        length = std::max(length, layer->getLayerStartTC() + layer->getLayerLength());
    }
    static_cast<void>(composition->setCompLength(length));
    const auto root = DmRoot::create();
    root->addChild(composition);
    return root;
}

inline DmTimeline timeline(const std::string& drawing, const std::string& materials = "", bool linked = false,
                           const wchar_t* fcm = L"25 fps")
{
    return DmTimeline::takeOver(tree(drawing, materials, linked, fcm));
}

inline std::string draw(const DmTimeline& timeline)
{
    std::string text;
    const auto composition = timeline.composition();
    for (int t = 0; t < composition->getNbChildren(); ++t)
    {
        const auto* const layer = composition->getChild(t)->getChild(0);
        double time = static_cast<const DmLayerNode*>(layer)->getLayerStartTC();
        std::string line(static_cast<std::size_t>(time), '~');
        for (int i = 0; i < layer->getNbChildren(); ++i)
        {
            DmTreeNode* const node = layer->getChild(i);
            double in = 0.0;
            double length = 0.0;
            char c = '?';
            if (const DmSegmentNode* const segment = node->asSegment())
            {
                in = segment->getRecIn();
                length = segment->getRecLength();
                c = segment->whatIs() == DM_GAP_NODE ? '-' : static_cast<char>(segment->getName().c_str()[0]);
                const auto* const covered = dynamic_cast<const DmTreeNode*>(segment->getBaseBlob());
                if (length == 0.0 && c == '-' && covered)
                    line += '(' + std::string(1, static_cast<char>(covered->getName().c_str()[0])) + ')';
                else if (length == 0.0)
                    line += '.';
            }
            else if (const DmTransitionNode* const transition = node->asTransition())
            {
                in = transition->getRecIn();
                length = transition->getRecLength();
                c = dynamic_cast<const DmSourceNode*>(transition->getBaseBlob()) ? '%' : '/';
                if (length == 0.0)
                    line += '|';
            }
            if (std::abs(in - time) > 1e-9)
                line += '?'; // a hole or an overlap
            line += std::string(static_cast<std::size_t>(std::lround(length)), c);
            time = in + length;
        }
        text += (t == 0 ? "" : "\n") + line;
    }
    return text;
}

/// The material that each shot plays from, as drawings are told it: "A10 B5".
inline std::string positions(const DmTimeline& timeline)
{
    std::string text;
    const auto composition = timeline.composition();
    for (int t = 0; t < composition->getNbChildren(); ++t)
        for (int i = 0; i < composition->getChild(t)->getChild(0)->getNbChildren(); ++i)
            if (const auto* const source =
                    dynamic_cast<const DmSourceNode*>(composition->getChild(t)->getChild(0)->getChild(i)))
            {
                char word[40];
                // In the medium's own frames: material of unknown length is lengthened at its front.
                const double moved = dmMaterialOf(*source).begin - 1000.0;
                std::snprintf(word, sizeof word, "%s%c%g", text.empty() ? "" : " ",
                              static_cast<char>(source->getName().c_str()[0]), source->getRelIn() + moved);
                text += word;
            }
    return text;
}

} // namespace zrDrawing
