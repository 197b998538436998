/// The tree of a timeline's value, made when somebody asks for it: the nodes above the layers at once, the elements of
/// a layer run by run. What was made stays as long as the timeline does.
#pragma once

#include "dmListWindow.h"
#include "dmTimelineImp.h"

#include <atomic>

/// A layer's children. A run whose elements all stand where their nodes say is the list that it is stored as; another
/// one is made, with its nodes at their times, when it is first asked for. Threads that ask at once all make it, and
/// the first one's stays: nobody waits.
class DmPlacedRuns final : public DmListForm
{
public:
    explicit DmPlacedRuns(const DmRuns& runs);
    ~DmPlacedRuns() override;

    int size() const override { return _size; }
    DmListRun runAt(int element) const override;

private:
    struct Slot
    {
        int first = 0;
        std::atomic<const DmPropertySetPtr*> elements{nullptr}; ///< once they are made
    };
    static constexpr std::size_t blockSize = 32;

    /// Null where memory ran out.
    const DmPropertySetPtr* elementsOf(std::size_t run) const;
    static std::unique_ptr<const DmPropertySetPtr[]> make(const DmRuns::PlacedRun& placed);

    DmRuns _runs; ///< keeps what `_placed` points to
    int _size;
    std::vector<DmRuns::PlacedRun> _placed;
    std::vector<int> _runOfBlock;     ///< the run that each block's first element lies in
    mutable std::vector<Slot> _slots; ///< a run each, and one that begins at the end
};

class DmTimeline::State
{
public:
    /// `before`: a version whose layers, where they did not change, this one goes on with.
    State(std::shared_ptr<const DmTimelineValue> theValue, const State* before);
    ~State();
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    CoSharedPtr<DmTreeNode> tree();
    CoSharedPtr<DmLayerNode> layerNode(const DmLayerPlace& place);

    const std::shared_ptr<const DmTimelineValue> value;

private:
    static CoSharedPtr<DmLayerNode> makeLayer(const DmTimelineValue::Layer& layer);
    CoSharedPtr<DmTreeNode> makeTree();

    std::atomic<DmTreeNode*> _tree{nullptr};
    std::vector<std::atomic<DmLayerNode*>> _layers;
};
