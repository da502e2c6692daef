// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathSpectrumPlan.h"

#include "MathFourierRecurrence.h"
#include "MathSpectrumKernel.h"
#include "corvana/MathFourierTransform.h"
#include "corvana/MathRealFourierPlan.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <vector>

namespace Corvana::Math {
namespace {

constexpr unsigned long s_uiAlignment = 64; // a cache line, and the longest vector
constexpr unsigned long s_uiDoublesInLine = s_uiAlignment / sizeof(double);

double* aligned(double* in_p)
{
    const auto uiAddress = reinterpret_cast<std::uintptr_t>(in_p);
    return in_p + (s_uiAlignment - uiAddress % s_uiAlignment) % s_uiAlignment / sizeof(double);
}

// Room for so many doubles from a multiple of 64 bytes on.
double* makeRoom(DoubleVector& inout_vValues, unsigned long in_uiNbOfValues)
{
    inout_vValues.resize(in_uiNbOfValues + s_uiDoublesInLine - 1);
    return aligned(inout_vValues.data());
}

const SpectrumKernel* findKernel(Simd in_simd, unsigned long in_uiNbOfPoints)
{
    switch (in_simd) {
#if defined(__x86_64__)
    case Simd::AVX512:
        return findAvx512Kernel(in_uiNbOfPoints);
    case Simd::AVX2:
        return findAvx2Kernel(in_uiNbOfPoints);
    case Simd::BASELINE:
        return findBaselineKernel(in_uiNbOfPoints);
#endif
    default:
        return findPortableKernel(in_uiNbOfPoints);
    }
}

struct Factor
{
    double m_dReal;
    double m_dImaginary;
};

std::vector<Factor> factorsOf(const FourierRecurrence& in_recurrence, Factor in_first, unsigned long in_uiNbOfFactors)
{
    std::vector<Factor> vFactors(in_uiNbOfFactors);
    for (Factor& factor : vFactors) {
        factor = in_first;
        in_recurrence.advance(in_first.m_dReal, in_first.m_dImaginary);
    }
    return vFactors;
}

} // namespace

SpectrumScratch::SpectrumScratch() = default;
SpectrumScratch::~SpectrumScratch() = default;
SpectrumScratch::SpectrumScratch(const SpectrumScratch& /*in_other*/) {}

SpectrumScratch& SpectrumScratch::operator=(const SpectrumScratch& /*in_other*/)
{
    return *this;
}

/// Writes a plan's tables in the order in which its kernel reads them.
class SpectrumPlan::TableMaker
{
public:
    TableMaker(const SpectrumKernel& in_kernel, unsigned long in_uiSize)
        : m_kernel(in_kernel)
        , m_uiNbOfPoints(in_uiSize / 2)
    {
        for (unsigned long uiSpan = 1; uiSpan < m_uiNbOfPoints; uiSpan *= 2)
            m_vvStages.push_back(factorsOf(FourierRecurrence::ofStage(uiSpan), {1.0, 0.0}, uiSpan));
    }

    std::unique_ptr<const SpectrumTables> make(const DoubleVector& in_vTaper, DoubleVector& out_vTables)
    {
        auto pTables = std::make_unique<SpectrumTables>();
        pTables->m_uiNbOfPoints = m_uiNbOfPoints;
        planPasses(*pTables);
        std::vector<double> vTaper(in_vTaper.begin(), in_vTaper.end());
        const std::vector<double> vPasses = passFactors(*pTables);
        const std::vector<double> vLast = lastFactors();
        const std::vector<double> vBins = binFactors();

        double* pNext = makeRoom(out_vTables, roomFor(vTaper) + roomFor(vPasses) + roomFor(vLast) + roomFor(vBins));
        pTables->m_pTaper = append(vTaper, pNext);
        pTables->m_pPassFactors = append(vPasses, pNext);
        pTables->m_pLastFactors = append(vLast, pNext);
        pTables->m_pBinFactors = append(vBins, pNext);
        return pTables;
    }

private:
    static unsigned long roomFor(const std::vector<double>& in_vTable)
    {
        return (in_vTable.size() + s_uiDoublesInLine - 1) / s_uiDoublesInLine * s_uiDoublesInLine;
    }

    static const double* append(const std::vector<double>& in_vTable, double*& inout_pNext)
    {
        double* const pTable = inout_pNext;
        std::copy(in_vTable.begin(), in_vTable.end(), pTable);
        inout_pNext += roomFor(in_vTable);
        return pTable;
    }

