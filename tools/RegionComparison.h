// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/AudioAnnotation.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace Corvana::Tools {

/// Finds what became of each region of one list in another, whatever the order of the lists. Regions pair off in this
/// order: those of the same type and times; of the same type that overlap most; of the same times, then those that
/// overlap most, whatever their type. Regions of length 0 overlap what they lie in.
class RegionComparison
{
public:
    using Annotation = Audio::AnnotatedFile::Annotation;
    using Regions = std::vector<Annotation>;

    /// Two regions that are one, or one without a counterpart.
    struct Pair
    {
        std::optional<std::size_t> m_uiLeft;
        std::optional<std::size_t> m_uiRight;
        bool m_bSameTimes = false;
    };

    /// Times are the same when they differ by no more than that many seconds.
    RegionComparison(const Regions& in_vLeft, const Regions& in_vRight, double in_dToleranceSeconds);

    /// False: so many regions overlap that it would take too long.
    bool compare();
    /// All regions, in the order of their starts.
    const std::vector<Pair>& pairs() const { return m_vPairs; }

private:
    enum Stage
    {
        SAME,
        MOVED,
        RETYPED,
        RETYPED_AND_MOVED
    };

    bool pairOff(Stage in_stage);
    bool pairOff(Stage in_stage, std::size_t in_uiLeft, double in_dLongest);
    std::optional<double> likeness(Stage in_stage, const Annotation& in_left, const Annotation& in_right) const;
    void sortPairs();

    const Regions& m_vLeft;
    const Regions& m_vRight;
    double m_dTolerance;
    std::vector<std::size_t> m_vRightOrder; // indices in m_vRight that are free, by start
    std::vector<bool> m_vLeftDone;
    std::vector<bool> m_vRightDone;
    unsigned long m_uiNbOfLooks = 0;
    std::vector<Pair> m_vPairs;
};

} // namespace Corvana::Tools
