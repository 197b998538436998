/// How the library's own code posts messages: as the macros of CoMsgBuilder.h do, and with getpid for a process id
/// callback if the host has set none, so that nothing of ours stops a host for a missing callback.
///
///     ZR_POST_ERROR("Error generating json document : %s", reason);
#pragma once

#include "CoMsgBuilder.h"

namespace zrPostDetail
{

inline bool isPosted(DM::CoMsg::Level level)
{
    if (!DM::CoMsg::isPosted(level))
        return false;
    DM::CoMsg::ensurePIDCallback();
    return true;
}

} // namespace zrPostDetail

#define ZR_POST_USER(...) ZR_MSG_AT(zrPostDetail::isPosted, User, false, __VA_ARGS__)
#define ZR_POST_ERROR(...) ZR_MSG_AT(zrPostDetail::isPosted, Error, false, __VA_ARGS__)
#define ZR_POST_WARNING(...) ZR_MSG_AT(zrPostDetail::isPosted, Warning, false, __VA_ARGS__)
#define ZR_POST_NOTICE(...) ZR_MSG_AT(zrPostDetail::isPosted, Notice, false, __VA_ARGS__)
#define ZR_POST_DEBUG(...) ZR_MSG_AT(zrPostDetail::isPosted, Debug, false, __VA_ARGS__)

#define ZR_POST_USER_F(family, ...) ZR_MSG_AT(zrPostDetail::isPosted, User, true, family, __VA_ARGS__)
#define ZR_POST_ERROR_F(family, ...) ZR_MSG_AT(zrPostDetail::isPosted, Error, true, family, __VA_ARGS__)
#define ZR_POST_WARNING_F(family, ...) ZR_MSG_AT(zrPostDetail::isPosted, Warning, true, family, __VA_ARGS__)
#define ZR_POST_NOTICE_F(family, ...) ZR_MSG_AT(zrPostDetail::isPosted, Notice, true, family, __VA_ARGS__)
#define ZR_POST_DEBUG_F(family, ...) ZR_MSG_AT(zrPostDetail::isPosted, Debug, true, family, __VA_ARGS__)
