#include "commandCases.h"

using zrTest::runDmtree;

namespace
{

const std::string df = "29.97 fps DF";

void checkTc(CommandCase row, const zrTest::CommandOptions& options = {})
{
    row.arguments.insert(row.arguments.begin(), "tc");
    check(row, options);
}

} // namespace

TEST(DmtreeTc, TakesItsModeFromTheEnvironment)
{
    checkTc({{"--fcm", "25", std::string(400, '9')}, 2, "\n", "...9999...: more frames..."});
    checkTc({{"1800"}, 0, "00;01;00;02\n"}, {.environment = {"ZR_DEFAULT_FCM=" + df}});
    checkTc({{"--fcm", "25", "25"}, 0, "00:00:01:00\n", "dmtree: warning: ...ZR_DEFAULT_FCM is 'PAL'..."},
            {.environment = {"ZR_DEFAULT_FCM=PAL"}});
    checkTc({{"1800"}, 2, "", "...ZR_DEFAULT_FCM is '29.97 FPS DF'...name one with --fcm..."},
            {.environment = {"ZR_DEFAULT_FCM=29.97 FPS DF"}});
}

TEST(DmtreeTc, AnswersEveryLineOfItsInput)
{
    const zrTest::CommandOptions lines = {.input = "100\n\n 1:00\r\n\x1b[m\n" + std::string(100'000, '0') + "\n7"};
    checkTc({{"--fcm", "25 fps", "1", "-", "2"},
             2,
             "00:00:00:01\n00:00:04:00\n\n25\n\n\n00:00:00:07\n00:00:00:02\n",
             "...tc: line 2: \"\": neither a frame count nor a label\n"
             "dmtree tc: line 4: \\x1b[m: neither a frame count nor a label\n"
             "dmtree tc: line 5: 0000000000000000000000000000000000000000...: neither a frame count nor a label\n"},
            lines);
    checkTc({{"--fcm", "25 fps", "-"}, 0, ""});

    std::string counts;
    for (int n = 0; n < 100'000; ++n)
        counts += std::to_string(n) + '\n';
    const auto labels = runDmtree({"tc", "--fcm", df, "-"}, {.input = counts});
    EXPECT_EQ(runDmtree({"tc", "--fcm", df, "-"}, {.input = labels.out}).out, counts);

    const auto directory =
        zrTest::runCommand({"sh", "-c", "exec \"$0\" tc --fcm '25 fps' - < /", zrTest::dmtreeProgram()});
    EXPECT_EQ(directory.exitCode, 2);
    EXPECT_NE(directory.err.find("cannot read standard input"), std::string::npos) << directory.err;
}

TEST(DmtreeTc, AnswersBeforeItWaitsForMore)
{
    const auto result = zrTest::runCommand(
        {"sh", "-c",
         "d=$(mktemp -d) && mkfifo $d/in $d/out && { \"$0\" tc --fcm '25 fps' - < $d/in > $d/out & }\n"
         "exec 3> $d/in 4< $d/out && rm -r $d\n"
         "echo 30 >&3 && read label <&4 && echo $label >&3 && read count <&4 && echo $label $count",
         zrTest::dmtreeProgram()},
        {.timeoutSeconds = 20});
    EXPECT_EQ(result.out, "00:00:01:05 30\n") << result.err;
}
