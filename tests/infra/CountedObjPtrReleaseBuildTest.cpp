// SPDX-License-Identifier: Apache-2.0
// This file is compiled with NDEBUG: the check of a counted pointer holds in release builds too.
#ifndef NDEBUG
#error "this file is about builds with NDEBUG"
#endif
#include "corvana/CountedObjPtr.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>

namespace {

// A class of this file's own, so that no other file's instantiation stands in for the one compiled here.
struct ReleaseBuildObject
{
    int m_iValue = 1;
};

void destroyAPointerWithoutACounter()
{
    static ReleaseBuildObject* s_pObject = nullptr;
    s_pObject = new ReleaseBuildObject;
    {
        Corvana::CountedObjPtr<ReleaseBuildObject> pBroken;
        std::memcpy(static_cast<void*>(&pBroken), &s_pObject, sizeof s_pObject);
    }
}

} // namespace

TEST(CountedObjPtrDeathTest, StopsTheProgramInReleaseBuildsToo)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(destroyAPointerWithoutACounter(), testing::KilledBySignal(SIGABRT),
                "Assertion .m_pObject == 0. failed");
}
