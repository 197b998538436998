/// Default attributes for every object that this thread makes in a scope, whatever the process-wide setting: imports
/// run beside each other and beside any creation.
#pragma once

class DmDefaultAttributes
{
public:
    DmDefaultAttributes() { ++_scopes; }
    ~DmDefaultAttributes() { --_scopes; }
    DmDefaultAttributes(const DmDefaultAttributes&) = delete;
    DmDefaultAttributes& operator=(const DmDefaultAttributes&) = delete;

    static bool areOn() { return _scopes != 0; }

private:
    static thread_local constinit int _scopes;
};
