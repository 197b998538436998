/// What one reads a list property through: its size, an element, a range, whatever form its owner keeps the elements
/// in.
///
///     for (const DmTreeNode* child : layer.getChildren())
///         if (child) ...
///
/// The elements of a list of sets lie in the vector that the class declared. A constant owner may keep them in another
/// form (DmListForm) and make them when they are asked for: who reads through a window never sees the difference.
/// Lists of values are read as spans (DmPropertySet::valuesOf).
///
/// A window is two words and a range: it is passed by value, and is good as long as its owner lives and the list does
/// not change. Elements may be null, as documents may bring them.
#pragma once

#include "dmPropertyType.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

/// Elements beside each other in memory, of which the first stands at `first` in the list.
struct DmListRun
{
    const DmPropertySetPtr* elements = nullptr;
    int first = 0;
    int count = 0;
};

/// How a constant set may keep a list otherwise than in the vector of the list's field. It is asked by any number of
/// threads at a time, and what it has answered stays where it is for as long as it lives.
class DmListForm
{
public:
    DmListForm() = default;
    DmListForm(const DmListForm&) = delete;
    DmListForm& operator=(const DmListForm&) = delete;
    virtual ~DmListForm() = default;

    virtual int size() const = 0;
    /// A run that `element` lies in, which is in the list. A run without elements: there was no memory to make them.
    virtual DmListRun runAt(int element) const = 0;
};

template <class T>
class DmListWindow
{
public:
    class Iterator
    {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = T*;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = T*;

        Iterator() = default;
        T* operator*() const
        {
            const DmPropertySetPtr* const at = place();
            return at ? static_cast<T*>(at->get()) : nullptr;
        }
        /// Where the element is held; null when there was no memory to make it.
        const DmPropertySetPtr* place() const
        {
            if (_form && static_cast<unsigned>(_index - _run.first) >= static_cast<unsigned>(_run.count))
                _run = _form->runAt(_index);
            return _run.elements ? _run.elements + (_index - _run.first) : nullptr;
        }
        Iterator& operator++()
        {
            ++_index;
            return *this;
        }
        Iterator operator++(int)
        {
            const Iterator before = *this;
            ++_index;
            return before;
        }
        bool operator==(const Iterator& other) const { return _index == other._index; }

    private:
        friend class DmListWindow;
        Iterator(const DmListWindow& window, int index)
            : _form(window._form)
            , _run{window._elements, 0, 0}
            , _index(index)
        {
        }

        const DmListForm* _form = nullptr;
        mutable DmListRun _run; ///< of a vector: all of it
        int _index = 0;
    };

    /// Without elements.
    DmListWindow() = default;
    DmListWindow(const DmPropertySetVector& list)
        : _elements(list.data())
        , _end(static_cast<int>(list.size()))
    {
    }
    explicit DmListWindow(const DmListForm& form)
        : _form(&form)
        , _end(form.size())
    {
    }
    /// The elements of an untyped window, whose list holds T.
    template <class Untyped>
    requires(std::same_as<Untyped, DmPropertySet> &&
             !std::same_as<T, DmPropertySet>) explicit DmListWindow(const DmListWindow<Untyped>& other)
        : _form(other._form)
        , _elements(other._elements)
        , _begin(other._begin)
        , _end(other._end)
    {
    }

    int count() const { return _end - _begin; }
    std::size_t size() const { return static_cast<std::size_t>(count()); }
    bool empty() const { return _begin == _end; }
    /// Null when there is no such element, or when it is null.
    T* at(int element) const
    {
        if (element < 0 || element >= count())
            return nullptr;
        if (!_form)
            return static_cast<T*>(_elements[_begin + element].get());
        const DmListRun run = _form->runAt(_begin + element);
        return run.elements ? static_cast<T*>(run.elements[_begin + element - run.first].get()) : nullptr;
    }
    T* operator[](int element) const { return at(element); }
    /// From `first` on at most `count` elements.
    DmListWindow range(int first, int count) const
    {
        DmListWindow part(*this);
        part._begin = _begin + std::clamp(first, 0, this->count());
        part._end = part._begin + std::clamp(count, 0, _end - part._begin);
        return part;
    }

    Iterator begin() const { return Iterator(*this, _begin); }
    Iterator end() const { return Iterator(*this, _end); }

private:
    template <class U>
    friend class DmListWindow;

    const DmListForm* _form = nullptr; ///< null: the elements lie in a vector
    const DmPropertySetPtr* _elements = nullptr;
    int _begin = 0;
    int _end = 0;
};
