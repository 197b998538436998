#include "zrRunCommand.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace zrTest
{
namespace
{

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

// Files, not pipes: neither side ever waits for the other, whatever the amount.
File temporaryFile(const std::string& content = {})
{
    File file(std::tmpfile(), std::fclose);
    if (!file || std::fwrite(content.data(), 1, content.size(), file.get()) != content.size())
        throw std::runtime_error("runCommand: no temporary file");
    std::rewind(file.get());
    return file;
}

std::string contentOf(std::FILE* file)
{
    std::string content;
    char chunk[65536];
    std::rewind(file);
    while (const std::size_t count = std::fread(chunk, 1, sizeof(chunk), file))
        content.append(chunk, count);
    return content;
}

std::vector<std::string> environmentOf(const CommandOptions& options)
{
    std::vector<std::string> result = options.environment;
    for (char** variable = environ; *variable; ++variable)
        if (std::strncmp(*variable, "ZR_", 3) != 0)
            result.emplace_back(*variable);
    // An error found by a sanitizer must not look like one of the command's own exit codes. The first of two settings
    // of one name counts, so a caller's own comes before these.
    for (const char* sanitizer : {"ASAN", "LSAN", "TSAN", "UBSAN"})
        if (const std::string name = std::string(sanitizer) + "_OPTIONS"; !std::getenv(name.c_str()))
            result.push_back(name + "=exitcode=99");
    return result;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

CommandResult runCommand(const std::vector<std::string>& command, const CommandOptions& options)
{
    const File in = temporaryFile(options.input);
    const File out = temporaryFile();
    const File err = temporaryFile();
    std::vector<std::string> arguments = command;
    std::vector<std::string> environment = environmentOf(options);
    const std::vector<char*> argv = pointersTo(arguments);
    const std::vector<char*> envp = pointersTo(environment);

    const pid_t child = fork();
    if (child < 0)
        throw std::runtime_error("runCommand: cannot fork");
    if (child == 0)
    {
        dup2(fileno(in.get()), STDIN_FILENO);
        dup2(fileno(out.get()), STDOUT_FILENO);
        dup2(fileno(err.get()), STDERR_FILENO);
        alarm(options.timeoutSeconds);
        if (options.directory.empty() || chdir(options.directory.c_str()) == 0)
            execvpe(argv[0], argv.data(), envp.data());
        perror(argv[0]);
        _exit(127);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0)
        if (errno != EINTR)
            throw std::runtime_error("runCommand: cannot wait");
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), contentOf(out.get()), contentOf(err.get())};
}

const char* dmtreeProgram()
{
    return ZR_DMTREE_PROGRAM;
}

CommandResult runDmtree(std::vector<std::string> arguments, const CommandOptions& options)
{
    arguments.insert(arguments.begin(), dmtreeProgram());
    return runCommand(arguments, options);
}

} // namespace zrTest
