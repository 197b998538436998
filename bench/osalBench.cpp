#include "CoSubjectHint.h"
#include "CoWeakObserver.h"
#include "CoWeakSubject.h"
#include "zrRatio.h"

#include <cstddef>
#include <cstdlib>
#include <deque>
#include <new>

namespace
{

long allocations = 0;

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

void* operator new(std::size_t size)
{
    ++allocations;
    if (void* const memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}

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
    {
        const long before = allocations;
        dispatch(audience, 1);
        return static_cast<double>(allocations - before);
    };
    std::printf("allocations of a dispatch to 1000 observers / of one to 100: ratio %.2f (limit 1.00)\n",
                allocationsOf(thousand) / allocationsOf(hundred));
}
