// SPDX-License-Identifier: Apache-2.0
#include "corvana/Object.h"
#include "corvana/Cloneable.h"
#include "corvana/InputStreamable.h"
#include "corvana/OutputStreamable.h"
#include "corvana/Resettable.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <istream>
#include <memory>
#include <ostream>
#include <sstream>
#include <type_traits>

namespace {

class Everything : public virtual Corvana::Cloneable,
                   public virtual Corvana::Resettable,
                   public Corvana::InputStreamable,
                   public Corvana::OutputStreamable
{
public:
    explicit Everything(bool& out_bDestroyed)
        : m_bDestroyed(out_bDestroyed)
    {
    }
    ~Everything() override { m_bDestroyed = true; }
    Everything* clone() const override { return new Everything(*this); }
    bool reset() override
    {
        m_iValue = 0;
        return true;
    }
    std::istream& read(std::istream& io_stream) override { return io_stream >> m_iValue; }
    std::ostream& write(std::ostream& out_stream) const override { return out_stream << m_iValue; }

    int m_iValue = 5;

private:
    bool& m_bDestroyed;
};

} // namespace

TEST(Object, IsHeldOnceByAClassThatReachesItBySeveralPaths)
{
    bool bDestroyed = false;
    Everything everything(bDestroyed);

    Corvana::Object* pObject = &everything; // ambiguous, were there several

    EXPECT_EQ(pObject, static_cast<Corvana::Object*>(static_cast<Corvana::Cloneable*>(&everything)));
    EXPECT_EQ(pObject, static_cast<Corvana::Object*>(static_cast<Corvana::OutputStreamable*>(&everything)));
}

TEST(Object, DestroysTheWholeObjectThroughEveryBase)
{
    bool bDestroyed = false;

    delete static_cast<Corvana::Object*>(new Everything(bDestroyed));
    EXPECT_TRUE(bDestroyed);

    bDestroyed = false;
    delete static_cast<Corvana::OutputStreamable*>(new Everything(bDestroyed));
    EXPECT_TRUE(bDestroyed);
}

TEST(Object, ReachesOtherBasesByACrossCast)
{
    bool bDestroyed = false;
    const std::unique_ptr<Corvana::Cloneable> pCloneable(new Everything(bDestroyed));

    auto* pResettable = dynamic_cast<Corvana::Resettable*>(pCloneable.get());

    ASSERT_NE(nullptr, pResettable);
    EXPECT_TRUE(pResettable->reset());
}

TEST(Object, BasesAreAbstract)
{
    EXPECT_TRUE(std::is_abstract_v<Corvana::Cloneable>);
    EXPECT_TRUE(std::is_abstract_v<Corvana::Resettable>);
    EXPECT_TRUE(std::is_abstract_v<Corvana::InputStreamable>);
    EXPECT_TRUE(std::is_abstract_v<Corvana::OutputStreamable>);
}

TEST(OutputStreamable, IsWrittenByTheStreamOperatorInTheStreamsFormat)
{
    bool bDestroyed = false;
    const Everything everything(bDestroyed);
    std::ostringstream stream;

    std::ostream& result = stream << std::setw(4) << std::setfill('.') << everything << '!';

    EXPECT_EQ("...5!", stream.str());
    EXPECT_EQ(&stream, &result);
}

TEST(InputStreamable, IsReadFromAStream)
{
    bool bDestroyed = false;
    Everything everything(bDestroyed);
    std::istringstream stream("17");

    std::istream& result = everything.read(stream);

    EXPECT_EQ(17, everything.m_iValue);
    EXPECT_EQ(&stream, &result);
}
