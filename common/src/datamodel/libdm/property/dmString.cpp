#include "dmString.h"

#include "zrAssert.h"

#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <utility>

wchar_t DmString::defaultBuff_[14] = L"\0untitled\0???";

namespace
{

[[gnu::tls_model("initial-exec")]] constinit thread_local unsigned lostTexts = 0;

} // namespace

static_assert(sizeof(wchar_t) == 4, "buffer sizes assume 32-bit characters"); // NOLINT(misc-redundant-expression)

DmString::DmString(const char* text)
    : buff_(defaultBuff_)
{
    if (!text || !*text)
        return;
    const std::size_t count = std::mbstowcs(nullptr, text, 0); // the largest there is for what is no text
    if (count > maxLength || !allocNewBuff(static_cast<unsigned>(count)))
        return;
    [[maybe_unused]] const std::size_t converted = std::mbstowcs(buff_, text, count + 1);
    ZR_ASSERT_SOFT_AS("slen == len_", converted == len_);
    terminate();
}

DmString::DmString(const wchar_t* text)
    : buff_(defaultBuff_)
{
    if (text)
        assign(text, std::wcslen(text));
}

DmString::DmString(const wchar_t* text, unsigned count)
    : buff_(defaultBuff_)
{
    if (text && count != 0 && *text)
        assign(text, count);
}

DmString::DmString(std::wstring_view text)
    : buff_(defaultBuff_)
{
    assign(text.data(), text.size());
}

DmString::DmString(const DmString& other)
    : buff_(defaultBuff_)
{
    assign(other.buff_, other.len_);
}

DmString::DmString(DefaultText text) noexcept
    : buff_(defaultBuff_ + text)
    , len_(text == Untitled ? 8 : 3)
{
}

DmString::DmString(const DmString& other, Sharing /*sharing*/)
    : buff_(other.isKept() ? other.buff_ : defaultBuff_)
    , len_(other.isKept() ? other.len_ : 0)
{
    if (!other.isKept())
        assign(other.buff_, other.len_);
}

// Assigning a string to itself reallocates to the same size and moves the text onto itself.
DmString& DmString::operator=(const DmString& other) // NOLINT(bugprone-unhandled-self-assignment)
{
    return assign(other.buff_, other.len_);
}

DmString& DmString::operator=(DmString&& other) noexcept
{
    if (this != &other)
    {
        freeBuff();
        buff_ = other.buff_;
        len_ = other.len_;
        other.disown();
    }
    return *this;
}

DmString& DmString::operator=(const wchar_t* text)
{
    if (!text)
    {
        freeBuff();
        return *this;
    }
    return assign(text, std::wcslen(text));
}

void DmString::swap(DmString& other) noexcept
{
    std::swap(buff_, other.buff_);
    std::swap(len_, other.len_);
}

DmString& DmString::operator+=(const wchar_t* text)
{
    return text ? append(text, std::wcslen(text)) : *this;
}

DmString& DmString::operator+=(wchar_t character)
{
    return character ? append(&character, 1) : *this;
}

DmString DmString::substr(unsigned pos, unsigned count) const
{
    if (pos >= len_ || buff_[pos] == 0)
        return {};
    const unsigned rest = len_ - pos;
    return DmString(std::wstring_view(buff_ + pos, count < rest ? count : rest));
}

bool DmString::operator==(const DmString& other) const
{
    return len_ == other.len_ && std::wmemcmp(buff_, other.buff_, len_) == 0;
}

bool DmString::operator==(const wchar_t* text) const
{
    return text && std::wcscmp(buff_, text) == 0;
}

bool DmString::operator<(const DmString& other) const
{
    return std::wcscmp(buff_, other.buff_) < 0;
}

void DmString::freeBuff()
{
    ZR_ASSERT_PLAIN(buff_ != nullptr);
    if (!isKept())
        std::free(buff_);
    disown();
}

bool DmString::allocNewBuff(unsigned n)
{
    freeBuff();
    return reallocBuff(n);
}

