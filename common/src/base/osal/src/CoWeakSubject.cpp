#include "CoWeakSubject.h"

#include "CoSubjectHint.h"
#include "CoWeakObserver.h"
#include "envVar.h"

#include <atomic>
#include <cstdio>
#include <mutex>
#include <typeinfo>
#include <unordered_set>
#include <vector>

namespace DM
{

namespace
{

ZR_ENV_VAR(bool, traceNotifications, "ZR_DEBUG_WEAK_SUBJECT_OBSERVER", false);

} // namespace

struct CoWeakSubject::Observers
{
    std::recursive_mutex mutex;
    std::unordered_set<CoWeakObserver*> live;
};

/// The trace of one walk, printed only if the environment asks for it. Keeps what it prints at the end, where the
/// subject may be gone. "0x" and %p together say it twice; scripts that read traces expect it.
class CoWeakSubject::Trace
{
public:
    Trace(const char* verb, std::atomic<int>& depth, const CoWeakSubject& subject, const CoSubjectHint& hint)
        : _on(traceNotifications().getValue())
        , _verb(verb)
        , _depthCounter(depth)
        , _subject(&subject)
        , _subjectType(typeid(subject).name())
        , _hintType(typeid(hint).name())
    {
        if (!_on)
            return;
        _depth = ++_depthCounter;
        printEdge("begin");
    }
    ~Trace()
    {
        if (!_on)
            return;
        printEdge("end");
        --_depthCounter;
    }
    Trace(const Trace&) = delete;
    Trace& operator=(const Trace&) = delete;

    void printCall(const CoWeakObserver& observer) const
    {
        if (_on)
            std::printf("CoWeakSubject %s (this=0x%p, depth=%d): '%s' to %s (0x%p)\n", _verb, _subject, _depth,
                        _hintType, typeid(observer).name(), static_cast<const void*>(&observer));
    }

private:
    void printEdge(const char* edge) const
    {
        std::printf("CoWeakSubject %s %s (this=0x%p, depth=%d): '%s' from %s\n", edge, _verb, _subject, _depth,
                    _hintType, _subjectType);
    }

    const bool _on;
    const char* const _verb;
    std::atomic<int>& _depthCounter;
    int _depth = 0;
    const void* const _subject;
    const char* const _subjectType;
    const char* const _hintType;
};

CoWeakSubject::CoWeakSubject()
    : _observers(std::make_shared<Observers>())
{
}

CoWeakSubject::CoWeakSubject(const CoWeakSubject& /*other*/)
    : CoWeakSubject()
{
}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): there is nothing to assign
CoWeakSubject& CoWeakSubject::operator=(const CoWeakSubject& /*other*/)
{
    return *this;
}

CoWeakSubject::~CoWeakSubject()
{
    const std::lock_guard guard(_observers->mutex);
    for (CoWeakObserver* const observer : _observers->live)
        observer->removeSubject(*this);
    _observers->live.clear(); // ends the dispatch that this happens in, if any
}

bool CoWeakSubject::addObserver(CoWeakObserver& observer) const
{
    const std::lock_guard guard(_observers->mutex);
    const bool added = _observers->live.insert(&observer).second;
    if (added)
        observer.addSubject(*this);
    return added;
}

bool CoWeakSubject::removeObserver(CoWeakObserver& observer) const
{
    const std::lock_guard guard(_observers->mutex);
    const bool removed = removeObserverFromList(&observer);
    if (removed)
        observer.removeSubject(*this);
    return removed;
}

void CoWeakSubject::dispatchNotification(const CoSubjectHint& hint) const
{
    static std::atomic<int> depth = 0;
    if (hint.id() == CoNoHint::class_id)
        return;
    walk("dispatch", depth, hint, [&](CoWeakObserver& observer) { observer.notify(*this, hint); });
}

void CoWeakSubject::bounceNotification(CoSubjectHint& hint) const
{
    static std::atomic<int> depth = 0;
    if (hint.id() == CoNoHint::class_id)
        return;
    walk("bounce", depth, hint, [&](CoWeakObserver& observer) { observer.bounce(*this, hint); });
}

bool CoWeakSubject::removeObserverFromList(CoWeakObserver* observer) const
{
    const std::lock_guard guard(_observers->mutex);
    return _observers->live.erase(observer) > 0;
}

template <class Call>
void CoWeakSubject::walk(const char* verb, std::atomic<int>& depth, const CoSubjectHint& hint, const Call& call) const
{
    const std::shared_ptr<Observers> observers = _observers;
    const std::lock_guard guard(observers->mutex);
    const std::vector<CoWeakObserver*> snapshot(observers->live.begin(), observers->live.end());
    const Trace trace(verb, depth, *this, hint);
    for (CoWeakObserver* const observer : snapshot)
    {
        if (!observers->live.contains(observer))
            continue;
        trace.printCall(*observer);
        call(*observer);
    }
}

} // namespace DM
