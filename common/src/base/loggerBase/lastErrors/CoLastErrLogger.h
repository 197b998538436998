/// An object's memory of its last error, which also goes to the router unless silenced.
///
/// Holds one pointer, empty until something is to be remembered. Not synchronised.
#pragma once

#include "CoFormat.h"
#include "zrExport.h"

#include <memory>

namespace DM
{

class ZR_DM_API CoLastErrLogger
{
public:
    explicit CoLastErrLogger(bool silent = false);
    CoLastErrLogger(const CoLastErrLogger& other);
    CoLastErrLogger(CoLastErrLogger&& other) noexcept;
    CoLastErrLogger& operator=(const CoLastErrLogger& other);
    CoLastErrLogger& operator=(CoLastErrLogger&& other) noexcept;
    ~CoLastErrLogger();

    bool hasError() const;
    /// "" when there is none. Valid until the next change of this object.
    const char* lastError() const;
    void clearLastError();

    /// A silent logger remembers its errors and tells nobody.
    void setSilentMode(bool silent);
    bool getSilentMode() const;
    /// The place that the errors' messages name.
    void setModule(const char* file, int line);

    /// Remembers the text and hands it to the router, which does its own filtering. A null format stops the process, as
    /// does a missing process id callback (CoMsg::setCurrentPIDCallback).
    void postError(const char* fmt, ...) ZR_PRINTF_FORMAT(2, 3);
    /// Takes over all that the other remembers, its silence included.
    void assignError(const CoLastErrLogger& other);

private:
    struct State;

    State& state();

    std::unique_ptr<State> _state;
};

} // namespace DM
