/// A segment that plays material: recorded media, a generated picture or sound, or a source that is made from, or is to
/// be found as, another. What the material is says its input (dmSourceInput.h).
///
/// A copy shares the inputs.
#pragma once

#include "dmSegmentNode.h"

#include <array>

/// A time of a source that does not fit the length of its input.
struct ZR_DM_API DmTimeFault
{
    enum Kind
    {
        NegativeSrcLength,
        NegativeRelIn,
        RelInBehindEnd, ///< "relIn" is not before "srcLength"
        EndBehindEnd    ///< "relIn" + "recLength" is more than "srcLength"
    };
    Kind kind;

    // As found: with what was repaired before

    double srcLength;
    double relIn;
    double recLength;

    /// What the time becomes: "srcLength", "relIn" or "recLength", whichever is to blame.
    double repaired() const;
    /// "RelIn: 110.000000 >= SrcLength: 100.000000".
    std::string text() const;
};

/// Those of one source: each kind at most once.
class DmTimeFaults
{
public:
    const DmTimeFault* begin() const { return _faults.data(); }
    const DmTimeFault* end() const { return begin() + _count; }
    std::size_t size() const { return _count; }
    bool empty() const { return _count == 0; }
    const DmTimeFault& operator[](std::size_t i) const { return _faults[i]; }
    const DmTimeFault& back() const { return _faults[_count - 1]; }
    void push_back(const DmTimeFault& fault) { _faults[_count++] = fault; }

private:
    std::array<DmTimeFault, 4> _faults{};
    std::size_t _count = 0;
};

class ZR_DM_API DmSourceNode final : public DmNode<DmSourceNode, DmSegmentNode, &DmTreeVisitor::visitSourceNode>
{
public:
    class Input;
    class MediaInput;
    class GeneratedInput;
    class DerivedInput;
    class RelinkedInput;
    class DictionaryEntry;

    enum Property : int
    {
        SrcInput = FirstOwn,
        SrcMultiInput,
        IsMultiChannel,
        FxChecksum,
        PropertyCount
    };

    explicit DmSourceNode(const DmNodeId& id);
    eDmErrorId createList() override;

    using DmNode::create;
    /// Shares the input and takes its media type. The last argument has no effect.
    static CoSharedPtr<DmSourceNode> create(const CoSharedPtr<Input>& input, double recIn, double recLength,
                                            double relIn, bool isMultiChannel, bool flag);

    /// Null when there is none, which validation reports.
    Input* getSrcInput() const;
    eDmErrorId setSrcInput(const CoSharedPtr<Input>& input);
    /// Of a multi-channel source: one for each further channel.
    const DmSetList<Input>& getSrcMultiInput() const { return rare()->srcMultiInput; }
    eDmErrorId addSrcMultiInput(const CoSharedPtr<Input>& input);
    eDmErrorId removeSrcMultiInput(int index) { return removeFrom(SrcMultiInput, index); }
    bool isMultiChannel() const { return rare()->isMultiChannel; }
    eDmErrorId setIsMultiChannel(bool is) { return set(IsMultiChannel, is); }
    /// Of the effects that were applied; dmNoTime for none.
    double getFxChecksum() const { return rare()->fxChecksum; }
    eDmErrorId setFxChecksum(double checksum) { return set(FxChecksum, checksum); }

    // Times that do not fit the input: a negative length becomes one frame, an offset outside the material moves to its
    // first or last frame, what is played beyond the end is cut, and what has one frame plays from its start. Plain
    // numbers are compared, whatever the modes and the speed. "recIn" stays. A source without input is left alone.

    /// What is wrong with the times, in the order in which it would be repaired, and each as it stands then. Empty when
    /// all is well. Changes and posts nothing.
    DmTimeFaults findTimeFaults() const;
    /// Repairs the times and posts nothing. The first status that is not DM_NO_ERROR; what can be repaired is.
    eDmErrorId repairTimes();
    /// Repairs the times as well; each fault is a warning and a soft assertion before that, and with
    /// ZR_NO_SOURCE_TIME_CHECK a warning only. Returns the status of the last setter.
    eDmErrorId checkTimeIntegrity();

private:
    /// What few sources have.
    struct Rare
    {
        static constexpr int place = FirstOwn;
        DmSetList<Input> srcMultiInput;
        bool isMultiChannel = false;
        double fxChecksum = dmNoTime;
    };

    DmRareView<Rare> rare() const { return _rares.of<Rare>(); }
    eDmErrorId repair(const DmTimeFault& fault);
    /// The offset of material of one frame or less is 0: its value is no fault.
    bool playsOneFrame() const;

    DmNested<Input> _srcInput;
};
