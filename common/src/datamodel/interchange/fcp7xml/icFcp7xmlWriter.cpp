#include "icFcp7xmlWriter.h"

#include "icFcp7xmlPlainElements.h"

#include "dmUtf8.h"

#include <algorithm>
#include <memory>

namespace interchange
{

using namespace xmeml;

namespace
{

class SinkOutput final : public Output
{
public:
    explicit SinkOutput(Sink& sink)
        : _sink(sink)
    {
    }
    void write(std::string_view text) override
    {
        _held += text;
        if (_held.size() >= size)
            flush();
    }
    bool flush()
    {
        _isGood = _isGood && _sink.write(_held);
        _held.clear();
        return _isGood;
    }

private:
    static constexpr std::size_t size = 1 << 16;

    Sink& _sink;
    std::string _held;
    bool _isGood = true;
};

std::size_t countItems(pugi::xml_node form)
{
    std::size_t count = 0;
    for (const pugi::xml_node child : form.children())
        if (std::string_view(child.name()) != itemsName)
            count += countItems(child);
        else if (!child.attribute(elsewhereMark))
            ++count;
    return count;
}

/// What the document's own words define, and the sequences that stand in them.
void addDefinitions(pugi::xml_node form, std::map<std::string, pugi::xml_node>& files, std::set<std::string>& sequences)
{
    for (const pugi::xml_node child : form.children())
    {
        if (std::string_view(child.name()) == "file" && child.first_child())
            files.emplace(child.attribute("id").value(), child);
        if (const pugi::xml_attribute id = child.attribute(elsewhereMark))
            sequences.insert(id.value());
        addDefinitions(child, files, sequences);
    }
}

/// `marked`: a file's form, or its place in that of a clip.
std::string keyOfForm(const std::string& id, pugi::xml_node marked)
{
    const pugi::xml_attribute which = marked.attribute(formMark);
    return which && which.as_int() != 1 ? id + '\n' + which.value() : id;
}

class Writer
{
public:
    Writer(const DmRoot& root, DM::FrameCodeModes fcm, Sink& sink, Report& report)
        : _root(root)
        , _report(report)
        , _cut(root, fcm, nullptr)
        , _plain(_cut, &report)
        , _out(sink)
    {
    }

    bool write();

private:
    void tellLeft();
    void keepFiles();
    void sequence(const Sequence& sequence);
    void emptyTrack();
    void track(const Sequence& sequence, const Track& track);
    void item(const Sequence& sequence, const Track& track, const Item& item);

