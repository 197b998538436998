#include "checkConfig.h"

#include <toml++/toml.h>

#include <filesystem>
#include <functional>
#include <map>
#include <stdexcept>
#include <string_view>

namespace dmtree
{
namespace
{

[[noreturn]] void fail(const std::string& path, const toml::source_region& where, std::string_view what)
{
    throw std::runtime_error(path + ':' + std::to_string(where.begin.line) + ": " + std::string(what));
}

/// Takes values out of nodes of the file at `path`.
class Values
{
public:
    explicit Values(const std::string& path)
        : _path(path)
    {
    }
    void operator()(const toml::node& node, bool& to) const { to = value<bool>(node, "true or false"); }
    void operator()(const toml::node& node, std::string& to) const { to = value<std::string>(node, "a text"); }
    void operator()(const toml::node& node, double& to) const
    {
        to = value<double>(node, "a number");
        if (!(to >= 0.0))
            fail(_path, node.source(), "this is not 0 or more");
    }
    void operator()(const toml::node& node, std::optional<double>& to) const { (*this)(node, to.emplace()); }
    void operator()(const toml::node& node, std::size_t& to) const
    {
        double number = 0.0;
        (*this)(node, number);
        to = static_cast<std::size_t>(std::min(number, 1e6));
    }
    void operator()(const toml::node& node, std::vector<std::string>& to) const
    {
        const toml::array* const list = node.as_array();
        if (!list)
            fail(_path, node.source(), "this is no list of texts");
        to.clear();
        for (const toml::node& each : *list)
            (*this)(each, to.emplace_back());
    }

private:
    template <class T>
    T value(const toml::node& node, const char* what) const
    {
        const std::optional<T> found = node.value<T>();
        if (!found)
            fail(_path, node.source(), std::string("this is not ") + what);
        return *found;
    }

    const std::string& _path;
};

} // namespace

std::string findCheckConfig()
{
    namespace fs = std::filesystem;
    std::error_code error;
    for (fs::path folder = fs::current_path(error); !folder.empty(); folder = folder.parent_path())
    {
        const fs::path file = folder / ".dmtree.toml";
        if (fs::is_regular_file(file, error))
            return file.string();
        if (folder == folder.root_path())
            break;
    }
    return {};
}

CheckConfig readCheckConfig(const std::string& path)
try
{
    CheckConfig config;
    DmFindingOptions& rules = config.rules;
    const Values take(path);
    const auto into = [&take](auto& to) { return [&take, &to](const toml::node& node) { take(node, to); }; };
    const std::map<std::string_view, std::function<void(const toml::node&)>> keys = {
        {"select", into(rules.select)},
        {"ignore", into(rules.ignore)},
        {"all", into(rules.all)},
        {"fail-on-warning", into(config.failOnWarning)},
        {"handles", into(rules.handles)},
        {"flash", into(rules.flash)},
        {"jump", into(rules.jump)},
        {"dupe-handles", into(rules.dupeHandles)},
        {"start-label", into(rules.startLabel)},
        {"mark-words", into(rules.markWords)},
        {"media-root", into(rules.mediaRoot)},
        {"required-paths", into(rules.requiredPaths)},
        {"forbidden-paths", into(rules.forbiddenPaths)},
        {"shot-names", into(rules.shotNames)},
        {"reel-length", into(rules.reelLength)},
    };
    const toml::table table = toml::parse_file(path);
    for (const auto& [key, node] : table)
    {
        if (key.str() == "per-path")
        {
            const toml::table* const patterns = node.as_table();
            if (!patterns)
                fail(path, node.source(), "this is no table of patterns");
            for (const auto& [pattern, ignored] : *patterns)
                take(ignored,
                     config.perPath.emplace_back(std::string(pattern.str()), std::vector<std::string>()).second);
            continue;
        }
        const auto found = keys.find(key.str());
        if (found == keys.end())
            fail(path, key.source(), "nobody asks for \"" + std::string(key.str()) + '"');
        found->second(node);
    }
    return config;
}
catch (const toml::parse_error& error)
{
    fail(path, error.source(), error.description());
}

DmFindingOptions optionsFor(const std::string& file, DmFindingOptions options, const PerPath& perPath)
{
    for (const auto& [pattern, ignored] : perPath)
        if (dmMatchesPattern(file, pattern))
            options.ignore.insert(options.ignore.end(), ignored.begin(), ignored.end());
    return options;
}

} // namespace dmtree
