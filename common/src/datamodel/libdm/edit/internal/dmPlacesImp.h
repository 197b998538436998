/// Where the segments of a timeline are, by their "segmentId", as a value: a change copies some hundred bytes and
/// shares the rest with the version before it.
///
/// Segments are kept under the link group of their id, the part before its last '#': those of one group are found
/// together. A place is the layer's number and the element's key in it (dmRunsImp.h), which no shift changes.
#pragma once

#include "dmSegmentNode.h"

#include <cstdint>
#include <vector>

/// The part of an id that linked segments have in common; empty for one that is not linked.
std::wstring_view dmLinkGroupOf(const DmString& id);

class DmPlaces
{
public:
    struct Place
    {
        std::uint64_t hash; ///< of the group, or of the id where there is none
        std::uint64_t key;
        int layer;
    };

    /// What the segments of an id's group are found under.
    static std::uint64_t hashOf(const DmString& id);

    int count() const { return _count; }
    void add(const Place& place);
    /// No such place: nothing changes.
    void remove(const Place& place);
    /// Calls `visit(place)` for all of that hash, until it returns false.
    template <class Visit>
    void forEach(std::uint64_t hash, Visit&& visit) const
    {
        if (!_root)
            return;
        for (const Place& place : bucketOf(hash))
            if (place.hash == hash && !visit(place))
                return;
    }

private:
    using Bucket = std::vector<Place>;
    struct BucketValue : DM::CoRefCountedMT
    {
        Bucket places;
    };
    struct Block : DM::CoRefCountedMT
    {
        std::vector<CoSharedPtr<BucketValue>> buckets;
    };
    struct Root : DM::CoRefCountedMT
    {
        std::vector<CoSharedPtr<Block>> blocks; ///< a power of two of them
    };
    static constexpr std::size_t blockSize = 64;
    static constexpr int bucketSize = 8; ///< on average, at most

    const Bucket& bucketOf(std::uint64_t hash) const;
    Bucket& bucketForChange(std::uint64_t hash);
    std::size_t bucketCount() const { return _root->blocks.size() * blockSize; }
    void growTo(std::size_t blocks);

    CoSharedPtr<Root> _root;
    int _count = 0;
};
