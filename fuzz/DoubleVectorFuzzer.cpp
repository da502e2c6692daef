// SPDX-License-Identifier: Apache-2.0
// Any sequence of operations on a DoubleVector, side by side with a std::vector: contents agree after each, the
// capacity grows by the documented rule, and the account holds exactly the documented bytes.
#include "FuzzSupport.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <utility>
#include <vector>

namespace Corvana::Fuzz {
namespace {

using Math::DoubleVector;

constexpr std::size_t s_uiMaxSize = 4096;

class Pair
{
public:
    explicit Pair(ByteReader& inout_input)
        : m_input(inout_input)
    {
    }

    void step();
    void requireSame() const;
    std::uint64_t bytes() const { return bytesOf(m_vValues) + bytesOf(m_vOther); }
    std::uint64_t blocks() const { return (m_vValues.capacity() > 0 ? 1U : 0U) + (m_vOther.capacity() > 0 ? 1U : 0U); }

private:
    static std::uint64_t bytesOf(const DoubleVector& in_vValues)
    {
        return in_vValues.capacity() == 0 ? 0 : in_vValues.capacity() * 8 + 17;
    }
    std::ptrdiff_t takePosition() { return static_cast<std::ptrdiff_t>(m_input.takeUpTo(m_vPlain.size())); }
    void insertPlain(std::ptrdiff_t in_iPosition, const std::vector<double>& in_vInserted);
    template <class ContainerT>
    void insertFrom(std::ptrdiff_t in_iPosition);
    void insertOwn(std::ptrdiff_t in_iPosition);
    void insertBytes(std::ptrdiff_t in_iPosition);
    void erase(std::ptrdiff_t in_iPosition);
    void resize();
    void exchange();
    void requireExtremes() const;

