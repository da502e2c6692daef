// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathXprExpressionImpl.h"

#include "corvana/MathXprFunction.h"
#include "corvana/MathXprRegistry.h"
#include "corvana/MemAllocator.h"
#include "corvana/TrieConfiguration.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

using Corvana::Handle;
using Corvana::LimitedObjPtr;
using Corvana::ParameterValue;
using Corvana::ROConfiguration;
using Corvana::TrieConfiguration;
using Corvana::TSHandle;
using Corvana::Math::DoubleVector;
using Corvana::Math::Xpr::ExpressionBaseImpl;
using Corvana::Math::Xpr::ExpressionImplCopier;
using Corvana::Math::Xpr::FunctionBaseImpl;
using Corvana::Math::Xpr::Registry;
using Corvana::Math::Xpr::VariableImpl;
using Corvana::Math::Xpr::VirtualFileSystem;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// A node that notes what is asked of it.
class NotingNode : public FunctionBaseImpl
{
public:
    NotingNode(const char* in_szName, std::vector<std::string>& out_vNotes)
        : FunctionBaseImpl(in_szName)
        , m_vNotes(out_vNotes)
    {
    }
    using ExpressionBaseImpl::addChild;
    using ExpressionBaseImpl::replaceChild_i;

    bool m_bWorks = true;

protected:
    bool evaluate_i(LimitedObjPtr<DoubleVector>&) override { return note("evaluate"); }
    bool reset_i() override { return note("reset"); }
    Handle<ExpressionBaseImpl> copy_i(ExpressionImplCopier& io_copier) const override
    {
        const Handle<NotingNode> hCopy(new NotingNode(getName().c_str(), m_vNotes));
        hCopy->fill(*this, io_copier);
        m_vNotes.push_back("copy " + getName());
        return hCopy;
    }
    bool isDependantOf_i(const Handle<ExpressionBaseImpl>&) const override { return false; }
    bool configure_i(const ROConfiguration& in_config, const TSHandle<VirtualFileSystem>&) override
    {
        std::string strValue;
        in_config.getValue("key", strValue);
        return note(strValue.empty() ? "configure" : "configure " + strValue + " for");
    }
    void seal_i() override { note("seal"); }

private:
    bool note(const std::string& in_strWhat)
    {
        m_vNotes.push_back(in_strWhat + " " + getName());
        return m_bWorks;
    }

    std::vector<std::string>& m_vNotes;
};

// top(middle(leaf), leaf)
struct Tree
{
    std::vector<std::string> m_vNotes;
    Handle<NotingNode> m_hLeaf{new NotingNode("leaf", m_vNotes)};
    Handle<NotingNode> m_hMiddle{new NotingNode("middle", m_vNotes)};
    Handle<NotingNode> m_hTop{new NotingNode("top", m_vNotes)};

    Tree()
    {
        m_hMiddle->addChild(m_hLeaf);
        m_hTop->addChild(m_hMiddle);
        m_hTop->addChild(m_hLeaf);
    }
    Handle<NotingNode> newNode(const char* in_szName)
    {
        return Handle<NotingNode>(new NotingNode(in_szName, m_vNotes));
    }
};

std::string written(const ExpressionBaseImpl& in_node)
{
    std::ostringstream stream;
    in_node.write(stream);
    return stream.str();
}

} // namespace

TEST(ExpressionBaseImpl, BearsItsName)
{
    Tree tree;

    EXPECT_EQ("top", tree.m_hTop->getName());
    tree.m_hTop->setName("roof");
    EXPECT_EQ("roof", tree.m_hTop->getName());
}

TEST(ExpressionBaseImpl, GivesItsChildrenByIndexAndNullOutOfRange)
{
    const Tree tree;

    EXPECT_EQ(2, tree.m_hTop->getNbOfChildren());
    EXPECT_EQ(tree.m_hMiddle.get(), tree.m_hTop->getChildAt(0).get());
    EXPECT_EQ(tree.m_hLeaf.get(), tree.m_hTop->getChildAt(1).get());
    EXPECT_TRUE(tree.m_hTop->getChildAt(2).isNull());
    EXPECT_TRUE(tree.m_hTop->getChildAt(-1).isNull());
    EXPECT_TRUE(tree.m_hLeaf->getChildAt(0).isNull());
}