    // The last pass has a radix of its own; the stages before it are shared out into few passes of a like radix.
    void planPasses(SpectrumTables& out_tables) const
    {
        unsigned long uiRest = m_uiNbOfPoints / m_kernel.m_uiLastRadix;
        out_tables.m_uiNbOfPasses = 0;
        const auto add = [&](unsigned long in_uiRadix) {
            out_tables.m_auiRadix[out_tables.m_uiNbOfPasses++] = in_uiRadix;
            uiRest /= in_uiRadix;
        };
        unsigned long uiNbOfStages = 0;
        while ((1UL << uiNbOfStages) < uiRest)
            ++uiNbOfStages;
        if (m_kernel.m_uiMaxRadix == 8 && uiNbOfStages >= 3) {
            // Eights, and as many fours as the number of stages asks for: 3a + 2b.
            for (unsigned long uiFours = (3 - uiNbOfStages % 3) % 3; uiFours > 0; --uiFours)
                add(4);
            while (uiRest > 1)
                add(8);
            return;
        }
        if (uiNbOfStages % 2 != 0)
            add(2);
        while (uiRest > 1)
            add(4);
    }

    // For stages that follow in_uiNbDone transforms' stages: the factors that part uiK's next stages need.
    void appendFactors(unsigned long in_uiNbDone, unsigned long in_uiRadix, unsigned long in_uiK,
                       std::vector<Factor>& out_vFactors) const
    {
        for (unsigned long uiSpan = 1; uiSpan < in_uiRadix; uiSpan *= 2)
            for (unsigned long uiBranch = 0; uiBranch < uiSpan; ++uiBranch)
                out_vFactors.push_back(stageWithSpan(in_uiNbDone * uiSpan)[in_uiK + uiBranch * in_uiNbDone]);
    }

    const std::vector<Factor>& stageWithSpan(unsigned long in_uiSpan) const
    {
        unsigned long uiStage = 0;
        while ((1UL << uiStage) < in_uiSpan)
            ++uiStage;
        return m_vvStages[uiStage];
    }

    std::vector<double> passFactors(const SpectrumTables& in_tables) const
    {
        std::vector<Factor> vFactors;
        unsigned long uiNbDone = 1;
        for (unsigned long uiPass = 0; uiPass < in_tables.m_uiNbOfPasses; ++uiPass) {
            for (unsigned long uiK = 0; uiK < uiNbDone; ++uiK)
                appendFactors(uiNbDone, in_tables.m_auiRadix[uiPass], uiK, vFactors);
            uiNbDone *= in_tables.m_auiRadix[uiPass];
        }
        return inBlocks(vFactors, 1);
    }

    std::vector<double> lastFactors() const
    {
        const unsigned long uiNbDone = m_uiNbOfPoints / m_kernel.m_uiLastRadix;
        const unsigned long uiLanes = m_kernel.m_uiLanes;
        std::vector<Factor> vOrdered;
        for (unsigned long uiFirst = 0; uiFirst < uiNbDone; uiFirst += uiLanes) {
            std::vector<Factor> vFactors; // k by k
            for (unsigned long uiLane = 0; uiLane < uiLanes; ++uiLane)
                appendFactors(uiNbDone, m_kernel.m_uiLastRadix, uiFirst + uiLane, vFactors);
            const unsigned long uiNbOfFactors = vFactors.size() / uiLanes;
            for (unsigned long uiFactor = 0; uiFactor < uiNbOfFactors; ++uiFactor)
                for (unsigned long uiLane = 0; uiLane < uiLanes; ++uiLane)
                    vOrdered.push_back(vFactors[uiLane * uiNbOfFactors + uiFactor]);
        }
        return inBlocks(vOrdered, uiLanes);
    }

    std::vector<double> binFactors() const
    {
        const FourierRecurrence recurrence = FourierRecurrence::ofRealPart(2 * m_uiNbOfPoints);
        std::vector<Factor> vFactors =
            factorsOf(recurrence, {1.0 + recurrence.m_dWpr, recurrence.m_dWpi}, m_uiNbOfPoints / 2 - 1);
        vFactors.insert(vFactors.begin(), {1.0, 0.0}); // bin 0 is formed otherwise
        return inBlocks(vFactors, m_kernel.m_uiLanes);
    }

