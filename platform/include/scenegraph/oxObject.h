#pragma once

#include "scenegraph/oxRtti.h"

#include <atomic>

namespace ox {

class oxBaseStream;

/// Reference-counted base of every scene object. The count is intrusive: oxPointer adds and
/// releases references, and the object deletes itself when the last reference is released.
/// Objects must therefore be created with `new`. Copying an object never copies its count (a copy
/// starts unreferenced).
///
/// Persistence and identity are virtual and chained: each class implements Load, Save, Equals
/// and Clone by first calling its base class and then handling its own fields, so a derived
/// class extends them the same way.
class oxObject : public oxRttiInterface {
public:
    static const oxRtti TYPE;

    oxObject() = default;
    oxObject(const oxObject&) : oxRttiInterface(), m_references(0) {}
    oxObject& operator=(const oxObject&) { return *this; }
    ~oxObject() override;

    const oxRtti& GetType() const override { return TYPE; }

    /// Adds one reference. Thread-safe.
    void IncrementReferences();

    /// Releases one reference and deletes the object when none is left. Thread-safe.
    /// Precondition: GetReferences() > 0.
    void DecrementReferences();

    /// The current number of references.
    int GetReferences() const { return m_references.load(std::memory_order_acquire); }

    /// Reads this object's fields, as written by Save, from `stream`. The base class has no
    /// fields; returns stream.good(). Returns false on a short or invalid stream.
    virtual bool Load(oxBaseStream& stream);

    /// Writes this object's fields to `stream` (without the type name: see oxSaveObject).
    /// Returns false when a write fails.
    virtual bool Save(oxBaseStream& stream) const;

    /// Called once the object and everything it references have been loaded. No-op here.
    virtual void PostLink();

    /// True when `other` has exactly the same type and the same content. The base class compares
    /// the types only.
    virtual bool Equals(const oxObject* other) const;

    /// Copies this object into `target`. A null target receives a new object of this class
    /// (the caller owns it, reference count 0). A non-null target must derive from this object's
    /// type, otherwise nothing is copied and false comes back. The base class copies nothing; it
    /// cannot allocate (it is abstract) and returns false for a null target.
    virtual bool Clone(oxObject*& target) const;

protected:
    /// The allocation step shared by the Clone of concrete classes: when `target` is null it
    /// receives a `new Self`; then `copy(target)` copies the content (the base classes' part
    /// first, then the class's own fields) and returns false when the target is unsuitable. An
    /// object allocated here is deleted again, and `target` reset to null, when the copy fails.
    template <class Self, class CopyFunction>
    static bool CloneWith(oxObject*& target, CopyFunction copy)
    {
        const bool allocated = target == nullptr;
        if (allocated) {
            target = new Self();
        }
        if (copy(target)) {
            return true;
        }
        if (allocated) {
            delete target;
            target = nullptr;
        }
        return false;
    }

    /// The factory step shared by persistent classes: a `new T` loaded from `stream`, or null
    /// (nothing leaked) when Load fails.
    template <class T>
    static oxObject* LoadNew(oxBaseStream& stream)
    {
        T* object = new T();
        if (object->Load(stream)) {
            return object;
        }
        delete object;
        return nullptr;
    }

private:
    std::atomic<int> m_references{0};
};

/// Writes `object` with its type name first, so that oxLoadObject can find the factory that
/// rebuilds it. Returns false when a write fails.
bool oxSaveObject(oxBaseStream& stream, const oxObject& object);

/// Reads a type name and rebuilds the object through the factory registered under that name,
/// then calls its PostLink. Returns a new object (reference count 0, the caller owns it), or
/// null when the name has no registered factory or the stream is short or invalid.
oxObject* oxLoadObject(oxBaseStream& stream);

}  // namespace ox
