/// Commands in tables: what each is called with, and what it must answer.
#pragma once

#include "zrRunCommand.h"
#include "zrTable.h"
#include "zrTest.h"

/// Whether a text is as the pattern says, in which "..." stands for any text.
inline bool matches(std::string_view text, std::string_view pattern)
{
    constexpr std::string_view any = "...";
    const std::size_t front = pattern.find(any);
    if (front == pattern.npos)
        return text == pattern;
    if (!text.starts_with(pattern.substr(0, front)))
        return false;
    for (std::size_t at = front; at <= text.size(); ++at)
        if (matches(text.substr(at), pattern.substr(front + any.size())))
            return true;
    return false;
}

struct CommandCase
{
    std::vector<std::string> arguments; ///< of dmtree
    int exitCode = 0;
    std::string out = {}; ///< a pattern, as is what follows
    std::string err = {};
};

inline void check(const CommandCase& row, const zrTest::CommandOptions& options = {})
{
    SCOPED_TRACE(testing::PrintToString(row.arguments));
    const auto result = zrTest::runDmtree(row.arguments, options);
    EXPECT_EQ(result.exitCode, row.exitCode);
    EXPECT_TRUE(matches(result.out, row.out)) << result.out << "\ninstead of\n" << row.out;
    EXPECT_TRUE(matches(result.err, row.err)) << result.err << "\ninstead of\n" << row.err;
}
