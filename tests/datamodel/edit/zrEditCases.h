/// Tables of operations, each as a drawing before and after it (zrDrawing.h).
#pragma once

#include "zrDrawing.h"
#include "zrTest.h"

namespace zrEditCases
{

using zrDrawing::draw;
using zrDrawing::positions;
using zrDrawing::shot;
using zrDrawing::timeline;

struct Case
{
    const char* name;
    const char* before;
    const char* materials;
    std::function<DmStatus(DmEdit&)> operation;
    const char* after;     ///< or "! " and a part of the text that says why not
    const char* positions; ///< empty: not looked at
    DmEditOptions options = {};
    bool linked = false;
};

inline DmLayerPlace layer(int track = 0)
{
    return {track, 0};
}

inline DmElementPlace at(int index, int track = 0)
{
    return {track, 0, index};
}

/// A shot of five frames from frame 3 of 20.
inline CoSharedPtr<DmSegmentNode> five(char name = 'X', double length = 5.0)
{
    return shot(name, 0.0, length, {3.0, 20.0});
}

inline void check(const std::vector<Case>& cases)
{
    for (const Case& each : cases)
    {
        SCOPED_TRACE(each.name);
        const DmTimeline before = timeline(each.before, each.materials, each.linked);
        ASSERT_EQ(draw(before), each.before);
        DmEdit edit(before, each.options);
        edit.seedIds(1);
        const DmStatus status = each.operation(edit);
        const std::string expected = each.after;
        if (expected[0] == '!')
        {
            EXPECT_FALSE(status.ok());
            EXPECT_NE(dmUtf8(status.info()).find(expected.substr(2)), std::string::npos) << dmUtf8(status.info());
            EXPECT_TRUE(edit.timeline() == before) << "a refused operation changed something";
            continue;
        }
        EXPECT_TRUE(status.ok()) << dmUtf8(status.info());
        const DmTimeline after = edit.timeline();
        EXPECT_EQ(draw(after), expected);
        if (each.positions[0] != '\0')
        {
            EXPECT_EQ(positions(after), each.positions);
        }
        for (const DmTreeViolation& violation : DmTreeTool::findViolations(after.composition(), DM_VALIDATE_ALL))
            ADD_FAILURE() << violation.path << ": " << dmUtf8(violation.message);
        // What the session opened on is as it was, and shares nothing that could have changed.
        EXPECT_EQ(draw(before), each.before);
        std::string difference;
        EXPECT_TRUE(DmTreeTool::areEqual(before.tree().get(),
                                         zrDrawing::timeline(each.before, each.materials, each.linked).tree().get(),
                                         &difference))
            << difference;
    }
}

} // namespace zrEditCases
