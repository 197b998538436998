/// Media on disk, as an effect leaves it behind: a name, where it lies, and the files it consists of.
#pragma once

#include "dmMediaType.h"
#include "dmPropertySetInit.h"

class ZR_DM_API DmMediaNode final : public DmConcrete<DmMediaNode>
{
public:
    enum Property : int
    {
        Name,
        Path,
        MediaType,
        FileList,
        PropertyCount
    };

    explicit DmMediaNode(const DmNodeId& id);
    eDmErrorId createList() override;

    const DmString& getName() const { return _name; }
    eDmErrorId setName(const DmString& name) { return set(Name, name); }
    const DmString& getPath() const { return _path; }
    eDmErrorId setPath(const DmString& path) { return set(Path, path); }
    eDmTreeMediaType getMediaType() const { return _mediaType; }
    eDmErrorId setMediaType(eDmTreeMediaType type) { return set(MediaType, type); }

    int getNbFiles() const { return static_cast<int>(_fileList.size()); }
    /// An index that no file has gives the empty name.
    DmString getFile(int index) const;
    eDmErrorId addFile(const DmString& file) { return addTo(FileList, file); }

private:
    DmString _name;
    DmString _path;
    eDmTreeMediaType _mediaType = DM_MEDIA_UNDEFINED;
    std::vector<DmString> _fileList;
};
