#include "dmSegmentIndex.h"

#include "dmFetchImp.h"
#include "dmIdTableImp.h"
#include "dmLayerNode.h"
#include "dmMemoryImp.h"
#include "dmTreeIterator.h"

namespace
{

class Collector : public DmTreeVisitor
{
public:
    explicit Collector(DmIdTable<CoSharedPtr<DmSegmentNode>>& segments)
        : DmTreeVisitor("DmSegmentIndex")
        , _segments(segments)
    {
    }
    void visitLayerNode(DmLayerNode* node) override
    {
        _segments.reserve(static_cast<std::size_t>(node->getNbChildren()) / 2); // every second one is a segment
    }
    void visitSegment(DmSegmentNode* node) override
    {
        if (path() && path()->index() >= 0)
            dmFetch::elementsBehind(*path()->above(), path()->index(), _segments);
        if (!node->getSegmentId().empty())
            _segments.add(node);
    }

private:
    DmIdTable<CoSharedPtr<DmSegmentNode>>& _segments;
};

} // namespace

DmSegmentIndex::DmSegmentIndex(const CoSharedPtr<DmCompositionNode>& composition)
    : _composition(composition)
{
}

DmSegmentIndex::DmSegmentIndex(DmCompositionNode* composition)
    : _composition(composition)
{
}

DmSegmentIndex::DmSegmentIndex(DmSegmentIndex&& other) noexcept = default;
DmSegmentIndex& DmSegmentIndex::operator=(DmSegmentIndex&& other) noexcept = default;
DmSegmentIndex::~DmSegmentIndex() = default;

DmSegmentNode* DmSegmentIndex::find(const DmString& id, eDmErrorId* status)
{
    const auto walk = [this]
    {
        auto segments = std::make_unique<DmIdTable<CoSharedPtr<DmSegmentNode>>>();
        Collector collector(*segments);
        static_cast<void>(DmPreIt(_composition).applyOrThrow(collector)); // what stands below itself is in once
        _segments = std::move(segments);
        return DM_NO_ERROR;
    };
    const eDmErrorId walked = _segments ? DM_NO_ERROR : dmWithMemory(walk);
    if (status)
        *status = walked;
    return _segments && !id.empty() ? _segments->find(id.view()) : nullptr;
}

void DmSegmentIndex::refresh()
{
    _segments.reset();
}
