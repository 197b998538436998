/// Reading numbers where they are stored.
#pragma once

#include <cstring>

/// A number of storage type T: an enumeration is no object of that type.
template <class T>
T dmNumberAt(const void* stored)
{
    T value;
    std::memcpy(&value, stored, sizeof(T));
    return value;
}
