// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Corvana {

/// Points at a value that its evaluator owns and overwrites at its next evaluation. Never deletes; null by default.
template <class T>
class LimitedObjPtr
{
public:
    LimitedObjPtr() = default;
    explicit LimitedObjPtr(T* in_pObject)
        : m_pObject(in_pObject)
    {
    }

    void pointAt(T& in_object) { m_pObject = &in_object; }

    bool isNull() const { return m_pObject == nullptr; }
    T* get() const { return m_pObject; }
    T& operator*() const { return *m_pObject; }
    T* operator->() const { return m_pObject; }

private:
    T* m_pObject = nullptr;
};

} // namespace Corvana
