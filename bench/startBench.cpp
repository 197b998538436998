/// What a program pays for being linked with the library and creating nothing: itself (--linked), started often, in
/// turns with an empty program in C++ (emptyProgram.cpp).
#include "zrPeak.h"
#include "zrRatio.h"

#include <ZRdmtree.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

struct Start
{
    double milliseconds; ///< of the processor
    double megabytes;
};

[[noreturn]] void giveUp(const std::string& program)
{
    std::fprintf(stderr, "startBench: cannot run %s\n", program.c_str());
    std::exit(1);
}

Start start(const std::string& program, const char* argument)
{
    int ends[2];
    if (pipe(ends) != 0)
        giveUp(program);
    const pid_t child = fork();
    if (child == 0)
    {
        dup2(ends[1], STDOUT_FILENO);
        execl(program.c_str(), program.c_str(), argument, static_cast<char*>(nullptr));
        _exit(127);
    }
    close(ends[1]);
    char kilobytes[64] = {};
    const ssize_t count = read(ends[0], kilobytes, sizeof kilobytes - 1);
    close(ends[0]);
    int status = 0;
    rusage usage{};
    if (wait4(child, &status, 0, &usage) != child || status != 0 || count <= 0)
        giveUp(program);
    const auto milliseconds = [](const timeval& time)
    { return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) * 1e-3; };
    return {milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime), std::atof(kilobytes) / 1024};
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && std::strcmp(argv[1], "--linked") == 0)
        return DmVersion::getCurrent() > DmVersion(0, 0) ? zrPeak::print() : 1;

    const std::string self = argv[0];
    const std::string empty = self.substr(0, self.rfind('/') + 1) + "emptyProgram";
    constexpr int rounds = 201;
    std::vector<double> time;
    std::vector<double> memory;
    for (int i = 0; i < rounds; ++i)
    {
        const Start with = start(self, "--linked");
        const Start without = start(empty, nullptr);
        time.push_back(with.milliseconds - without.milliseconds);
        memory.push_back(with.megabytes - without.megabytes);
    }
    const double milliseconds = zrRatio::median(time);
    const double megabytes = zrRatio::median(memory);
    std::printf("start with the library, milliseconds more than an empty program's / 1: ratio %.2f (limit 1.00)\n",
                milliseconds / 1);
    std::printf("start with the library, megabytes more than an empty program's / 2: ratio %.2f (limit 1.00)\n",
                megabytes / 2);
    return 0;
}
