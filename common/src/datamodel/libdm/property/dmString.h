/// The data model's wide-character string and its two companions.
///
/// A DmString holds 32-bit characters and a 32-bit length in a buffer of the C allocator. Every empty string points at
/// one shared static buffer, so an empty string costs no allocation; nor does a field that has the default text of its
/// class (DmDefaultString), of which a tree has one or two an object. It never throws: where memory runs out the string
/// becomes empty. Appends grow to the exact size. Not to be shared between threads while one of them changes it.
///
/// Text of a program's own goes in wide, DmString(L"Été"). Narrow text is taken in the C library's current locale: in
/// the "C" locale, in which every process begins, DmString("é") is empty by definition. UTF-8 has another way in,
/// whatever the locale:
///
///     DmString name;
///     if (!dmFromUtf8("Été", name)) // dmUtf8.h
///         return DM_BAD_VALUE;
#pragma once

#include "zrExport.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

class ZR_DM_API DmString
{
public:
    DmString() noexcept
        : buff_(defaultBuff_)
    {
    }
    /// From multibyte text in the C library's current locale. Null, "" and invalid sequences give an empty string, as
    /// everything but ASCII is in the "C" locale: UTF-8 is for dmFromUtf8.
    DmString(const char* text);
    DmString(const wchar_t* text);
    /// Exactly `count` characters, zeros included; empty when the first one is zero.
    DmString(const wchar_t* text, unsigned count);
    explicit DmString(std::wstring_view text);
    DmString(const DmString& other);
    DmString(DmString&& other) noexcept
        : buff_(other.buff_)
        , len_(other.len_)
    {
        other.disown();
    }
    virtual ~DmString() { freeBuff(); }

    DmString& operator=(const DmString& other);
    /// Takes the other's buffer without releasing the one held: meant for empty destinations. Swap otherwise.
    DmString& operator=(DmString&& other) noexcept;
    DmString& operator=(const wchar_t* text);
    void swap(DmString& other) noexcept;

    unsigned length() const { return len_; }
    bool empty() const { return len_ == 0; }
    const wchar_t* c_str() const { return buff_; }
    operator const wchar_t*() const { return buff_; }
    std::wstring_view view() const { return {buff_, len_}; }
    /// Whether this is empty, or has a text of the process's: nobody writes into those.
    bool isKept() const
    {
        return reinterpret_cast<std::uintptr_t>(buff_) - reinterpret_cast<std::uintptr_t>(defaultBuff_) <
               sizeof defaultBuff_;
    }
    /// No bounds check.
    wchar_t operator[](unsigned index) const { return buff_[index]; }
    wchar_t& operator[](unsigned index) { return buff_[index]; }

    DmString& operator+=(const DmString& other) { return append(other.buff_, other.len_); }
    DmString& operator+=(const wchar_t* text);
    /// A zero character is ignored.
    DmString& operator+=(wchar_t character);
    /// At most `count` characters from `pos`; empty when `pos` lies behind the end or a zero stands there.
    DmString substr(unsigned pos, unsigned count) const;

    bool operator==(const DmString& other) const;
    bool operator==(const wchar_t* text) const;
    /// Code-unit order up to the first zero: the key order of every sorted map of the data model.
    bool operator<(const DmString& other) const;

    void clear() { freeBuff(); }
    void reset() { freeBuff(); }

    /// Buffer primitives. The last two return true when the string now has room for exactly `n` characters; `alloc`
    /// discards the contents, `realloc` keeps them and leaves the terminator to the caller.
    void freeBuff();
    [[nodiscard]] bool allocNewBuff(unsigned n);
    [[nodiscard]] bool reallocBuff(unsigned n);

    /// The empty text, and behind it the default texts.
    static wchar_t defaultBuff_[14];
    enum DefaultText : unsigned ///< where they begin
    {
        Untitled = 1, ///< "untitled"
        NoMode = 10   ///< "???", the name of no frame-code mode
    };

    /// How many strings of the calling thread became empty for lack of memory: who must know compares before and after.
    static unsigned lost();
    /// Another text of the calling thread did.
    static void countLost();

protected:
    explicit DmString(DefaultText text) noexcept;
    /// Shares a default text.
    struct Sharing
    {
    };
    DmString(const DmString& other, Sharing);

private:
    /// The terminator takes one of the 2^32 - 1 characters that a 32-bit size counts.
    static constexpr std::size_t maxLength = 0xFFFFFFFE;

    void disown() noexcept
    {
        buff_ = defaultBuff_;
        len_ = 0;
    }
    void terminate();
    DmString& assign(const wchar_t* text, std::size_t count);
    DmString& append(const wchar_t* text, std::size_t count);
    bool growTo(std::size_t n);

    wchar_t* buff_;
    unsigned len_ = 0;
};

/// A field that begins with a default text: as long as it has that, it and its copies take no memory for it.
class ZR_DM_API DmDefaultString : public DmString
{
public:
    explicit DmDefaultString(DefaultText text) noexcept
        : DmString(text)
    {
    }
    DmDefaultString(const DmDefaultString& other)
        : DmString(other, Sharing())
    {
    }
    DmDefaultString& operator=(const DmDefaultString&) = delete;
};

inline void swap(DmString& a, DmString& b) noexcept
{
    a.swap(b);
}

template <>
struct std::hash<DmString>
{
    std::size_t operator()(const DmString& text) const { return std::hash<std::wstring_view>()(text.view()); }
};

/// A narrow copy of a DmString in the C library's current locale, for printf-style output.
/// Text that the locale cannot express gives an empty copy.
class ZR_DM_API DmStr2CStr
{
public:
    explicit DmStr2CStr(const DmString& text);
    DmStr2CStr(DmStr2CStr&& other) noexcept;
    /// Does not release the buffer held: meant for empty destinations.
    DmStr2CStr& operator=(DmStr2CStr&& other) noexcept;
    DmStr2CStr(const DmStr2CStr&) = delete;
    DmStr2CStr& operator=(const DmStr2CStr&) = delete;
    ~DmStr2CStr();

    /// Never null.
    const char* c_str() const { return _buffer ? _buffer : ""; }
    std::size_t size() const { return _size; }

private:
    char* _buffer = nullptr;
    std::size_t _size = 0;
};

/// An owned array of strings, as the keys query of a map property fills it.
class ZR_DM_API DmStringArray
{
public:
    DmStringArray() = default;

    unsigned size() const { return _count; }
    const DmString& operator[](unsigned index) const { return _data[index]; }
    DmString& operator[](unsigned index) { return _data[index]; }
    const DmString* begin() const { return _data.get(); }
    const DmString* end() const { return _data.get() + _count; }

    /// Destroys what the array holds and gives it `count` empty strings.
    void resize(unsigned count);

private:
    std::unique_ptr<DmString[]> _data;
    unsigned _count = 0;
};
