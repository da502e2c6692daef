// SPDX-License-Identifier: Apache-2.0
#include "corvana/CloneableObjPtr.h"

#include "support/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <utility>

using Corvana::Cloneable;
using Corvana::CloneableObjPtr;
using Corvana::Test::AssertionCapture;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

int s_iNbAlive = 0;

class Part : public virtual Cloneable
{
public:
    explicit Part(int in_iValue)
        : m_iValue(in_iValue)
    {
        ++s_iNbAlive;
    }
    Part(const Part& in_other)
        : Object(in_other)
        , Cloneable(in_other)
        , m_iValue(in_other.m_iValue)
    {
        ++s_iNbAlive;
    }
    Part& operator=(const Part&) = delete;
    ~Part() override { --s_iNbAlive; }
    Part* clone() const override { return new Part(*this); }

    int m_iValue;
};

class DerivedPart : public Part
{
public:
    using Part::Part;
    DerivedPart* clone() const override { return new DerivedPart(*this); }
};

// Its author forgot to override clone(): the copy is another class.
class SlicingPart : public Part
{
public:
    using Part::Part;
};

class UnclonablePart : public Part
{
public:
    using Part::Part;
    UnclonablePart* clone() const override { throw std::runtime_error("no copy"); }
};

class CloneableObjPtrTest : public testing::Test
{
protected:
    void SetUp() override { s_iNbAlive = 0; }
    void TearDown() override { EXPECT_EQ(0, s_iNbAlive); }
};

} // namespace

TEST_F(CloneableObjPtrTest, IsNullByDefault)
{
    const CloneableObjPtr<Part> pPart;

    EXPECT_TRUE(pPart.isNull());
    EXPECT_EQ(nullptr, pPart.get());
}

TEST_F(CloneableObjPtrTest, OwnsItsObject)
{
    {
        const CloneableObjPtr<Part> pPart(new Part(3));
        EXPECT_FALSE(pPart.isNull());
        EXPECT_EQ(3, pPart->m_iValue);
        EXPECT_EQ(3, (*pPart).m_iValue);
        EXPECT_EQ(1, s_iNbAlive);
    }
    EXPECT_EQ(0, s_iNbAlive);
}

TEST_F(CloneableObjPtrTest, CopyingClonesTheObject)
{
    const CloneableObjPtr<Part> pPart(new Part(3));

    const CloneableObjPtr<Part> pCopy(pPart);

    EXPECT_NE(pPart.get(), pCopy.get());
    EXPECT_EQ(3, pCopy->m_iValue);
    pPart->m_iValue = 4;
    EXPECT_EQ(3, pCopy->m_iValue);
}

TEST_F(CloneableObjPtrTest, CopyingKeepsTheDynamicType)
{
    const CloneableObjPtr<Part> pPart(new DerivedPart(3));

    const CloneableObjPtr<Part> pCopy(pPart);

    EXPECT_NE(nullptr, dynamic_cast<DerivedPart*>(pCopy.get()));
}

TEST_F(CloneableObjPtrTest, CopiesNullToNullWithoutAReport)
{
    AssertionCapture assertions;
    const CloneableObjPtr<Part> pNull;
    CloneableObjPtr<Part> pAssigned(new Part(3));

    const CloneableObjPtr<Part> pCopy(pNull); // NOLINT(performance-unnecessary-copy-initialization)
    pAssigned = pNull;

    EXPECT_TRUE(pCopy.isNull());
    EXPECT_TRUE(pAssigned.isNull());
    EXPECT_THAT(assertions.texts(), IsEmpty());
}

TEST_F(CloneableObjPtrTest, AssigningDestroysTheFormerObjectAndClones)
{
    const CloneableObjPtr<Part> pPart(new Part(3));
    CloneableObjPtr<Part> pAssigned(new Part(4));

    pAssigned = pPart;

    EXPECT_EQ(3, pAssigned->m_iValue);
    EXPECT_NE(pPart.get(), pAssigned.get());
    EXPECT_EQ(2, s_iNbAlive);
}

TEST_F(CloneableObjPtrTest, SurvivesSelfAssignment)
{
    CloneableObjPtr<Part> pPart(new Part(3));
    const CloneableObjPtr<Part>& pSelf = pPart;
    const Part* pRaw = pPart.get();

    pPart = pSelf;

    EXPECT_EQ(pRaw, pPart.get());
}

TEST_F(CloneableObjPtrTest, MovingTakesTheObjectWithoutCloning)
{
    CloneableObjPtr<Part> pPart(new Part(3));
    const Part* pRaw = pPart.get();

    const CloneableObjPtr<Part> pMoved(std::move(pPart));

    EXPECT_EQ(pRaw, pMoved.get());
    EXPECT_TRUE(pPart.isNull()); // NOLINT(bugprone-use-after-move): what is left is the point
    EXPECT_EQ(1, s_iNbAlive);
}

