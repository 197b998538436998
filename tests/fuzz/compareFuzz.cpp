/// Comparing: random documents and random changes of them, both from the input; a patch leads from one to the other,
/// and the identities of merges hold.
#include "zrLaws.h"

#include <cstdint>
#include <cstdlib>
#include <iostream>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    zrLaws::Source source(data, size);
    const auto a = zrMutations::randomDocument(source);
    const auto b = a ? zrLaws::changed(*a, source) : a;
    const auto c = a ? zrLaws::changed(*a, source) : a;
    if (!a || !b || !c)
        return 0; // not every change leads to a document
    std::string why = zrLaws::patchFault(*a, *b);
    if (why.empty())
        why = zrLaws::mergeFault(*a, *b, *c);
    if (!why.empty())
    {
        std::cerr << why << '\n';
        std::abort();
    }
    return 0;
}
