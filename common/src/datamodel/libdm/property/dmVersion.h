/// The version of the document format: two numbers, compared major first.
#pragma once

#include "dmString.h"

#include <compare>
#include <string>

class ZR_DM_API DmVersion
{
public:
    DmVersion() = default;
    DmVersion(int major, int minor)
        : _major(major)
        , _minor(minor)
    {
    }

    void get(int& major, int& minor) const
    {
        major = _major;
        minor = _minor;
    }
    void set(int major, int minor) { *this = DmVersion(major, minor); }
    auto operator<=>(const DmVersion& other) const = default; // NOLINT(modernize-use-nullptr): there is none
    /// "0.1"
    std::string toString() const { return std::to_string(_major) + '.' + std::to_string(_minor); }

    /// The reserved key under which a document holds its version, and the keys of the two numbers.
    static const DmString& getKey();
    static const DmString& getMajorKey();
    static const DmString& getMinorKey();
    /// What this library writes, and the newest that it reads.
    static DmVersion getCurrent() { return {0, 1}; }

private:
    int _major = 0;
    int _minor = 0;
};
