// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/AudioFeatureDescription.h"
#include "corvana/MathSignalFeaturePool.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Corvana::Tools {

/// One stage of a chain of features.
struct DescriptionStage
{
    std::string m_strText; ///< without blanks around it
    const Audio::FeatureDescription* m_pDescription;
};

/// What is wrong with a description, and where.
struct DescriptionFault
{
    std::string m_strText;     ///< what is wrong; empty for nothing
    std::size_t m_uiBegin = 0; ///< the first faulty byte of the description, which may be its end
    std::size_t m_uiEnd = 0;   ///< behind the last one
};

/// Examines descriptions such as "spectrum|spectralrange(1000,100)" before anything is computed, and explains what is
/// wrong with one that no feature can be made from. The features are those that the library describes.
class DescriptionChecker
{
public:
    /// The pool makes the features, and has the last word.
    explicit DescriptionChecker(const Math::SignalFeaturePool& in_pool);

    /// The stages of a good description; for a faulty one, none, and the first fault in out_fault.
    std::vector<DescriptionStage> check(std::string_view in_strDescription, DescriptionFault& out_fault) const;

private:
    const Math::SignalFeaturePool& m_pool;
};

/// The fault for people: a line that says what is wrong, the description, and a line that points at the place.
std::string faultText(std::string_view in_strDescription, const DescriptionFault& in_fault);

/// How a feature is written: "spectralrange(centreHz,halfWidthHz)".
std::string writtenForm(const Audio::FeatureDescription& in_description);

/// "1", "0 or 1", "2 to 4", "1 or more": how many parameters a feature takes.
std::string parameterCountText(const Audio::FeatureDescription& in_description);

} // namespace Corvana::Tools
