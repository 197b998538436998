/// Final Cut Pro 7 XML: whatever is read, by a strict or a lenient reader, is a tree that keeps all rules, is written,
/// and read back it plays the same. The first two bytes choose the rate and the leniency.
#include "icInterchange.h"

#include "CoMsg.h"
#include "dmCompositionNode.h"
#include "dmSourceNode.h"
#include "dmTreeIterator.h"
#include "dmTreeTool.h"
#include "dmTreeVisitor.h"
#include "dmTrxEffectNode.h"
#include "dmUtf8.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

using namespace interchange;

namespace
{

constexpr std::array modes{DM::FCM_NOT_DEFINED, DM::FCM_24, DM::FCM_25, DM::FCM_29_97_DF, DM::FCM_60};

void expect(bool property, const std::string& what)
{
    if (property)
        return;
    std::cerr << what << '\n';
    std::abort();
}

/// Checks each composition by all rules, and notes where its elements stand.
class Checks : public DmTreeVisitor
{
public:
    Checks()
        : DmTreeVisitor("Checks")
    {
    }
    void visitCompositionNode(DmCompositionNode* node) override
    {
        for (const DmTreeViolation& violation : DmTreeTool::findViolations(node, DM_VALIDATE_ALL))
            expect(false, violation.path + ": " + dmUtf8(violation.message));
    }
    void visitSourceNode(DmSourceNode* node) override { note(node->getRecIn(), node->getRecLength()); }
    void visitTrxEffectNode(DmTrxEffectNode* node) override { note(node->getRecIn(), node->getRecLength()); }

    std::vector<double> places;

private:
    void note(double in, double length)
    {
        places.push_back(in);
        places.push_back(length);
    }
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    DM::CoMsg::setFilterLevel(DM::CoMsg::UserLevel); // findings are no news here
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2)
        return 0;
    Options options;
    options.format = "fcp7xml";
    options.fcm = modes[data[0] % modes.size()];
    options.lenient = data[1] % 2 == 1;
    const std::string text(reinterpret_cast<const char*>(data) + 2, size - 2);
    const Reading reading = readBuffer(text, options);
    if (!reading.root)
    {
        expect(!reading.findings.empty(), "neither a document nor an error");
        return 0;
    }
    if (reading.root->getNbChildren() == 0)
        return 0;
    Checks checks;
    expect(DmPreIt(reading.root, {.intoContainers = true}).apply(checks) == DM_NO_ERROR, "cannot be walked");
    std::string written;
    const Writing writing = writeBuffer(*reading.root, written, options);
    expect(writing.done, "not written: " + dmFindingsText("x.xml", writing.findings));
    options.lenient = true; // what was left out as a mistake stands where it was
    const Reading again = readBuffer(written, options);
    expect(again.root != nullptr, dmFindingsText("again.xml", again.findings) + written);
    Checks copies;
    expect(DmPreIt(again.root, {.intoContainers = true}).apply(copies) == DM_NO_ERROR, "cannot be walked again");
    expect(copies.places == checks.places, "plays otherwise: " + written);
    return 0;
}
