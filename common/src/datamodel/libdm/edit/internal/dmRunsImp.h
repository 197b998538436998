/// The elements of a published layer, as a value: in runs of some dozens, several of which make a stretch. Versions of
/// a layer share the runs and stretches that an edit did not touch; what a ripple moves it moves by one shift a
/// stretch.
///
/// An element's in-time is what its node stores plus the shifts on the way to it, never a sum of lengths: what was not
/// shifted keeps its time to the bit, and a time that is not set stays so.
///
/// Every element has a key, which grows along the layer and survives shifts: by it an element is found again when its
/// neighbours come and go.
#pragma once

#include "dmElementImp.h"

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

/// Whether a time is one that a shift moves.
bool dmIsTime(double frames);
/// "recIn" of a segment or a transition; dmNoTime for every other node, and for none.
double dmStoredRecIn(const DmTreeNode* node);

class DmRuns
{
public:
    using Node = CoSharedPtr<DmTreeNode>;
    static constexpr int runSize = 64;
    static constexpr int stretchSize = 64;

    struct Entry
    {
        Node node; ///< as a document has it, null where it has an empty element
        double shift = 0.0;
        std::uint64_t key = 0;
    };
    /// Entries in columns: a run that nothing shifted is read by others as the list of nodes that it is.
    struct Run : DM::CoRefCountedMT
    {
        DmPropertySetVector nodes;
        std::vector<double> shifts;
        std::vector<std::uint64_t> keys;
        int shots = 0; ///< segments that are no gaps

        int count() const { return static_cast<int>(nodes.size()); }
        const DmTreeNode* node(int entry) const { return static_cast<DmTreeNode*>(nodes[std::size_t(entry)].get()); }
        void add(Entry entry)
        {
            shots += isShot(entry.node.get()) ? 1 : 0;
            nodes.push_back(std::move(entry.node));
            shifts.push_back(entry.shift);
            keys.push_back(entry.key);
        }
        void reserve(std::size_t count)
        {
            nodes.reserve(count);
            shifts.reserve(count);
            keys.reserve(count);
        }
        static bool isShot(const DmTreeNode* node)
        {
            return node && node->isSegment() && node->whatIs() != DM_GAP_NODE;
        }
        /// Whether its elements stand where their nodes say, when the run as a whole is shifted by so much.
        bool standsAsStored(double shift) const;
    };
    /// A run with its place in a layer: what a version of the layer keeps its shifted nodes by. Good as long as the
    /// runs that it is of.
    struct PlacedRun
    {
        const Run* run;
        double shift;
        int first;
        int count;
    };
    struct Element
    {
        const DmTreeNode* node = nullptr;
        double shift = 0.0;
        std::uint64_t key = 0;

        double recIn() const
        {
            const double stored = dmStoredRecIn(node);
            return dmIsTime(stored) ? stored + shift : stored;
        }
    };

    DmRuns() = default;
    explicit DmRuns(std::vector<Node> nodes);

    int count() const { return _root ? _root->count : 0; }
    Element at(int index) const;
    /// The element itself, counted.
    Node share(int index) const { return Node(const_cast<DmTreeNode*>(at(index).node)); }

    /// The last element that begins at or before the time, and has one; -1 when there is none.
    int lastBeginningBy(double time) const;
    /// The position of the element of that key; -1 when there is none.
    int indexOf(std::uint64_t key) const;

    using Rekeyed = std::function<void(const DmTreeNode& node, std::uint64_t was, std::uint64_t is)>;
    /// The elements with [first, last) replaced by nodes that stand where they say, and all behind shifted. `rekeyed`
    /// is told the key of each node that has a new one, and which it had: 0 for one that comes in.
    DmRuns spliced(int first, int last, std::span<const Node> nodes, double shiftBehind, const Rekeyed& rekeyed) const;

