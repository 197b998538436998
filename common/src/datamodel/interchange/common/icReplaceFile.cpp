#include "icReplaceFile.h"

#include <cstring>
#include <stdexcept>

namespace interchange
{

ReplaceFile::ReplaceFile(const std::string& path)
{
    if (!_file.open(path.c_str()))
        fail();
}

std::string ReplaceFile::fault() const
{
    return _file.error() == 0 ? "" : std::strerror(_file.error());
}

void ReplaceFile::finish()
{
    if (!_file.commit())
        fail();
}

void ReplaceFile::fail() const
{
    throw std::runtime_error(fault());
}

} // namespace interchange
