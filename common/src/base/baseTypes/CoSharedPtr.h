/// The owning pointer over CoRefCountedMT: one reference each, released on destruction.
///
///     CoSharedPtr<DmCueMark> mark = DmCueMark::create();
///     CoSharedPtr<DmPropertySet> set = mark;     // converts to base classes, never by itself to a raw pointer
///
/// Copies of one object may be used from several threads; one CoSharedPtr may not.
#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <utility>

namespace DM
{

/// A pointer to U converts to a pointer to T: U is T, or derives from it.
template <class U, class T>
concept CoPointsInto = std::convertible_to<U*, T*>;

template <class T>
class CoSharedPtr
{
public:
    using element_type = T;

    CoSharedPtr() = default;
    CoSharedPtr(std::nullptr_t) {}
    explicit CoSharedPtr(T* object)
        : _object(object)
    {
        if (_object)
            _object->ref();
    }
    CoSharedPtr(const CoSharedPtr& other)
        : CoSharedPtr(other._object)
    {
    }
    CoSharedPtr(CoSharedPtr&& other) noexcept
        : _object(std::exchange(other._object, nullptr))
    {
    }
    template <CoPointsInto<T> U>
    CoSharedPtr(const CoSharedPtr<U>& other)
        : CoSharedPtr(static_cast<T*>(other.get()))
    {
    }
    template <CoPointsInto<T> U>
    CoSharedPtr(CoSharedPtr<U>&& other) noexcept
        : _object(other.detach())
    {
    }
    ~CoSharedPtr() { drop(_object); }

    CoSharedPtr& operator=(CoSharedPtr other) noexcept
    {
        swap(other);
        return *this;
    }

    T* get() const { return _object; }
    T& operator*() const { return *_object; }
    T* operator->() const { return _object; }
    explicit operator bool() const { return _object != nullptr; }

    void reset() { CoSharedPtr().swap(*this); }
    void reset(T* object) { CoSharedPtr(object).swap(*this); }
    void swap(CoSharedPtr& other) noexcept { std::swap(_object, other._object); }

    /// Hands the object over together with this pointer's reference: whoever takes it must give the reference back.
    [[nodiscard]] T* detach() noexcept { return std::exchange(_object, nullptr); }
    /// Hands the object over as interfaces with raw pointers do: without this pointer's reference, and not deleted even
    /// when that was the last one.
    [[nodiscard]] T* release() noexcept
    {
        T* const object = detach();
        if (object)
            static_cast<void>(object->unref());
        return object;
    }

    template <class U>
    bool operator==(const CoSharedPtr<U>& other) const
    {
        return _object == other.get();
    }
    bool operator==(std::nullptr_t) const { return _object == nullptr; }

private:
    template <class U>
    friend class CoSharedPtr;

    static void drop(T* object)
    {
        if (object && object->unref())
            delete object;
    }

    T* _object = nullptr;
};

template <class T, class U>
CoSharedPtr<T> staticPointerCast(const CoSharedPtr<U>& pointer)
{
    return CoSharedPtr<T>(static_cast<T*>(pointer.get()));
}

template <class T, class U>
CoSharedPtr<T> dynamicPointerCast(const CoSharedPtr<U>& pointer)
{
    return CoSharedPtr<T>(dynamic_cast<T*>(pointer.get()));
}

} // namespace DM

template <class T>
struct std::hash<DM::CoSharedPtr<T>>
{
    std::size_t operator()(const DM::CoSharedPtr<T>& pointer) const { return std::hash<T*>()(pointer.get()); }
};
