/// How a timeline looks: sizes in pixels and colours. Both painters take them from here, the page through its data.
#pragma once

#include <array>

namespace view
{

struct Sizes
{
    double header = 132.0;   ///< of the track names, left of the time line
    double ruler = 34.0;     ///< above the tracks
    double marks = 18.0;     ///< the lane of the composition's marks, below the ruler
    double video = 46.0;     ///< height of a video layer
    double audio = 38.0;     ///< of an audio layer
    double rowGap = 4.0;     ///< between layers
    double versionGap = 1.0; ///< between two versions of one layer
    double pairGap = 12.0;   ///< between layers of which there are two versions
    double divider = 14.0;   ///< between the video tracks and the audio tracks
    double radius = 4.0;     ///< of a segment's corners
    double smallBox = 3.0;   ///< segments narrower than this are drawn together where they touch
    double labelFrom = 28.0; ///< boxes narrower than this have no text
    double tickApart = 96.0; ///< the least distance of the ruler's labels
};
inline constexpr Sizes sizes;

/// The colours of one kind of material: a fill that dark text is read on, one that light text is read on, and an edge
/// that is seen on both.
struct Tint
{
    const char* light;
    const char* dark;
    const char* edge;
};

/// Material that is one gets one tint, in this order of appearance.
inline constexpr std::array<Tint, 10> videoTints = {{
    {"#cfe0fb", "#24446f", "#5b8def"},
    {"#d5efdb", "#1f4f3a", "#3fae78"},
    {"#fbe3c6", "#5e4320", "#dd9a3c"},
    {"#eadcf9", "#47316b", "#9a70db"},
    {"#fad6da", "#612f3a", "#dd6678"},
    {"#cdeef0", "#1d4d55", "#36a9b8"},
    {"#f7efbd", "#554b1a", "#c3a827"},
    {"#dfe3ea", "#3a4352", "#8090a8"},
    {"#f9d9ee", "#5b2d50", "#cf62ad"},
    {"#e0edc6", "#42501f", "#8fae3c"},
}};
inline constexpr std::array<Tint, 4> audioTints = {{
    {"#d0eee3", "#17493f", "#2fa287"},
    {"#d6e7f7", "#1f425f", "#4690cd"},
    {"#e6ecc9", "#414c20", "#93a63e"},
    {"#e2def6", "#3a3566", "#8077cc"},
}};
/// Material that the system makes, and nested edits.
inline constexpr Tint generatedTint = {"#e3e3e6", "#3b3c42", "#8b8d96"};
inline constexpr Tint containerTint = {"#f3dfd0", "#57402f", "#c07d4f"};
/// What checks find, by severity.
inline constexpr std::array<Tint, 3> findingTints = {{
    {"#d9e8fb", "#20406a", "#4c8dd8"},
    {"#fdebcf", "#5e4320", "#d98a1f"},
    {"#fbd7da", "#612f3a", "#d23c4c"},
}};

/// What was changed between two versions of a cut.
struct ChangeTint
{
    const char* name;
    Tint tint;
};
inline constexpr std::array<ChangeTint, 8> changeTints = {{
    {"added", {"#c9efd3", "#1c5534", "#2f9e57"}},
    {"removed", {"#f9cfd3", "#662b36", "#cf4458"}},
    {"moved", {"#cfdffb", "#25457a", "#3f78d8"}},
    {"trimmed", {"#fbe5b8", "#5f4a17", "#c98a12"}},
    {"speed", {"#e3d6fa", "#48327a", "#8a5fd6"}},
    {"replaced", {"#f8d3ec", "#622a54", "#c94fa3"}},
    {"transition", {"#c8ecef", "#174f58", "#2497a8"}},
    {"other", {"#e2e4bd", "#494a1a", "#8f9430"}},
}};
inline constexpr Tint unchangedTint = {"#eceef2", "#2a303b", "#a8b0be"};

inline constexpr std::size_t generatedAt = videoTints.size() + audioTints.size();
inline constexpr std::size_t containerAt = generatedAt + 1;
inline constexpr std::size_t findingsAt = containerAt + 1;
inline constexpr std::size_t unchangedAt = findingsAt + findingTints.size();
inline constexpr std::size_t changesAt = unchangedAt + 1;

/// All of them, in the order in which a scene numbers them.
template <class Visit>
void forEachTint(Visit&& visit)
{
    for (const Tint& tint : videoTints)
        visit(tint);
    for (const Tint& tint : audioTints)
        visit(tint);
    visit(generatedTint);
    visit(containerTint);
    for (const Tint& tint : findingTints)
        visit(tint);
    visit(unchangedTint);
    for (const ChangeTint& change : changeTints)
        visit(change.tint);
}

/// Everything that is not material.
struct Theme
{
    const char* page;
    const char* lane;  ///< behind the segments
    const char* panel; ///< track names, ruler
    const char* line;
    const char* text;
    const char* dim; ///< second lines of text
    const char* gap; ///< edge of a gap
    const char* trx; ///< transitions
    const char* trxLine;
    const char* dense; ///< segments too small to be told apart
    const char* fault;
};
inline constexpr Theme light = {"#ffffff", "#f3f4f7",   "#fafbfc", "#d5d9e0", "#1c2330", "#566072",
                                "#b9c0cc", "#ffffffb8", "#3a4658", "#a9b6cb", "#c62f3e"};
inline constexpr Theme dark = {"#14171d", "#1b1f27",   "#191d24", "#333a47", "#eef1f6", "#a4aec0",
                               "#485164", "#0c0f14a0", "#d5dcea", "#56637a", "#ff7b85"};

} // namespace view
