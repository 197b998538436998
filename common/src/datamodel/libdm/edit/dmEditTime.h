/// Times and amounts of edits, as a caller has them: in frames, or as labels of the composition that is edited.
///
///     DmStatus status = edit.split({0, 0}, 100);
///     status = edit.split({0, 0}, "10:00:04:00");
///     status = edit.roll(seam, -12);
///     status = edit.roll(seam, "-00:00:00:12");
///     status = edit.trim(shot, DM_TAIL, DmEditAmount::to("10:00:05:12"));
///
/// The operation reads labels when it is done, to the letter: one that the composition's mode does not have refuses it.
#pragma once

#include "zrExport.h"

#include <concepts>
#include <string>
#include <string_view>
#include <variant>

/// A record time: frames of record time, or the label that the composition has there.
class ZR_DM_API DmEditTime
{
public:
    DmEditTime(double frames)
        : _time(frames)
    {
    }
    template <std::convertible_to<std::string_view> Label>
    DmEditTime(const Label& label)
        : _time(std::string(std::string_view(label)))
    {
    }

    /// Null where it is frames.
    const std::string* label() const { return std::get_if<std::string>(&_time); }
    /// 0 where it is a label.
    double frames() const { return label() ? 0.0 : std::get<double>(_time); }

private:
    std::variant<double, std::string> _time;
};

/// How far something moves, or how long it lasts; later is positive. As a text: frames ("-12"), a length in labels,
/// which counts from zero ("00:00:01:00", "-00:00:00:12"), or the time to go to behind an "@" ("@10:00:05:12").
class ZR_DM_API DmEditAmount
{
public:
    DmEditAmount(double frames)
        : _amount(frames)
    {
    }
    template <std::convertible_to<std::string_view> Text>
    DmEditAmount(const Text& text)
        : _amount(std::string_view(text))
    {
    }
    /// What leads from where it is (the edge, the seam's cut, the segment's in-time) to a time.
    static DmEditAmount to(const DmEditTime& time)
    {
        DmEditAmount amount(0.0);
        amount._amount = time;
        amount._isTo = true;
        return amount;
    }

    bool isTo() const { return _isTo; }
    /// The time to go to; else the amount.
    const DmEditTime& value() const { return _amount; }

private:
    DmEditTime _amount;
    bool _isTo = false;
};
