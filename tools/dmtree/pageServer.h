/// Serves one page to this machine's user, as a file changes: on loopback alone, to requests that name this server as
/// their host and know its token. It lives as long as the command.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

namespace dmtree
{

class PageServer
{
public:
    /// Makes the page, which asks for its version under the path that it is given. Throws where the file cannot be
    /// read as it is: the last good page then stays.
    using MakePage = std::function<std::string(const std::string& versionPath)>;

    /// Throws where the page cannot be made at first.
    PageServer(MakePage makePage, std::filesystem::path file);
    ~PageServer();
    PageServer(const PageServer&) = delete;
    PageServer& operator=(const PageServer&) = delete;

    /// "http://127.0.0.1:PORT/TOKEN/"
    std::string address() const;
    /// Until the process is ended.
    [[noreturn]] void run();

private:
    struct State
    {
        std::filesystem::file_time_type time;
        std::uintmax_t size;
        bool operator==(const State&) const = default;
    };

    State stateOfFile() const;
    void refresh();
    void answer(int connection) const;
    std::string reply(const std::string& request) const;

    MakePage _makePage;
    std::filesystem::path _file;
    std::string _token;
    std::string _page;
    std::string _trouble; ///< why the file, as it is now, is not shown
    State _state{};
    int _version = 1;
    int _socket = -1;
    int _port = 0;
};

} // namespace dmtree
