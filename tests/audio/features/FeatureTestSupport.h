// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PlainFeatures.h"
#include "corvana/ROConfiguration.h"
#include "corvana/TrieConfiguration.h"
#include "support/AllocationCounter.h"
#include "support/LogCapture.h"
#include "support/Signals.h"

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

namespace Corvana::Test {

Math::DoubleVector toVector(const Values& in_vValues);
Values toValues(const Math::DoubleVector& in_vValues);
/// Equal sizes and bits; any NaN equals any other, since the sign of a NaN has no meaning.
bool sameValues(const Values& in_vLeft, const Values& in_vRight);

/// What compute() yields on an empty output.
struct Outcome
{
    bool m_bDone = false;
    Values m_vValues;

    friend bool operator==(const Outcome& in_left, const Outcome& in_right)
    {
        return in_left.m_bDone == in_right.m_bDone && sameValues(in_left.m_vValues, in_right.m_vValues);
    }
};
std::ostream& operator<<(std::ostream& out_stream, const Outcome& in_outcome);
Outcome succeeds(Values in_vValues);
/// A refusal, with what is appended nevertheless.
Outcome refuses(Values in_vValues = {});
Outcome outcomeOf(Math::SignalFeature& inout_feature, const Values& in_vInput);
inline Outcome outcomeOf(Math::SignalFeature&& inout_feature, const Values& in_vInput)
{
    return outcomeOf(inout_feature, in_vInput);
}
Outcome outcomeOf(const PlainResult& in_result);

/// A feature by its description, chains included; null when it is not made.
std::unique_ptr<Math::SignalFeature> newFeature(const std::string& in_strDescription);

/// One class of feature, ready to compute.
struct FeatureClass
{
    const char* m_szName;
    const std::type_info* m_pType;
    std::function<std::unique_ptr<Math::SignalFeature>()> m_make;
    /// "window" (a power of two of samples), "spectrum" (at least 11 bins) or "value" (exactly one).
    const char* m_szInput;
};
std::ostream& operator<<(std::ostream& out_stream, const FeatureClass& in_class);
/// Every class of feature, also those that no description makes.
const std::vector<FeatureClass>& allFeatureClasses();

/// The 19 s of examples/data/sample-call.wav.
const Math::DoubleVector& sampleCall();
std::vector<Values> windowsOf(const Math::DoubleVector& in_vSamples, unsigned long in_uiSize, unsigned long in_uiHop);
/// Repeatable values; amplitudes of the samples are spread over several powers of ten, and some are exactly 0.
Values randomWindow(unsigned long in_uiSize, std::uint64_t in_uiSeed);
/// Repeatable shares that sum to about 1; some are exactly 0.
Values randomSpectrum(unsigned long in_uiSize, std::uint64_t in_uiSeed);

/// A configuration of text values.
TrieConfiguration configurationOf(const std::vector<std::pair<std::string, std::string>>& in_vEntries);

/// A configuration whose look-ups throw.
class ThrowingConfiguration : public ROConfiguration
{
public:
    enum class At
    {
        HAS_KEY,
        GET_VALUE
    };
    explicit ThrowingConfiguration(At in_at)
        : m_at(in_at)
    {
    }
    bool hasKey(const char* in_szKey) const override;
    bool getValue(const char* in_szKey, std::int32_t& out_iValue) const override;
    bool getValue(const char* in_szKey, unsigned long& out_uiValue) const override;
    bool getValue(const char* in_szKey, double& out_dValue) const override;
    bool getValue(const char* in_szKey, std::string& out_strValue) const override;

private:
    At m_at;
};

} // namespace Corvana::Test
