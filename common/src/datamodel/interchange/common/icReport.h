/// What a converter has to say about a file: notices, warnings and errors, each with the line it is about.
///
///     Report report("reel1.edl", Report::Strict);
///     std::optional<EdlList> list = readEdl(std::move(bytes), DM::FCM_NOT_DEFINED, report);
///     std::cerr << report.toString();
///     if (!list)
///         return 2;
///
/// A *mistake* is something wrong in the file of which the reader knows how to carry on. Whether it does is the
/// report's to say: in a strict one a mistake is an error, in a lenient one a warning that also tells what was chosen.
///
/// Not synchronised: a report belongs to the thread that converts.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace interchange
{

/// A kind of thing that a form has no words for, and what is done about it.
struct Loss
{
    std::string_view what;   ///< in the plural: "further video tracks"
    std::string_view choice; ///< "left out"; lasts as long as the program
};

class Report
{
public:
    enum Level : std::uint8_t
    {
        Notice,
        Warning,
        Error
    };
    enum Leniency : bool
    {
        Strict,
        Lenient
    };

    /// The name as it is to stand in front of every message.
    explicit Report(std::string fileName, Leniency leniency = Strict);

    // Adding; `line` counts from 1, and 0 means the file as a whole

    void add(Level level, std::uint32_t line, std::string text);
    /// `choice` says what is done about it where the report is lenient: "the record length holds".
    void mistake(std::uint32_t line, std::string what, std::string_view choice);

    /// A thing of a kind that the form written or read cannot say: told as one warning a kind, with how many there
    /// were.
    void lose(const Loss& loss, std::size_t count = 1);

    // Asking

    bool isLenient() const { return _leniency == Lenient; }
    bool hasErrors() const { return _counts[Error] != 0; }
    std::size_t count(Level level) const { return _counts[level] + (level == Warning ? _losses.size() : 0); }
    /// One message a line, losses first, then in the order of the file's lines: "FILE:LINE: text" for an error,
    /// "FILE:LINE: warning: text" and "FILE:LINE: notice: text" for the others. A file with very many of a level shows
    /// the first hundred and says how many more there are, so that no hostile file fills the memory or the screen.
    std::string toString() const;

private:
    struct Message
    {
        Level level;
        std::uint32_t line;
        std::string text;
    };

    struct Lost
    {
        Loss loss;
        std::size_t count;
    };

    std::string _fileName;
    Leniency _leniency;
    std::vector<Message> _messages;
    std::vector<Lost> _losses;
    std::array<std::size_t, 3> _counts{}; ///< of messages added
};

} // namespace interchange
