/// The logging macros, one per level, with and without a family word:
///
///     ZR_MSG_WARNING("'%ls' ends after its source", name);
///     ZR_MSG_DEBUG_F("builder", "%d segments", count);
///
/// The arguments of a message that the filter drops are not even evaluated. A host that uses them has set a process id
/// callback; library code above this room uses the macros of zrPost.h.
#pragma once

#include "CoFormat.h"
#include "CoMsg.h"
#include "zrSourcePath.h"

namespace DM
{

/// What a call site knows about itself: its place, and the function that posts at its level.
class ZR_DM_API CoMsgBuilderBase
{
public:
    CoMsgBuilderBase(const char* file, int line, CoMsg::PostFunction function)
        : _file(file)
        , _line(line)
        , _post(function)
    {
    }

    void post(const char* family, const char* fmt, va_list args) const ZR_PRINTF_FORMAT(3, 0);

private:
    const char* _file;
    int _line;
    CoMsg::PostFunction _post;
};

template <bool hasFamily>
class CoMsgBuilder;

/// Called with a format and its arguments; posts with the family "-".
template <>
class ZR_DM_API CoMsgBuilder<false> : public CoMsgBuilderBase
{
public:
    using CoMsgBuilderBase::CoMsgBuilderBase;
    void operator()(const char* fmt, ...) const ZR_PRINTF_FORMAT(2, 3);
};

/// Called with a family word, a format and its arguments.
template <>
class ZR_DM_API CoMsgBuilder<true> : public CoMsgBuilderBase
{
public:
    using CoMsgBuilderBase::CoMsgBuilderBase;
    void operator()(const char* family, const char* fmt, ...) const ZR_PRINTF_FORMAT(3, 4);
};

} // namespace DM

/// `isPosted` is asked first; only then is a message built.
#define ZR_MSG_AT(isPosted, Name, hasFamily, ...)                                                                      \
    (isPosted(DM::CoMsg::Name##Level)                                                                                  \
         ? DM::CoMsgBuilder<hasFamily>(ZR_SOURCE_FILE, __LINE__, DM::CoMsg::post##Name)(__VA_ARGS__)                   \
         : static_cast<void>(0))

#define ZR_MSG_USER(...) ZR_MSG_AT(DM::CoMsg::isPosted, User, false, __VA_ARGS__)
#define ZR_MSG_ERROR(...) ZR_MSG_AT(DM::CoMsg::isPosted, Error, false, __VA_ARGS__)
#define ZR_MSG_WARNING(...) ZR_MSG_AT(DM::CoMsg::isPosted, Warning, false, __VA_ARGS__)
#define ZR_MSG_NOTICE(...) ZR_MSG_AT(DM::CoMsg::isPosted, Notice, false, __VA_ARGS__)
#define ZR_MSG_DEBUG(...) ZR_MSG_AT(DM::CoMsg::isPosted, Debug, false, __VA_ARGS__)

#define ZR_MSG_USER_F(family, ...) ZR_MSG_AT(DM::CoMsg::isPosted, User, true, family, __VA_ARGS__)
#define ZR_MSG_ERROR_F(family, ...) ZR_MSG_AT(DM::CoMsg::isPosted, Error, true, family, __VA_ARGS__)
#define ZR_MSG_WARNING_F(family, ...) ZR_MSG_AT(DM::CoMsg::isPosted, Warning, true, family, __VA_ARGS__)
#define ZR_MSG_NOTICE_F(family, ...) ZR_MSG_AT(DM::CoMsg::isPosted, Notice, true, family, __VA_ARGS__)
#define ZR_MSG_DEBUG_F(family, ...) ZR_MSG_AT(DM::CoMsg::isPosted, Debug, true, family, __VA_ARGS__)
