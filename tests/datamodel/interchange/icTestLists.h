/// Reading small cut lists in tests.
#pragma once

#include "icEdlReader.h"
#include "icEdlWriter.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>

namespace icTest
{

struct Read
{
    std::optional<interchange::EdlList> list;
    std::string messages;
};

inline Read read(std::string text, DM::FrameCodeModes fcm = DM::FCM_25,
                 interchange::Report::Leniency leniency = interchange::Report::Strict)
{
    interchange::Report report(leniency);
    Read result;
    result.list = interchange::readEdl(std::move(text), fcm, report);
    result.messages = report.toString("cut.edl");
    return result;
}

/// As it is written, but for the line that says the rate, which every list gets.
inline std::string withoutRate(std::string text)
{
    const std::size_t rate = text.find("* FRAME RATE: ");
    return text.erase(rate, text.find('\n', rate) + 1 - rate);
}
inline std::string written(const interchange::EdlList& list)
{
    return withoutRate(interchange::writeEdl(list));
}

/// An event line of one second at 25 fps.
inline std::string eventLine(const std::string& front)
{
    return front + " 01:00:10:00 01:00:11:00 10:00:00:00 10:00:01:00\n";
}

/// The list of a text in which there is nothing to find fault with.
inline interchange::EdlList readClean(std::string text, DM::FrameCodeModes fcm = DM::FCM_25)
{
    Read result = read(std::move(text), fcm);
    EXPECT_EQ(result.messages, "");
    return result.list ? std::move(*result.list) : interchange::EdlList();
}

} // namespace icTest
