/// The other side of CoWeakSubject: is told of changes by every subject that it is registered with.
///
///     class Monitor : public DM::CoWeakObserver
///     {
///         void notify(const DM::CoWeakSubject& subject, const DM::CoSubjectHint& hint) override;
///     };
///
///     Monitor monitor;
///     subject.addObserver(monitor);
#pragma once

#include "zrExport.h"

#include <vector>

namespace DM
{

class CoSubjectHint;
class CoWeakSubject;

class ZR_DM_API CoWeakObserver
{
public:
    CoWeakObserver() = default;
    /// A copy registers with every subject of the copied observer; an assignment leaves its former ones first.
    CoWeakObserver(const CoWeakObserver& other);
    CoWeakObserver& operator=(const CoWeakObserver& other);
    virtual ~CoWeakObserver();

    virtual void notify(const CoWeakSubject& subject, const CoSubjectHint& hint) = 0;
    /// As notify, with a hint that the observer may change for those after it. Calls `notify` unless overridden.
    virtual void bounce(const CoWeakSubject& subject, CoSubjectHint& hint);

    /// In the order of registration.
    const std::vector<const CoWeakSubject*>& getSubjectList() const { return _subjects; }

private:
    friend class CoWeakSubject;

    void addSubject(const CoWeakSubject& subject);
    void removeSubject(const CoWeakSubject& subject);
    void joinSubjectsOf(const CoWeakObserver& other);
    void leaveSubjects();

    std::vector<const CoWeakSubject*> _subjects;
};

} // namespace DM
