/// The JSON library, as this room uses it: included instead of its own headers, by private headers and sources only.
///
/// It is compiled in a namespace of our own, because a host may carry it too, in another version or configured
/// otherwise; and its assertions raise an exception instead of stopping the process.
#pragma once

#include "CoException.h"

class RapidJsonException : public DM::CoException
{
public:
    using CoException::CoException;
};

namespace dmJson
{

/// The soft form of a check that has failed: stops an in-house installation whose host allows it, else returns.
void softAssertFailed(const char* expression, const char* file, int line);
/// As above; where the process goes on, throws RapidJsonException.
[[noreturn]] void libraryAssertFailed(const char* expression, const char* file, int line);

} // namespace dmJson

#define RAPIDJSON_NAMESPACE zrRapidjson
#define RAPIDJSON_ASSERT(x) ((x) ? static_cast<void>(0) : dmJson::libraryAssertFailed(#x, __FILE__, __LINE__))

#include <rapidjson/error/en.h>
#include <rapidjson/internal/dtoa.h>
#include <rapidjson/reader.h>
