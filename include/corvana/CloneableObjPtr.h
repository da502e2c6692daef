// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Assertion.h"
#include "corvana/Cloneable.h"

#include <utility>

namespace Corvana {

/// Exclusive ownership with deep copy: copying clones the object. The object's class derives from Cloneable.
/// A clone that is no T is destroyed, reported ("aCP.isNull() || m_ptr", "rhs.isNull() || m_ptr") and leaves null.
template <class T>
class CloneableObjPtr
{
public:
    explicit CloneableObjPtr(T* in_pObject = nullptr) noexcept
        : m_ptr(in_pObject)
    {
    }
    CloneableObjPtr(const CloneableObjPtr& in_other)
        : m_ptr(cloneOf(in_other))
    {
        CORVANA_ASSERT_AT(CORVANA_HERE, in_other.isNull() || m_ptr != nullptr, "aCP.isNull() || m_ptr");
    }
    CloneableObjPtr(CloneableObjPtr&& inout_other) noexcept
        : m_ptr(std::exchange(inout_other.m_ptr, nullptr))
    {
    }
    ~CloneableObjPtr() { delete m_ptr; }
    CloneableObjPtr& operator=(const CloneableObjPtr& in_other)
    {
        if (this == &in_other)
            return *this;
        // The source may lie within the object that goes, so it is not looked at afterwards.
        const bool bNull = in_other.isNull();
        reset(cloneOf(in_other));
        CORVANA_ASSERT_AT(CORVANA_HERE, bNull || m_ptr != nullptr, "rhs.isNull() || m_ptr");
        return *this;
    }
    CloneableObjPtr& operator=(CloneableObjPtr&& inout_other) noexcept
    {
        reset(std::exchange(inout_other.m_ptr, nullptr));
        return *this;
    }

    /// Destroys the held object and owns the given one, which may be null.
    void reset(T* in_pObject = nullptr)
    {
        if (in_pObject != m_ptr)
            delete std::exchange(m_ptr, in_pObject);
    }

    bool isNull() const { return m_ptr == nullptr; }
    T* get() const { return m_ptr; }
    T& operator*() const { return *m_ptr; }
    T* operator->() const { return m_ptr; }

private:
    static T* cloneOf(const CloneableObjPtr& in_other)
    {
        if (in_other.isNull())
            return nullptr;
        Cloneable* pClone = static_cast<const Cloneable&>(*in_other).clone();
        T* pObject = dynamic_cast<T*>(pClone);
        if (pObject == nullptr)
            delete pClone;
        return pObject;
    }

    T* m_ptr;
};

} // namespace Corvana
