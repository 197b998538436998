// dmtree info: what a document is, in short tables: who wrote it, which edits it holds, what it is made of.
#include "columns.h"
#include "dmMaterial.h"
#include "dmtree.h"
#include "documents.h"
#include "jsonLine.h"
#include "timeText.h"

#include "dmContainerNode.h"
#include "dmGapNode.h"
#include "dmSetTools.h"
#include "dmSourceInput.h"
#include "dmTrackNode.h"
#include "dmTreeIterator.h"
#include "dmUtf8.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace
{

using dmtree::cell;
using dmtree::JsonLine;
using dmtree::Row;

struct Options
{
    std::string file;
    std::string fcm;
    bool lenient = false;
    bool json = false;
};

/// Label and value of what is known about the writer.
using Facts = std::vector<std::pair<const char*, std::string>>;

Facts identificationOf(const DmRoot& root)
{
    Facts facts;
    const DmIdentification* const id = root.getIdentification();
    if (!id)
        return facts;
    const std::pair<const char*, const DmString&> all[] = {
        {"name", id->getName()},     {"application", id->getAppName()}, {"version", id->getAppVersion()},
        {"user", id->getUser()},     {"company", id->getCompanyName()}, {"host", id->getHost()},
        {"system", id->getOsName()}, {"date", id->getDateStr()},        {"time", id->getTimeStr()},
    };
    for (const auto& [label, value] : all)
        if (!value.empty())
            facts.emplace_back(label, dmUtf8(value));
    return facts;
}

struct Edit
{
    std::string name;
    std::string fcm;
    std::string start;
    std::string duration;
    std::string size; ///< of the picture; empty where it is not said
    int videoTracks = 0;
    int audioTracks = 0;
    bool nested = false;
};

/// The record time at which the last segment below a composition has ended.
class EndFinder final : public DmTreeVisitor
{
public:
    EndFinder()
        : DmTreeVisitor("EndFinder")
    {
    }
    void visitSegment(DmSegmentNode* node) override { _end = std::max(_end, node->getRecOut()); }

    double end() const { return _end; }

private:
    double _end = 0.0;
};

/// The compositions of a document, those in containers included.
class EditLister final : public DmTreeVisitor
{
public:
    EditLister()
        : DmTreeVisitor("EditLister")
    {
    }
    void visitCompositionNode(DmCompositionNode* node) override
    {
        const DM::FrameCodeModes fcm = dmFcmFromText(node->getFCM());
        Edit edit;
        edit.name = dmUtf8(node->getName());
        edit.fcm = dmUtf8(node->getFCM());
        edit.start = dmtree::timeText(node->getStartTC(), fcm);
        edit.duration = dmtree::timeText(lengthOf(*node), fcm);
        edit.size = sizeOf(*node);
        for (int i = 0; i < node->getNbChildren(); ++i)
            count(node->getChild(i), edit);
        edit.nested = path()->above() && path()->above()->whatIs() == DM_CONTAINER_NODE;
        edits.push_back(std::move(edit));
    }

    std::vector<Edit> edits;

private:
    static double lengthOf(DmCompositionNode& node)
    {
        if (node.getCompLength() > 0.0)
            return node.getCompLength();
        EndFinder finder;
        static_cast<void>(DmPreIt(&node).apply(finder)); // what is not reached has no time
        return std::max(0.0, finder.end() - node.getRecordStart());
    }
    static std::string sizeOf(const DmCompositionNode& node)
    {
        int width = 0;
        int height = 0;
        if (const DmFrameResolution* const resolution = node.getResolution())
        {
            resolution->getWidth(width);
            resolution->getHeight(height);
        }
        return width > 0 && height > 0 ? std::to_string(width) + 'x' + std::to_string(height) : std::string();
    }
    static void count(DmTreeNode* child, Edit& edit)
    {
        if (!child || child->whatIs() != DM_TRACK_NODE)
            return;
        const eDmTreeMediaType type = static_cast<DmTrackNode*>(child)->getMediaType();
        edit.videoTracks += type == DM_MEDIA_VIDEO ? 1 : 0;
        edit.audioTracks += type == DM_MEDIA_AUDIO ? 1 : 0;
    }
};

/// What several clips may be made of.
struct Medium
{
    std::string name;
    std::string media; ///< "video", "audio"
    std::string reel;
    std::string path;

    bool operator<(const Medium& other) const
    {
        return std::tie(name, media, reel, path) < std::tie(other.name, other.media, other.reel, other.path);
    }
};

/// Counts objects by class, and the uses of media.
class Counter final : public DmPropertyWalker
{
public:
    /// Defaults that objects share are no part of a document.
    DmWalkStep property(const DmPropertyPath& path) override
    {
        return path.owner->isPropertyRelevant(path.index) ? DmWalkStep::Into : DmWalkStep::Over;
    }
    DmWalkStep held(const DmPropertyPath& /*path*/, const DmPropertySet& set) override
    {
        ++classes[set.classData().utf8ClassName()];
        if (const auto* const input = dynamic_cast<const DmSourceNode::Input*>(&set))
            ++media[mediumOf(*input)];
        return DmWalkStep::Into;
    }

    std::map<std::string, int> classes;
    std::map<Medium, int> media;

private:
    static Medium mediumOf(const DmSourceNode::Input& input)
    {
        Medium medium{dmUtf8(input.getName()), dmMediaTypeText(input.getMediaType()), dmUtf8(dmReelOf(input)), ""};
        if (const auto* const generated = dynamic_cast<const DmSourceNode::GeneratedInput*>(&input))
            medium.path = dmUtf8(generated->getInputType());
        if (const DmSourceInfo* const info = input.getSrcInfo())
        {
            medium.path = dmUtf8(info->getPath());
            if (medium.path.empty() && !info->getFileList().empty())
                medium.path = dmUtf8(info->getFileList().front());
        }
        return medium;
    }
};

struct Overview
{
    Facts identification;
    std::vector<Edit> edits;
    std::map<std::string, int> classes;
    std::map<Medium, int> media;
};

Overview overviewOf(DmRoot& root)
{
    EditLister lister;
    Counter counter;
    // A file holds no cycle, and nothing deeper than both can go.
    static_cast<void>(DmPreIt(&root, {.intoContainers = true}).apply(lister));
    static_cast<void>(dmWalk(root, counter));
    return {identificationOf(root), std::move(lister.edits), std::move(counter.classes), std::move(counter.media)};
}

std::string cellOrDash(const std::string& text)
{
    return text.empty() ? "-" : cell(text);
}

void printText(const Overview& overview)
{
    std::vector<Row> facts;
    for (const auto& [label, value] : overview.identification)
        facts.push_back({label, cell(value)});
    dmtree::printColumns(std::cout, facts);
    std::cout << (facts.empty() ? "" : "\n");

    std::vector<Row> edits{{"COMPOSITION", "RATE", "START", "DURATION", "PICTURE", "VIDEO", "AUDIO"}};
    for (const Edit& edit : overview.edits)
        edits.push_back({(edit.nested ? "  " : "") + cell(edit.name), cellOrDash(edit.fcm), edit.start, edit.duration,
                         cellOrDash(edit.size), std::to_string(edit.videoTracks), std::to_string(edit.audioTracks)});
    dmtree::printColumns(std::cout, edits);

    std::vector<Row> media{{"MEDIA", "KIND", "REEL", "PATH", "USES"}};
    for (const auto& [medium, uses] : overview.media)
        media.push_back({cellOrDash(medium.name), medium.media, cellOrDash(medium.reel), cellOrDash(medium.path),
                         std::to_string(uses)});
    std::cout << '\n';
    dmtree::printColumns(std::cout, media);

    std::vector<Row> classes{{"CLASS", "COUNT"}};
    for (const auto& [name, count] : overview.classes)
        classes.push_back({name, std::to_string(count)});
    std::cout << '\n';
    dmtree::printColumns(std::cout, classes);
}

void printJson(const std::string& file, const Overview& overview)
{
    JsonLine identification;
    for (const auto& [label, value] : overview.identification)
        identification.add(label, value);
    std::vector<std::string> edits;
    for (const Edit& edit : overview.edits)
        edits.emplace_back(JsonLine()
                               .add("name", edit.name)
                               .add("rate", edit.fcm)
                               .add("start", edit.start)
                               .add("duration", edit.duration)
                               .add("picture", edit.size)
                               .add("videoTracks", edit.videoTracks)
                               .add("audioTracks", edit.audioTracks)
                               .add("nested", edit.nested)
                               .text());
    std::vector<std::string> media;
    for (const auto& [medium, uses] : overview.media)
        media.emplace_back(JsonLine()
                               .add("name", medium.name)
                               .add("kind", medium.media)
                               .add("reel", medium.reel)
                               .add("path", medium.path)
                               .add("uses", uses)
                               .text());
    JsonLine classes;
    for (const auto& [name, count] : overview.classes)
        classes.add(name, count);
    std::cout << JsonLine()
                     .add("file", file)
                     .addObject("identification", identification)
                     .addObjects("compositions", edits)
                     .addObjects("media", media)
                     .addObject("classes", classes)
                     .text()
              << '\n';
}

int showInfo(const Options& options)
{
    const CoSharedPtr<DmRoot> root = dmtree::requireDocument(options.file, options.lenient, options.fcm);
    const Overview overview = overviewOf(*root);
    if (options.json)
        printJson(options.file, overview);
    else
        printText(overview);
    return dmtree::Fine;
}

} // namespace

void dmtree::addInfo(CLI::App& app, Run& run)
{
    CLI::App* const command =
        app.add_subcommand("info", "Say what a document holds: who wrote it, its compositions, its media, its classes");
    const auto options = std::make_shared<Options>();
    command->add_option("FILE", options->file, fileHelp)->required();
    command->add_flag("--json", options->json, "Print one JSON object on one line");
    dmtree::addMode(*command, options->fcm);
    dmtree::addLenient(*command, options->lenient);
    command->callback([&run, options] { run = [options] { return showInfo(*options); }; });
}
