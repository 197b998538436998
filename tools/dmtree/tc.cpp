// dmtree tc: frame counts as timecode labels and back, for a person's arguments and for a pipeline's lines.
#include "columns.h"
#include "dmtree.h"
#include "modes.h"

#include "CoNumber.h"
#include "tuLabel.h"
#include "tuTimeUnit.h"

#include <CLI/CLI.hpp>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace
{

using DM::FcmUtil;
using DM::FrameCodeModes;
using DM::TimeLabel;
using DM::TimeUnit;

constexpr std::string_view blanks = " \t\r\f\v";
constexpr std::size_t longestValue = 1000; // far more digits than a count or its fraction can have

struct Options
{
    std::string fcm;
    std::string to;
    bool clamp = false;
    int bump = DM::DF_BUMP_TO_PREVIOUS;
    bool bumps = false;
    std::vector<std::string> values;
};

/// A value that has no answer.
struct Refusal
{
    const char* reason = nullptr; ///< null: there is an answer
};

constexpr Refusal answered{};
constexpr Refusal notUnderstood{"neither a frame count nor a label"};
constexpr Refusal tooLarge{"more frames than can be counted"};
constexpr Refusal outOfRange{"a field is out of range in this mode (--clamp moves it)"};
constexpr Refusal doesNotExist{"this mode drops the label (--bump moves it)"};

bool isLabel(std::string_view text)
{
    return text.find_first_of(":;+#") != text.npos;
}

bool isCountable(TimeUnit time)
{
    return time.isATime() && std::abs(time.getFrames()) < TimeUnit::getNotATime().getFrames();
}

class Converter
{
public:
    Converter(const Options& options, FrameCodeModes from)
        : _from(from)
        , _to(dmtree::modeOf(options.to))
        , _clamp(options.clamp)
        , _bump(options.bumps)
    {
    }

    /// Appends the answer to `out`.
    Refusal convert(std::string_view text, std::string& out) const
    {
        if (text.size() > longestValue)
            return notUnderstood;
        const bool label = isLabel(text);
        TimeUnit time;
        if (const Refusal refusal = label ? readLabel(text, time) : readNumber(text, time); refusal.reason)
            return refusal;
        if (!isCountable(time))
            return tooLarge;
        if (_to != DM::FCM_NOT_DEFINED)
            return appendEquivalent(time, out);
        if (label)
            out += std::to_string(time.getFrameCount());
        else
            appendLabel(time, _from, out);
        return answered;
    }

private:
    static Refusal readNumber(std::string_view text, TimeUnit& time)
    {
        std::size_t length = 0;
        const double frames = DM::CoNumber::read(text, length, std::chars_format::fixed);
        if (length == 0 || length != text.size() || std::isnan(frames))
            return notUnderstood;
        time = TimeUnit(frames);
        return std::isfinite(frames) ? answered : tooLarge;
    }

    Refusal readLabel(std::string_view text, TimeUnit& time) const
    {
        TimeLabel label;
        TimeLabel::Status status = TimeLabel::parse(text, label);
        if (status == TimeLabel::Good)
            status = label.toTime(_from, time, {.clamp = _clamp, .bump = _bump});
        switch (status)
        {
        case TimeLabel::Good:
            return answered;
        case TimeLabel::OutOfRange:
            return outOfRange;
        case TimeLabel::Dropped:
            return doesNotExist;
        case TimeLabel::TooLarge:
            return tooLarge;
        case TimeLabel::NotALabel:
        case TimeLabel::NoMode:
            break;
        }
        return notUnderstood;
    }

    Refusal appendEquivalent(TimeUnit time, std::string& out) const
    {
        TimeUnit equivalent;
        time.getEquivTime(equivalent, _from, _to);
        // The infinite time has no equivalent, and what cannot be counted in the other mode comes back cut.
        if (time == TimeUnit::getTuInfinity() || !isCountable(equivalent))
            return tooLarge;
        appendLabel(equivalent, _to, out);
        return answered;
    }

    static void appendLabel(TimeUnit time, FrameCodeModes fcm, std::string& out)
    {
        char label[TimeUnit::labelSize];
        const int length = time.toTimeCode(label, sizeof label, fcm);
        out.append(label, static_cast<std::size_t>(length));
    }

    FrameCodeModes _from;
    FrameCodeModes _to;
    bool _clamp;
    bool _bump;
};

/// Answers values one by one: a line of standard output each, which stays empty for a value that is refused with a line
/// of standard error, so that answers stand beside their questions.
class Responder
{
public:
    explicit Responder(const Converter& converter)
        : _converter(converter)
    {
    }

    /// `line` is the value's line in standard input; 0: it is an argument.
    void answer(std::string_view value, unsigned long line)
    {
        const std::size_t first = std::min(value.find_first_not_of(blanks), value.size());
        value = value.substr(first, value.find_last_not_of(blanks) + 1 - first);
        if (const Refusal refusal = _converter.convert(value, _out); refusal.reason)
            refuse(value, line, refusal.reason);
        _out += '\n';
    }

    /// Answers every line of standard input. What was answered is written whenever more input must be waited for, so
    /// that a program may ask line by line.
    void answerInput()
    {
        constexpr std::size_t bufferSize = 1 << 16;
        static_assert(bufferSize > 2 * longestValue, "a line that does not fit is refused, so its rest may be lost");
        std::array<char, bufferSize> buffer;
        std::size_t held = 0;
        bool cut = false; // the rest of an overlong line is being dropped
        unsigned long line = 0;
        for (;;)
        {
            write();
            const ssize_t got = ::read(STDIN_FILENO, buffer.data() + held, buffer.size() - held);
            if (got < 0 && errno == EINTR)
                continue;
            if (got < 0)
                throw std::runtime_error(std::string("cannot read standard input: ") + std::strerror(errno));
            std::string_view rest(buffer.data(), held + static_cast<std::size_t>(got));
            const bool atEnd = got == 0;
            for (std::size_t end = 0; !rest.empty(); rest.remove_prefix(end))
            {
                const std::size_t newline = rest.find('\n');
                const bool whole = newline != rest.npos || atEnd;
                if (!whole && rest.size() < buffer.size())
                    break;
                if (!cut)
                    answer(rest.substr(0, newline), ++line);
                cut = !whole;
                end = newline == rest.npos ? rest.size() : newline + 1;
            }
            if (atEnd)
                return;
            std::memmove(buffer.data(), rest.data(), rest.size());
            held = rest.size();
        }
    }

    int finish()
    {
        write();
        return _refused ? dmtree::Unusable : dmtree::Fine;
    }

private:
    void refuse(std::string_view value, unsigned long line, const char* reason)
    {
        constexpr std::size_t longestQuote = 40;
        std::string message = "dmtree tc: ";
        if (line != 0)
            message += "line " + std::to_string(line) + ": ";
        message += dmtree::cell(std::string(value.substr(0, longestQuote)));
        message += value.size() > longestQuote ? "...: " : ": ";
        std::cerr << message + reason + '\n';
        _refused = true;
    }

    void write()
    {
        if (!std::cout.write(_out.data(), static_cast<std::streamsize>(_out.size())).flush())
            throw std::runtime_error("cannot write to standard output");
        _out.clear();
    }

    const Converter& _converter;
    std::string _out;
    bool _refused = false;
};

/// Turns the name of a bump mode into its number.
std::string readBumpMode(std::string& text)
{
    const std::string_view names[] = {"previous", "next", "earlier"}; // by DfBumpMode
    for (std::size_t mode = 0; mode < std::size(names); ++mode)
        if (text == names[mode] || text == std::to_string(mode))
        {
            text = std::to_string(mode);
            return "";
        }
    return "'" + text + "' is no bump mode. The modes are 'previous', 'next', 'earlier'";
}

int convertAll(const Options& options, FrameCodeModes from)
{
    TimeUnit::setDfBumpMode(static_cast<DM::DfBumpMode>(options.bump));
    const Converter converter(options, from);
    Responder responder(converter);
    for (const std::string& value : options.values)
    {
        if (value == "-")
            responder.answerInput();
        else
            responder.answer(value, 0);
    }
    return responder.finish();
}

} // namespace

