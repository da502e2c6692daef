// SPDX-License-Identifier: Apache-2.0
#include "corvana/LimitedObjPtr.h"

#include "corvana/MathDoubleVector.h"

#include <gtest/gtest.h>

using Corvana::LimitedObjPtr;
using Corvana::Math::DoubleVector;

TEST(LimitedObjPtr, IsNullByDefault)
{
    const LimitedObjPtr<DoubleVector> pVector;

    EXPECT_TRUE(pVector.isNull());
    EXPECT_EQ(nullptr, pVector.get());
}

TEST(LimitedObjPtr, ReachesWhatItPointsAt)
{
    DoubleVector vValues{1.0, 2.0};

    const LimitedObjPtr<DoubleVector> pVector(&vValues);

    EXPECT_FALSE(pVector.isNull());
    EXPECT_EQ(&vValues, pVector.get());
    EXPECT_EQ(&vValues, &*pVector);
    EXPECT_EQ(2u, pVector->size());
}

TEST(LimitedObjPtr, CanBePointedAtAnotherObject)
{
    DoubleVector vFirst{1.0};
    DoubleVector vSecond{2.0};
    LimitedObjPtr<DoubleVector> pVector(&vFirst);

    pVector.pointAt(vSecond);

    EXPECT_EQ(&vSecond, pVector.get());
}

TEST(LimitedObjPtr, CopiesPointAtTheSameObjectAndNeverDeleteIt)
{
    DoubleVector vValues{1.0};
    {
        const LimitedObjPtr<DoubleVector> pVector(&vValues);
        const LimitedObjPtr<DoubleVector> pCopy(pVector);
        EXPECT_EQ(pVector.get(), pCopy.get());
    }
    EXPECT_EQ(1.0, vValues[0]);
}

TEST(LimitedObjPtr, SeesWhatItsOwnerWritesLater)
{
    DoubleVector vValues{1.0};
    const LimitedObjPtr<DoubleVector> pVector(&vValues);

    vValues = DoubleVector{5.0, 6.0};

    EXPECT_EQ(DoubleVector({5.0, 6.0}), *pVector);
}
