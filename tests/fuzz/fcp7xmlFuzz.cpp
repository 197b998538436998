/// Final Cut Pro 7 XML: whatever is read, by a strict or a lenient reader, is a tree that keeps all rules, is written,
/// and read back it plays the same. The first two bytes choose the rate and the leniency.
#include "icInterchange.h"
#include "zrFuzz.h"

#include "dmSourceNode.h"
#include "dmTrxEffectNode.h"

#include <array>
#include <cmath>
#include <vector>

using namespace interchange;

namespace
{

constexpr std::array modes{DM::FCM_NOT_DEFINED, DM::FCM_24, DM::FCM_25, DM::FCM_29_97_DF, DM::FCM_60};

/// Notes where the elements stand, too.
class Checks : public Rules
{
public:
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
    checks.check(reading.root);
    std::string written;
    const Writing writing = writeBuffer(*reading.root, written, options);
    expect(writing.done, "not written: " + dmFindingsText("x.xml", writing.findings));
    options.lenient = true; // what was left out as a mistake stands where it was
    const Reading again = readBuffer(written, options);
    expect(again.root != nullptr, dmFindingsText("again.xml", again.findings) + written);
    Checks copies;
    copies.check(again.root);
    expect(copies.places == checks.places, "plays otherwise: " + written);
    return 0;
}
