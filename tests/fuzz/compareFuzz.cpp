/// Comparing: random documents and random changes of them, both from the input; a patch leads from one to the other,
/// the identities of merges hold, and edits of two at different shots play together what each plays alone. An input
/// holds one of the three: each takes milliseconds, most of it in writing and reading documents.
#include "zrLaws.h"
#include "zrMergeModel.h"

#include <cstdint>
#include <cstdlib>
#include <iostream>

namespace
{

std::string faultOf(zrLaws::Source& source)
{
    const unsigned law = source.below(3);
    if (law == 0)
    {
        bool isEdited = false;
        return zrMergeModel::fault(source, isEdited);
    }
    const auto a = zrMutations::randomDocument(source);
    const auto b = a ? zrLaws::changed(*a, source) : a;
    if (!a || !b)
        return {}; // not every change leads to a document
    if (law == 1)
        return zrLaws::patchFault(*a, *b);
    const auto c = zrLaws::changed(*a, source);
    return c ? zrLaws::mergeFault(*a, *b, *c) : std::string();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    zrLaws::Source source(data, size);
    if (const std::string why = faultOf(source); !why.empty())
    {
        std::cerr << why << '\n';
        std::abort();
    }
    return 0;
}