void dmtree::addTc(CLI::App& app, Run& run)
{
    CLI::App* const command =
        app.add_subcommand("tc", "Turn frame counts into timecode labels, and labels into counts");
    const auto options = std::make_shared<Options>();
    command
        ->add_option("--fcm", options->fcm,
                     "Frame-code mode of the values: " + modeHelp() + ". Without it, that of ZR_DEFAULT_FCM")
        ->type_name("NAME")
        ->check(checkMode);
    command->add_option("--to", options->to, "Answer with the label of the same wall-clock time in this mode")
        ->type_name("NAME")
        ->check(checkMode);
    command->add_flag("--clamp", options->clamp, "Move fields that are out of range to the nearest in range");
    CLI::Option* const bump =
        command
            ->add_option("--bump", options->bump,
                         "Move labels that the mode drops: to the last label before them (previous or 0), to the first "
                         "after them (next or 1), or a few labels before the previous (earlier or 2)")
            ->type_name("MODE")
            ->transform(CLI::Validator(readBumpMode, ""));
    command
        ->add_option(
            "VALUE", options->values,
            "A number is a count of frames and is answered with its label; a text with any of : ; + # is a label "
            "and is answered with its count; - reads values from standard input, one on each line")
        ->required();
    // The parser takes "--" between values only while a positional argument still waits for one.
    command->add_option("...", options->values)->group("");
    command->footer(
        "Every value is answered by one line. A value that has no answer leaves its line empty and is named on\n"
        "standard error, with its line number when it was read; the others are answered all the same, and the\n"
        "exit code is 2.\n\n"
        "Modes: " +
        modeNames() +
        "\n\nExamples:\n"
        "  dmtree tc --fcm '29.97 fps DF' 1800                      00;01;00;02\n"
        "  dmtree tc --fcm '29.97 fps DF' '00;01;00;02' -30         1800, -00;00;01;00\n"
        "  dmtree tc --fcm '25 fps' --to '24 fps' 01:00:00:12       01:00:00+11");
    command->callback(
        [&run, options, bump]
        {
            options->bumps = bump->count() != 0;
            run = [options, from = modeOrDefaultOf(options->fcm)] { return convertAll(*options, from); };
        });
}