    ByteReader& m_input;
    DoubleVector m_vValues;
    DoubleVector m_vOther;
    std::vector<double> m_vPlain;
    std::vector<double> m_vOtherPlain;
};

void Pair::insertPlain(std::ptrdiff_t in_iPosition, const std::vector<double>& in_vInserted)
{
    m_vPlain.insert(m_vPlain.begin() + in_iPosition, in_vInserted.begin(), in_vInserted.end());
}

template <class ContainerT>
void Pair::insertFrom(std::ptrdiff_t in_iPosition)
{
    ContainerT values(m_input.takeByte() % 64);
    for (auto& value : values)
        value = static_cast<typename ContainerT::value_type>(m_input.takeByte());
    const double* const pInserted = m_vValues.insert(m_vValues.begin() + in_iPosition, values.begin(), values.end());
    CORVANA_FUZZ_REQUIRE(pInserted == m_vValues.begin() + in_iPosition);
    insertPlain(in_iPosition, std::vector<double>(values.begin(), values.end()));
}

void Pair::insertOwn(std::ptrdiff_t in_iPosition)
{
    std::ptrdiff_t iFirst = takePosition();
    std::ptrdiff_t iLast = takePosition();
    if (iFirst > iLast)
        std::swap(iFirst, iLast);
    const std::size_t uiSize = m_vValues.size();
    const std::size_t uiCapacity = m_vValues.capacity();
    const auto uiCount = static_cast<std::size_t>(iLast - iFirst);
    double* const pBegin = m_vValues.begin();
    m_vValues.insert(pBegin + in_iPosition, pBegin + iFirst, pBegin + iLast);
    const bool bGrown = uiSize + uiCount > uiCapacity;
    CORVANA_FUZZ_REQUIRE(m_vValues.capacity() == (bGrown ? uiSize + std::max(uiSize, uiCount) : uiCapacity));
    insertPlain(in_iPosition, {m_vPlain.begin() + iFirst, m_vPlain.begin() + iLast});
}

void Pair::insertBytes(std::ptrdiff_t in_iPosition)
{
    const std::vector<double> vInserted = {m_input.takeDouble(), m_input.takeDouble(), m_input.takeDouble()};
    m_vValues.insert(m_vValues.begin() + in_iPosition, vInserted.data(), vInserted.data() + vInserted.size());
    insertPlain(in_iPosition, vInserted);
}

void Pair::erase(std::ptrdiff_t in_iPosition)
{
    const auto iCount =
        static_cast<std::ptrdiff_t>(m_input.takeUpTo(m_vPlain.size() - static_cast<std::size_t>(in_iPosition)));
    double* const pFirst = m_vValues.begin() + in_iPosition;
    CORVANA_FUZZ_REQUIRE(m_vValues.erase(pFirst, pFirst + iCount) == m_vValues.begin() + in_iPosition);
    m_vPlain.erase(m_vPlain.begin() + in_iPosition, m_vPlain.begin() + in_iPosition + iCount);
}

void Pair::resize()
{
    const std::size_t uiFormer = m_vPlain.size();
    const std::size_t uiSize = m_input.takeUpTo(511);
    m_vValues.resize(uiSize);
    m_vPlain.resize(uiSize);
    if (uiSize > uiFormer) // new values are not written
        std::fill(m_vValues.begin() + uiFormer, m_vValues.end(), 0.0);
}

void Pair::exchange()
{
    switch (m_input.takeByte() % 6) {
    case 0:
        m_vOther = m_vValues;
        m_vOtherPlain = m_vPlain;
        break;
    case 1: {
        DoubleVector vMoved(std::move(m_vValues));
        m_vValues = DoubleVector();
        CORVANA_FUZZ_REQUIRE(m_vValues.empty());
        m_vValues = std::move(vMoved);
        break;
    }
    case 2:
        swap(m_vValues, m_vOther);
        m_vPlain.swap(m_vOtherPlain);
        break;
    case 3: {
        const DoubleVector& vSelf = m_vValues;
        m_vValues = vSelf;
        break;
    }
    case 4:
        m_vOther = DoubleVector(m_vValues);
        m_vOtherPlain = m_vPlain;
        break;
    default:
        CORVANA_FUZZ_REQUIRE((m_vValues == m_vOther) == (m_vPlain == m_vOtherPlain));
    }
}

void Pair::requireExtremes() const
{
    if (std::any_of(m_vPlain.begin(), m_vPlain.end(), [](double in_dValue) { return std::isnan(in_dValue); }))
        return; // nothing is the largest beside a NaN
    const double* pMin = nullptr;
    const double* pMax = nullptr;
    m_vValues.minmax_element(pMin, pMax);
    CORVANA_FUZZ_REQUIRE(pMin - m_vValues.begin() ==
                         std::min_element(m_vPlain.begin(), m_vPlain.end()) - m_vPlain.begin());
    CORVANA_FUZZ_REQUIRE(pMax - m_vValues.begin() ==
                         std::max_element(m_vPlain.begin(), m_vPlain.end()) - m_vPlain.begin());
    CORVANA_FUZZ_REQUIRE(m_vValues.max_element() == pMax);
}

void Pair::step()
{
    const std::uint8_t uiOperation = m_input.takeByte() % 14;
    const std::ptrdiff_t iPosition = takePosition();
    switch (uiOperation) {
    case 0:
        m_vPlain.push_back(m_input.takeDouble());
        m_vValues.push_back(m_vPlain.back());
        break;
    case 1:
        if (!m_vPlain.empty()) {
            m_vPlain.pop_back();
            m_vValues.pop_back();
        }
        break;
    case 2:
        insertOwn(iPosition);
        break;
    case 3:
        insertBytes(iPosition);
        break;
    case 4:
        insertFrom<std::deque<double>>(iPosition);
        break;
    case 5:
        insertFrom<std::vector<unsigned long>>(iPosition);
        break;
    case 6:
        erase(iPosition);
        break;
    case 7:
        resize();
        break;
    case 8:
        m_vValues.reserve(m_input.takeUpTo(1023));
        break;
    case 9:
        m_vValues.clear();
        m_vPlain.clear();
        break;
    case 10:
        m_vValues.absoluteValue();
        std::transform(m_vPlain.begin(), m_vPlain.end(), m_vPlain.begin(),
                       [](double in_dValue) { return std::fabs(in_dValue); });
        break;
    case 11:
        exchange();
        break;
    case 12: // a value of its own, which may move while the vector grows
        if (!m_vPlain.empty()) {
            m_vValues.push_back(m_vValues.front());
            m_vPlain.push_back(m_vPlain.front());
        }
        break;
    default:
        requireExtremes();
    }
    if (m_vPlain.size() > s_uiMaxSize) {
        m_vPlain.resize(16);
        m_vValues.resize(16);
    }
}

void Pair::requireSame() const
{
    CORVANA_FUZZ_REQUIRE(m_vValues.size() == m_vPlain.size());
    CORVANA_FUZZ_REQUIRE(m_vValues.empty() == m_vPlain.empty());
    CORVANA_FUZZ_REQUIRE(sameValues(m_vValues, m_vPlain));
    CORVANA_FUZZ_REQUIRE(sameValues(m_vOther, m_vOtherPlain));
    CORVANA_FUZZ_REQUIRE(m_vValues.capacity() >= m_vValues.size());
    CORVANA_FUZZ_REQUIRE(reinterpret_cast<std::uintptr_t>(m_vValues.data()) % 16 == 0);
}

} // namespace
} // namespace Corvana::Fuzz

void Corvana::Fuzz::runTarget(const std::uint8_t* in_pData, std::size_t in_uiSize)
{
    constexpr const char* szTag = "\"DoubleVector\"";
    const LeakCheck leakCheck;
    const MemAccount before = getMemAccount(szTag);
    ByteReader input(in_pData, in_uiSize);
    Pair pair(input);
    for (int iStep = 0; iStep < 500 && !input.empty(); ++iStep) {
        pair.step();
        pair.requireSame();
        const MemAccount now = getMemAccount(szTag);
        CORVANA_FUZZ_REQUIRE(now.m_uiLiveBytes - before.m_uiLiveBytes == pair.bytes());
        CORVANA_FUZZ_REQUIRE(now.m_uiLiveBlocks - before.m_uiLiveBlocks == pair.blocks());
    }
}
