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

TEST(DmtreeTc, AnswersNumbersWithLabelsAndLabelsWithNumbers)
{
    const CommandCase cases[] = {
        {{"--fcm", df, "1800", "00;10;00;00"}, 0, "00;01;00;02\n17982\n"},
        {{"--fcm", "59.94 FPS df", "3600", "1+2"}, 0, "00;01;00#04\n62\n"},
        {{"--fcm", "25 fps", "-30", "-00:00:01:05", "10.999995"}, 0, "-00:00:01:05\n-30\n00:00:00:11\n"},
        {{"--fcm", "25 fps", "--", "-30", "-:1:2"}, 0, "-00:00:01:05\n-27\n"},
        {{"--fcm", "25 fps", "1", "--", "-1"}, 0, "00:00:00:01\n-00:00:00:01\n"},
        {{"--fcm", "25 fps", "--to", df, "90000", "01:00:00:00"}, 0, "01;00;00;00\n01;00;00;00\n"},
        {{"--fcm", "25 fps", "+24", "2147483646"}, 0, "24\n23860:55:45:21\n"},
        {{"--fcm", "PAL", "25"}, 0, "00:00:01:00\n"},
        {{"--fcm", "ntsc df", "00:01:00;02"}, 0, "1800\n"},
        {{"--fcm", "23.98", "--to", "30", "24"}, 0, "00:00:01:00\n"}};
    for (const CommandCase& row : cases)
        checkTc(row);
}

TEST(DmtreeTc, RefusesWhatIsNoTimeOfTheModeAndAnswersTheRest)
{
    const CommandCase cases[] = {
        {{"--fcm", df, "00;01;00;00", "1"}, 2, "\n00;00;00;01\n", "...tc: 00;01;00;00: this mode drops the label..."},
        {{"--fcm", df, "--clamp", "00;01;00;00"}, 2, "\n", "...drops the label..."},
        {{"--fcm", df, "--bump", "previous", "00;01;00;00"}, 0, "1799\n"},
        {{"--fcm", df, "--bump", "next", "00;01;00;00"}, 0, "1800\n"},
        {{"--fcm", df, "--bump", "2", "-00;01;00;00"}, 0, "-1798\n"},
        {{"--fcm", df, "--bump", "next", "00;00;61;00"}, 2, "\n", "...00;00;61;00: a field is out of range..."},
        {{"--fcm", "25 fps", "99:99:99:99"}, 2, "\n", "...99:99:99:99: a field is out of range..."},
        {{"--fcm", "25 fps", "--clamp", "99:99:99:99"}, 0, "8999999\n"},
        {{"--fcm", "25 fps", "1:2:3:4:5"}, 2, "\n", "...neither a frame count nor a label..."},
        {{"--fcm", "25 fps", "01::02"}, 2, "\n", "...neither..."},
        {{"--fcm", "25 fps", "1:2x"}, 2, "\n", "...neither..."},
        {{"--fcm", "25 fps", ""}, 2, "\n", "...\"\": neither..."},
        {{"--fcm", "25 fps", "--", "--1"}, 2, "\n", "...neither..."},
        {{"--fcm", "25 fps", "00000000000000000000000000001:1:1:1"}, 2, "\n", "...neither..."},
        {{"--fcm", "25 fps", "2147483647"}, 2, "\n", "...more frames than can be counted..."},
        {{"--fcm", "25 fps", std::string(400, '9')}, 2, "\n", "...9999...: more frames..."},
        {{"--fcm", "25 fps", "99999999999:00:00:00"}, 2, "\n", "...more frames..."},
        {{"--fcm", "25 fps", "--to", "50 fps", "1500000000", "1073741823"}, 2, "\n\n", "...more frames..."}};
    for (const CommandCase& row : cases)
        checkTc(row);
}

TEST(DmtreeTc, NeedsAModeAndKnownWords)
{
    const CommandCase usage[] = {
        {{"5"}, 2, "", "...name one with --fcm..."},
        {{"--fcm", "24.5", "5"}, 2, "", "...'24.5' is no frame-code mode. The modes are '23.976 fps', ..."},
        {{"--fcm", "25 fps", "--to", "pal df", "5"}, 2, "", "...'pal df' is no frame-code mode..."},
        {{"--fcm", "25 fps", "--bump", "3", "5"}, 2, "", "...'3' is no bump mode..."},
        {{"--fcm", "25 fps"}, 2, "", "...VALUE is required..."},
        {{"--fcm", "25 fps", "-x", "1"}, 2, "", "...-x..."}};
    for (const CommandCase& row : usage)
        checkTc(row);
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
