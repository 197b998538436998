#include "CoWeakSubject.h"
#include "CoNotificationBlocker.h"
#include "CoSubjectHint.h"
#include "CoWeakObserver.h"
#include "envVar.h"

#include <array>
#include <cstdio>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <thread>

using namespace DM;

namespace
{

const int firstId = CoSubjectHint::unique_SH_id();
const int secondId = CoSubjectHint::unique_SH_id();

/// Counts what it hears, then does what the test asks.
class Monitor : public CoWeakObserver
{
public:
    explicit Monitor(std::function<void(Monitor&)> react = {})
        : _react(std::move(react))
    {
    }
    void notify(const CoWeakSubject& /*subject*/, const CoSubjectHint& hint) override
    {
        ++calls;
        lastId = hint.id();
        if (_react)
            _react(*this);
    }

    int calls = 0;
    int lastId = 0;

private:
    std::function<void(Monitor&)> _react;
};

class Tally : public CoSubjectHint
{
public:
    int stops = 0;
};

class Stop : public Monitor
{
public:
    void bounce(const CoWeakSubject& /*subject*/, CoSubjectHint& hint) override { ++dynamic_cast<Tally&>(hint).stops; }
};

class Tracing
{
public:
    Tracing() { set(true); }
    ~Tracing() { set(false); }

private:
    static void set(bool on)
    {
        CoWeakSubject().dispatchNotification(CoSubjectHint()); // the first use registers the variable
        EnvVarRegistryImp::getInstance().search("ZR_DEBUG_WEAK_SUBJECT_OBSERVER").at(0)->dynSetValue(on);
    }
};

std::string traceOf(const std::function<void()>& action)
{
    const Tracing tracing;
    testing::internal::CaptureStdout();
    action();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

/// A line of the trace: the verb with its edge, and what follows the hint's type.
std::string traceLine(const char* verb, const CoWeakSubject& subject, int depth, const char* hint, const char* rest)
{
    char line[512];
    std::snprintf(line, sizeof(line), "CoWeakSubject %s (this=0x%p, depth=%d): '%s' %s\n", verb,
                  static_cast<const void*>(&subject), depth, hint, rest);
    return line;
}

} // namespace

TEST(SubjectHint, IdsStartAtOneAndNoHintHasNone)
{
    EXPECT_EQ(firstId, 1);
    EXPECT_EQ(secondId, 2);
    EXPECT_EQ(CoSubjectHint().id(), -1);
    EXPECT_NE(CoNoHint::class_id, firstId);
}

TEST(WeakSubject, TellsEachObserverOnceUntilItIsRemoved)
{
    const CoWeakSubject subject;
    Monitor a;
    Monitor b;
    EXPECT_TRUE(subject.addObserver(a));
    EXPECT_TRUE(subject.addObserver(b));
    EXPECT_FALSE(subject.addObserver(a));
    EXPECT_EQ(a.getSubjectList(), std::vector<const CoWeakSubject*>{&subject});
    subject.dispatchNotification(CoSubjectHint(firstId));
    EXPECT_TRUE(subject.removeObserver(a));
    EXPECT_FALSE(subject.removeObserver(a));
    EXPECT_TRUE(a.getSubjectList().empty());
    subject.dispatchNotification(CoSubjectHint(secondId));
    EXPECT_EQ(a.calls, 1);
    EXPECT_EQ(a.lastId, firstId);
    EXPECT_EQ(b.calls, 2);
    EXPECT_EQ(b.lastId, secondId);
}

TEST(WeakSubject, DispatchesNoHintToNobodyAndInSilence)
{
    const CoWeakSubject subject;
    Monitor monitor;
    subject.addObserver(monitor);
    CoNoHint nothing;
    EXPECT_EQ(traceOf(
                  [&]
                  {
                      subject.dispatchNotification(nothing);
                      subject.bounceNotification(nothing);
                  }),
              "");
    EXPECT_EQ(monitor.calls, 0);
}

TEST(WeakSubject, BouncesAHintThatObserversChange)
{
    const CoWeakSubject subject;
    Stop a;
    Stop b;
    Monitor listener; // does not bounce: it is notified
    for (CoWeakObserver* const observer : std::initializer_list<CoWeakObserver*>{&a, &b, &listener})
        subject.addObserver(*observer);
    Tally tally;
    subject.bounceNotification(tally);
    EXPECT_EQ(tally.stops, 2);
    EXPECT_EQ(listener.calls, 1);
}

TEST(WeakSubject, DoesNotCallThoseThatLeftDuringTheDispatch)
{
    const CoWeakSubject subject;
    std::array<std::unique_ptr<Monitor>, 2> pair;
    int calls = 0;
    static constexpr bool destroys[] = {false, true};
    for (const bool destroy : destroys)
    {
        calls = 0;
        for (auto& monitor : pair)
        {
            monitor = std::make_unique<Monitor>(
                [&](Monitor& self)
                {
                    ++calls;
                    auto& other = pair[0].get() == &self ? pair[1] : pair[0];
                    if (destroy)
                        other.reset();
                    else
                        subject.removeObserver(*other);
                });
            subject.addObserver(*monitor);
        }
        subject.dispatchNotification(CoSubjectHint());
        EXPECT_EQ(calls, 1) << destroy; // whichever came first took the other out
    }
}

TEST(WeakSubject, DoesNotCallThoseThatJoinedDuringTheDispatch)
{
    const CoWeakSubject subject;
    Monitor late;
    Monitor early([&](Monitor& /*self*/) { subject.addObserver(late); });
    subject.addObserver(early);
    subject.dispatchNotification(CoSubjectHint());
    EXPECT_EQ(late.calls, 0);
    subject.dispatchNotification(CoSubjectHint());
    EXPECT_EQ(late.calls, 1);
}

TEST(WeakSubject, MayBeDestroyedByAnObserverOfItsDispatch)
{
    auto subject = std::make_unique<CoWeakSubject>();
    const auto destroy = [&](Monitor& /*self*/) { subject.reset(); };
    Monitor a(destroy);
    Monitor b(destroy);
    subject->addObserver(a);
    subject->addObserver(b);
    const std::string trace = traceOf([&] { subject->dispatchNotification(CoSubjectHint()); });
    EXPECT_EQ(a.calls + b.calls, 1);
    EXPECT_NE(trace.find("CoWeakSubject end dispatch"), trace.npos);
    EXPECT_TRUE(a.getSubjectList().empty());
    EXPECT_TRUE(b.getSubjectList().empty());
}

TEST(WeakSubject, IsFreeAgainAfterAnObserverThrew)
{
    const CoWeakSubject subject;
    Monitor monitor(
        [](Monitor& self)
        {
            if (self.calls == 1)
                throw std::runtime_error("first call");
        });
    subject.addObserver(monitor);
    EXPECT_THROW(subject.dispatchNotification(CoSubjectHint()), std::runtime_error);
    std::thread([&] { subject.dispatchNotification(CoSubjectHint()); }).join();
    EXPECT_EQ(monitor.calls, 2);
}

TEST(WeakSubject, CopiesStartWithoutObservers)
{
    const CoWeakSubject subject;
    Monitor monitor;
    subject.addObserver(monitor);
    CoWeakSubject copy(subject);
    copy = subject;
    copy.dispatchNotification(CoSubjectHint());
    EXPECT_EQ(monitor.calls, 0);
    EXPECT_EQ(monitor.getSubjectList().size(), 1u);
}

TEST(WeakSubject, TracesNestedDispatchesWhenAsked)
{
    const CoWeakSubject subject;
    Monitor monitor(
        [&](Monitor& self)
        {
            if (self.calls == 1)
                subject.dispatchNotification(CoSubjectHint());
        });
    subject.addObserver(monitor);
    const std::string from = std::string("from ") + typeid(CoWeakSubject).name();
    char to[128];
    std::snprintf(to, sizeof(to), "to %s (0x%p)", typeid(Monitor).name(),
                  static_cast<const void*>(static_cast<CoWeakObserver*>(&monitor)));

    const char* const hint = typeid(CoSubjectHint).name();
    EXPECT_EQ(
        traceOf([&] { subject.dispatchNotification(CoSubjectHint()); }),
        traceLine("begin dispatch", subject, 1, hint, from.c_str()) + traceLine("dispatch", subject, 1, hint, to) +
            traceLine("begin dispatch", subject, 2, hint, from.c_str()) + traceLine("dispatch", subject, 2, hint, to) +
            traceLine("end dispatch", subject, 2, hint, from.c_str()) +
            traceLine("end dispatch", subject, 1, hint, from.c_str()));
    const char* const tally = typeid(Tally).name();
    EXPECT_EQ(traceOf(
                  [&]
                  {
                      Tally bounced;
                      subject.bounceNotification(bounced);
                  }),
              traceLine("begin bounce", subject, 1, tally, from.c_str()) + traceLine("bounce", subject, 1, tally, to) +
                  traceLine("end bounce", subject, 1, tally, from.c_str()));
}

TEST(WeakObserver, LeavesEverySubjectWhenDestroyed)
{
    const CoWeakSubject a;
    const CoWeakSubject b;
    int calls = 0;
    {
        Monitor monitor([&](Monitor& /*self*/) { ++calls; });
        a.addObserver(monitor);
        b.addObserver(monitor);
    }
    a.dispatchNotification(CoSubjectHint());
    b.dispatchNotification(CoSubjectHint());
    EXPECT_EQ(calls, 0);
}

TEST(WeakObserver, CopyRegistersWithTheSubjectsOfItsOriginal)
{
    using Subjects = std::vector<const CoWeakSubject*>;
    auto gone = std::make_unique<CoWeakSubject>();
    const CoWeakSubject a;
    const CoWeakSubject b;
    Monitor original;
    gone->addObserver(original);
    a.addObserver(original);
    b.addObserver(original);
    gone.reset();
    Monitor copy(original);
    EXPECT_EQ(copy.getSubjectList(), (Subjects{&a, &b}));
    a.removeObserver(original);
    copy = original;
    EXPECT_EQ(copy.getSubjectList(), Subjects{&b});
    a.dispatchNotification(CoSubjectHint());
    EXPECT_EQ(copy.calls, 0);
    b.dispatchNotification(CoSubjectHint());
    EXPECT_EQ(copy.calls, 1);
}

TEST(NotificationBlocker, LosesWhatIsDispatchedMeanwhile)
{
    const CoWeakSubject subject;
    Monitor monitor;
    subject.addObserver(monitor);
    {
        const CoNotificationBlocker blocker(subject, monitor);
        subject.dispatchNotification(CoSubjectHint());
        EXPECT_TRUE(monitor.getSubjectList().empty());
    }
    EXPECT_EQ(monitor.calls, 0);
    subject.dispatchNotification(CoSubjectHint());
    EXPECT_EQ(monitor.calls, 1);
}

TEST(WeakSubject, IsSafeWhileObserversOfOtherThreadsComeAndGo)
{
    const CoWeakSubject subject;
    std::array<std::thread, 3> threads;
    for (std::thread& thread : threads)
    {
        thread = std::thread(
            [&subject]
            {
                for (int round = 0; round < 500; ++round)
                {
                    Monitor monitor;
                    subject.addObserver(monitor);
                    subject.dispatchNotification(CoSubjectHint());
                    subject.removeObserver(monitor);
                    EXPECT_GE(monitor.calls, 1);
                }
            });
    }
    for (std::thread& thread : threads)
        thread.join();
}
