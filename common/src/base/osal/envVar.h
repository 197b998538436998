/// Environment variables as typed values, and the registry that lists them.
///
/// Every tunable of the system is declared once, at namespace scope of a source file, in one line:
///
///     namespace
///     {
///     ZR_ENV_VAR(bool, prettyJson, "ZR_PRETTY_JSON_DMTREE", true);
///     ZR_ENV_VAR(std::string, messageLevel, "ZR_MSG_LEVEL", "", {.changed = evMsgLevelChanged});
///     ZR_ENV_FLAG(ignoreAllAssertions, "ZR_ASSERT_IGNORE_ALL");
///     }
///     ...
///     if (prettyJson().getValue())
///
/// The environment is read on the first use, which also enters the variable in EnvVarRegistryImp; later reads return
/// the stored value. A host changes values at run time through the registry and lists them with `dump` and `dumpHtml`.
///
/// Threads: the first use is safe from any thread. A host changes variables from one thread; bool and int values may be
/// read meanwhile, strings may not.
#pragma once

#include "CoMutex.h"
#include "zrExport.h"
#include "zrSourcePath.h"

#include <atomic>
#include <iosfwd>
#include <mutex>
#include <string>
#include <type_traits>
#include <vector>

namespace DM
{

namespace EnvVarUtils
{
/// The value that a text of the environment stands for; a null text (an unset variable) leaves `value` alone.
/// Exactly "false", "FALSE" and "0" are false; all else is true, "False" and the empty text included.
ZR_DM_API void convertFromChar(const char* text, bool& value);
/// As atoi: 0 for what is no number. A number that no int holds gives the nearest one that does.
ZR_DM_API void convertFromChar(const char* text, int& value);
ZR_DM_API void convertFromChar(const char* text, std::string& value);
} // namespace EnvVarUtils

/// What EnvVar and BaseRegEnvVar answer from getType().
enum EnvVarType : int
{
    EnvVarString = 1,
    EnvVarBool = 2,
    EnvVarOther = 3 ///< int
};

struct EnvVarOptions
{
    void (*changed)(void* data) = nullptr; ///< called after a registered variable was changed at run time
    void* data = nullptr;                  ///< what `changed` is called with
    bool readOnly = false;                 ///< changes at run time are ignored
    bool byPresence = false;               ///< a bool that is true when the variable is set, to whatever text
};

/// One environment variable, read on first use. T is bool, int or std::string.
template <class T>
class ZR_DM_API EnvVar
{
public:
    /// What a read gives: a string stays owned by the variable, and is good until the variable is changed.
    using Result = std::conditional_t<std::is_same_v<T, std::string>, const std::string&, T>;

    EnvVar(std::string name, T defaultValue, const EnvVarOptions& options = {});
    EnvVar(const EnvVar&) = delete;
    EnvVar& operator=(const EnvVar&) = delete;

    const char* getName() const { return _name.c_str(); }
    static int getType();
    const T& getDefaultValue() const { return _default; }
    bool isReadOnly() const { return _options.readOnly; }

    Result getValue();
    /// Reads the environment again; an unset variable gets its default.
    void refresh();
    /// Stores the value and sets it on every registered entry of this name, whose owners are then told.
    void setValue(const T& value);
    /// Stores the value and tells nobody.
    void setValueOnly(const T& value);
    /// Calls the owner's callback, if there is one.
    void notifyChange() const;

private:
    using Store = std::conditional_t<std::is_same_v<T, std::string>, std::string, std::atomic<T>>;

    void initialise();
    T readEnvironment() const;

    const std::string _name;
    const T _default;
    const EnvVarOptions _options;
    std::once_flag _initialised;
    Store _value{};
};

extern template class EnvVar<bool>;
extern template class EnvVar<int>;
extern template class EnvVar<std::string>;

/// A registry entry: a variable and the source file that declared it.
class ZR_DM_API BaseRegEnvVar
{
public:
    explicit BaseRegEnvVar(std::string file);
    virtual ~BaseRegEnvVar() = default;
    BaseRegEnvVar(const BaseRegEnvVar&) = delete;
    BaseRegEnvVar& operator=(const BaseRegEnvVar&) = delete;

    virtual const char* getName() const = 0;
    virtual int getType() const = 0;
    /// The value as text ("true" or "false" for a bool), cut to the buffer and always terminated.
    virtual void getValueAsStr(char* buffer, int size) const = 0;
    virtual void getDefaultValueAsStr(char* buffer, int size) const = 0;
    virtual bool isReadOnly() const = 0;
    virtual void dump(std::ostream& out) const = 0;

    /// Changes the value at run time and tells the variable's owner; a read-only variable stays as it is. The overload
    /// must be that of the variable's type: all others are programming errors that stop the process.
    virtual void dynSetValue(bool value);
    virtual void dynSetValue(int value);
    virtual void dynSetValue(float value);
    virtual void dynSetValue(const std::string& value);
    /// A literal is a text, not a pointer that is true.
    void dynSetValue(const char* value) { dynSetValue(std::string(value)); }

