/// Reels' names as lists can hold them: of limited length, without blanks, and one short name for each throughout.
#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <string_view>

namespace interchange
{

class EdlReels
{
public:
    static constexpr std::size_t usualLength = 32;

    explicit EdlReels(std::size_t length = usualLength)
        : _length(length)
    {
    }

    /// A name that every system takes.
    static bool isPlain(std::string_view name);
    /// The list that the name came from has another one for it, or the same.
    void know(const std::string& name, const std::string& ofList);
    /// The name itself, where it fits.
    const std::string& ofList(const std::string& name);

private:
    std::string shortened(const std::string& name) const;

    std::size_t _length;
    std::map<std::string, std::string> _names; ///< those of lists, by the model's
    std::set<std::string> _taken;
};

} // namespace interchange
