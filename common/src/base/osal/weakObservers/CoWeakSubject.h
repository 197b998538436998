/// One side of an observer mechanism in which neither side owns the other: whichever is destroyed first takes itself
/// out of the other's list.
///
/// Threads: the subject's recursive mutex guards its observers and is held for the whole of a dispatch, so an observer
/// may add or remove itself or others, dispatch again on the same subject, or destroy the subject, from inside its
/// `notify`. An observer's own list of subjects is not locked: add, remove and destroy one observer from one thread.
#pragma once

#include "zrExport.h"

#include <atomic>
#include <memory>

namespace DM
{

class CoSubjectHint;
class CoWeakObserver;

class ZR_DM_API CoWeakSubject
{
public:
    CoWeakSubject();
    /// A copy starts without observers; an assignment leaves both sides' observers alone.
    CoWeakSubject(const CoWeakSubject& other);
    CoWeakSubject& operator=(const CoWeakSubject& other);
    virtual ~CoWeakSubject();

    /// Whether the observer was not there before.
    virtual bool addObserver(CoWeakObserver& observer) const;
    /// Whether the observer was there.
    virtual bool removeObserver(CoWeakObserver& observer) const;

    /// Calls `notify` of every observer registered at the start, in no particular order, except those that left
    /// meanwhile. A CoNoHint is not dispatched.
    void dispatchNotification(const CoSubjectHint& hint) const;
    /// The same walk calling `bounce`: observers may change the hint as it passes from one to the next.
    void bounceNotification(CoSubjectHint& hint) const;

private:
    friend class CoWeakObserver;
    struct Observers;
    class Trace;

    bool removeObserverFromList(CoWeakObserver* observer) const;
    template <class Call>
    void walk(const char* verb, std::atomic<int>& depth, const CoSubjectHint& hint, const Call& call) const;

    /// Shared with the dispatches under way, which may outlive the subject.
    const std::shared_ptr<Observers> _observers;
};

} // namespace DM