    using Map = std::function<Node(const Node&)>;
    /// With what `map` answers in the place of each node: another one that stands at the same time, or the same. Runs
    /// of which none changed stay shared. `changed(first, count)` learns where others stand.
    DmRuns mapped(const Map& map, const std::function<void(int first, int count)>& changed) const;

    std::vector<PlacedRun> placedRuns() const;
    /// Calls `visit(element)` for the elements of [first, last).
    template <class Visit>
    void forEach(int first, int last, Visit&& visit) const;

    /// Elements that two layers have in common, at times that differ by one amount.
    struct Shared
    {
        int first;
        int otherFirst;
        int count;
        int shots;    ///< of them
        double later; ///< than in the other layer
    };
    /// What edits left shared, in both in the same order: whole runs, and what stands beside them unchanged. Looks at
    /// what is not shared, and at no element of what is.
    std::vector<Shared> sharedWith(const DmRuns& other) const;

    /// Whether both are one version: nothing was edited in between.
    bool operator==(const DmRuns& other) const { return _root == other._root; }

    /// Bytes that a splice of `nodes` elements makes anew, nodes apart.
    std::size_t bytesOfSplice() const;

private:
    struct RunRef
    {
        explicit RunRef(CoSharedPtr<Run> of)
            : run(std::move(of))
            , size(run->count())
        {
        }
        RunRef(const RunRef& other, double more)
            : RunRef(other)
        {
            shift += more;
        }
        int count() const { return size; }

        CoSharedPtr<Run> run;
        double shift = 0.0;
        int size; ///< as the run says, which lies elsewhere in memory
    };
    struct Stretch : DM::CoRefCountedMT
    {
        std::vector<RunRef> runs;
    };
    struct StretchRef
    {
        CoSharedPtr<Stretch> stretch;
        double shift;
        int count;
    };
    struct Root : DM::CoRefCountedMT
    {
        std::vector<StretchRef> stretches;
        int count = 0;
    };
    struct Place
    {
        int stretch = 0;
        int run = 0;
        int entry = 0;
    };

    Place placeOf(int index) const;
    int indexAt(const Place& place) const;
    const StretchRef& stretchAt(const Place& place) const { return _root->stretches[std::size_t(place.stretch)]; }
    const RunRef& runAt(const Place& place) const { return stretchAt(place).stretch->runs[std::size_t(place.run)]; }
    Element elementAt(const Place& place) const;
    bool stepBack(Place& place) const;
    bool stepOn(Place& place) const;
    /// To the run in front of `from`, behind `to`; false where there is none.
    bool widenFront(Place& from) const;
    bool widenBack(Place& to) const;
    void copyTo(std::vector<Entry>& entries, int first, int last, double shift) const;
    /// Keys between two others; false where there are not as many between them.
    static bool spreadKeys(std::span<Entry> entries, std::uint64_t lower, std::uint64_t upper, const Rekeyed& rekeyed);
    /// With runs of these entries in the place of those from `from` to `to`, and all behind shifted.
    DmRuns withRuns(const Place& from, const Place& to, std::vector<Entry> entries, double shiftBehind) const;
    void extend(Shared& range, const DmRuns& other, int end, int otherEnd, bool forward) const;
    template <class Before>
    int lastWith(const Before& before) const;

    CoSharedPtr<Root> _root;
};

template <class Visit>
void DmRuns::forEach(int first, int last, Visit&& visit) const
{
    if (first >= last)
        return;
    Place place = placeOf(first);
    for (int i = first; i < last; ++place.run, place.entry = 0)
    {
        if (place.run == int(stretchAt(place).stretch->runs.size()))
        {
            ++place.stretch;
            place.run = 0;
        }
        const RunRef& ref = runAt(place);
        const double shift = stretchAt(place).shift + ref.shift;
        for (; place.entry < ref.count() && i < last; ++place.entry, ++i)
        {
            const auto entry = std::size_t(place.entry);
            visit(Element{ref.run->node(place.entry), ref.run->shifts[entry] + shift, ref.run->keys[entry]});
        }
    }
}