TEST(ExpressionBaseImpl, ConfiguresAndResetsItsChildrenFirst)
{
    Tree tree;

    EXPECT_TRUE(tree.m_hMiddle->configure(TrieConfiguration(), {}));
    EXPECT_TRUE(tree.m_hMiddle->reset());

    EXPECT_THAT(tree.m_vNotes, ElementsAre("configure leaf", "configure middle", "reset leaf", "reset middle"));
}

TEST(ExpressionBaseImpl, ConfiguresAndResetsTheOthersAfterAFailure)
{
    Tree tree;
    tree.m_hLeaf->m_bWorks = false;

    EXPECT_FALSE(tree.m_hMiddle->configure(TrieConfiguration(), {}));
    EXPECT_FALSE(tree.m_hMiddle->reset());

    EXPECT_THAT(tree.m_vNotes, ElementsAre("configure leaf", "configure middle", "reset leaf", "reset middle"));
}

TEST(ExpressionBaseImpl, DependsOnWhatStandsBelow)
{
    Tree tree;

    EXPECT_TRUE(tree.m_hTop->isDependantOf(tree.m_hLeaf));
    EXPECT_TRUE(tree.m_hMiddle->isDependantOf(tree.m_hLeaf));
    EXPECT_FALSE(tree.m_hLeaf->isDependantOf(tree.m_hTop));
    EXPECT_FALSE(tree.m_hTop->isDependantOf(tree.m_hTop));
    EXPECT_FALSE(tree.m_hTop->isDependantOf(tree.newNode("other")));
    EXPECT_FALSE(tree.m_hTop->isDependantOf(Handle<ExpressionBaseImpl>()));
}

TEST(ExpressionBaseImpl, DumpsALineForEachNodeIndentedByItsDepth)
{
    const Tree tree;
    std::ostringstream stream;

    tree.m_hTop->dump(stream);
    EXPECT_EQ("top\n  middle\n    leaf\n  leaf\n", stream.str());
    stream.str("");
    tree.m_hMiddle->dump(stream, 2);

    EXPECT_EQ("    middle\n      leaf\n", stream.str());
}

TEST(ExpressionBaseImpl, ReplacesANodeWhereverItStandsBelow)
{
    Tree tree;
    const Handle<ExpressionBaseImpl> hNew = tree.newNode("new");

    EXPECT_TRUE(tree.m_hTop->replace(tree.m_hLeaf, hNew));

    EXPECT_EQ(hNew.get(), tree.m_hTop->getChildAt(1).get());
    EXPECT_EQ(hNew.get(), tree.m_hMiddle->getChildAt(0).get());
    EXPECT_FALSE(tree.m_hTop->replace(tree.m_hLeaf, hNew)); // it is gone
    EXPECT_FALSE(tree.m_hTop->replace(tree.m_hTop, hNew));  // stands not below itself
    EXPECT_FALSE(tree.m_hTop->replace(tree.m_hMiddle, Handle<ExpressionBaseImpl>()));
    EXPECT_EQ(tree.m_hMiddle.get(), tree.m_hTop->getChildAt(0).get());
}

TEST(ExpressionBaseImpl, ReplacesNothingOnceSealed)
{
    Tree tree;
    tree.m_hTop->seal();
    EXPECT_THAT(tree.m_vNotes, testing::Contains("seal leaf"));

    EXPECT_FALSE(tree.m_hTop->replace(tree.m_hLeaf, tree.newNode("new")));
    EXPECT_FALSE(tree.m_hMiddle->replace(tree.m_hLeaf, tree.newNode("new")));
    EXPECT_FALSE(tree.m_hTop->replaceChild_i(0, tree.newNode("new")));

    EXPECT_EQ(tree.m_hLeaf.get(), tree.m_hMiddle->getChildAt(0).get());
}