    const DmRoot& _root;
    Report& _report;
    Cut _cut;
    PlainElements _plain;
    SinkOutput _out;
    std::vector<std::unique_ptr<Form>> _forms;    ///< of sequences
    std::map<std::string, pugi::xml_node> _files; ///< their forms, by id
};

void Writer::tellLeft()
{
    for (const Cut::Left& each : _cut.left)
    {
        const bool isPlaced = each.sequence && each.track;
        _report.at({each.node, isPlaced ? each.track->getMediaType() : DM_MEDIA_UNDEFINED,
                    isPlaced ? each.track->getTrackNum() : 0,
                    isPlaced && each.time != dmNoTime ? each.sequence->node->getLabelTime(each.time) : dmNoTime,
                    isPlaced ? each.sequence->fcm : DM::FCM_NOT_DEFINED});
        const std::string_view code = each.code;
        _report.lose({each.code, code == "DM703"   ? "the later one covers the end of the earlier"
                                 : code == "DM726" ? "written as tracks above"
                                 : code == "DM744" ? "the sequence begins with them"
                                                   : "left out"});
    }
    _report.at({});
}

/// The forms of files travel with the sequences in which they are defined.
void Writer::keepFiles()
{
    std::set<const DmCompositionNode*> seen;
    std::vector<const DmCompositionNode*> open;
    for (const Sequence* const each : _cut.top())
        open.push_back(each->node);
    while (!open.empty())
    {
        const DmCompositionNode* const node = open.back();
        open.pop_back();
        if (!seen.insert(node).second)
            continue;
        _forms.push_back(std::make_unique<Form>(*node));
        for (const pugi::xml_node file : _forms.back()->root().child("our:files").children("file"))
            _files.emplace(keyOfForm(file.attribute("id").value(), file), file);
        const Sequence* const sequence = _cut.find(node);
        for (const Track& each : sequence ? sequence->tracks : std::vector<Track>())
            for (const Item& item : each.items)
                if (const auto* const container = dynamic_cast<const DmContainerNode*>(item.segment))
                    if (const DmCompositionNode* const inside = _cut.insideOf(*container))
                        open.push_back(inside);
    }
}

bool Writer::write()
{
    if (_cut.top().empty())
    {
        _report.add("DM701", Report::Error, 0, "the document holds no composition");
        return false;
    }
    for (const Sequence* const sequence : _cut.top())
        if (sequence->fcm == DM::FCM_NOT_DEFINED)
        {
            _report.add("DM701", Report::Error, 0,
                        "the composition names no frame-code mode, and no other was given (--fcm names one)");
            return false;
        }
    tellLeft();
    keepFiles();
    const Form form(_root);
    _plain.tellUnsaidAround(_root, !form.root());
    std::map<std::string, pugi::xml_node> files;
    std::set<std::string> sequences;
    addDefinitions(form.root(), files, sequences);
    _cut.defineElsewhere(files, sequences);
    _cut.leaveUndefined(_files);

    pugi::xml_document scratch;
    pugi::xml_node plain = add(scratch, "xmeml");
    if (!form.root())
        plain.append_attribute("version") = "5";
    std::size_t places = countItems(form.root());
    if (places == 0)
    {
        add(plain, itemsName);
        places = 1;
    }
    _plain.attached(plain, _root);
    std::size_t next = 0;
    _out.line(R"(<?xml version="1.0" encoding="UTF-8"?>)");
    _out.line("<!DOCTYPE xmeml>");
    writeOutside(_out, form.root().child(frontName));
    fill(_out, form.root(), plain,
         [&](Output&, std::string_view, pugi::xml_node place)
         {
             if (const pugi::xml_attribute id = place.attribute(elsewhereMark))
             {
                 if (const Sequence* const used = _cut.elsewhere(id.value()))
                     return sequence(*used);
                 return _report.add("DM728", Report::Warning, 0,
                                    "the sequence '" + std::string(id.value()) +
                                        "' of a master clip: no clip plays it any more; left out");
             }
             // The last place takes all that are left.
             --places;
             const std::size_t end = places == 0 ? _cut.top().size() : std::min(next + 1, _cut.top().size());
             for (; next < end; ++next)
                 sequence(*_cut.top()[next]);
         });
    writeOutside(_out, form.root().child(rearName));
    return _out.flush() && !_report.hasErrors();
}

void Writer::sequence(const Sequence& sequence)
{
    const Form form(*sequence.node);
    pugi::xml_document scratch;
    _report.at({sequence.node, DM_MEDIA_UNDEFINED, 0, dmNoTime, DM::FCM_NOT_DEFINED});
    const pugi::xml_node plain = _plain.sequence(scratch, sequence);
    const Series series = _plain.series();
    fill(
        _out, form.root(), plain,
        [&](Output&, std::string_view parent, pugi::xml_node)
        {
            int number = 0;
            for (const Track& each : sequence.tracks)
            {
                if (isSound(each) != (parent == "audio"))
                    continue;
                while (++number < each.number)
                    emptyTrack();
                track(sequence, each);
            }
        },
        series);
}

void Writer::emptyTrack()
{
    pugi::xml_document scratch;
    const pugi::xml_node made = add(scratch, "track");
    add(made, "enabled", "TRUE");
    add(made, "locked", "FALSE");
    fill(_out, {}, made, {});
}

void Writer::track(const Sequence& sequence, const Track& track)
{
    const Form form = track.isFurther ? Form() : Form(*track.node);
    pugi::xml_document scratch;
    fill(_out, form.root(), _plain.track(scratch, sequence, track),
         [&](Output&, std::string_view, pugi::xml_node)
         {
             for (const Item& each : track.items)
                 item(sequence, track, each);
         });
}

void Writer::item(const Sequence& sequence, const Track& track, const Item& item)
{
    const Form form(item.segment ? static_cast<const DmTreeNode&>(*item.segment) : *item.mix);
    pugi::xml_document scratch;
    const pugi::xml_node plain = _plain.item(scratch, sequence, track, item);
    const Series series = _plain.series();
    fill(
        _out, form.root(), plain,
        [&](Output&, std::string_view parent, pugi::xml_node place)
        {
            if (parent == "file")
            {
                const File& file = *_cut.fileOf(*item.segment);
                const auto found = _files.find(
                    keyOfForm(place.attribute(formMark) ? _cut.hintOf(*item.segment).media : file.id, place));
                pugi::xml_document ofFile;
                return fill(_out, found == _files.end() ? pugi::xml_node() : found->second,
                            _plain.file(ofFile, sequence, *item.segment), {});
            }
            const auto* const container = dynamic_cast<const DmContainerNode*>(item.segment);
            const DmCompositionNode* const inside = container ? _cut.insideOf(*container) : nullptr;
            if (!inside)
                return;
            if (_cut.defines(*container))
                return this->sequence(*_cut.find(inside));
            pugi::xml_document reference;
            add(reference, "sequence").append_attribute("id") = _cut.find(inside)->id.c_str();
            _out.leaf("sequence", reference.first_child(), {}, "");
        },
        series);
}

} // namespace

bool writeFcp7xml(const DmRoot& root, DM::FrameCodeModes fcm, Sink& sink, Report& report)
{
    try
    {
        return Writer(root, fcm, sink, report).write();
    }
    catch (...)
    {
        report.addException();
    }
    return false;
}

} // namespace interchange
