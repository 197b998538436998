#include "CoException.h"

#include "envVar.h"

#include <cstdarg>
#include <cstdio>

namespace DM
{

namespace
{

ZR_ENV_VAR(bool, verboseExceptions, "ZR_VERBOSE_EXCEPTIONS", false, {.byPresence = true});

/// At load, as all settings of this kind.
[[maybe_unused]] const bool verboseAtLoad = verboseExceptions().getValue();

} // namespace

CoException::CoException(int line, const char* file)
    : CoException("", line, file)
{
}

CoException::CoException(const char* what, int line, const char* file)
    : _line(line)
{
    std::snprintf(_file, sizeof(_file), "%s", file ? file : "");
    setWhat(what, nullptr);
}

void CoException::setWhat(const char* what, const char* expertFormat, ...)
{
    va_list arguments;
    va_start(arguments, expertFormat);
    setText(what, expertFormat, arguments);
    va_end(arguments);
}

void CoException::fire(const char* what, const char* expertFormat, ...)
{
    va_list arguments;
    va_start(arguments, expertFormat);
    setText(what, expertFormat, arguments);
    va_end(arguments);
    throw CoException(*this);
}

bool CoException::enableVerboseExceptions(bool enable)
{
    const bool previous = verboseExceptions().getValue();
    verboseExceptions().setValue(enable);
    return previous;
}

void CoException::setText(const char* what, const char* expertFormat, va_list expertArguments)
{
    // Made apart, for the arguments may point into the text that is about to change; the spare bytes tell a text that
    // fits from one that was cut, which may end short of its buffer by a part of a character.
    char message[textSize + 8];
    char expert[textSize + 8] = "";
    const bool verbose = verboseExceptions().getValue();
    const int length = verbose
                           ? CoFormat::format(message, sizeof(message), "%s f:%s l:%d", what ? what : "", _file, _line)
                           : CoFormat::format(message, sizeof(message), "%s", what ? what : "");
    const int expertLength =
        expertFormat ? CoFormat::vformat(expert, sizeof(expert), expertFormat, expertArguments) : 0;

    CoFormat::format(_text, textSize, "%s", message);
    _expertOffset = textSize - 1;
    _text[_expertOffset] = '\0';
    const int room = textSize - length - 1;
    if (!expertFormat || room < 2)
        return;
    if (verbose)
        _text[length] = ' ';
    CoFormat::format(_text + length + 1, static_cast<std::size_t>(room), "%s", expert);
    if (expertLength < room)
        _expertOffset = length + 1;
}

} // namespace DM
