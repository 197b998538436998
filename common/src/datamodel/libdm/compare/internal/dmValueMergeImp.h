/// Three-way merge of documents as values: what one side changed is taken, what both changed differently is a conflict.
#pragma once

#include "dmJsonValueImp.h"
#include "dmMerge.h"

#include <cstdint>
#include <functional>
#include <unordered_map>

namespace dmCompare
{

class ValueMerge
{
public:
    using Conflicts = std::vector<DmMergeConflict>;

    ValueMerge(Allocator& allocator, bool favoursTheirs, Conflicts& conflicts)
        : _allocator(allocator)
        , _favoursTheirs(favoursTheirs)
        , _conflicts(conflicts)
    {
    }

    /// Lists that another has merged already, by their path: null for those that it has not.
    std::function<const Value*(const std::string& path)> merged = {};

    /// Null stands for nothing, on either side and as the answer. `path` is where ours stands.
    Value merge(const Value* base, const Value* ours, const Value* theirs, const std::string& path, bool& isThere);

private:
    Value copy(const Value* value, bool& isThere);
    Value decide(const Value* ours, const Value* theirs, const std::string& path, bool& isThere, const char* what);
    Value mergeObjects(const Value& base, const Value& ours, const Value& theirs, const std::string& path);
    Value mergeLists(const Value& base, const Value& ours, const Value& theirs, const std::string& path);
    /// What each side has added since something last stood in both: how often, by its hash.
    struct Added
    {
        std::unordered_map<std::uint64_t, int> byUs;
        std::unordered_map<std::uint64_t, int> byThem;
    };
    void addBoth(Value& list, std::vector<const Value*> ours, std::vector<const Value*> theirs, const std::string& path,
                 Added& known);

    Allocator& _allocator;
    bool _favoursTheirs;
    Conflicts& _conflicts;
};

} // namespace dmCompare
