#include "icOtioShape.h"

#include "icOtioQuick.h"
#include "icText.h"

#include "dmUtf8.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <utility>

namespace interchange::otio
{

namespace
{

/// Of values around a clip's metadata: the document, the stack, its children, the track, its children, the clip.
constexpr std::size_t depthOfMetadata = 6;

bool takeText(const char*& at, std::string_view text, const char* end)
{
    if (static_cast<std::size_t>(end - at) < text.size() || std::memcmp(at, text.data(), text.size()) != 0)
        return false;
    at += text.size();
    return true;
}

/// Behind its opening quote: up to the closing one, where nothing is escaped.
bool takeString(const char*& at, const char* end, std::string_view& string)
{
    bool isAscii = true;
    const char* const stop = plainEnd(at, end, isAscii);
    string = {at, stop};
    at = stop;
    return *stop == '"' && (isAscii || dmIsUtf8(string));
}

/// Of a few digits, and no fraction but zeros.
bool takeWhole(const char*& at, double& number)
{
    constexpr std::ptrdiff_t mostDigits = 9;
    const char* const begin = at;
    std::uint64_t figures = 0;
    for (; isDigit(*at) && at - begin < mostDigits; ++at)
        figures = figures * 10 + static_cast<std::uint64_t>(*at - '0');
    if (at == begin || (*begin == '0' && at - begin > 1))
        return false;
    number = static_cast<double>(figures);
    if (*at == '.' && at[1] == '0')
        for (++at; *at == '0';)
            ++at;
    return !isDigit(*at) && *at != '.' && *at != 'e' && *at != 'E';
}

} // namespace

bool MetadataAt::parse(const char*& at, const char* end)
{
    if (at != _begin)
    {
        _value.SetNull();
        _allocator.Clear();
        json::Document document(&_allocator);
        _begin = at;
        _behind = at;
        if (parseValueQuickly(document, _behind, end, depthOfMetadata))
            _value = std::move(static_cast<Value&>(document));
        else
            _behind = nullptr;
    }
    at = _behind ? _behind : at;
    return _behind;
}

/// Walks a text that was parsed before, and finds the holes.
class Shape::Finder
{
public:
    Finder(Shape& to, std::string_view text)
        : _to(to)
        , _at(text.data())
        , _end(text.data() + text.size())
        , _from(_at)
    {
        value();
        _to._rest.assign(_from, _end);
    }

private:
    void value()
    {
        constexpr std::array<std::pair<std::string_view, Hole>, 4> holes{
            {{"/metadata", Hole::Metadata},
             {"/name", Hole::Name},
             {"/source_range/start_time/value", Hole::Start},
             {"/source_range/duration/value", Hole::Length}}};
        constexpr std::array<std::pair<std::string_view, Hole>, 4> holesOfMedia{
            {{"/name", Hole::MediaName},
             {"/target_url", Hole::Url},
             {"/available_range/start_time/value", Hole::AvailableStart},
             {"/available_range/duration/value", Hole::AvailableLength}}};
        const char* const begin = _at;
        if (*_at == '{' || *_at == '[')
            others();
        else if (*_at == '"')
            string();
        else
            while (isWord(*_at))
                ++_at;
        const std::string_view path = _path;
        const std::string_view media = _to._manner.isSingle ? "/media_reference" : "/media_references/DEFAULT_MEDIA";
        const bool isInMedia = path.starts_with(media);
        const std::string_view inside = path.substr(isInMedia ? media.size() : 0);
        for (const auto& [name, hole] : isInMedia ? holesOfMedia : holes)
            if (name == inside && *begin != 'n') // of null
            {
                const int quote = *begin == '"' ? 1 : 0; // the quotes are no part of the hole
                _to._pieces.push_back({std::string(_from, begin + quote), hole});
                _from = _at - quote;
            }
    }
    void others()
    {
        const bool isObject = *_at++ == '{';
        for (skip(); *_at != '}' && *_at != ']'; skip())
        {
            const std::size_t before = _path.size();
            if (isObject)
            {
                const char* const name = _at + 1;
                string();
                _path.append(1, '/').append(name, _at - 1);
                skip();
            }
            else
                _path += "[]";
            value();
            _path.resize(before);
        }
        ++_at;
    }
    void string()
    {
        for (++_at; *_at != '"'; ++_at)
            _at += *_at == '\\' ? 1 : 0;
        ++_at;
    }
    void skip()
    {
        while (isBlank(*_at) || *_at == ',' || *_at == ':')
            ++_at;
    }
    static bool isWord(char c) { return !isBlank(c) && c != ',' && c != '}' && c != ']'; }

    Shape& _to;
    const char* _at;
    const char* const _end;
    const char* _from; ///< behind the last hole
    std::string _path;
};

Shape::Shape(std::string_view text, bool isMuted, const Manner& manner)
    : _isMuted(isMuted)
    , _manner(manner)
{
    Finder(*this, text);
}

bool Shape::isPlain() const
{
    const auto has = [this](Hole hole) { return std::ranges::count(_pieces, hole, &Piece::hole) == 1; };
    const auto isEscaped = [](const Piece& piece) { return piece.before.find('\\') != std::string::npos; };
    return has(Hole::Metadata) && has(Hole::Name) && has(Hole::Start) && has(Hole::Length) &&
           has(Hole::MediaName) == _manner.hasMediaName && has(Hole::AvailableStart) == has(Hole::AvailableLength) &&
           std::ranges::none_of(_pieces, isEscaped) && _rest.find('\\') == std::string::npos;
}

bool Shape::match(const char*& at, const char* end, ClipFacts& facts, MetadataAt& metadata) const
{
    const char* to = at;
    facts = {};
    facts.isMuted = _isMuted;
    facts.manner = _manner;
    for (const Piece& piece : _pieces)
        if (!takeText(to, piece.before, end) || !fill(piece.hole, to, end, facts, metadata))
            return false;
    if (!takeText(to, _rest, end))
        return false;
    at = to;
    return true;
}

bool Shape::fill(Hole hole, const char*& at, const char* end, ClipFacts& facts, MetadataAt& metadata)
{
    switch (hole)
    {
    case Hole::Metadata:
        return metadata.parse(at, end);
    case Hole::Name:
        return takeString(at, end, facts.name);
    case Hole::Start:
        return takeWhole(at, facts.start);
    case Hole::Length:
        return takeWhole(at, facts.length);
    case Hole::MediaName:
        return takeString(at, end, facts.mediaName);
    case Hole::Url:
        return takeString(at, end, facts.url) && !facts.url.empty();
    case Hole::AvailableStart:
        return takeWhole(at, facts.availableStart);
    case Hole::AvailableLength:
        return takeWhole(at, facts.availableLength);
    }
    return false;
}

} // namespace interchange::otio
