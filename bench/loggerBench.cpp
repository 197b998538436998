#include "CoMsgBuilder.h"
#include "zrAllocations.h"
#include "zrPost.h"
#include "zrRatio.h"

#include <benchmark/benchmark.h>

namespace
{

constexpr int calls = 20000;

[[gnu::noinline]] void callNothing(int number, const wchar_t* name)
{
    benchmark::DoNotOptimize(number);
    benchmark::DoNotOptimize(name);
}

[[gnu::noinline]] void postDropped(int number, const wchar_t* name)
{
    benchmark::DoNotOptimize(number);
    benchmark::DoNotOptimize(name);
    ZR_POST_DEBUG("clip '%ls' of track %d", name, number);
}

template <class Call>
auto repeated(const Call& call)
{
    return [&call]
    {
        for (int i = 0; i < calls; ++i)
            call(i, L"Été");
    };
}

/// A router that lets the cost of making a message be seen alone.
class SilentRouter final : public DM::CoMsg::Router
{
public:
    using Router::post;
    void post(const DM::CoMsg::Msg& msg) const override { benchmark::DoNotOptimize(&msg); }
};

} // namespace

int main()
{
    const SilentRouter router;
    DM::CoMsg::setRouter(&router);
    DM::CoMsg::setFilterLevel(DM::CoMsg::NoticeLevel);
    zrRatio::print("a message that the filter drops against an empty call", 2, repeated(postDropped),
                   repeated(callNothing));
    zrAllocations::print("20000 messages that the filter drops", 0, repeated(postDropped));
    DM::CoMsg::setFilterLevel(DM::CoMsg::DebugLevel);
    zrAllocations::print("20000 messages that pass", 2L * calls, repeated(postDropped));
    DM::CoMsg::setRouter(nullptr);
    return 0;
}
