#include "zrTest.h"

#include <typeinfo>

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

/// What an action prints with tracing on.
std::string traceOf(const std::function<void()>& action)
{
    CoWeakSubject().dispatchNotification(CoSubjectHint()); // the first use registers the variable
    BaseRegEnvVar& tracing = *EnvVarRegistryImp::getInstance().search("ZR_DEBUG_WEAK_SUBJECT_OBSERVER").at(0);
    tracing.dynSetValue(true);
    testing::internal::CaptureStdout();
    action();
    std::fflush(stdout);
    tracing.dynSetValue(false);
    return testing::internal::GetCapturedStdout();
}

} // namespace

TEST(SubjectHint, IdsStartAtOneAndNoHintHasNone)
{
    EXPECT_TRUE(firstId == 1 && secondId == 2 && CoSubjectHint().id() == -1);
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
    EXPECT_TRUE(a.calls == 1 && a.lastId == firstId);
    EXPECT_TRUE(b.calls == 2 && b.lastId == secondId);
}

TEST(WeakSubject, DispatchesNoHintToNobodyAndInSilence)
{
    const CoWeakSubject subject;
    Monitor monitor;
    subject.addObserver(monitor);
    CoNoHint nothing;
    EXPECT_EQ(traceOf([&] { subject.dispatchNotification(nothing); }), "");
    EXPECT_EQ(traceOf([&] { subject.bounceNotification(nothing); }), "");
    EXPECT_EQ(monitor.calls, 0);
}

TEST(WeakSubject, BouncesAHintThatObserversChange)
{
    const CoWeakSubject subject;
    Stop a;
    Stop b;
    Monitor listener; // does not bounce: it is notified
    EXPECT_TRUE(subject.addObserver(a) && subject.addObserver(b) && subject.addObserver(listener));
    Tally tally;
    subject.bounceNotification(tally);
    EXPECT_TRUE(tally.stops == 2 && listener.calls == 1);
}

TEST(WeakSubject, DoesNotCallThoseThatLeftDuringTheDispatch)
{
    const CoWeakSubject subject;
    std::array<std::unique_ptr<Monitor>, 2> pair;
    for (const bool destroy : {false, true})
    {
        int calls = 0;
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
    const auto line = [&](const char* verb, int depth, const std::type_info& hint)
    {
        char text[512];
        const int length = std::snprintf(text, sizeof(text), "CoWeakSubject %s (this=0x%p, depth=%d): '%s' ", verb,
                                         static_cast<const void*>(&subject), depth, hint.name());
        if (std::strchr(verb, ' '))
            std::snprintf(text + length, 256, "from %s\n", typeid(CoWeakSubject).name());
        else
            std::snprintf(text + length, 256, "to %s (0x%p)\n", typeid(Monitor).name(),
                          static_cast<const void*>(static_cast<CoWeakObserver*>(&monitor)));
        return std::string(text);
    };
    const std::type_info& plain = typeid(CoSubjectHint);
    EXPECT_EQ(traceOf([&] { subject.dispatchNotification(CoSubjectHint()); }),
              line("begin dispatch", 1, plain) + line("dispatch", 1, plain) + line("begin dispatch", 2, plain) +
                  line("dispatch", 2, plain) + line("end dispatch", 2, plain) + line("end dispatch", 1, plain));
    Tally tally;
    EXPECT_EQ(traceOf([&] { subject.bounceNotification(tally); }), line("begin bounce", 1, typeid(Tally)) +
                                                                       line("bounce", 1, typeid(Tally)) +
                                                                       line("end bounce", 1, typeid(Tally)));
}

TEST(WeakObserver, LeavesEverySubjectWhenDestroyed)
{
    const CoWeakSubject a;
    const CoWeakSubject b;
    int calls = 0;
    {
        Monitor monitor([&](Monitor& /*self*/) { ++calls; });
        EXPECT_TRUE(a.addObserver(monitor) && b.addObserver(monitor));
    }
    a.dispatchNotification(CoSubjectHint());
    b.dispatchNotification(CoSubjectHint());
    EXPECT_EQ(calls, 0);
}

TEST(WeakObserver, CopyRegistersWithTheSubjectsOfItsOriginalAndASubjectsCopyWithNone)
{
    using Subjects = std::vector<const CoWeakSubject*>;
    auto gone = std::make_unique<CoWeakSubject>();
    const CoWeakSubject a;
    const CoWeakSubject b;
    Monitor original;
    for (const CoWeakSubject* const subject : {static_cast<const CoWeakSubject*>(gone.get()), &a, &b})
        subject->addObserver(original);
    gone.reset();
    Monitor copy(original);
    EXPECT_EQ(copy.getSubjectList(), (Subjects{&a, &b}));
    a.removeObserver(original);
    copy = original;
    EXPECT_EQ(copy.getSubjectList(), Subjects{&b});
    CoWeakSubject subjectCopy(b);
    subjectCopy = b;
    subjectCopy.dispatchNotification(CoSubjectHint());
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
    std::array<std::jthread, 3> threads;
    for (std::jthread& thread : threads)
        thread = std::jthread(
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
