#include "pageServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace dmtree
{
namespace
{

constexpr int lookEvery = 250;               ///< milliseconds between two looks at the file
constexpr int patience = 2000;               ///< milliseconds that a request may take
constexpr std::size_t longestRequest = 8192; ///< of a browser's head

std::string newToken()
{
    std::array<unsigned char, 16> bytes{};
    if (::getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        throw std::runtime_error(std::string("--watch: no random numbers: ") + std::strerror(errno));
    std::string token;
    for (const unsigned char byte : bytes)
        for (const int half : {byte >> 4, byte & 15})
            token += "0123456789abcdef"[half];
    return token;
}

std::string response(const char* status, const std::string& body, const char* type)
{
    return std::string("HTTP/1.1 ") + status + "\r\nContent-Type: " + type +
           "; charset=utf-8\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\nCache-Control: no-store\r\nX-Content-Type-Options: nosniff\r\nReferrer-Policy: no-referrer\r\n"
           "Cross-Origin-Resource-Policy: same-origin\r\nConnection: close\r\n\r\n" +
           body;
}

/// The value of a header of a request, in lower-case name; empty where it is missing or given twice.
std::string headerOf(const std::string& request, std::string_view name)
{
    std::string value;
    int found = 0;
    std::size_t at = request.find("\r\n");
    while (at != request.npos && at + 2 < request.size())
    {
        const std::size_t end = std::min(request.find("\r\n", at + 2), request.size());
        const std::string_view line = std::string_view(request).substr(at + 2, end - at - 2);
        const std::size_t colon = line.find(':');
        const auto same = [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a - 'A' + 'a' : a) == b; };
        if (colon == name.size() && std::equal(name.begin(), name.end(), line.begin(),
                                               [&](char wanted, char given) { return same(given, wanted); }))
        {
            value = line.substr(std::min(line.find_first_not_of(" \t", colon + 1), line.size()));
            ++found;
        }
        at = end;
    }
    return found == 1 ? value : std::string();
}

} // namespace

PageServer::PageServer(MakePage makePage, std::filesystem::path file)
    : _makePage(std::move(makePage))
    , _file(std::move(file))
    , _token(newToken())
    , _state(stateOfFile())
{
    _page = _makePage('/' + _token + "/version");
    _socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (_socket < 0 || ::bind(_socket, generic, size) != 0 || ::listen(_socket, 8) != 0 ||
        ::getsockname(_socket, generic, &size) != 0)
        throw std::runtime_error(std::string("--watch: cannot serve: ") + std::strerror(errno));
    _port = ntohs(address.sin_port);
}

PageServer::~PageServer()
{
    if (_socket >= 0)
        ::close(_socket);
}

std::string PageServer::address() const
{
    return "http://127.0.0.1:" + std::to_string(_port) + '/' + _token + '/';
}

PageServer::State PageServer::stateOfFile() const
{
    std::error_code missing;
    const auto time = std::filesystem::last_write_time(_file, missing);
    const std::uintmax_t size = std::filesystem::file_size(_file, missing);
    return {time, size};
}

void PageServer::refresh()
{
    const State state = stateOfFile();
    if (state == _state)
        return;
    _state = state;
    try
    {
        _page = _makePage('/' + _token + "/version");
        _trouble.clear();
        ++_version;
    }
    catch (const std::exception& error)
    {
        _trouble = error.what();
        std::replace(_trouble.begin(), _trouble.end(), '\n', ' ');
    }
}

std::string PageServer::reply(const std::string& request) const
{
    const std::string host = headerOf(request, "host");
    const std::string port = ':' + std::to_string(_port);
    if (host != "127.0.0.1" + port && host != "localhost" + port)
        return response("421 Misdirected Request", "This server is not that host.\n", "text/plain");
    if (!request.starts_with("GET "))
        return response("405 Method Not Allowed", "It can be looked at only.\n", "text/plain");
    const std::string path = request.substr(4, request.find(' ', 4) - 4);
    if (path == '/' + _token + '/')
        return response("200 OK", _page, "text/html");
    if (path == '/' + _token + "/version")
        return response("200 OK", std::to_string(_version) + '\n' + _trouble, "text/plain");
    return response("404 Not Found", "There is nothing here.\n", "text/plain");
}

void PageServer::answer(int connection) const
{
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::milliseconds(patience);
    const auto waitFor = [&](short event)
    {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd ready = {connection, event, 0};
        return left > 0 && ::poll(&ready, 1, static_cast<int>(left)) == 1;
    };
    std::string request;
    std::array<char, 2048> buffer;
    while (request.find("\r\n\r\n") == request.npos)
    {
        if (request.size() > longestRequest || !waitFor(POLLIN))
            return;
        const ssize_t got = ::recv(connection, buffer.data(), buffer.size(), 0);
        if (got <= 0)
            return;
        request.append(buffer.data(), static_cast<std::size_t>(got));
    }
    const std::string text = reply(request);
    std::string_view rest = text;
    while (!rest.empty() && waitFor(POLLOUT))
    {
        const ssize_t put = ::send(connection, rest.data(), rest.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (put < 0 && errno != EAGAIN && errno != EINTR)
            return;
        rest.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(put, 0)));
    }
}

void PageServer::run()
{
    for (;;)
    {
        pollfd asked = {_socket, POLLIN, 0};
        const int ready = ::poll(&asked, 1, lookEvery);
        refresh();
        if (ready != 1)
            continue;
        const int connection = ::accept4(_socket, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0)
            continue;
        answer(connection);
        ::close(connection);
    }
}

} // namespace dmtree
