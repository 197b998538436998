#include "textFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace dmtree
{
namespace
{

[[noreturn]] void fail(const std::string& path, int error)
{
    throw std::runtime_error(path + ": " + std::strerror(error));
}

class File
{
public:
    File(int number, const std::string& path)
        : _number(number)
        , _path(path)
    {
        if (number < 0)
            fail(path, errno);
    }
    ~File() { ::close(_number); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    void write(std::string_view text) const
    {
        while (!text.empty())
        {
            const ssize_t put = ::write(_number, text.data(), text.size());
            if (put > 0)
                text.remove_prefix(static_cast<std::size_t>(put));
            else if (put == 0 || errno != EINTR)
                fail(_path, put == 0 ? EIO : errno);
        }
    }
    /// On the disk, with the mode that the file is to have.
    void finish(mode_t mode) const
    {
        if (::fchmod(_number, mode) != 0 || ::fsync(_number) != 0)
            fail(_path, errno);
    }

private:
    int _number;
    const std::string& _path;
};

mode_t newFileMode()
{
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

} // namespace

void writeText(const std::string& path, std::string_view text)
{
    struct stat info = {};
    const bool exists = ::stat(path.c_str(), &info) == 0;
    if (exists && !S_ISREG(info.st_mode))
        return File(::open(path.c_str(), O_WRONLY | O_CLOEXEC), path).write(text);
    if (exists && ::access(path.c_str(), W_OK) != 0)
        fail(path, errno);

    // Beside the file that a link leads to, and in its place only once it is complete.
    const std::string target = exists ? std::filesystem::canonical(path).string() : path;
    std::string temporary = target + ".XXXXXX";
    try
    {
        const File file(::mkostemp(temporary.data(), O_CLOEXEC), path);
        file.write(text);
        file.finish(exists ? info.st_mode & 07777 : newFileMode());
        if (std::rename(temporary.c_str(), target.c_str()) != 0)
            fail(path, errno);
    }
    catch (...)
    {
        ::unlink(temporary.c_str());
        throw;
    }
}

} // namespace dmtree
