/// What the tests of the tree share.
#pragma once

#include "zrTest.h"

/// What a setter must say.
inline void ok(eDmErrorId status)
{
    EXPECT_EQ(status, DM_NO_ERROR);
}

/// A pattern that matches exactly the text, for death tests.
inline std::string literally(const std::string& text)
{
    std::string pattern;
    for (const char c : text)
    {
        if (std::string_view("\\^$.|?*+()[]{}").find(c) != std::string_view::npos)
            pattern += '\\';
        pattern += c;
    }
    return pattern;
}

/// A host that lets the process go on after every assertion that it is asked about.
class OpenGate
{
public:
    OpenGate()
    {
        zrSetAllowAssertCallback(
            [](const char* cond, const char* /*file*/, int /*line*/, void* data)
            {
                static_cast<OpenGate*>(data)->failed.emplace_back(cond);
                return false;
            },
            this);
    }
    ~OpenGate() { zrSetAllowAssertCallback(nullptr, nullptr); }
    OpenGate(const OpenGate&) = delete;
    OpenGate& operator=(const OpenGate&) = delete;

    std::vector<std::string> failed;
};

/// Sets the process-wide default mode for a scope.
class DefaultFcm
{
public:
    explicit DefaultFcm(DM::FrameCodeModes fcm)
        : _before(DM::TimeUnit::findDefaultFcm())
    {
        DM::TimeUnit::setDefaultFcm(fcm);
    }
    ~DefaultFcm() { DM::TimeUnit::setDefaultFcm(_before); }
    DefaultFcm(const DefaultFcm&) = delete;
    DefaultFcm& operator=(const DefaultFcm&) = delete;

private:
    DM::FrameCodeModes _before;
};

/// Turns a boolean environment variable of the library on for a scope.
class SwitchedOn
{
public:
    explicit SwitchedOn(const char* name)
    {
        DM::EnvVarRegistryImp& registry = DM::EnvVarRegistryImp::getInstance();
        registry.useDeclared();
        _variable = registry.search(name).at(0);
        _variable->dynSetValue(true);
    }
    ~SwitchedOn() { _variable->dynSetValue(false); }
    SwitchedOn(const SwitchedOn&) = delete;
    SwitchedOn& operator=(const SwitchedOn&) = delete;

private:
    DM::BaseRegEnvVar* _variable;
};
