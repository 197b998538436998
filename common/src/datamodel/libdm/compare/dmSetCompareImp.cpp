#include "dmSetCompareImp.h"

#include "dmCueMark.h"
#include "dmKeyFrame.h"
#include "dmNesting.h"
#include "dmPropertyText.h"
#include "dmSetTools.h"
#include "dmSourceInput.h"
#include "dmSourceNode.h"
#include "dmUtf8.h"

#include <cmath>
#include <cstdio>

namespace dmCompare
{
namespace
{

constexpr std::size_t longestText = 80;

std::string shortened(std::string text)
{
    if (text.size() <= longestText)
        return text;
    std::size_t end = longestText;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U)
        --end;
    return text.substr(0, end) + "...";
}

template <class Number>
bool sameNumber(Number a, Number b)
{
    if constexpr (std::is_floating_point_v<Number>)
        return (std::isnan(a) && std::isnan(b)) || (a == b && std::signbit(a) == std::signbit(b));
    else
        return a == b;
}

template <class Number>
std::string numberText(const DmPropertyDef& def, Number value)
{
    if constexpr (std::is_same_v<Number, bool>)
        return value ? "true" : "false";
    else if constexpr (std::is_floating_point_v<Number>)
    {
        char text[40];
        std::snprintf(text, sizeof text, "%.*g", std::is_same_v<Number, float> ? 7 : 15, double(value));
        return text;
    }
    else
    {
        if (def._type == DM_ENUM)
            for (const DmNamedValue& named : def._values)
                if (std::int64_t(named.code) == std::int64_t(value))
                    return named.text;
        return std::to_string(value);
    }
}

/// By what an element of a list is known to people; empty for one that is known by its place alone.
std::string nameOf(const DmPropertySet* set, double keysBy = 0.0)
{
    if (const auto* const key = dynamic_cast<const DmKeyFrame*>(set))
    {
        char text[40];
        std::snprintf(text, sizeof text, "%.9g", double(key->getFrame()) + keysBy);
        return text;
    }
    if (const auto* const entry = dynamic_cast<const DmSourceNode::DictionaryEntry*>(set))
        return dmUtf8(entry->getKey());
    if (const auto* const mark = dynamic_cast<const DmCueMark*>(set))
        return dmUtf8(mark->getCueMarkName()) + '@' + std::to_string(mark->getCueMarkTime());
    return {};
}

/// Goes down without recursion: documents may be nested deeper than a thread's stack would like.
class Comparison
{
public:
    Comparison(const Tell& sink, double keysBy)
        : _sink(sink)
        , _keysBy(keysBy)
    {
    }

    /// False for sets that hold themselves.
    bool run(const DmPropertySet& a, const DmPropertySet& b, const std::string& path, const LeftOut* leftOut)
    {
        _top = path;
        _left.push_back({&a, &b, -1, 0});
        while (!_left.empty())
        {
            const Pair pair = _left.back();
            _left.pop_back();
            if (pair.depth >= dmMaxNesting)
                return false;
            const std::size_t first = _left.size();
            sets(pair, pair.step < 0 ? leftOut : nullptr);
            std::reverse(_left.begin() + std::ptrdiff_t(first), _left.end());
        }
        return true;
    }

private:
    struct Pair
    {
        const DmPropertySet* a;
        const DmPropertySet* b;
        int step; ///< that led here; -1 at the top
        int depth;
    };
    /// To a property, an element of it, or an entry.
    struct Step
    {
        int above;
        const DmPropertyDef* def;
        int element = -1;
        const DmPropertySet* named = nullptr;
        const DmString* key = nullptr;
    };

    std::string pathOf(const Step& step) const
    {
        std::string path = step.above < 0 ? _top : pathAt(step.above);
        path += (path.empty() ? "" : "/") + step.def->_utf8Name;
        if (step.key)
            return path + "[\"" + dmUtf8(*step.key) + "\"]";
        if (step.element < 0)
            return path;
        const std::string name = nameOf(step.named);
        return path + '[' + (name.empty() ? std::to_string(step.element) : name) + ']';
    }
    std::string pathAt(int step) const
    {
        std::vector<const Step*> way;
        for (int i = step; i >= 0; i = _steps[std::size_t(i)].above)
            way.push_back(&_steps[std::size_t(i)]);
        std::string path = _top;
        for (auto each = way.rbegin(); each != way.rend(); ++each)
        {
            Step alone = **each;
            alone.above = -1;
            const std::string text = pathOf(alone).substr(_top.empty() ? 0 : _top.size() + 1);
            path += (path.empty() ? "" : "/") + text;
        }
        return path;
    }
    void report(const Step& step, std::string was, std::string became) const
    {
        _sink({pathOf(step), shortened(std::move(was)), shortened(std::move(became))});
    }

    void sets(const Pair& pair, const LeftOut* leftOut)
    {
        const DmPropertySet& a = *pair.a;
        const DmPropertySet& b = *pair.b;
        const DmPropertySetData& data = a.classData();
        if (&data != &b.classData())
        {
            _sink({pair.step < 0 ? _top : pathAt(pair.step), dmUtf8(a.getPSetName()), dmUtf8(b.getPSetName())});
            return;
        }
        // Where keys stand is what they are known by.
        const bool keysMoved = _keysBy != 0.0 && dynamic_cast<const DmKeyFrame*>(&a);
        for (int i = keysMoved ? DmKeyFrame::Value : 0; i < data.size(); ++i)
            if (!leftOut || !(*leftOut)(i))
                property(pair, i, *data.at(i));
    }

