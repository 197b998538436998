/// A directory of the test's own, which goes with all that is in it.
#pragma once

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

class ZrTempDir
{
public:
    ZrTempDir()
        : _path(std::filesystem::temp_directory_path() / ("zrTest-" + std::to_string(getpid())))
    {
        std::filesystem::create_directories(_path);
    }
    ~ZrTempDir() { std::filesystem::remove_all(_path); }
    ZrTempDir(const ZrTempDir&) = delete;
    ZrTempDir& operator=(const ZrTempDir&) = delete;

    std::string path() const { return _path; }
    std::string path(const std::string& name) const { return _path / name; }
    /// Writes a file and returns its path.
    std::string write(const std::string& name, const std::string& text) const
    {
        std::ofstream(path(name), std::ios::binary) << text;
        return path(name);
    }
    static std::string read(const std::string& path)
    {
        std::ostringstream text;
        text << std::ifstream(path, std::ios::binary).rdbuf();
        return text.str();
    }

private:
    std::filesystem::path _path;
};