TEST(ExpressionBaseImpl, ReplacesInWhatIsNotSealedOnly)
{
    Tree tree;
    tree.m_hMiddle->seal();
    const Handle<ExpressionBaseImpl> hNew = tree.newNode("new");

    EXPECT_TRUE(tree.m_hTop->replace(tree.m_hLeaf, hNew));

    EXPECT_EQ(hNew.get(), tree.m_hTop->getChildAt(1).get());
    EXPECT_EQ(tree.m_hLeaf.get(), tree.m_hMiddle->getChildAt(0).get());
}

TEST(ExpressionBaseImpl, RefusesChildrenOutOfRange)
{
    Tree tree;

    EXPECT_FALSE(tree.m_hTop->replaceChild_i(-1, tree.newNode("new")));
    EXPECT_FALSE(tree.m_hTop->replaceChild_i(2, tree.newNode("new")));
}

TEST(ExpressionBaseImpl, IsNeverPutBelowItself)
{
    Tree tree;

    EXPECT_FALSE(tree.m_hTop->replace(tree.m_hMiddle, tree.m_hTop));
    EXPECT_FALSE(tree.m_hMiddle->replace(tree.m_hLeaf, tree.m_hTop));

    EXPECT_EQ(tree.m_hLeaf.get(), tree.m_hMiddle->getChildAt(0).get());
}

TEST(ExpressionBaseImpl, MayBeReplacedByANodeThatReadsIt)
{
    Tree tree;
    tree.m_hTop->addChild(tree.m_hMiddle); // reached twice
    const Handle<NotingNode> hWrapper = tree.newNode("wrapper");
    hWrapper->addChild(tree.m_hLeaf);

    EXPECT_TRUE(tree.m_hTop->replace(tree.m_hLeaf, hWrapper));

    EXPECT_EQ(hWrapper.get(), tree.m_hMiddle->getChildAt(0).get());
    EXPECT_EQ(tree.m_hLeaf.get(), hWrapper->getChildAt(0).get());
}

// ---- Copying

TEST(ExpressionImplCopier, CopiesANodeReachedTwiceOnce)
{
    Tree tree;
    ExpressionImplCopier copier;

    const Handle<ExpressionBaseImpl> hCopy = copier.copyOf(tree.m_hTop);

    EXPECT_THAT(tree.m_vNotes, ElementsAre("copy leaf", "copy middle", "copy top"));
    EXPECT_EQ(hCopy->getChildAt(1).get(), hCopy->getChildAt(0)->getChildAt(0).get());
    EXPECT_NE(tree.m_hLeaf.get(), hCopy->getChildAt(1).get());
}

TEST(ExpressionImplCopier, MakesNothingOfNull)
{
    EXPECT_TRUE(ExpressionImplCopier().copyOf(Handle<ExpressionBaseImpl>()).isNull());
}

TEST(ExpressionImplCopier, MakesAnotherCopyInAnotherCopier)
{
    Tree tree;
    ExpressionImplCopier first;
    ExpressionImplCopier second;

    EXPECT_NE(first.copyOf(tree.m_hLeaf).get(), second.copyOf(tree.m_hLeaf).get());
}

TEST(ExpressionImplCopier, CopiesSealedNodesUnsealed)
{
    Tree tree;
    tree.m_hTop->seal();
    ExpressionImplCopier copier;
    const Handle<ExpressionBaseImpl> hCopy = copier.copyOf(tree.m_hTop);

    EXPECT_TRUE(hCopy->replace(hCopy->getChildAt(1), tree.newNode("new")));
}

// ---- Variables

TEST(VariableImpl, HasNoValueBeforeItIsSet)
{
    VariableImpl variable("v");
    DoubleVector vFormer;
    LimitedObjPtr<DoubleVector> pResult(&vFormer);

    EXPECT_FALSE(variable.evaluate(pResult));

    EXPECT_EQ(&vFormer, pResult.get());
}

