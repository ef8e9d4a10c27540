#pragma once

#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>

namespace ox {

/// Intrusive smart pointer over reference-counted scene objects (T provides IncrementReferences
/// and DecrementReferences, as oxObject does). Holds one reference while non-null and releases it
/// on destruction, reset or reassignment; the last release deletes the object. Any number of
/// oxPointer and raw pointers may designate the same object: the count lives in the object.
template <class T>
class oxPointer {
public:
    /// An empty pointer.
    oxPointer() noexcept = default;
    oxPointer(std::nullptr_t) noexcept {}

    /// Takes a new reference on `object` (may be null).
    oxPointer(T* object) : m_object(object) { acquire(); }

    /// Copies share the object and add one reference; moves transfer the reference.
    oxPointer(const oxPointer& other) : m_object(other.m_object) { acquire(); }
    oxPointer(oxPointer&& other) noexcept : m_object(other.m_object) { other.m_object = nullptr; }

    /// Conversion from a pointer to a derived (or otherwise convertible) type.
    template <class U, class = std::enable_if_t<std::is_convertible<U*, T*>::value>>
    oxPointer(const oxPointer<U>& other) : m_object(other.get())
    {
        acquire();
    }

    /// Moving conversion: takes over the reference held by `other`.
    template <class U, class = std::enable_if_t<std::is_convertible<U*, T*>::value>>
    oxPointer(oxPointer<U>&& other) noexcept : m_object(other.release())
    {}

    ~oxPointer() { releaseHeld(); }

    /// Assignments release the previous object after taking the new reference (self-assignment safe).
    oxPointer& operator=(const oxPointer& other)
    {
        reset(other.m_object);
        return *this;
    }

    oxPointer& operator=(oxPointer&& other) noexcept
    {
        if (this != &other) {
            T* previous = m_object;
            m_object = other.m_object;
            other.m_object = nullptr;
            releaseObject(previous);
        }
        return *this;
    }

    template <class U, class = std::enable_if_t<std::is_convertible<U*, T*>::value>>
    oxPointer& operator=(const oxPointer<U>& other)
    {
        reset(other.get());
        return *this;
    }

    template <class U, class = std::enable_if_t<std::is_convertible<U*, T*>::value>>
    oxPointer& operator=(oxPointer<U>&& other) noexcept
    {
        T* previous = m_object;
        m_object = other.release();
        releaseObject(previous);
        return *this;
    }

    oxPointer& operator=(T* object)
    {
        reset(object);
        return *this;
    }

    oxPointer& operator=(std::nullptr_t)
    {
        reset();
        return *this;
    }

    /// Points at `object` (taking a reference) and releases the previous object. Safe when
    /// `object` is the current object or is only kept alive by the current reference's owner.
    void reset(T* object = nullptr)
    {
        T* previous = m_object;
        m_object = object;
        acquire();
        releaseObject(previous);
    }

    /// Gives up ownership without releasing: returns the object, whose reference the caller now
    /// holds, and leaves this pointer null.
    T* release() noexcept
    {
        T* object = m_object;
        m_object = nullptr;
        return object;
    }

    // Access to the object (null when empty); comparisons below are by address.
    T* get() const noexcept { return m_object; }
    T* operator->() const noexcept { return m_object; }
    T& operator*() const noexcept { return *m_object; }
    explicit operator bool() const noexcept { return m_object != nullptr; }
    operator T*() const noexcept { return m_object; }

    /// Exchanges the objects of two pointers without touching the counts.
    void swap(oxPointer& other) noexcept { std::swap(m_object, other.m_object); }

private:
    void acquire()
    {
        if (m_object != nullptr) {
            m_object->IncrementReferences();
        }
    }

    void releaseHeld()
    {
        releaseObject(m_object);
        m_object = nullptr;
    }

    static void releaseObject(T* object)
    {
        if (object != nullptr) {
            object->DecrementReferences();
        }
    }

    T* m_object = nullptr;
};

template <class T, class U>
bool operator==(const oxPointer<T>& a, const oxPointer<U>& b)
{
    return a.get() == b.get();
}
template <class T, class U>
bool operator!=(const oxPointer<T>& a, const oxPointer<U>& b)
{
    return a.get() != b.get();
}
template <class T, class U>
bool operator==(const oxPointer<T>& a, const U* b)
{
    return a.get() == b;
}
template <class T, class U>
bool operator!=(const oxPointer<T>& a, const U* b)
{
    return a.get() != b;
}
template <class T, class U>
bool operator==(const U* a, const oxPointer<T>& b)
{
    return a == b.get();
}
template <class T, class U>
bool operator!=(const U* a, const oxPointer<T>& b)
{
    return a != b.get();
}
template <class T>
bool operator==(const oxPointer<T>& a, std::nullptr_t)
{
    return a.get() == nullptr;
}
template <class T>
bool operator!=(const oxPointer<T>& a, std::nullptr_t)
{
    return a.get() != nullptr;
}
template <class T>
bool operator==(std::nullptr_t, const oxPointer<T>& b)
{
    return b.get() == nullptr;
}
template <class T>
bool operator!=(std::nullptr_t, const oxPointer<T>& b)
{
    return b.get() != nullptr;
}
template <class T, class U>
bool operator<(const oxPointer<T>& a, const oxPointer<U>& b)
{
    return std::less<const void*>()(a.get(), b.get());
}

}  // namespace ox

namespace std {
/// Hash by address, so that oxPointer can key unordered containers.
template <class T>
struct hash<ox::oxPointer<T>> {
    size_t operator()(const ox::oxPointer<T>& p) const noexcept { return hash<T*>()(p.get()); }
};
}  // namespace std
