/// The logger of a command-line host: while it lives it is the router, and prints to standard error.
///
/// Its construction lowers the verbosity to errors, unless ZR_MSG_LEVEL is set in the environment. Made once, at
/// start-up, and destroyed at shutdown, when no other thread posts.
#pragma once

#include "CoMsg.h"

namespace DM
{

class ZR_DM_API CoStderrLogger final : public CoMsg::Router
{
public:
    CoStderrLogger();
    /// Restores the default router.
    ~CoStderrLogger() override;

    using Router::post;
    void post(const CoMsg::Msg& msg) const override;
};

} // namespace DM