bool DmString::reallocBuff(unsigned n)
{
    ZR_ASSERT_PLAIN(buff_ != nullptr);
    if (n == 0)
    {
        freeBuff();
        return true;
    }
    const bool fresh = isKept();
    const std::wstring_view kept = view().substr(0, n);
    const std::size_t bytes = (static_cast<std::size_t>(n) + 1) * sizeof(wchar_t);
    // When realloc fails, the old block is given up with the contents: a string that could not grow is empty.
    void* const block = fresh ? std::malloc(bytes) : std::realloc(buff_, bytes);
    if (!block)
    {
        disown();
        ++lostTexts;
        return false;
    }
    buff_ = static_cast<wchar_t*>(block);
    len_ = n;
    if (fresh)
        buff_[kept.copy(buff_, kept.size())] = 0;
    return true;
}

/// The shared buffer holds its zero already: storing another would be a race between threads.
void DmString::terminate()
{
    if (!isKept())
        buff_[len_] = 0;
}

unsigned DmString::lost()
{
    return lostTexts;
}

void DmString::countLost()
{
    ++lostTexts;
}

bool DmString::growTo(std::size_t n)
{
    if (n <= maxLength)
        return reallocBuff(static_cast<unsigned>(n));
    freeBuff();
    ++lostTexts;
    return false;
}

DmString& DmString::assign(const wchar_t* text, std::size_t count)
{
    // A string without text, as a copy begins: no text of its own may be the one that is assigned.
    if (isKept() && count != 0 && count <= maxLength)
    {
        const std::size_t bytes = count * sizeof(wchar_t);
        auto* const block = static_cast<wchar_t*>(std::malloc(bytes + sizeof(wchar_t)));
        if (!block)
        {
            disown();
            ++lostTexts;
            return *this;
        }
        std::memcpy(block, text, bytes);
        block[count] = 0;
        buff_ = block;
        len_ = static_cast<unsigned>(count);
        return *this;
    }
    // The text may lie in our own buffer (s = s.c_str() + 1): its place is kept as an offset across the realloc, and a
    // shrinking realloc must not cut it off, so it is moved to the front first.
    if (!isKept() && !std::less<>()(text, buff_) && std::less_equal<>()(text, buff_ + len_))
    {
        std::wmemmove(buff_, text, count);
        text = nullptr;
    }
    if (growTo(count))
    {
        if (text && count != 0)
            std::wmemcpy(buff_, text, count); // NOLINT(clang-analyzer-unix.Malloc): not ours, see above
        terminate();
    }
    return *this;
}

DmString& DmString::append(const wchar_t* text, std::size_t count)
{
    if (count == 0)
        return *this;
    const std::size_t old = len_;
    const bool inside = !isKept() && !std::less<>()(text, buff_) && std::less_equal<>()(text, buff_ + len_);
    const std::ptrdiff_t offset = inside ? text - buff_ : 0;
    if (growTo(old + count))
    {
        std::wmemmove(buff_ + old, inside ? buff_ + offset : text, count);
        terminate();
    }
    return *this;
}

DmStr2CStr::DmStr2CStr(const DmString& text)
{
    if (text.empty())
        return;
    const std::size_t size = std::wcstombs(nullptr, text.c_str(), 0);
    if (size == static_cast<std::size_t>(-1))
        return;
    _buffer = static_cast<char*>(std::malloc(size + 1));
    if (!_buffer)
        return;
    _size = std::wcstombs(_buffer, text.c_str(), size + 1);
    ZR_ASSERT_SOFT(size == _size);
}

DmStr2CStr::DmStr2CStr(DmStr2CStr&& other) noexcept
    : _buffer(std::exchange(other._buffer, nullptr))
    , _size(std::exchange(other._size, 0))
{
}

DmStr2CStr& DmStr2CStr::operator=(DmStr2CStr&& other) noexcept
{
    if (this != &other)
    {
        std::free(_buffer);
        _buffer = std::exchange(other._buffer, nullptr);
        _size = std::exchange(other._size, 0);
    }
    return *this;
}

DmStr2CStr::~DmStr2CStr()
{
    std::free(_buffer);
}

void DmStringArray::resize(unsigned count)
{
    // Destroyed from last to first, as array delete does, before the new strings are made.
    _data.reset();
    _count = 0;
    _data.reset(new DmString[count]);
    _count = count;
}
