/// All rules over a long cut, against one walk of a validation over it.
#include "zrDocuments.h"
#include "zrRatio.h"

#include "dmFindings.h"
#include "dmTreeTool.h"

#include <benchmark/benchmark.h>

#include <cstdlib>

namespace
{

DmFindings allRules()
{
    DmFindingOptions options;
    options.select = {"all"};
    options.all = true;
    options.handles = 12.0;
    options.shotNames = "SUM_*";
    options.requiredPaths = {"/media/*"};
    return DmFindings(options);
}

} // namespace

int main()
{
    constexpr int segments = 100000;
    const CoSharedPtr<DmRoot> root = zrDocuments::make(segments);
    auto& edit = static_cast<DmCompositionNode&>(*root->getChild(0));
    zrDocuments::must(edit.setOrigin(DM_ORIGIN_STRICT));
    const DmFindings findings = allRules();
    zrRatio::print(
        "all rules over 100 000 segments / one validation walk", 10.0,
        [&] { benchmark::DoNotOptimize(findings.find(*root)); },
        [&]
        {
            if (!DmTreeTool::isValidTree(&edit))
                std::abort(); // it would have stopped before the end
        },
        11);
    return 0;
}
