/// What fuzz targets have in common: how one ends where a property does not hold, and which rules trees must keep.
#pragma once

#include "CoMsg.h"
#include "dmCompositionNode.h"
#include "dmRoot.h"
#include "dmTreeIterator.h"
#include "dmTreeTool.h"
#include "dmTreeVisitor.h"
#include "dmUtf8.h"

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>

inline void expect(bool property, const std::string& what)
{
    if (property)
        return;
    std::cerr << what << '\n';
    std::abort();
}

/// Checks each composition by all rules.
class Rules : public DmTreeVisitor
{
public:
    Rules()
        : DmTreeVisitor("Rules")
    {
    }
    void visitCompositionNode(DmCompositionNode* node) override
    {
        for (const DmTreeViolation& violation : DmTreeTool::findViolations(node, DM_VALIDATE_ALL))
            expect(false, violation.path + ": " + dmUtf8(violation.message));
    }
    void check(const CoSharedPtr<DmRoot>& root)
    {
        expect(DmPreIt(root, {.intoContainers = true}).apply(*this) == DM_NO_ERROR, "cannot be walked");
    }
};

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    DM::CoMsg::setFilterLevel(DM::CoMsg::UserLevel); // findings are no news here
    return 0;
}
