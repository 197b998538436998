#include "icOtioNotes.h"

#include "icOtioItems.h"

#include <algorithm>

namespace interchange
{

using namespace otio;

std::vector<EdlKept::Note> otioNotesOf(const DmTreeNode& node)
{
    std::vector<EdlKept::Note> notes;
    try
    {
        json::Document document;
        const Value object = keptOf(node, document.GetAllocator());
        const Value* const comments = arrayOf(member(member(&object, "metadata"), "cmx_3600"), "comments");
        if (comments &&
            std::all_of(comments->Begin(), comments->End(), [](const Value& each) { return each.IsString(); }))
            for (const Value& comment : comments->GetArray())
                notes.push_back(edlNoteOf(text(&comment)));
    }
    catch (const JsonError&)
    {
        // A document that somebody changed: its object has no comments.
        notes.clear();
    }
    return notes;
}

} // namespace interchange
