/// For its scope, an observer hears nothing from a subject: what is dispatched meanwhile is lost to it. Both must
/// outlive the blocker. Registers the observer at the end even if it was not registered before.
#pragma once

#include "CoWeakSubject.h"

namespace DM
{

class CoNotificationBlocker
{
public:
    CoNotificationBlocker(const CoWeakSubject& subject, CoWeakObserver& observer)
        : _subject(subject)
        , _observer(observer)
    {
        _subject.removeObserver(_observer);
    }
    ~CoNotificationBlocker() { _subject.addObserver(_observer); }
    CoNotificationBlocker(const CoNotificationBlocker&) = delete;
    CoNotificationBlocker& operator=(const CoNotificationBlocker&) = delete;

private:
    const CoWeakSubject& _subject;
    CoWeakObserver& _observer;
};

} // namespace DM