    void property(const Pair& pair, int i, const DmPropertyDef& def)
    {
        const Step step{pair.step, &def};
        const DmPropertySet& a = *pair.a;
        const DmPropertySet& b = *pair.b;
        const int depth = pair.depth + 1;
        dmVisitStorage(def._type,
                       [&]<class T>(std::type_identity<T>)
                       {
                           if constexpr (std::is_same_v<T, DmPropertySetVector>)
                               lists(a.elementsOf(i), b.elementsOf(i), step, depth);
                           else if constexpr (!std::is_void_v<T>)
                           {
                               const T& one = *static_cast<const T*>(a.fieldOf(i));
                               const T& other = *static_cast<const T*>(b.fieldOf(i));
                               if constexpr (DmNumberStorage<T>)
                               {
                                   if (!sameNumber(one, other))
                                       report(step, numberText(def, one), numberText(def, other));
                               }
                               else if constexpr (std::is_same_v<T, DmString>)
                               {
                                   if (one.view() != other.view())
                                       report(step, dmUtf8(one), dmUtf8(other));
                               }
                               else if constexpr (std::is_same_v<T, DmPropertySetPtr>)
                                   held(one.get(), other.get(), step, depth);
                               else if constexpr (std::is_same_v<T, DmPropertySetMap>)
                                   maps(one, other, step, depth);
                               else
                                   values(one, other, step);
                           }
                       });
    }

    void held(const DmPropertySet* a, const DmPropertySet* b, const Step& step, int depth)
    {
        if (a == b)
            return;
        if (!a || !b)
            return report(step, textOf(a), textOf(b));
        _steps.push_back(step);
        _left.push_back({a, b, int(_steps.size()) - 1, depth});
    }

    static std::string textOf(const DmPropertySet* set)
    {
        const std::string name = nameOf(set);
        return (set ? dmUtf8(set->getPSetName()) : "nothing") + (name.empty() ? "" : ' ' + name);
    }

    template <class Value>
    void values(const std::vector<Value>& a, const std::vector<Value>& b, const Step& step)
    {
        const auto text = [&](const std::vector<Value>& list)
        {
            std::string all;
            for (std::size_t i = 0; i < list.size() && all.size() <= longestText; ++i)
            {
                if constexpr (std::is_same_v<Value, DmString>)
                    all += (i == 0 ? "" : ", ") + dmUtf8(list[i]);
                else
                    all += (i == 0 ? "" : ", ") + numberText(*step.def, list[i]);
            }
            return all;
        };
        const auto same = [](const Value& one, const Value& other)
        {
            if constexpr (std::is_same_v<Value, DmString>)
                return one.view() == other.view();
            else
                return sameNumber(one, other);
        };
        if (!std::ranges::equal(a, b, same))
            report(step, text(a), text(b));
    }

    void maps(const DmPropertySetMap& a, const DmPropertySetMap& b, Step step, int depth)
    {
        auto one = a.begin();
        auto other = b.begin();
        while (one != a.end() || other != b.end())
        {
            const bool isGone = other == b.end() || (one != a.end() && one->first < other->first);
            const bool isNew = !isGone && (one == a.end() || other->first < one->first);
            step.key = isNew ? &other->first : &one->first;
            if (isGone)
                report(step, textOf(one->second.get()), "");
            else if (isNew)
                report(step, "", textOf(other->second.get()));
            else
                held(one->second.get(), other->second.get(), step, depth);
            if (!isNew)
                ++one;
            if (!isGone)
                ++other;
        }
    }

    void lists(const DmListWindow<DmPropertySet>& a, const DmListWindow<DmPropertySet>& b, Step step, int depth)
    {
        const auto at = [&step](const DmPropertySet* element, int i)
        {
            Step to = step;
            to.element = i;
            to.named = element;
            return to;
        };
        int first = 0;
        int endA = a.count();
        int endB = b.count();
        if (endA == endB && nameOf(a.at(0)).empty())
        {
            for (int i = 0; i < endA; ++i)
                held(a.at(i), b.at(i), at(a.at(i), i), depth);
            return;
        }
        while (first < endA && first < endB && isEqual(a.at(first), b.at(first)))
            ++first;
        while (endA > first && endB > first && isEqual(a.at(endA - 1), b.at(endB - 1)))
        {
            --endA;
            --endB;
        }
        std::map<std::string, std::vector<int>> named;
        for (int i = endB; i-- > first;)
            named[nameOf(b.at(i))].push_back(i);
        for (int i = first; i < endA; ++i)
        {
            std::vector<int>& from = named[nameOf(a.at(i), _keysBy)];
            if (from.empty())
            {
                report(at(a.at(i), i), textOf(a.at(i)), "");
                continue;
            }
            held(a.at(i), b.at(from.back()), at(a.at(i), i), depth);
            from.pop_back();
        }
        std::vector<int> added;
        for (const auto& [name, places] : named)
            added.insert(added.end(), places.begin(), places.end());
        std::ranges::sort(added);
        for (const int i : added)
            report(at(b.at(i), i), "", textOf(b.at(i)));
    }

    bool isEqual(const DmPropertySet* a, const DmPropertySet* b) const
    {
        bool equal = a == b;
        if (!equal && a && b && _keysBy == 0.0 && dmDeepEqual(*a, *b, equal) != DM_NO_ERROR)
            equal = false;
        return equal;
    }

    const Tell& _sink;
    double _keysBy;
    std::string _top;
    std::vector<Pair> _left;
    std::vector<Step> _steps;
};

} // namespace

bool compareSets(const DmPropertySet& a, const DmPropertySet& b, const std::string& path, const LeftOut& leftOut,
                 const Tell& sink, double keysBy)
{
    return Comparison(sink, keysBy).run(a, b, path, leftOut ? &leftOut : nullptr);
}

} // namespace dmCompare
