#include "CoSubjectHint.h"
#include "CoWeakObserver.h"
#include "CoWeakSubject.h"
#include "zrAllocations.h"
#include "zrRatio.h"

#include <cstddef>
#include <cstdio>
#include <deque>

namespace
{

class Counter : public DM::CoWeakObserver
{
public:
    void notify(const DM::CoWeakSubject& /*subject*/, const DM::CoSubjectHint& /*hint*/) override { ++calls; }

    long calls = 0;
};

/// A subject with that many observers.
struct Audience
{
    explicit Audience(std::size_t size)
        : observers(size)
    {
        for (Counter& observer : observers)
            subject.addObserver(observer);
    }

    std::deque<Counter> observers;
    DM::CoWeakSubject subject;
};

} // namespace

int main()
{
    const Audience thousand(1000);
    const Audience hundred(100);
    const DM::CoSubjectHint hint;
    const auto dispatch = [&hint](const Audience& audience, int times)
    {
        for (int i = 0; i < times; ++i)
            audience.subject.dispatchNotification(hint);
    };
    zrRatio::print(
        "dispatch to 1000 observers / 10 dispatches to 100", 2, [&] { dispatch(thousand, 10); },
        [&] { dispatch(hundred, 100); });

    const auto allocationsOf = [&dispatch](const Audience& audience)
    { return static_cast<double>(zrAllocations::of([&] { dispatch(audience, 1); })); };
    std::printf("allocations of a dispatch to 1000 observers / of one to 100: ratio %.2f (limit 1.00)\n",
                allocationsOf(thousand) / allocationsOf(hundred));
}