    static std::vector<double> inBlocks(const std::vector<Factor>& in_vFactors, unsigned long in_uiLanes)
    {
        std::vector<double> vTable;
        vTable.reserve(2 * in_vFactors.size());
        for (unsigned long uiFirst = 0; uiFirst < in_vFactors.size(); uiFirst += in_uiLanes) {
            for (unsigned long uiLane = 0; uiLane < in_uiLanes; ++uiLane)
                vTable.push_back(in_vFactors[uiFirst + uiLane].m_dReal);
            for (unsigned long uiLane = 0; uiLane < in_uiLanes; ++uiLane)
                vTable.push_back(in_vFactors[uiFirst + uiLane].m_dImaginary);
        }
        return vTable;
    }

    const SpectrumKernel& m_kernel;
    unsigned long m_uiNbOfPoints;
    std::vector<std::vector<Factor>> m_vvStages;
};

SpectrumPlan::SpectrumPlan(const DoubleVector& in_vTaper, Simd in_simd)
    : m_uiSize(in_vTaper.size())
    , m_pTaper(nullptr)
    , m_pKernel(findKernel(in_simd, in_vTaper.size() / 2))
{
    assert(m_uiSize >= 2 && isPowerOfTwo(m_uiSize));
    assert(isSimdSupported(in_simd));
    if (m_pKernel != nullptr) {
        m_pTables = TableMaker(*m_pKernel, m_uiSize).make(in_vTaper, m_vTables);
        return;
    }
    m_vTables = in_vTaper;
    m_pTaper = m_vTables.data();
    m_pPlainPlan = std::make_unique<const RealFourierPlan>(m_uiSize);
}

SpectrumPlan::~SpectrumPlan() = default;

void SpectrumPlan::compute(const double* in_pWindow, double* out_pBins, SpectrumScratch& inout_scratch) const
{
    computeOne(in_pWindow, out_pBins, makeRoom(inout_scratch.m_vValues, 2 * m_uiSize));
}

void SpectrumPlan::computeSeveral(unsigned long in_uiNbOfWindows, const double* const* in_ppWindows,
                                  double* const* out_ppBins, SpectrumScratch& inout_scratch) const
{
    double* const pScratch = makeRoom(inout_scratch.m_vValues, 2 * m_uiSize + s_uiNbOfWindowsAtOnce * getNbOfBins());
    unsigned long uiWindow = 0;
    if (m_pKernel != nullptr)
        for (; uiWindow + s_uiNbOfWindowsAtOnce <= in_uiNbOfWindows; uiWindow += s_uiNbOfWindowsAtOnce)
            m_pKernel->m_pComputeSeveral(*m_pTables, in_ppWindows + uiWindow, out_ppBins + uiWindow, pScratch);
    for (; uiWindow < in_uiNbOfWindows; ++uiWindow)
        computeOne(in_ppWindows[uiWindow], out_ppBins[uiWindow], pScratch);
}

void SpectrumPlan::computeOne(const double* in_pWindow, double* out_pBins, double* inout_pScratch) const
{
    if (m_pKernel != nullptr)
        m_pKernel->m_pCompute(*m_pTables, in_pWindow, out_pBins, inout_pScratch);
    else
        computePlainly(in_pWindow, out_pBins, inout_pScratch);
}

void SpectrumPlan::computePlainly(const double* in_pWindow, double* out_pBins, double* inout_pScratch) const
{
    for (unsigned long uiSample = 0; uiSample < m_uiSize; ++uiSample)
        inout_pScratch[uiSample] = in_pWindow[uiSample] * m_pTaper[uiSample];
    m_pPlainPlan->transform(inout_pScratch);

    out_pBins[0] = inout_pScratch[0] * inout_pScratch[0];
    double dTotal = out_pBins[0];
    for (unsigned long uiBin = 1; uiBin < getNbOfBins(); ++uiBin) {
        const double dReal = inout_pScratch[2 * uiBin];
        const double dImaginary = inout_pScratch[2 * uiBin + 1];
        out_pBins[uiBin] = dReal * dReal + dImaginary * dImaginary;
        dTotal += out_pBins[uiBin];
    }
    if (dTotal == 0.0)
        return;
    const double dReciprocal = 1.0 / dTotal; // multiplied by, not divided by: part of the result
    for (unsigned long uiBin = 0; uiBin < getNbOfBins(); ++uiBin)
        out_pBins[uiBin] *= dReciprocal;
}

} // namespace Corvana::Math
