/// A segment that plays material: recorded media, a generated picture or sound, or a source that is made from, or is to
/// be found as, another. What the material is says its input (dmSourceInput.h).
///
/// A copy shares the inputs.
#pragma once

#include "dmSegmentNode.h"

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
    const DmSetList<Input>& getSrcMultiInput() const { return _srcMultiInput; }
    eDmErrorId addSrcMultiInput(const CoSharedPtr<Input>& input);
    eDmErrorId removeSrcMultiInput(int index) { return removeFrom(SrcMultiInput, index); }
    bool isMultiChannel() const { return _isMultiChannel; }
    eDmErrorId setIsMultiChannel(bool is) { return set(IsMultiChannel, is); }
    /// Of the effects that were applied; dmNoTime for none.
    double getFxChecksum() const { return _fxChecksum; }
    eDmErrorId setFxChecksum(double checksum) { return set(FxChecksum, checksum); }

    /// Repairs the record times that do not fit the input's length: a negative length becomes one frame, an offset
    /// outside the material moves to its first or last frame, what is played beyond the end is cut. "recIn" stays.
    /// Each finding is a warning and a soft assertion; with ZR_NO_SOURCE_TIME_CHECK a warning only, and nothing
    /// changes. Returns the status of the last setter; a source without input is left alone.
    eDmErrorId checkTimeIntegrity();

private:
    DmNested<Input> _srcInput;
    DmSetList<Input> _srcMultiInput;
    bool _isMultiChannel = false;
    double _fxChecksum = dmNoTime;
};
