/// A program outside the library with a class of its own: a reviewer's note, declared like the library's classes,
/// created by name and held beside them.
#include <ZRdmtree.h>

#include <iostream>
#include <string>

namespace
{

/// What a reviewer says about a stretch of a cut. Times are frames of the composition's mode.
class HostReviewNote final : public DmConcrete<HostReviewNote>
{
public:
    static constexpr const wchar_t* className = L"HostReviewNote";
    enum Property : int
    {
        Reviewer,
        Frame,
        Replies
    };

    explicit HostReviewNote(const DmNodeId& id)
        : DmConcrete(id, DmPropertySetInit<HostReviewNote>::data())
    {
    }
    eDmErrorId createList() override
    {
        return declare(*this)
            .mandatory(L"reviewer", _reviewer)
            .optional(L"frame", _frame)
            .optional(L"replies", _replies)
            .status();
    }

    eDmErrorId setReviewer(const DmString& name) { return set(Reviewer, name); }
    double getFrame() const { return _frame; }

private:
    DmString _reviewer;
    double _frame = 0;
    DmSetList<HostReviewNote> _replies;
};

const DmPropertySetInit<HostReviewNote> registration;

/// Prints what failed, and remembers it for the exit code.
bool check(const char* what, eDmErrorId status)
{
    if (status != DM_NO_ERROR)
        std::cerr << what << ": " << dmUtf8(DmPSetHelper::getStrFromError(status)) << '\n';
    return status == DM_NO_ERROR;
}

bool check(const char* what, const DmStatus& status)
{
    if (status.failed())
        std::cerr << what << ": " << dmUtf8(status.info()) << '\n';
    return status.ok();
}

} // namespace

int main()
{
    std::cout << "Linked with ZRdmtree " << zrLibraryVersion() << '\n';

    // By name, as a document would ask for it: a class of the library, then our own.
    DmPropertySet* made = nullptr;
    if (!check("create a key frame",
               DmPropertyFactory::getInstance().createPropertySetInstance(L"DmKeyFrame", DmNodeId(), 0, made)))
        return 1;
    const DmPropertySetPtr keyFrame(made);
    if (!check("create",
               DmPropertyFactory::getInstance().createPropertySetInstance(L"HostReviewNote", DmNodeId(), 0, made)))
        return 1;
    const DmPropertySetPtr note(made);
    const DmPropertySetPtr reply = HostReviewNote::create();
    if (!check("frame", note->setPropertyValueFromStr(L"frame", L"86400.5")) ||
        !check("reviewer", static_cast<HostReviewNote&>(*note).setReviewer(L"Ada")) ||
        !check("reply", note->addValueInPropertyList(L"replies", DM_VECTOR_PROPERTY_SET, &reply)))
        return 1;

    // As a document, and back.
    std::string document;
    DmPropertySetPtr read;
    if (!check("write", DmTreeJsonBuilder::generateUtf8(note.get(), document, DmTreeJsonBuilder::Layout::Compact)) ||
        !check("read", DmJsonImporter::importSetFromStr(document, read)))
        return 1;
    std::cout << document << '\n';
    bool equal = false;
    if (!check("compare", dmDeepEqual(*note, *read, equal)))
        return 1;
    char label[DM::TimeUnit::labelSize];
    DM::TimeUnit(static_cast<HostReviewNote&>(*read).getFrame()).toTimeCode(label, sizeof label, DM::FCM_25);
    std::cout << "A note at " << label << (equal ? " came back with all it holds\n" : " changed on the way\n");
    return equal ? 0 : 1;
}
