#include "textFile.h"

#include <CoFile.h>

#include <unistd.h>

#include <cstring>
#include <optional>
#include <stdexcept>
#include <utility>

namespace dmtree
{
namespace
{

[[noreturn]] void fail(const std::string& path, int error)
{
    throw std::runtime_error(path + ": " + std::strerror(error));
}

} // namespace

bool takeStandardInput()
{
    static bool isTaken = false;
    return !std::exchange(isTaken, true);
}

std::string readText(const std::string& path)
{
    if (path == "-" && !takeStandardInput())
        throw std::runtime_error(path + ": " + standardInputIsTaken);
    std::optional<DM::CoFileReader> file;
    if (path == "-")
        file.emplace(STDIN_FILENO);
    else
        file.emplace(path.c_str());
    std::string text;
    char piece[65536];
    while (const std::size_t count = file->read(piece, sizeof piece))
        text.append(piece, count);
    if (file->error() != 0)
        fail(path, file->error());
    return text;
}

void writeText(const std::string& path, std::string_view text)
{
    DM::CoReplaceFile file;
    if (!file.open(path.c_str()) || !file.write(text) || !file.commit())
        fail(path, file.error());
}

} // namespace dmtree