TEST_F(CloneableObjPtrTest, MoveAssigningTakesTheObjectWithoutCloning)
{
    CloneableObjPtr<Part> pPart(new Part(3));
    CloneableObjPtr<Part> pTarget(new Part(4));
    const Part* pRaw = pPart.get();

    pTarget = std::move(pPart);

    EXPECT_EQ(pRaw, pTarget.get());
}

TEST_F(CloneableObjPtrTest, MoveAssigningDestroysTheFormerObject)
{
    CloneableObjPtr<Part> pPart(new Part(3));
    CloneableObjPtr<Part> pTarget(new Part(4));

    pTarget = std::move(pPart);

    EXPECT_EQ(1, s_iNbAlive);
    EXPECT_TRUE(pPart.isNull()); // NOLINT(bugprone-use-after-move): what is left is the point
}

TEST_F(CloneableObjPtrTest, SurvivesMovingIntoItself)
{
    CloneableObjPtr<Part> pPart(new Part(3));
    CloneableObjPtr<Part>& pSelf = pPart;

    pPart = std::move(pSelf);

    ASSERT_FALSE(pPart.isNull());
    EXPECT_EQ(3, pPart->m_iValue);
}

TEST_F(CloneableObjPtrTest, ResetDestroysTheFormerObject)
{
    CloneableObjPtr<Part> pPart(new Part(3));

    pPart.reset(new Part(4));
    EXPECT_EQ(4, pPart->m_iValue);
    EXPECT_EQ(1, s_iNbAlive);

    pPart.reset();
    EXPECT_TRUE(pPart.isNull());
    EXPECT_EQ(0, s_iNbAlive);
}

TEST_F(CloneableObjPtrTest, ResetToItsOwnObjectKeepsIt)
{
    CloneableObjPtr<Part> pPart(new Part(3));

    pPart.reset(pPart.get());

    EXPECT_EQ(3, pPart->m_iValue);
}

TEST_F(CloneableObjPtrTest, CopyOfAnObjectWhoseCloneIsOfAnotherClassIsReportedAndNull)
{
    AssertionCapture assertions;
    const CloneableObjPtr<SlicingPart> pPart(new SlicingPart(3));

    const CloneableObjPtr<SlicingPart> pCopy(pPart);

    EXPECT_TRUE(pCopy.isNull());
    EXPECT_THAT(assertions.texts(), ElementsAre("aCP.isNull() || m_ptr"));
    EXPECT_EQ("CloneableObjPtr", assertions.events().at(0).m_strFile);
    EXPECT_EQ(1, s_iNbAlive); // the useless clone is gone
}

TEST_F(CloneableObjPtrTest, AssignmentOfAnObjectWhoseCloneIsOfAnotherClassIsReportedAndNull)
{
    AssertionCapture assertions;
    const CloneableObjPtr<SlicingPart> pPart(new SlicingPart(3));
    CloneableObjPtr<SlicingPart> pAssigned(new SlicingPart(4));

    pAssigned = pPart;

    EXPECT_TRUE(pAssigned.isNull());
    EXPECT_THAT(assertions.texts(), ElementsAre("rhs.isNull() || m_ptr"));
    EXPECT_EQ(1, s_iNbAlive);
}

TEST_F(CloneableObjPtrTest, KeepsItsObjectWhenCloningThrows)
{
    const CloneableObjPtr<Part> pPart(new UnclonablePart(3));
    CloneableObjPtr<Part> pAssigned(new Part(4));

    EXPECT_THROW(pAssigned = pPart, std::runtime_error);

    EXPECT_EQ(4, pAssigned->m_iValue);
}

namespace {

// A part that owns the next one.
class Link : public Part
{
public:
    explicit Link(int in_iValue, Link* in_pNext = nullptr)
        : Part(in_iValue)
        , m_pNext(in_pNext)
    {
    }
    Link* clone() const override { return new Link(*this); }

    CloneableObjPtr<Link> m_pNext;
};

} // namespace

TEST_F(CloneableObjPtrTest, CanBeAssignedWhatItsOwnObjectHolds)
{
    CloneableObjPtr<Link> pFirst(new Link(1, new Link(2, new Link(3))));

    pFirst = pFirst->m_pNext;

    ASSERT_FALSE(pFirst.isNull());
    EXPECT_EQ(2, pFirst->m_iValue);
    EXPECT_EQ(2, s_iNbAlive);
}

TEST_F(CloneableObjPtrTest, CanBeMoveAssignedWhatItsOwnObjectHolds)
{
    CloneableObjPtr<Link> pFirst(new Link(1, new Link(2, new Link(3))));

    pFirst = std::move(pFirst->m_pNext);

    ASSERT_FALSE(pFirst.isNull());
    EXPECT_EQ(2, pFirst->m_iValue);
    EXPECT_EQ(2, s_iNbAlive);
}