TEST(VariableImpl, PointsAtACopyOfItsValue)
{
    VariableImpl variable("v");
    DoubleVector vValue{1.0, 2.0};
    variable.setValue(vValue);
    vValue[0] = 9.0;
    LimitedObjPtr<DoubleVector> pResult;

    EXPECT_TRUE(variable.evaluate(pResult));
    EXPECT_EQ(DoubleVector({1.0, 2.0}), *pResult);
    variable.setValue({});
    EXPECT_TRUE(variable.evaluate(pResult)); // no values are a value

    EXPECT_TRUE(pResult->empty());
    EXPECT_EQ("v", written(variable));
    EXPECT_TRUE(variable.reset());
    EXPECT_TRUE(variable.configure(TrieConfiguration(), {}));
    EXPECT_FALSE(variable.isOperator());
}

TEST(VariableImpl, StandsForTheExpressionItIsBoundTo)
{
    const Handle<VariableImpl> hInner(new VariableImpl("inner"));
    hInner->setValue({5.0});
    VariableImpl variable("v");
    variable.setValue({1.0});
    variable.bind(hInner);
    LimitedObjPtr<DoubleVector> pResult;

    EXPECT_TRUE(variable.evaluate(pResult));

    EXPECT_TRUE(variable.isBound());
    EXPECT_EQ(DoubleVector({5.0}), *pResult);
    EXPECT_EQ("inner", written(variable));
    EXPECT_EQ("v", variable.getName());
    EXPECT_TRUE(variable.isDependantOf(hInner));
}

TEST(VariableImpl, IsBoundToTheLastExpression)
{
    const Handle<VariableImpl> hFirst(new VariableImpl("first"));
    const Handle<VariableImpl> hSecond(new VariableImpl("second"));
    VariableImpl variable("v");

    variable.bind(hFirst);
    variable.bind(hSecond);

    EXPECT_EQ("second", written(variable));
    EXPECT_EQ(1, variable.getNbOfChildren());
}

TEST(VariableImpl, IsNotBoundToNothingNorToItself)
{
    const Handle<VariableImpl> hVariable(new VariableImpl("v"));
    const Handle<VariableImpl> hOther(new VariableImpl("w"));
    hOther->bind(hVariable);

    hVariable->bind(Handle<ExpressionBaseImpl>());
    hVariable->bind(hVariable);
    hVariable->bind(hOther);

    EXPECT_FALSE(hVariable->isBound());
    hVariable->setValue({1.0});
    LimitedObjPtr<DoubleVector> pResult;
    EXPECT_TRUE(hOther->evaluate(pResult));
}

TEST(VariableImpl, IsCopiedWithItsValueOrBinding)
{
    const Handle<VariableImpl> hFree(new VariableImpl("free"));
    hFree->setValue({3.0});
    const Handle<VariableImpl> hBound(new VariableImpl("bound"));
    hBound->bind(hFree);
    ExpressionImplCopier copier;
    const Handle<ExpressionBaseImpl> hCopy = copier.copyOf(hBound);
    hFree->setValue({4.0});
    LimitedObjPtr<DoubleVector> pResult;

    EXPECT_TRUE(hCopy->evaluate(pResult));

    EXPECT_EQ(DoubleVector({3.0}), *pResult);
    EXPECT_EQ("bound", hCopy->getName());
    EXPECT_EQ(copier.copyOf(hFree).get(), hCopy->getChildAt(0).get());
}

// ---- Functions

namespace {

struct Function
{
    std::vector<std::string> m_vNotes;
    NotingNode m_node{"f", m_vNotes};

    Function()
    {
        m_node.addArgument("x");
        m_node.addArgument("y");
        m_node.addParameter("kind.key");
        m_node.addParameter("kind.other");
    }
};

} // namespace

TEST(FunctionBaseImpl, KeepsArgumentsAndParametersInOrder)
{
    const Function function;

    ASSERT_EQ(2, function.m_node.getNbOfArguments());
    EXPECT_EQ("x", function.m_node.getArgument(0).m_strName);
    EXPECT_EQ("y", function.m_node.getArgument(1).m_strName);
    ASSERT_EQ(2, function.m_node.getNbOfParameters());
    EXPECT_EQ("kind.key", function.m_node.getParameter(0));
    EXPECT_EQ("kind.other", function.m_node.getParameter(1));
}

