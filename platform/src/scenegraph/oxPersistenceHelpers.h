#pragma once

// Helpers shared by the Load/Save/Equals/Clone of scene objects that own other objects.

#include "scenegraph/oxBaseStream.h"
#include "scenegraph/oxObject.h"
#include "scenegraph/oxPointer.h"

#include <cstdint>

namespace ox {
namespace detail {

/// True when both pointers are null or both objects are Equals.
inline bool sameContent(const oxObject* a, const oxObject* b)
{
    return a == nullptr ? b == nullptr : a->Equals(b);
}

/// A deep copy of `object` (through its Clone), or null for a null object or a failed copy.
template <class T>
oxPointer<T> deepCopy(const T* object)
{
    oxObject* copy = nullptr;
    if (object == nullptr || !object->Clone(copy)) {
        return oxPointer<T>();
    }
    return oxPointer<T>(static_cast<T*>(copy));
}

/// Writes a presence byte, then the object's fields when present (the type is implied by the
/// owner, so no type name is written).
inline bool saveOptional(oxBaseStream& stream, const oxObject* object)
{
    const std::uint8_t present = object != nullptr ? 1 : 0;
    return stream.writeValue(present) && (object == nullptr || object->Save(stream));
}

/// Reads what saveOptional wrote into `object`: a new T, or null when absent. Returns false
/// (object unchanged) on a short or invalid stream.
template <class T>
bool loadOptional(oxBaseStream& stream, oxPointer<T>& object)
{
    std::uint8_t present = 0;
    if (!stream.readValue(present) || present > 1) {
        return false;
    }
    if (present == 0) {
        object.reset();
        return true;
    }
    oxPointer<T> loaded(new T());
    if (!loaded->Load(stream)) {
        return false;
    }
    object = loaded;
    return true;
}

}  // namespace detail
}  // namespace ox
