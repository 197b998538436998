/// Sets an environment variable for a scope, null to take it away; the child of a death test inherits it from its load
/// on.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

class ZrTestEnv
{
public:
    ZrTestEnv(const char* name, const char* value)
        : _name(name)
    {
        if (const char* const before = std::getenv(name))
            _before = before;
        set(value);
    }
    ~ZrTestEnv() { set(_before ? _before->c_str() : nullptr); }
    ZrTestEnv(const ZrTestEnv&) = delete;
    ZrTestEnv& operator=(const ZrTestEnv&) = delete;

private:
    void set(const char* value) const
    {
        if (value)
            setenv(_name.c_str(), value, 1);
        else
            unsetenv(_name.c_str());
    }

    std::string _name;
    std::optional<std::string> _before;
};
