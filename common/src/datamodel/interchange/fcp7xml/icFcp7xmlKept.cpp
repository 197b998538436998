#include "icFcp7xmlMaker.h"

#include "icFcp7xmlAttached.h"
#include "icTree.h"

#include <algorithm>

namespace interchange::xmeml
{

namespace
{

std::size_t countElements(pugi::xml_node top)
{
    std::size_t count = 0;
    for (pugi::xml_node at = top; at;)
    {
        ++count;
        if (at.first_child())
        {
            at = at.first_child();
            continue;
        }
        while (at != top && !at.next_sibling())
            at = at.parent();
        at = at == top ? pugi::xml_node() : at.next_sibling();
    }
    return count;
}

} // namespace

void Maker::keep(DmTreeNode& node, pugi::xml_node element, pugi::xml_node plain, bool isAlways, bool isLast,
                 const Series& series)
{
    const auto hint = _hints.find(&node);
    std::string form =
        formOf(element, plain, _nodes, hint == _hints.end() ? "" : hint->second.whole().marks(), isLast, series);
    constexpr std::size_t longestOfOurs = 1 << 16; // what is longer has more than we say
    if (!isAlways && form.size() <= longestOfOurs)
    {
        // Nothing is left over where we would write the same.
        struct Text final : public Output
        {
            void write(std::string_view written) override { text += written; }
            std::string text;
        };
        const WriteItems items = [](Output& out, std::string_view, pugi::xml_node) { out.line(itemsName); };
        pugi::xml_document parsed;
        parsed.load_buffer(form.data(), form.size(),
                           pugi::parse_default | pugi::parse_ws_pcdata_single | pugi::parse_comments | pugi::parse_pi);
        Text ours;
        Text theirs;
        fill(ours, {}, plain, items);
        fill(theirs, parsed.document_element(), plain, items);
        if (ours.text == theirs.text)
            form.clear();
    }
    const std::size_t before = _forms.size();
    require(_forms.set(node, form));
    if (_forms.size() == before)
        return;
    // Beside what it comes instead of.
    const std::size_t taken = weight::ofForm + form.size() * weight::ofLetter;
    const std::size_t given = weight::ofElement * countElements(element);
    charge(taken - std::min(taken, given), element);
}

void Maker::takeAttached(DmTreeNode& node, pugi::xml_node element)
{
    std::size_t left = 16; // more are nobody's, and stay in the form
    pugi::xml_node next;
    for (pugi::xml_node each = element.child(attachedName); each && left != 0; each = next)
    {
        next = each.next_sibling(attachedName);
        const std::string_view type = each.attribute(attachedType).value();
        const std::string_view text = each.child_value();
        const DmString blobType = toDmString(type);
        const LeftoverType leftover{type, blobType.view()};
        if (text.empty())
            continue;
        if (isForeign(type) && !leftoverOf(node, leftover))
        {
            charge(weight::ofForm + text.size() * weight::ofLetter, each);
            require(setLeftover(node, leftover, textOfAttached(text)));
        }
        else if (type.empty() && node.asTransition() && !node.getBaseBlob())
        {
            const auto sets = static_cast<std::size_t>(std::ranges::count(text, '{'));
            charge(sets * weight::ofClip + text.size() * weight::ofLetter, each);
            const CoSharedPtr<DmSourceNode> source = sourceOf(text);
            if (!source)
                continue;
            require(node.setBaseBlob(source));
        }
        else
            continue;
        --left;
        element.remove_child(each); // the node's now: the form goes without
    }
}

void Maker::drop(const DmTreeNode& node, pugi::xml_node element)
{
    // Others may refer to what it defines.
    const auto isDefinition = [](pugi::xml_node each)
    { return each.first_child() && (isNamed(each, "file") || isNamed(each, "sequence")); };
    if (element.find_node(isDefinition))
        return;
    _nodes.erase(element.internal_object());
    _hints.erase(&node);
    element.parent().remove_child(element);
}

void Maker::keepForms(DmRoot& root)
{
    const Cut cut(root, DM::FCM_NOT_DEFINED, &_hints);
    PlainElements plain(cut, nullptr);
    std::set<const DmCompositionNode*> seen;
    std::set<const void*> keptFiles;
    std::map<std::string, std::unordered_map<std::string, std::size_t>> formsOfFiles; ///< their figures, by id
    // Where a sequence stands first, as the writer will have it.
    const auto keepSequence = [&](const auto& self, const Sequence& sequence, std::string& files) -> void
    {
        if (!seen.insert(sequence.node).second)
            return;
        for (const Track& track : sequence.tracks)
        {
            const auto ofTrack = _hints.find(track.node);
            if (ofTrack == _hints.end())
                continue;
            const pugi::xml_node trackElement = ofTrack->second.element;
            // In the track's form it says where the items stand.
            const pugi::xml_node firstItem = trackElement.find_child(
                [this](pugi::xml_node child) { return _nodes.contains(child.internal_object()); });
            for (const Item& item : track.items)
            {
                const DmTreeNode* const node = item.segment ? static_cast<const DmTreeNode*>(item.segment) : item.mix;
                const auto found = _hints.find(node);
                if (found == _hints.end())
                    continue;
                const pugi::xml_node element = found->second.element;
                pugi::xml_node file = element.child("file");
                if (const File* const known = item.segment ? cut.fileOf(*item.segment) : nullptr; known && file)
                {
                    if (!file.first_child())
                        if (const auto defined = _files.find(std::string_view(file.attribute("id").value()));
                            defined != _files.end())
                            file = defined->second;
                    // Others are defined by words that are kept as they stand.
                    const bool isInItem = isNamed(file.parent(), "clipitem");
                    if (file.first_child() && isInItem && keptFiles.insert(file.internal_object()).second)
                    {
                        pugi::xml_document ofFile;
                        std::string form = formOf(file, plain.file(ofFile, sequence, *item.segment), _nodes);
                        Figure figure;
                        figure.add(form);
                        const std::string id = file.attribute("id").value();
                        std::unordered_map<std::string, std::size_t>& under = formsOfFiles[id];
                        const auto [same, isNew] = under.try_emplace(figure.text(), under.size() + 1);
                        const std::string which = std::to_string(same->second);
                        if (same->second != 1 || known->id != id)
                            file.append_attribute(formMark) = which.c_str();
                        if (isNew && same->second != 1)
                            form.insert(std::string_view("<file").size(), " " + (formMark + ("=\"" + which + "\"")));
                        if (isNew)
                        {
                            charge(weight::ofFile, file);
                            files += form;
                        }
                    }
                }
                pugi::xml_document scratch;
                keep(const_cast<DmTreeNode&>(*node), element, plain.item(scratch, sequence, track, item), !item.mix,
                     false, plain.series());
                if (const auto* const container = dynamic_cast<const DmContainerNode*>(item.segment))
                    if (const DmCompositionNode* const inside = cut.insideOf(*container))
                        self(self, *cut.find(inside), files);
                if (element != firstItem)
                    drop(*node, element);
            }
            pugi::xml_document scratch;
            keep(const_cast<DmTrackNode&>(*track.node), trackElement, plain.track(scratch, sequence, track), false,
                 true);
        }
    };
    for (const Sequence* const sequence : cut.top())
    {
        std::string files;
        keepSequence(keepSequence, *sequence, files);
        seen.erase(sequence->node);
        pugi::xml_document scratch;
        const Hint hint = _hints.at(sequence->node).whole();
        std::string form =
            formOf(hint.element, plain.sequence(scratch, *sequence), _nodes, hint.marks(), true, plain.series());
        if (!files.empty())
            form.insert(form.rfind("</"), "<our:files>" + files + "</our:files>");
        charge(weight::ofForm + form.size() * weight::ofLetter, hint.element);
        require(setLeftover(const_cast<DmCompositionNode&>(*sequence->node), leftoverType, form));
        seen.insert(sequence->node);
    }
    for (const DmCompositionNode* const node : seen)
        if (const Sequence* const sequence = cut.find(node); sequence && !sequence->isTop)
        {
            pugi::xml_document scratch;
            keep(const_cast<DmCompositionNode&>(*node), _hints.at(node).element, plain.sequence(scratch, *sequence),
                 true, true, plain.series());
        }
    pugi::xml_document scratch;
    pugi::xml_node top = add(scratch, "xmeml");
    add(top, itemsName);
    const std::string outside = outsideOf(_xml.document());
    keep(root, _xml.root(), top, !outside.empty() || std::string_view(_xml.root().attribute("version").value()) != "5",
         true);
    if (std::string form = leftoverOf(root, leftoverType).value_or(""); !outside.empty() && !form.empty())
        require(setLeftover(root, leftoverType, form.insert(form.rfind("</"), outside)));
}

} // namespace interchange::xmeml
