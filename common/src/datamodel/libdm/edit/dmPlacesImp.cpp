#include "dmPlacesImp.h"

#include "CoHashImp.h"

#include <functional>

namespace
{

/// The object itself where this pointer alone holds it, else a copy in its place: who changes a version changes nothing
/// that another one shares.
template <class T>
T& forChange(CoSharedPtr<T>& pointer)
{
    if (!pointer)
        pointer = CoSharedPtr<T>(new T);
    else if (pointer->refCount() > 1)
        pointer = CoSharedPtr<T>(new T(*pointer));
    return *pointer;
}

} // namespace

std::wstring_view dmLinkGroupOf(const DmString& id)
{
    const std::wstring_view text = id.view();
    const std::size_t end = text.rfind(L'#');
    return end == std::wstring_view::npos ? std::wstring_view() : text.substr(0, end);
}

std::uint64_t DmPlaces::hashOf(const DmString& id)
{
    const std::wstring_view group = dmLinkGroupOf(id);
    // A group and an id of the same text are two things.
    return DM::CoHash::mixed(std::hash<std::wstring_view>()(group.empty() ? id.view() : group), group.empty() ? 0 : 1);
}

const DmPlaces::Bucket& DmPlaces::bucketOf(std::uint64_t hash) const
{
    static const Bucket none;
    const std::size_t number = (hash >> 16) & (bucketCount() - 1);
    const CoSharedPtr<BucketValue>& bucket = _root->blocks[number / blockSize]->buckets[number % blockSize];
    return bucket ? bucket->places : none;
}

DmPlaces::Bucket& DmPlaces::bucketForChange(std::uint64_t hash)
{
    const std::size_t number = (hash >> 16) & (bucketCount() - 1);
    Block& block = forChange(forChange(_root).blocks[number / blockSize]);
    return forChange(block.buckets[number % blockSize]).places;
}

void DmPlaces::growTo(std::size_t blocks)
{
    const CoSharedPtr<Root> before = _root;
    _root = CoSharedPtr<Root>(new Root);
    for (std::size_t i = 0; i < blocks; ++i)
    {
        _root->blocks.emplace_back(new Block);
        _root->blocks.back()->buckets.resize(blockSize);
    }
    if (!before)
        return;
    for (const CoSharedPtr<Block>& block : before->blocks)
        for (const CoSharedPtr<BucketValue>& bucket : block->buckets)
            if (bucket)
                for (const Place& place : bucket->places)
                    bucketForChange(place.hash).push_back(place);
}

void DmPlaces::add(const Place& place)
{
    if (!_root)
        growTo(1);
    else if (std::size_t(_count) > bucketCount() * bucketSize)
        growTo(_root->blocks.size() * 4);
    bucketForChange(place.hash).push_back(place);
    ++_count;
}

void DmPlaces::remove(const Place& place)
{
    if (!_root)
        return;
    const Bucket& bucket = bucketOf(place.hash);
    for (std::size_t i = 0; i < bucket.size(); ++i)
        if (bucket[i].hash == place.hash && bucket[i].key == place.key && bucket[i].layer == place.layer)
        {
            Bucket& changed = bucketForChange(place.hash);
            changed.erase(changed.begin() + static_cast<std::ptrdiff_t>(i));
            --_count;
            return;
        }
}
