/// Edits of long cuts, each with its publication: against copying the list of the layer's children, and of a very long
/// one against the same edit of a shorter one; what a long history holds, and what undo allocates; and walking a
/// published timeline against walking the tree that it was.
#include "zrAllocations.h"
#include "zrDocuments.h"
#include "zrRatio.h"

#include <malloc.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace
{

double allocated()
{
    return static_cast<double>(mallinfo2().uordblks);
}

/// A published cut, what edits of it take, and the copying of its layer's list of children.
class Edited
{
public:
    explicit Edited(int elements)
        : _elements(elements)
        , _root(zrDocuments::make(elements / 2))
        , _start(DmTimeline::takeOver(CoSharedPtr<DmTreeNode>(DmTreeTool::deepClone(_root))))
    {
        const DmTreeNode* const layer = _root->getChild(0)->getChild(0)->getChild(0);
        for (int i = 0; i < layer->getNbChildren(); ++i)
            _children.emplace_back(layer->getChild(i));
    }

    void copyList() const
    {
        auto copy = _children;
        benchmark::DoNotOptimize(copy.data());
    }
    void trim() const
    {
        edit([this](DmEdit& e) { return e.trim({0, 0, _elements / 4 * 2}, DM_TAIL, -1); });
    }
    void ripple() const
    {
        edit([](DmEdit& e) { return e.rippleTrim({0, 0, 0}, DM_TAIL, -1); });
    }
    /// What a ripple moved is made when somebody asks for it.
    void rippleAndAsk() const
    {
        const DmTimeline timeline = edit([](DmEdit& e) { return e.rippleTrim({0, 0, 0}, DM_TAIL, -1); });
        benchmark::DoNotOptimize(timeline.composition()->getChild(0)->getChild(0)->getChild(_elements / 2));
    }

private:
    template <class Operation>
    DmTimeline edit(const Operation& operation) const
    {
        DmEdit session(_start);
        if (const DmStatus status = operation(session); !status.ok())
            std::printf("%s\n", dmUtf8(status.info()).c_str());
        return session.timeline();
    }

    int _elements;
    CoSharedPtr<DmTreeNode> _root;
    std::vector<CoSharedPtr<DmPropertySet>> _children;
    DmTimeline _start;
};

void edits()
{
    const struct
    {
        const char* name;
        void (Edited::*edit)() const;
    } rows[] = {{"a trim", &Edited::trim},
                {"a ripple at the front", &Edited::ripple},
                {"a ripple at the front, and asking for an element behind it", &Edited::rippleAndAsk}};
    const Edited few(100'000);
    const Edited many(1'000'000);
    constexpr int rounds = 21;
    constexpr double growth = 3.16; // of ten times the elements, the square root
    for (const auto& row : rows)
    {
        const std::string name = row.name;
        zrRatio::print((name + ", of 100000 elements / copying the list of children").c_str(), 0.05,
                       [&] { (few.*row.edit)(); }, [&] { few.copyList(); }, rounds);
        zrRatio::print((name + ", of 1000000 elements / copying the list of children").c_str(), 0.05,
                       [&] { (many.*row.edit)(); }, [&] { many.copyList(); }, rounds);
        zrRatio::print((name + ", of 1000000 elements / of 100000").c_str(), growth, [&] { (many.*row.edit)(); },
                       [&] { (few.*row.edit)(); }, rounds);
    }
}

void history(int elements)
{
    const double empty = allocated();
    CoSharedPtr<DmTreeNode> root = zrDocuments::make(elements / 2);
    const double document = allocated() - empty;
    DmHistory steps(DmTimeline::takeOver(std::move(root)));
    const double start = allocated();
    std::mt19937 random(1);
    for (int i = 0; i < 1000; ++i)
    {
        DmEdit edit(steps.current());
        const DmElementPlace place{0, 0, static_cast<int>(random() % unsigned(elements / 2)) * 2};
        const DmStatus status =
            i % 2 == 0 ? edit.rippleTrim(place, DM_TAIL, i % 4 == 0 ? -1 : 1) : edit.slip(place, i % 4 == 1 ? -1 : 1);
        if (status.ok())
            steps.add(L"step", edit);
    }
    std::printf("a history of %zu steps on %d elements / the document: ratio %.2f (limit 0.20)\n", steps.count(),
                elements, (allocated() - start) / document);
}

/// How often an undo, and the redo behind it, allocate, on a short cut and on a long one.
void undoing()
{
    long counts[2] = {};
    for (const int elements : {1'000, 100'000})
    {
        DmHistory steps(DmTimeline::takeOver(zrDocuments::make(elements / 2)));
        DmEdit edit(steps.current());
        if (edit.rippleTrim({0, 0, 0}, DM_TAIL, -1).ok())
            steps.add(L"step", edit);
        counts[elements > 1'000] = zrAllocations::of([&] { steps.undo() && steps.redo(); });
    }
    std::printf("undo and redo on 100000 elements: allocations %ld (limit %ld)\n", counts[1], counts[0]);
}

void walking(int elements)
{
    const CoSharedPtr<DmRoot> root = zrDocuments::make(elements / 2);
    DmEdit edit(DmTimeline::publish(root));
    if (const DmStatus status = edit.rippleTrim({0, 0, elements / 4 * 2}, DM_TAIL, -1); !status.ok())
        std::printf("%s\n", dmUtf8(status.info()).c_str());
    const DmTimeline timeline = edit.timeline();
    const auto walk = [](const CoSharedPtr<DmCompositionNode>& composition)
    {
        double sum = 0.0;
        const DmTreeNode* const layer = composition->getChild(0)->getChild(0);
        for (int i = 0; i < layer->getNbChildren(); ++i)
            if (const DmSegmentNode* const segment = layer->getChild(i)->asSegment())
                sum += segment->getRecIn();
        benchmark::DoNotOptimize(sum);
    };
    const auto plain = CoSharedPtr<DmCompositionNode>(static_cast<DmCompositionNode*>(root->getChild(0)));
    const auto unedited = DmTimeline::publish(root).composition();
    zrRatio::print(
        "walking a published timeline / walking the tree", 1.2, [&] { walk(unedited); }, [&] { walk(plain); }, 31);
    const auto rippled = timeline.composition();
    walk(rippled); // what a ripple moved is made once a version
    zrRatio::print(
        "walking one that was rippled / walking the tree", 1.2, [&] { walk(rippled); }, [&] { walk(plain); }, 31);
}

} // namespace

int main()
{
    edits();
    history(100'000);
    undoing();
    walking(100'000);
    return 0;
}
