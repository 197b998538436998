/// What EnvVar and RegEnvVar do for every type. Included by envVar.cpp alone, which instantiates them.
#pragma once

#include "envVar.h"
#include "zrAssert.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ostream>
#include <utility>

namespace DM
{

namespace
{

void writeText(char* buffer, int size, const char* text)
{
    if (!buffer || size <= 0)
        return;
    std::strncpy(buffer, text, static_cast<std::size_t>(size) - 1);
    buffer[size - 1] = '\0';
}

void writeValue(char* buffer, int size, bool value)
{
    writeText(buffer, size, value ? "true" : "false");
}

void writeValue(char* buffer, int size, int value)
{
    char text[16];
    std::snprintf(text, sizeof(text), "%d", value);
    writeText(buffer, size, text);
}

void writeValue(char* buffer, int size, const std::string& value)
{
    writeText(buffer, size, value.c_str());
}

} // namespace

template <class T>
EnvVar<T>::EnvVar(std::string name, T defaultValue, const EnvVarOptions& options)
    : _name(std::move(name))
    , _default(std::move(defaultValue))
    , _options(options)
{
}

template <class T>
int EnvVar<T>::getType()
{
    if constexpr (std::is_same_v<T, std::string>)
        return EnvVarString;
    else
        return std::is_same_v<T, bool> ? EnvVarBool : EnvVarOther;
}

template <class T>
typename EnvVar<T>::Result EnvVar<T>::getValue()
{
    initialise();
    return _value;
}

template <class T>
void EnvVar<T>::refresh()
{
    initialise();
    _value = readEnvironment();
}

template <class T>
void EnvVar<T>::setValue(const T& value)
{
    if (_options.readOnly)
        return;
    setValueOnly(value);
    for (BaseRegEnvVar* const ev : EnvVarRegistryImp::getInstance().search(_name))
    {
        ZR_ASSERT_PLAIN(ev->getType() == getType());
        ev->dynSetValue(value);
    }
}

template <class T>
void EnvVar<T>::setValueOnly(const T& value)
{
    initialise();
    if (!_options.readOnly)
        _value = value;
}

template <class T>
void EnvVar<T>::notifyChange() const
{
    if (_options.changed)
        _options.changed(_options.data);
}

template <class T>
void EnvVar<T>::initialise()
{
    std::call_once(_initialised, [this] { _value = readEnvironment(); });
}

template <class T>
T EnvVar<T>::readEnvironment() const
{
    const char* const text = std::getenv(_name.c_str());
    if constexpr (std::is_same_v<T, bool>)
    {
        if (_options.byPresence)
            return text != nullptr;
    }
    T value = _default;
    EnvVarUtils::convertFromChar(text, value);
    return value;
}

template <class T>
RegEnvVar<T>::RegEnvVar(EnvVar<T>& variable, std::string file)
    : BaseRegEnvVar(std::move(file))
    , _variable(variable)
{
    EnvVarRegistryImp::getInstance().add(this);
}

template <class T>
RegEnvVar<T>::~RegEnvVar()
{
    while (EnvVarRegistryImp::getInstance().remove(this))
        continue; // a host may have added the entry once more
}

template <class T>
const char* RegEnvVar<T>::getName() const
{
    return _variable.getName();
}

template <class T>
int RegEnvVar<T>::getType() const
{
    return _variable.getType();
}

template <class T>
void RegEnvVar<T>::getValueAsStr(char* buffer, int size) const
{
    writeValue(buffer, size, _variable.getValue());
}

template <class T>
void RegEnvVar<T>::getDefaultValueAsStr(char* buffer, int size) const
{
    writeValue(buffer, size, _variable.getDefaultValue());
}

template <class T>
bool RegEnvVar<T>::isReadOnly() const
{
    return _variable.isReadOnly();
}

template <class T>
void RegEnvVar<T>::dump(std::ostream& out) const
{
    out << "file : " << getFile() << "\nname : " << getName() << "\nvalue : " << valueText() << '\n';
}

template <class T>
void RegEnvVar<T>::dynSetValue(std::conditional_t<std::is_same_v<T, std::string>, const std::string&, T> value)
{
    if (_variable.isReadOnly())
        return;
    _variable.setValueOnly(value);
    _variable.notifyChange();
}

// Reached for the types that the entry does not hold.
void BaseRegEnvVar::dynSetValue(bool /*value*/)
{
    ZR_ASSERT_PLAIN(0);
}

void BaseRegEnvVar::dynSetValue(int /*value*/)
{
    ZR_ASSERT_PLAIN(0);
}

void BaseRegEnvVar::dynSetValue(float /*value*/)
{
    ZR_ASSERT_PLAIN(0);
}

void BaseRegEnvVar::dynSetValue(const std::string& /*value*/)
{
    ZR_ASSERT_PLAIN(0);
}

} // namespace DM
