// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Export.h"
#include "corvana/ReferenceCount.h"

#include <memory>
#include <type_traits>
#include <utility>

namespace Corvana {

/// Deletes a shared object when its last owner has left: plain delete, which is virtual for polymorphic classes.
struct DeleteCountedObjDeleter
{
    template <class T>
    static void destroy(T* in_pObject)
    {
        delete in_pObject;
    }
};

/// Stops the program with the standard assertion "m_pObject == 0", in builds with NDEBUG too: a counted pointer that
/// holds an object without a counter has been overwritten, and going on would delete at random.
[[noreturn]] CORVANA_API void abortOnObjectWithoutCount(const void* m_pObject);

/// Shared ownership of an object through a separate counter. With the default counter all owners of one object
/// belong to one thread; see TSHandle.
template <class T, class RefCntClass = ReferenceCount, class DeleteCls = DeleteCountedObjDeleter>
class CountedBuiltInPtr
{
public:
    CountedBuiltInPtr() = default;
    /// Takes ownership, even when the counter cannot be allocated and std::bad_alloc leaves the constructor.
    /// Null makes no counter.
    explicit CountedBuiltInPtr(T* in_pObject)
    {
        if (in_pObject == nullptr)
            return;
        std::unique_ptr<T, Destroyer> pObject(in_pObject);
        m_pCount = new RefCntClass;
        m_pObject = pObject.release();
    }
    CountedBuiltInPtr(const CountedBuiltInPtr& in_other) noexcept
        : CountedBuiltInPtr(in_other.m_pObject, in_other.m_pCount)
    {
    }
    CountedBuiltInPtr(CountedBuiltInPtr&& inout_other) noexcept
        : m_pObject(std::exchange(inout_other.m_pObject, nullptr))
        , m_pCount(std::exchange(inout_other.m_pCount, nullptr))
    {
    }
    /// Derived to base, as plain pointers convert; shares the counter.
    template <class U>
    requires std::is_convertible_v<U*, T*>
    // NOLINTNEXTLINE(google-explicit-constructor)
    CountedBuiltInPtr(const CountedBuiltInPtr<U, RefCntClass, DeleteCls>& in_other)
    noexcept
        : CountedBuiltInPtr(in_other.m_pObject, in_other.m_pCount)
    {
    }
    ~CountedBuiltInPtr() { release(); }
    CountedBuiltInPtr& operator=(CountedBuiltInPtr in_other) noexcept
    {
        std::swap(m_pObject, in_other.m_pObject);
        std::swap(m_pCount, in_other.m_pCount);
        return *this;
    }

    /// Checked down-cast that shares the counter; null when the object is no U.
    template <class U>
    CountedBuiltInPtr<U, RefCntClass, DeleteCls> cast() const
    {
        U* pObject = dynamic_cast<U*>(m_pObject);
        return pObject == nullptr ? CountedBuiltInPtr<U, RefCntClass, DeleteCls>()
                                  : CountedBuiltInPtr<U, RefCntClass, DeleteCls>(pObject, m_pCount);
    }

    bool isNull() const { return m_pObject == nullptr; }
    T* get() const { return m_pObject; }
    T& operator*() const { return *m_pObject; }
    T* operator->() const { return m_pObject; }

private:
    template <class U, class R, class D>
    friend class CountedBuiltInPtr;

    struct Destroyer
    {
        void operator()(T* in_pObject) const { DeleteCls::destroy(in_pObject); }
    };

    CountedBuiltInPtr(T* in_pObject, RefCntClass* in_pCount) noexcept
        : m_pObject(in_pObject)
        , m_pCount(in_pCount)
    {
        if (m_pCount != nullptr)
            m_pCount->increment();
    }

    void release()
    {
        if (m_pCount == nullptr) {
            if (m_pObject != nullptr)
                abortOnObjectWithoutCount(m_pObject);
        } else if (m_pCount->decrement()) {
            const std::unique_ptr<RefCntClass> pCount(m_pCount);
            DeleteCls::destroy(m_pObject);
        }
    }

    T* m_pObject = nullptr;
    RefCntClass* m_pCount = nullptr;
};

template <class T>
using CountedObjPtr = CountedBuiltInPtr<T>;
template <class T, class RefCntClass = ReferenceCount>
using Handle = CountedBuiltInPtr<T, RefCntClass>;
/// A handle whose owners may live in several threads: the count is atomic, the object is not.
template <class T>
using TSHandle = CountedBuiltInPtr<T, AtomicReferenceCount>;

} // namespace Corvana
