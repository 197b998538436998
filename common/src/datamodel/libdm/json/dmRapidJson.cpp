#include "dmRapidJsonImp.h"

#include "zrAssert.h"

#include <string>

void dmJson::softAssertFailed(const char* expression, const char* file, int line)
{
    if (!zrIsTolvane() || !zrAllowAssert(expression, file, line))
        return;
    const std::string condition(expression);
    const std::string report =
        "!zrIsTolvane() || ( " + condition + " ) || !zrAllowAssert(\"" + condition + "\", __FILE__, __LINE__)";
    zrAssertDetail::fail(report.c_str(), file, line, __PRETTY_FUNCTION__);
}

void dmJson::libraryAssertFailed(const char* expression, const char* file, int line)
{
    softAssertFailed(expression, file, line);
    throw RapidJsonException(expression, line, file);
}
