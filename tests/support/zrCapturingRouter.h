/// The current router for a scope: keeps what it is given. Gives the process a process id callback, too.
#pragma once

#include "CoMsg.h"

#include <vector>

namespace zrTest
{

class CapturingRouter final : public DM::CoMsg::Router
{
public:
    CapturingRouter()
    {
        DM::CoMsg::setRouter(this);
        DM::CoMsg::setCurrentPIDCallback([] { return 4242; });
    }
    ~CapturingRouter() override { DM::CoMsg::setRouter(nullptr); }

    using Router::post;
    void post(const DM::CoMsg::Msg& msg) const override { messages.push_back(msg); }

    mutable std::vector<DM::CoMsg::Msg> messages;
};

} // namespace zrTest
