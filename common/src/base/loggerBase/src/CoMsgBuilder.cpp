#include "CoMsgBuilder.h"

namespace DM
{

void CoMsgBuilderBase::post(const char* family, const char* fmt, va_list args) const
{
    _post(_file, _line, family, fmt, args);
}

void CoMsgBuilder<false>::operator()(const char* fmt, ...) const
{
    va_list args;
    va_start(args, fmt);
    post("-", fmt, args);
    va_end(args);
}

void CoMsgBuilder<true>::operator()(const char* family, const char* fmt, ...) const
{
    va_list args;
    va_start(args, fmt);
    post(family, fmt, args);
    va_end(args);
}

} // namespace DM