TEST(FunctionBaseImpl, HasNothingOutOfRange)
{
    const Function function;
    for (const long iIndex : {-1L, 2L}) {
        EXPECT_EQ("", function.m_node.getArgument(iIndex).m_strName);
        EXPECT_EQ(-1, function.m_node.getArgument(iIndex).m_iChildIndex);
        EXPECT_EQ("", function.m_node.getParameter(iIndex));
    }
}

TEST(FunctionBaseImpl, BindsEachArgumentOnceAndInAnyOrder)
{
    Function function;
    const Handle<VariableImpl> hFirst(new VariableImpl("first"));
    const Handle<VariableImpl> hSecond(new VariableImpl("second"));
    EXPECT_EQ("f(x, y)", written(function.m_node));

    EXPECT_TRUE(function.m_node.bindArgument(1, hFirst));
    EXPECT_EQ("f(x, first)", written(function.m_node));
    EXPECT_TRUE(function.m_node.bindArgument(0, hSecond));

    EXPECT_FALSE(function.m_node.bindArgument(0, hFirst));
    EXPECT_FALSE(function.m_node.bindArgument(-1, hFirst));
    EXPECT_FALSE(function.m_node.bindArgument(2, hFirst));
    EXPECT_EQ(0, function.m_node.getArgument(1).m_iChildIndex);
    EXPECT_EQ(1, function.m_node.getArgument(0).m_iChildIndex);
    EXPECT_EQ("f(second, first)", written(function.m_node));
}

TEST(FunctionBaseImpl, BindsNoNullHandle)
{
    Function function;

    EXPECT_FALSE(function.m_node.bindArgument(0, Handle<VariableImpl>()));

    EXPECT_EQ(-1, function.m_node.getArgument(0).m_iChildIndex);
    EXPECT_EQ(0, function.m_node.getNbOfChildren());
}

TEST(FunctionBaseImpl, ShowsItsOwnKeyTheCallsValueThenTheFullNamesThenItsOwn)
{
    Function function;
    Corvana::ParameterTrie trie;
    trie.insert("key", ParameterValue("plain"));
    function.m_node.configure(TrieConfiguration(trie), {});
    trie.insert("kind.key", ParameterValue("full"));
    function.m_node.configure(TrieConfiguration(trie), {});
    function.m_node.setParameterValue("key", ParameterValue("call"));
    function.m_node.configure(TrieConfiguration(trie), {});

    EXPECT_THAT(function.m_vNotes,
                ElementsAre("configure plain for f", "configure full for f", "configure call for f"));
}

TEST(FunctionBaseImpl, GivesItsChildrenTheConfigurationWithoutItsCallsValues)
{
    Function function;
    const Handle<NotingNode> hInner(new NotingNode("g", function.m_vNotes));
    const Handle<VariableImpl> hVariable(new VariableImpl("x"));
    hVariable->bind(hInner);
    function.m_node.bindArgument(0, hVariable);
    function.m_node.setParameterValue("key", ParameterValue("call"));

    function.m_node.configure(TrieConfiguration(), {});

    EXPECT_THAT(function.m_vNotes, ElementsAre("configure g", "configure call for f"));
}

TEST(FunctionBaseImpl, WritesTheValuesOfTheCallBehindItsArguments)
{
    Function function;
    function.m_node.setParameterValue("other", ParameterValue(-0.5));
    function.m_node.setParameterValue("kind.key", ParameterValue("a b"));

    EXPECT_EQ("f(x, y, other=-0.5, key=\"a b\")", written(function.m_node));
}

// ---- Registry

TEST(Registry, RefusesNoAllocatorAndNoName)
{
    EXPECT_FALSE(Registry::getInstance().registerFunction("nothing", nullptr));
    EXPECT_TRUE(Registry::getInstance().newFunction("nothing").isNull());
    EXPECT_TRUE(Registry::getInstance().newFunction(nullptr).isNull());

    EXPECT_THAT(Registry::getInstance().getFunctionNames(), testing::SizeIs(8));
}

TEST(Registry, IsOne)
{
    EXPECT_EQ(&Registry::getInstance(), &Registry::getInstance());
}
