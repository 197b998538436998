#include "icReport.h"

#include <algorithm>
#include <utility>

namespace interchange
{

namespace
{

constexpr std::size_t shownOfALevel = 100;

struct LevelText
{
    std::string_view prefix;
    std::string_view plural;
};
/// An error carries no prefix: "FILE:LINE: text" is the form that editors and build tools jump to.
constexpr std::array<LevelText, 3> levelTexts{{{"notice: ", "notices"}, {"warning: ", "warnings"}, {"", "errors"}}};

} // namespace

Report::Report(std::string fileName, Leniency leniency)
    : _fileName(std::move(fileName))
    , _leniency(leniency)
{
}

void Report::add(Level level, std::uint32_t line, std::string text)
{
    if (_counts[level]++ < shownOfALevel)
        _messages.push_back({level, line, std::move(text)});
}

void Report::mistake(std::uint32_t line, std::string what, std::string_view choice)
{
    if (isLenient())
        what.append("; ").append(choice);
    add(isLenient() ? Warning : Error, line, std::move(what));
}

void Report::lose(const Loss& loss, std::size_t count)
{
    const auto known = std::ranges::find(_losses, loss.what, [](const Lost& lost) { return lost.loss.what; });
    if (known != _losses.end())
        known->count += count;
    else if (count != 0)
        _losses.push_back({loss, count});
}

std::string Report::toString() const
{
    std::string text;
    const auto tell = [&](std::uint32_t line, Level level) -> std::string&
    {
        text.append(_fileName).append(":");
        if (line != 0)
            text.append(std::to_string(line)).append(":");
        return text.append(" ").append(levelTexts[level].prefix);
    };
    for (const auto& [loss, count] : _losses)
        tell(0, Warning)
            .append(loss.what)
            .append(" (")
            .append(std::to_string(count))
            .append("): ")
            .append(loss.choice)
            .append("\n");

    std::vector<const Message*> ordered;
    for (const Message& message : _messages)
        ordered.push_back(&message);
    std::ranges::stable_sort(ordered, {}, &Message::line);
    for (const Message* message : ordered)
        tell(message->line, message->level).append(message->text).append("\n");

    for (std::size_t level = 0; level < _counts.size(); ++level)
        if (_counts[level] > shownOfALevel)
            text.append(_fileName)
                .append(": ")
                .append(std::to_string(_counts[level] - shownOfALevel))
                .append(" more ")
                .append(levelTexts[level].plural)
                .append("\n");
    return text;
}

} // namespace interchange
