// SPDX-License-Identifier: Apache-2.0
#include "corvana/IFFChunk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
#include <utility>
#include <vector>

using Corvana::IFF::Chunk;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::uint8_t s_aucBytes[] = {0x01, 0x00, 0xff};

} // namespace

TEST(ChunkId, HoldsTheFourCharactersAsLittleEndianBytes)
{
    EXPECT_EQ(0x20657563u, Chunk::makeId("cue "));
    EXPECT_EQ(0x46464952u, Chunk::makeId("RIFF"));
    EXPECT_EQ(0x20746d66u, Chunk::makeId("fmt "));
}

TEST(ChunkId, TakesCharactersBeyondAscii)
{
    EXPECT_EQ(0xffu, Chunk::makeId("\xff\0\0\0"));
    EXPECT_EQ(0x80000000u, Chunk::makeId("\0\0\0\x80"));
}

TEST(ChunkId, IsKnownToTheCompiler)
{
    static_assert(Chunk::makeId("cue ") == 0x20657563);
}

TEST(Chunk, IsEmptyByDefault)
{
    const Chunk chunk;

    EXPECT_EQ(0u, chunk.m_uiId);
    EXPECT_EQ(0u, chunk.m_uiFormType);
    EXPECT_THAT(chunk.m_vData, IsEmpty());
    EXPECT_TRUE(chunk.m_children.empty());
    EXPECT_FALSE(chunk.isContainer());
}

TEST(Chunk, BearsItsIdentifier)
{
    EXPECT_EQ(Chunk::makeId("data"), Chunk(Chunk::makeId("data")).m_uiId);
}

TEST(Chunk, IsAContainerOnlyAsRiffListOrCue)
{
    EXPECT_TRUE(Chunk(Chunk::makeId("RIFF")).isContainer());
    EXPECT_TRUE(Chunk(Chunk::makeId("LIST")).isContainer());
    EXPECT_TRUE(Chunk(Chunk::makeId("cue ")).isContainer());
    EXPECT_FALSE(Chunk(Chunk::makeId("RIFX")).isContainer());
    EXPECT_FALSE(Chunk(Chunk::makeId("list")).isContainer());
    EXPECT_FALSE(Chunk(Chunk::makeId("fmt ")).isContainer());
    EXPECT_FALSE(Chunk(Chunk::makeId("data")).isContainer());
    EXPECT_FALSE(Chunk(Chunk::makeId("ltxt")).isContainer());
}

TEST(Chunk, CopiesTheGivenData)
{
    std::vector<std::uint8_t> vBytes(s_aucBytes, s_aucBytes + 3);
    Chunk chunk(Chunk::makeId("labl"));

    EXPECT_TRUE(chunk.setData(vBytes.data(), 3));
    vBytes[0] = 0x7f;

    EXPECT_THAT(chunk.m_vData, ElementsAre(0x01, 0x00, 0xff));
}

TEST(Chunk, ReplacesItsFormerData)
{
    Chunk chunk(Chunk::makeId("labl"));
    chunk.setData(s_aucBytes, 3);

    EXPECT_TRUE(chunk.setData(s_aucBytes + 1, 1));

    EXPECT_THAT(chunk.m_vData, ElementsAre(0x00));
}

TEST(Chunk, TakesNoDataAtAll)
{
    Chunk chunk(Chunk::makeId("labl"));
    chunk.setData(s_aucBytes, 3);

    EXPECT_TRUE(chunk.setData(nullptr, 0));

    EXPECT_THAT(chunk.m_vData, IsEmpty());
}

TEST(Chunk, RefusesDataAsAContainer)
{
    for (const Chunk::ChunkId uiId : {Chunk::makeId("RIFF"), Chunk::makeId("LIST"), Chunk::makeId("cue ")}) {
        Chunk chunk(uiId);
        chunk.m_children.emplace_back(Chunk::makeId("fmt "));

        EXPECT_FALSE(chunk.setData(s_aucBytes, 3));

        EXPECT_THAT(chunk.m_vData, IsEmpty());
        EXPECT_EQ(1u, chunk.m_children.size());
    }
}

TEST(Chunk, CopiesTheTreeBelowIt)
{
    Chunk chunk(Chunk::makeId("RIFF"));
    chunk.m_uiFormType = Chunk::makeId("WAVE");
    chunk.m_children.emplace_back(Chunk::makeId("LIST"));
    chunk.m_children.back().m_children.emplace_back(Chunk::makeId("labl"));
    chunk.m_children.back().m_children.back().setData(s_aucBytes, 3);

    const Chunk copy(chunk);
    chunk.m_children.back().m_children.back().m_vData[0] = 0x7f;

    EXPECT_EQ(Chunk::makeId("WAVE"), copy.m_uiFormType);
    ASSERT_EQ(1u, copy.m_children.size());
    ASSERT_EQ(1u, copy.m_children.front().m_children.size());
    EXPECT_THAT(copy.m_children.front().m_children.front().m_vData, ElementsAre(0x01, 0x00, 0xff));
}

TEST(Chunk, MovesItsDataWithoutCopyingThem)
{
    Chunk chunk(Chunk::makeId("data"));
    chunk.setData(s_aucBytes, 3);
    const std::uint8_t* pData = chunk.m_vData.data();

    const Chunk moved(std::move(chunk));

    EXPECT_EQ(pData, moved.m_vData.data());
    EXPECT_EQ(Chunk::makeId("data"), moved.m_uiId);
}

TEST(Chunk, KeepsTheirPlacesForChildrenWhenOthersComeAndGo)
{
    Chunk chunk(Chunk::makeId("LIST"));
    chunk.m_children.emplace_back(Chunk::makeId("ltxt"));
    chunk.m_children.emplace_back(Chunk::makeId("labl"));
    const auto it = std::next(chunk.m_children.begin());
    const Chunk* pChild = &*it;

    chunk.m_children.pop_front();
    chunk.m_children.emplace_front(Chunk::makeId("note"));
    chunk.m_children.emplace_back(Chunk::makeId("note"));

    EXPECT_EQ(pChild, &*it);
    EXPECT_EQ(Chunk::makeId("labl"), it->m_uiId);
}

TEST(Chunk, CanBeGivenAPartOfItsOwnData)
{
    Chunk chunk(Chunk::makeId("data"));
    chunk.setData(s_aucBytes, 3);

    EXPECT_TRUE(chunk.setData(chunk.m_vData.data() + 1, 2));

    EXPECT_THAT(chunk.m_vData, ElementsAre(s_aucBytes[1], s_aucBytes[2]));
}

TEST(Chunk, IsCopiedByAssignmentWithItsChildren)
{
    Chunk list(Chunk::makeId("LIST"));
    list.m_children.emplace_back(Chunk::makeId("labl")).setData(s_aucBytes, 3);
    Chunk copy(Chunk::makeId("data"));

    copy = list;
    list.m_children.clear();

    EXPECT_EQ(Chunk::makeId("LIST"), copy.m_uiId);
    ASSERT_EQ(1u, copy.m_children.size());
    EXPECT_THAT(copy.m_children.front().m_vData, ElementsAre(0x01, 0x00, 0xff));
}
