#pragma once

#include <string>

namespace ox {

class oxObject;
class oxBaseStream;

/// Run-time type record of a scene-graph class: a name and the record of the parent class.
/// Every class of the hierarchy owns one `static const oxRtti TYPE`; records are compared by
/// address, so two records with the same name are still different types.
class oxRtti {
public:
    /// Builds a record named `name` whose base type is `parent` (null for a root type).
    /// Both pointers must outlive the record (string literals and static records do). The
    /// constructor is constexpr so that static records are constant-initialised and can be used
    /// from any translation unit during static initialisation.
    constexpr oxRtti(const char* name, const oxRtti* parent) : m_name(name), m_parent(parent) {}

    oxRtti(const oxRtti&) = delete;
    oxRtti& operator=(const oxRtti&) = delete;

    /// The type name given at construction, used as the key of the factory table.
    const char* GetName() const { return m_name; }

    /// The record of the direct base type, null for a root type.
    const oxRtti* GetBaseType() const { return m_parent; }

    /// True when `type` is this very record. O(1).
    bool IsExactly(const oxRtti& type) const { return this == &type; }

    /// True when `type` is this record or one of its ancestors (a type derives from itself).
    /// Cost: the depth of the hierarchy.
    bool IsDerived(const oxRtti& type) const;

private:
    const char* m_name;
    const oxRtti* m_parent;
};

/// Interface of objects that expose their run-time type, plus the process-wide factory table
/// used to rebuild persisted objects from their type name.
class oxRttiInterface {
public:
    /// Builds an object from a stream; returns null when the stream does not hold a valid object.
    using FactoryFunction = oxObject* (*)(oxBaseStream&);

    virtual ~oxRttiInterface();

    /// The record of the dynamic type of this object.
    virtual const oxRtti& GetType() const = 0;

    /// True when the dynamic type is exactly `type`.
    bool IsExactly(const oxRtti& type) const { return GetType().IsExactly(type); }

    /// True when the dynamic type is `type` or derives from it.
    bool IsDerived(const oxRtti& type) const { return GetType().IsDerived(type); }

    /// Registers `factory` under `name`, replacing any factory already registered there.
    /// Thread-safe. Returns false (and registers nothing) for an empty name or a null factory.
    static bool RegisterFactoryFunction(const std::string& name, FactoryFunction factory);

    /// Removes the factory registered under `name`. Thread-safe. Returns false when none was.
    static bool UnregisterFactoryFunction(const std::string& name);

    /// The factory registered under `name`, or null. Thread-safe, O(log n).
    static FactoryFunction FindFactoryFunction(const std::string& name);
};

/// Checked downcast: `object` as a T* when its dynamic type derives from T::TYPE, null otherwise
/// (and for a null argument).
template <class T>
T* oxDynamicCast(oxRttiInterface* object)
{
    return (object != nullptr && object->IsDerived(T::TYPE)) ? static_cast<T*>(object) : nullptr;
}

/// Const overload of oxDynamicCast.
template <class T>
const T* oxDynamicCast(const oxRttiInterface* object)
{
    return (object != nullptr && object->IsDerived(T::TYPE)) ? static_cast<const T*>(object) : nullptr;
}

}  // namespace ox
