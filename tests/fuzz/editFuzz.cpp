/// Edits: random cuts and random operations on them, both from the input, held against the naive model of what plays at
/// each frame; a refused operation changes nothing, and undoing all leads back.
#include "zrRandomEdits.h"

#include <cstdint>
#include <cstdlib>
#include <iostream>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    zrRandomEdits::Source source(data, size);
    if (const std::string why = zrRandomEdits::run(source, 12); !why.empty())
    {
        std::cerr << why << '\n';
        std::abort();
    }
    return 0;
}
