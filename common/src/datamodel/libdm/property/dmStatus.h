/// What became of an operation that has more to say than a code: whether it failed, why, and a text for a person.
#pragma once

#include "dmErrorId.h"
#include "dmString.h"

class [[nodiscard, gnu::visibility("default")]] DmStatus
{
public:
    DmStatus() = default;

    /// `reason` is normally an eDmErrorId, -1 where there is none.
    void fail(int reason, const DmString& info);
    /// printf-style; at most 1023 bytes of the text are kept, wide arguments survive in every locale.
    void fail(int reason, const char* format, ...) __attribute__((format(printf, 3, 4)));
    void reset();

    bool ok() const
    {
        return !_failed;
    }
    bool failed() const
    {
        return _failed;
    }
    int reason() const
    {
        return _reason;
    }
    /// Changes the code only.
    void setReason(int reason)
    {
        _reason = reason;
    }
    const DmString& info() const
    {
        return _info;
    }

private:
    bool _failed = false;
    int _reason = 0;
    DmString _info;
};
