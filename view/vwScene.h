/// A document as it is drawn: what stands where, what it is called, in which colour, and what it plays. Laid out once,
/// for all painters: a painter turns record time into pixels (vwLayout.h) and draws.
///
///     const view::Scene scene = view::sceneOf(root);
///     out << view::svgOf(scene, {.width = 1200});
///
/// Times are frames of record time unless they say otherwise, and always finite: what a document has no usable time for
/// stands where it is least in the way, and a note says so. A scene holds no node: it outlives the document.
#pragma once

#include "vwAxis.h"
#include "vwTexts.h"

#include "tuFcm.h"
#include "zrExport.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace view
{

/// A frame-code mode, as a painter needs it to write labels.
struct Mode
{
    DM::FrameCodeModes fcm;
    std::string name; ///< "25 fps"
    int fps;          ///< of the labels' frame field; 0 where there is no rate: frames are counted
    double rate;      ///< exact frames per second
    int drop;         ///< labels that most minutes leave out
    std::string zero; ///< the label of frame 0, which shows the separators
};

enum class Kind : std::uint8_t
{
    Source,
    Generated,
    Container,
    Gap
};

/// What is drawn differently. Several may hold.
enum Flag : std::uint8_t
{
    Muted = 1,
    NoTime = 2,   ///< its own times cannot be drawn: it stands behind what is in front of it
    Overlaps = 4, ///< begins before the one in front of it has ended
    HasEffects = 8,
    HasMarks = 16,
    Keyed = 32 ///< its speed follows key frames: between them its pieces only come close
};

/// The segments of a composition, row by row in the order in which they begin: a column a property.
struct Segments
{
    std::vector<Kind> kind;
    std::vector<std::uint8_t> flags;
    std::vector<std::uint8_t> tint;
    std::vector<double> in;
    std::vector<double> length;
    std::vector<TextId> name;
    std::vector<TextId> reel;
    std::vector<TextId> id;
    std::vector<std::uint32_t> position; ///< among the children of the layer

    std::size_t size() const { return kind.size(); }
    double out(std::size_t i) const { return in[i] + length[i]; }
};

/// A straight stretch of what a segment plays: from a record time on, at one speed.
struct Piece
{
    std::uint32_t segment;
    std::uint16_t mode; ///< in Scene::modes: of the source's frames
    double record;
    double source; ///< the label time of the point of the material that stands at `record`
    double speed;  ///< frames of the material for a frame of record time, negative backwards; 0 holds a frame
};

/// A property that differs from its default, of some segments: a column of numbers or of texts.
struct Column
{
    TextId name;
    bool isText;
    std::vector<std::uint32_t> segments; ///< ascending
    std::vector<double> values;          ///< numbers, or TextIds
};

struct Property
{
    TextId name;
    TextId value;
};
using Properties = std::vector<Property>;

struct Key
{
    float frame; ///< of the effect's own time, which begins with what carries it
    float value;
};
struct Curve
{
    TextId name;
    std::vector<Key> keys;
};
struct Effect
{
    std::uint32_t owner; ///< segment, or transition
    TextId name;
    bool muted;
    Properties properties;
    std::vector<Curve> curves;
};

inline constexpr std::uint8_t noTint = 0xFF;

enum class Shape : std::uint8_t
{
    Dissolve,
    Wipe,
    Fade, ///< to or from a colour
    Other
};
struct Transition
{
    std::uint32_t row;
    std::uint32_t position; ///< among the children of the layer
    double in;
    double length;
    Shape shape;
    bool muted;
    TextId name;
    Properties properties;
    std::uint8_t tint = noTint; ///< of its outline
};

struct Mark
{
    double time;
    double length;
    std::uint32_t colour; ///< 0xRRGGBB
    TextId name;
    TextId comment;
    std::uint32_t segment; ///< that carries it; noSegment: the composition
};
inline constexpr std::uint32_t noSegment = 0xFFFFFFFF;

/// Which of two versions of a cut something is of.
enum class Version : std::uint8_t
{
    Only, ///< there are no two
    Old,
    New
};

/// A layer of a track, from the top of the picture down.
struct Row
{
    bool isAudio;
    bool isTrackTop; ///< the first row of its track
    Version version;
    double top; ///< pixels below the ruler and the marks
    double height;
    TextId name;         ///< "V1"; "V1.2" is the track's second layer
    TextId detail;       ///< the track's own name, where it has one
    std::uint32_t first; ///< its segments: [first, last)
    std::uint32_t last;
    int trackAt; ///< position among the composition's children
    int layerAt; ///< among the track's
    Properties track;
    Properties layer;
};

/// Something that is said of a place: what a check found there, what was changed.
struct Remark
{
    std::uint8_t tint; ///< of its sign
    std::string code;
    std::string where; ///< "crate drop, V1, 10:00:03:00"
    std::string text;
    std::uint32_t row;     ///< noSegment: of no row
    std::uint32_t segment; ///< noSegment: of no segment
    double time;           ///< record time of the row's version
};

/// A stretch that is drawn narrower than it is, since nothing is said of it.
struct Fold
{
    double in; ///< where it is drawn
    double out;
    double frames;
};

/// What is beside each other in a composition of two versions: a row of the old one stands above its row of the new
/// one. Record times are each version's own.
struct Versions
{
    std::string oldPath;
    std::uint16_t oldMode;
    double oldLabelStart;
    std::array<Axis, 2> axes;  ///< of the old one and of the new one
    std::array<Axis, 2> plain; ///< the same without folds
    double plainBegin = 0.0;
    double plainEnd = 0.0;
    std::vector<Fold> folds;
    std::vector<std::uint32_t> counterpart; ///< of a segment, in the other version; noSegment: none
};

struct Composition
{
    TextId name;
    std::string path; ///< in the document; empty for what a container holds
    std::uint16_t mode;
    Version version;   ///< New of two versions that are drawn as one composition
    double labelStart; ///< the label time of record time 0
    double begin;      ///< of what is drawn: places, where there are axes
    double end;
    double height; ///< of all rows
    std::vector<Row> rows;
    Segments segments;
    std::vector<Piece> pieces;        ///< by segment, in record order
    std::vector<std::uint32_t> opens; ///< pairs: a container, and the composition that it opens
    std::vector<Column> columns;
    std::vector<Effect> effects;         ///< by segment
    std::vector<Transition> transitions; ///< by row, in record order
    std::vector<Effect> transitionEffects;
    std::vector<Mark> marks;
    std::vector<Remark> remarks; ///< by place
    std::optional<Versions> versions;
    Properties properties;

    ZR_DM_API const Axis& axisOf(Version version) const;
    const Axis& axisOf(const Row& row) const { return axisOf(row.version); }
    /// Of no row: that of the ruler.
    const Axis& axisOf(std::uint32_t row) const { return row == noSegment ? axisOf(version) : axisOf(rows[row]); }
};

/// The row of a segment.
ZR_DM_API std::uint32_t rowOf(const Composition& composition, std::uint32_t segment);
/// The first piece of a segment; null where it plays nothing.
ZR_DM_API const Piece* firstPiece(const Composition& composition, std::uint32_t segment);

struct Scene
{
    std::string title;
    std::string subtitle; ///< what is to be said of it as a whole
    Texts texts;
    std::vector<Mode> modes;
    std::vector<Composition> compositions; ///< those of the document first, then what containers hold
    std::size_t tops = 0;                  ///< how many are the document's own
    std::vector<std::string> notes;        ///< what could not be drawn as it is
};

} // namespace view
