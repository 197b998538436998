#include "CoStderrLogger.h"

#include "zrAssert.h"

#include <cstdlib>

namespace DM
{

CoStderrLogger::CoStderrLogger()
{
    ZR_ASSERT_PLAIN(&CoMsg::router() != this);
    CoMsg::setRouter(this);
    const char* const wanted = std::getenv("ZR_MSG_LEVEL");
    CoMsg::setFilterLevel(wanted ? CoMsg::stringToLevel(wanted) : CoMsg::ErrorLevel);
}

CoStderrLogger::~CoStderrLogger()
{
    CoMsg::setRouter(CoMsg::defaultRouter());
}

void CoStderrLogger::post(const CoMsg::Msg& msg) const
{
    if (CoMsg::isPosted(msg.level()))
        post(msg, stderr);
}

} // namespace DM