    const std::string& getFile() const { return _file; }
    /// The whole text, however long.
    std::string valueText() const { return wholeText(&BaseRegEnvVar::getValueAsStr); }
    std::string defaultValueText() const { return wholeText(&BaseRegEnvVar::getDefaultValueAsStr); }

private:
    std::string wholeText(void (BaseRegEnvVar::*write)(char*, int) const) const;

    const std::string _file;
};

/// Enters a variable in the registry for as long as this object lives. The variable must outlive it.
template <class T>
class ZR_DM_API RegEnvVar final : public BaseRegEnvVar
{
public:
    RegEnvVar(EnvVar<T>& variable, std::string file);
    ~RegEnvVar() override;

    const char* getName() const override;
    int getType() const override;
    void getValueAsStr(char* buffer, int size) const override;
    void getDefaultValueAsStr(char* buffer, int size) const override;
    bool isReadOnly() const override;
    void dump(std::ostream& out) const override;
    using BaseRegEnvVar::dynSetValue;
    void dynSetValue(std::conditional_t<std::is_same_v<T, std::string>, const std::string&, T> value) override;

private:
    EnvVar<T>& _variable;
};

extern template class RegEnvVar<bool>;
extern template class RegEnvVar<int>;
extern template class RegEnvVar<std::string>;

/// Says at load time that a variable exists, so that a list can be complete before anything was read.
class ZR_DM_API EnvVarDeclaration
{
public:
    using Use = void (*)();

    /// `use` reads the variable, and so enters it in the registry.
    explicit EnvVarDeclaration(Use use);
    ~EnvVarDeclaration();
    EnvVarDeclaration(const EnvVarDeclaration&) = delete;
    EnvVarDeclaration& operator=(const EnvVarDeclaration&) = delete;

private:
    const Use _use;
};

/// The variables that were used so far, in the order of their first use. Does not own its entries.
class ZR_DM_API EnvVarRegistryImp
{
public:
    static EnvVarRegistryImp& getInstance();
    EnvVarRegistryImp(const EnvVarRegistryImp&) = delete;
    EnvVarRegistryImp& operator=(const EnvVarRegistryImp&) = delete;

    void add(BaseRegEnvVar* entry);
    /// Takes the first occurrence out, the others keep their order. False when there is none.
    bool remove(const BaseRegEnvVar* entry);
    int getNumElements() const;
    /// The index must be one of the list.
    BaseRegEnvVar* getEnvVar(int index) const;
    /// The entries of that name and, unless `type` is 0, of that type code.
    std::vector<BaseRegEnvVar*> search(const std::string& name, int type = 0, bool ignoreCase = false) const;

    /// The columns of a listing.
    enum Field : int
    {
        Name,
        Value,
        Default,
        File
    };
    static constexpr int fieldSize = 128;
    /// Writes a field into a buffer of fieldSize bytes, always terminated. A null buffer or an index outside the list
    /// leaves everything unwritten; an unknown field is a programming error that stops the process.
    void getFieldValueAsStr(char* buffer, int field, int index) const;

    void dump(std::ostream& out) const;
    void dumpHtml(std::ostream& out) const;

    /// Reads every variable that the loaded code declares with ZR_ENV_VAR or ZR_ENV_FLAG: the lists are then those of
    /// the whole system, not only of what was used so far.
    void useDeclared();

private:
    friend class EnvVarDeclaration;
    EnvVarRegistryImp() = default;
    ~EnvVarRegistryImp() = default;

    mutable CoMutex _mutex;
    std::vector<BaseRegEnvVar*> _vars;
    std::vector<EnvVarDeclaration::Use> _declared;
};

} // namespace DM

/// ZR_ENV_VAR(type, accessor, name, default[, options]) defines `DM::EnvVar<type>& accessor()` and declares the
/// variable to the registry. The variable itself is never destroyed: what runs at exit may still read it.
#define ZR_ENV_VAR(type, accessor, name, ...)                                                                          \
    DM::EnvVar<type>& accessor()                                                                                       \
    {                                                                                                                  \
        static DM::EnvVar<type>& variable = *new DM::EnvVar<type>(name, __VA_ARGS__);                                  \
        static const DM::RegEnvVar<type> entry(variable, ZR_SOURCE_FILE);                                              \
        return variable;                                                                                               \
    }                                                                                                                  \
    static const DM::EnvVarDeclaration accessor##Declaration([] { static_cast<void>(accessor().getValue()); })

/// A flag: true when the variable is set in the environment, to whatever text; fixed once it was read.
#define ZR_ENV_FLAG(accessor, name) ZR_ENV_VAR(bool, accessor, name, false, {.readOnly = true, .byPresence = true})
