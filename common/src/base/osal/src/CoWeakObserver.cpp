#include "CoWeakObserver.h"

#include "CoWeakSubject.h"

#include <algorithm>
#include <utility>

namespace DM
{

CoWeakObserver::CoWeakObserver(const CoWeakObserver& other)
{
    joinSubjectsOf(other);
}

CoWeakObserver& CoWeakObserver::operator=(const CoWeakObserver& other)
{
    if (this != &other)
    {
        leaveSubjects();
        joinSubjectsOf(other);
    }
    return *this;
}

CoWeakObserver::~CoWeakObserver()
{
    leaveSubjects();
}

void CoWeakObserver::bounce(const CoWeakSubject& subject, CoSubjectHint& hint)
{
    notify(subject, hint);
}

void CoWeakObserver::addSubject(const CoWeakSubject& subject)
{
    _subjects.push_back(&subject);
}

void CoWeakObserver::removeSubject(const CoWeakSubject& subject)
{
    const auto at = std::find(_subjects.begin(), _subjects.end(), &subject);
    if (at != _subjects.end())
        _subjects.erase(at);
}

void CoWeakObserver::joinSubjectsOf(const CoWeakObserver& other)
{
    for (const CoWeakSubject* const subject : other._subjects)
        subject->addObserver(*this);
}

void CoWeakObserver::leaveSubjects()
{
    for (const CoWeakSubject* const subject : std::exchange(_subjects, {}))
        subject->removeObserverFromList(this);
}

} // namespace DM
