/// Counts the locked instructions that a work executes: it runs in a child process, an instruction at a time, and each
/// is looked at before it is executed. For x86-64.
///
///     zrLocked::print("set a scalar", 0, [] { set(); });
///     // set a scalar: locked instructions 0 (limit 0)
#pragma once

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zrLocked
{

/// One with the prefix, or an exchange with memory, which needs none.
inline bool isLocked(const std::uint8_t (&code)[16])
{
    constexpr std::uint8_t lock = 0xF0;
    constexpr std::uint8_t prefixes[] = {0x26, 0x2E, 0x36, 0x3E, 0x64, 0x65, 0x66, 0x67, 0xF2, 0xF3};
    std::size_t at = 0;
    while (at + 2 < sizeof code && std::memchr(prefixes, code[at], sizeof prefixes))
        ++at;
    if (code[at] == lock)
        return true;
    at += (code[at] & 0xF0) == 0x40 ? 1 : 0; // a wide operand
    const bool isExchange = code[at] == 0x86 || code[at] == 0x87;
    const bool isBetweenRegisters = code[at + 1] >= 0xC0;
    return isExchange && !isBetweenRegisters;
}

inline void stop()
{
    syscall(SYS_tgkill, syscall(SYS_getpid), syscall(SYS_gettid), SIGSTOP);
}

/// Of `work`, which `prepare` is run before, in the same process; -1 where the system lets nobody look.
template <class Prepare, class Work>
long of(const Prepare& prepare, const Work& work)
{
    const pid_t child = fork();
    if (child == 0)
    {
        prepare();
        work(); // what only its first run does
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
            _exit(1);
        stop();
        work();
        stop();
        _exit(0);
    }
    long count = 0;
    int status = 0;
    bool isOver = waitpid(child, &status, 0) != child || !WIFSTOPPED(status);
    if (isOver)
        return -1;
    while (!isOver)
    {
        user_regs_struct registers{};
        std::uint8_t code[16] = {};
        ptrace(PTRACE_GETREGS, child, nullptr, &registers);
        iovec here{code, sizeof code};
        iovec there{reinterpret_cast<void*>(registers.rip), sizeof code};
        if (process_vm_readv(child, &here, 1, &there, 1, 0) > 0 && isLocked(code))
            ++count;
        isOver = ptrace(PTRACE_SINGLESTEP, child, nullptr, nullptr) != 0 || waitpid(child, &status, 0) != child ||
                 !WIFSTOPPED(status) || WSTOPSIG(status) != SIGTRAP;
    }
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
    return count;
}

template <class Work>
void print(const char* name, long limit, const Work& work)
{
    const long count = of([] {}, work);
    if (count < 0)
        std::printf("%s: locked instructions not counted, the system does not let us\n", name);
    else
        std::printf("%s: locked instructions %ld (limit %ld)\n", name, count, limit);
}

} // namespace zrLocked
