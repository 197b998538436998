/// One frame of an input's media: its number, and the file that holds it.
#pragma once

#include "dmPropertySetInit.h"

class ZR_DM_API DmFrameNode final : public DmConcrete<DmFrameNode>
{
public:
    enum Property : int
    {
        Frame,
        Path,
        FrameId,
        PropertyCount
    };

    explicit DmFrameNode(const DmNodeId& id);
    eDmErrorId createList() override;

    using DmConcrete::create;
    static CoSharedPtr<DmFrameNode> create(int frame, const DmString& path);

    int getFrame() const { return _frame; }
    eDmErrorId setFrame(int frame) { return set(Frame, frame); }
    const DmString& getPath() const { return _path; }
    eDmErrorId setPath(const DmString& path) { return set(Path, path); }
    /// The frame's number in the media store that holds it; 0 for none.
    std::uint64_t getFrameId() const { return _frameId; }
    eDmErrorId setFrameId(std::uint64_t id) { return set(FrameId, id); }

private:
    int _frame = 0;
    DmString _path;
    std::uint64_t _frameId = 0;
};
