/// The property core against the bare operations beneath it, as ratios taken within one run.
#include "zrLocked.h"
#include "zrRatio.h"

#include "CoLockWord.h"
#include "dmDeclare.h"
#include "dmNumberText.h"
#include "dmPropertySetInit.h"
#include "dmSetTools.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <pthread.h>
#include <string>
#include <thread>

namespace
{

/// Thirteen scalars, as a key frame has.
class BenchScalars final : public DmConcrete<BenchScalars>
{
public:
    static constexpr const wchar_t* className = L"BenchScalars";

    explicit BenchScalars(const DmNodeId& id);
    eDmErrorId createList() override;

    eDmErrorId setDouble(double value) { return set(0, value); }

private:
    double _d[3] = {};
    float _f[5] = {};
    int _i[5] = {};
};

const DmPropertySetInit<BenchScalars> registration;

BenchScalars::BenchScalars(const DmNodeId& id)
    : DmConcrete(id, DmPropertySetInit<BenchScalars>::data())
{
}

eDmErrorId BenchScalars::createList()
{
    auto declaration = declare(*this);
    int n = 0;
    const auto name = [&n] { return L"property" + std::to_wstring(n++); };
    for (double& member : _d)
        declaration.mandatory(name().c_str(), member);
    for (float& member : _f)
        declaration.mandatory(name().c_str(), member);
    for (int& member : _i)
        declaration.mandatory(name().c_str(), member);
    return declaration.status();
}

class Quiet : public DmPropertyListener
{
public:
    void onPropertyChanged(const DmNodeId&, eDmPropType, const DmString&) override {}
};

} // namespace

int main()
{
    const auto keep = [](const auto& value) { benchmark::DoNotOptimize(value); };
    const auto report = [](const char* name, const auto& measured, const auto& reference, double limit)
    {
        const auto often = [](const auto& work)
        {
            return [&work]
            {
                for (int i = 0; i < 1000; ++i)
                    work();
            };
        };
        zrRatio::print(name, limit, often(measured), often(reference));
    };
    const auto set = BenchScalars::create();
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    DM::CoLockWord word;
    double value = 0;
    const DmString name(L"property1");

    const auto lock = [&]
    {
        keep(pthread_mutex_lock(&mutex));
        keep(pthread_mutex_unlock(&mutex));
    };
    report(
        "lock and unlock an object's word / a pthread mutex",
        [&]
        {
            keep(word.lock());
            keep(word.unlock());
        },
        lock, 1);
    const auto byIndex = [&] { keep(set->setPropertyValue(1, DM_DOUBLE, &(value += 1))); };
    const auto byName = [&] { keep(set->setPropertyValue(name, DM_DOUBLE, &(value += 1))); };
    report("set a scalar by index / lock and unlock a pthread mutex", byIndex, lock, 3);
    report("set a scalar by name / by index", byName, byIndex, 3);

    const auto typed = [&] { keep(set->setDouble(value += 1)); };
    report("typed setter / by index", typed, byIndex, 1.5);
    zrLocked::print("typed setter in a program of one thread", 0, typed);
    zrLocked::print("set a scalar by name in a program of one thread", 0, byName);
    // That the count counts.
    const auto startThread = [] { std::thread([] { std::this_thread::sleep_for(std::chrono::hours(1)); }).detach(); };
    std::printf("typed setter beside another thread: locked instructions %ld\n", zrLocked::of(startThread, typed));

    double number = 0.1;
    const auto next = [&number] { return number += 1.0 / 3; };
    DmString text;
    report(
        "text of a Double / to_chars and the copy into the string",
        [&]
        {
            number = next();
            keep(set->setPropertyValue(0, DM_DOUBLE, &number));
            keep(set->getStrFromPropertyValue(0, DM_DOUBLE, text, nullptr));
        },
        [&]
        {
            number = next();
            keep(set->setPropertyValue(0, DM_DOUBLE, &number));
            char buffer[32];
            const auto end = std::to_chars(buffer, buffer + 32, number, std::chars_format::general, 10).ptr;
            const auto length = static_cast<unsigned>(end - buffer);
            if (text.reallocBuff(length))
                for (unsigned i = 0; i <= length; ++i)
                    text[i] = i < length ? static_cast<wchar_t>(buffer[i]) : 0;
            keep(text.length());
        },
        1.5);
    const std::wstring wide = L"86400.123456";
    const std::string narrow = "86400.123456";
    report(
        "Double from text / from_chars", [&] { keep(dmNumberText::parse<double, wchar_t>(wide)); },
        [&]
        {
            double parsed = 0;
            keep(std::from_chars(narrow.data(), narrow.data() + narrow.size(), parsed).ec);
            keep(parsed);
        },
        1.5);

    const DmPropertyCreator creator = DmPropertyFactory::getInstance().findCreator(BenchScalars::className);
    const DmString className(BenchScalars::className);
    keep(creator);
    report(
        "create and release a set of 13 scalars / malloc and free of its bytes",
        [&]
        {
            DmPropertySet* made = nullptr;
            keep(DmPropertyFactory::getInstance().createPropertySetInstance(className, DmNodeId(), 0, made));
            const DmPropertySetPtr held(made);
        },
        [&]
        {
            void* const block = std::malloc(sizeof(BenchScalars));
            keep(block);
            std::free(block);
        },
        10);

    DmPropertySetPtr copy;
    report(
        "deep copy of a set of 13 scalars / create and release", [&] { keep(dmDeepCopy(*set, copy)); },
        [&] { copy = BenchScalars::create(); }, 3);

    Quiet listener;
    const auto heard = BenchScalars::create();
    keep(heard->registerListener(&listener));
    report(
        "set with one listener / with none", [&] { keep(heard->setPropertyValue(1, DM_DOUBLE, &(value += 1))); },
        byIndex, 3);

    // What a program of several threads pays: from here on the process has had a second one.
    bool isOver = false;
    std::thread second(
        [&]
        {
            while (!std::atomic_ref(isOver).load())
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
        });
    report("set a scalar beside another thread / lock and unlock a pthread mutex", byIndex, lock, 3);
    std::atomic_ref(isOver).store(true);
    second.join();

    std::printf("reflection state of an empty instance: bytes %zu (limit 40)\n", sizeof(DmPropertySet));
    return 0;
}
