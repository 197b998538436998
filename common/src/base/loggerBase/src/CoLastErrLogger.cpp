#include "CoLastErrLogger.h"

#include "CoMsg.h"
#include "zrAssert.h"

#include <string>

namespace DM
{

struct CoLastErrLogger::State
{
    std::string module;
    std::string lastError;
    bool silent = false;
    int line = 0;
};

CoLastErrLogger::CoLastErrLogger(bool silent)
{
    if (silent)
        setSilentMode(true);
}

CoLastErrLogger::CoLastErrLogger(const CoLastErrLogger& other)
{
    assignError(other);
}

CoLastErrLogger::CoLastErrLogger(CoLastErrLogger&& other) noexcept = default;

CoLastErrLogger& CoLastErrLogger::operator=(const CoLastErrLogger& other)
{
    assignError(other);
    return *this;
}

CoLastErrLogger& CoLastErrLogger::operator=(CoLastErrLogger&& other) noexcept = default;

CoLastErrLogger::~CoLastErrLogger() = default;

bool CoLastErrLogger::hasError() const
{
    return _state && !_state->lastError.empty();
}

const char* CoLastErrLogger::lastError() const
{
    return _state ? _state->lastError.c_str() : "";
}

void CoLastErrLogger::clearLastError()
{
    if (_state)
        _state->lastError.clear();
}

void CoLastErrLogger::setSilentMode(bool silent)
{
    state().silent = silent;
}

bool CoLastErrLogger::getSilentMode() const
{
    return _state && _state->silent;
}

void CoLastErrLogger::setModule(const char* file, int line)
{
    state().module = file ? file : "";
    state().line = line;
}

void CoLastErrLogger::postError(const char* fmt, ...)
{
    ZR_ASSERT_HARD(fmt);
    char text[CoMsg::textBufferSize];
    va_list args;
    va_start(args, fmt);
    CoFormat::vformat(text, sizeof(text), fmt, args);
    va_end(args);

    const CoMsg::Msg msg(text, state().module.c_str(), state().line, CoMsg::ErrorLevel, "");
    state().lastError = msg.text();
    if (!state().silent)
        CoMsg::router().post(msg);
}

void CoLastErrLogger::assignError(const CoLastErrLogger& other)
{
    if (this != &other)
        _state = other._state ? std::make_unique<State>(*other._state) : nullptr;
}

CoLastErrLogger::State& CoLastErrLogger::state()
{
    if (!_state)
        _state = std::make_unique<State>();
    return *_state;
}

} // namespace DM
