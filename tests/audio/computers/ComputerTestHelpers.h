// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/AudioFeatureComputerImpl.h"
#include "corvana/MathDoubleVector.h"
#include "corvana/MathFeatureComputer.h"
#include "corvana/MathSignalFeature.h"
#include "corvana/MathSignalFeatureFactory.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Corvana::Test {

inline constexpr const char* s_szMathLogger = "kestrivon.math.FeatureComputerImpl";
inline constexpr const char* s_szAudioLogger = "kestrivon.audio.FeatureComputerImpl";
inline constexpr int s_iErrorLevel = 40000;
inline constexpr Audio::ArchiveFormat s_aFormats[] = {Audio::ArchiveFormat::TEXT, Audio::ArchiveFormat::XML,
                                                      Audio::ArchiveFormat::BINARY};

/// A message at error level from this logger and file, with exactly this text.
inline auto isError(const std::string& in_strLogger, const std::string& in_strFile, const std::string& in_strText)
{
    return testing::AllOf(
        testing::Field(&LogEvent::m_iLevel, s_iErrorLevel), testing::Field(&LogEvent::m_strLogger, in_strLogger),
        testing::Field(&LogEvent::m_strFile, in_strFile), testing::Field(&LogEvent::m_strText, in_strText));
}

/// One example of each kind of feature that descriptions can name.
std::vector<std::string> allExamples();

/// Windows of 256 samples of a noisy tone that comes and goes; the same on every machine.
std::vector<Math::DoubleVector> makeWindows(unsigned long in_uiNbOfWindows);

void addAll(Math::FeatureComputerImpl& inout_computer, const std::vector<std::string>& in_vDescriptions);

/// What computeFeatures() yields; fails the test when it returns false.
Math::DoubleVector computed(Math::FeatureComputer& inout_computer);
/// The same for a window.
Math::DoubleVector computed(Math::FeatureComputerImpl& inout_computer, const Math::DoubleVector& in_vWindow);

/// The archive; fails the test when saving does.
std::string saved(const Math::FeatureComputerImpl& in_computer, Audio::ArchiveFormat in_format);
/// Null when loading fails.
std::unique_ptr<Math::FeatureComputerImpl> loaded(const std::string& in_strArchive, Audio::ArchiveFormat in_format);

/// The stages of a description, made one by one and called one after another: what a computer is measured by.
class DirectFeature
{
public:
    explicit DirectFeature(const std::string& in_strDescription);
    Math::DoubleVector compute(const Math::DoubleVector& in_vInput);

private:
    std::vector<std::unique_ptr<Math::SignalFeature>> m_vStages;
};

/// What was done to the probes of a factory: "compute probe", "configure probe", "reset probe".
using ProbeCalls = std::vector<std::string>;

/// Makes features that note what is done to them. The values are the first value of the input and the number of
/// calls of compute() so far: a memory. "probe", "other": every call succeeds; "nocompute", "noconfigure", "noreset":
/// that call fails; "plain": can neither be configured nor reset. Parameters in parentheses are taken and not used.
class ProbeFactory : public Math::SignalFeatureFactory
{
public:
    explicit ProbeFactory(ProbeCalls& out_vCalls);
    const char* getFactoryName() const override;

protected:
    Math::SignalFeature* getNewBaseFeature(const char* in_szFeatureName) override;

private:
    ProbeCalls& m_vCalls;
};

/// A computer that knows probes beside the audio features. It cannot be saved: archives do not know its class.
template <class ComputerT>
class WithProbes : public ComputerT
{
public:
    WithProbes()
    {
        auto pFactory = std::make_unique<ProbeFactory>(m_vCalls);
        if (this->getFeaturePool().addFactory(pFactory.get()))
            static_cast<void>(pFactory.release());
    }
    ProbeCalls takeCalls() { return std::exchange(m_vCalls, {}); }

private:
    ProbeCalls m_vCalls;
};

using ProbeComputer = WithProbes<Audio::FeatureComputerImpl>;
using ProbeComputerWithInputs = WithProbes<Audio::FeatureComputerWithInputsImpl>;

} // namespace Corvana::Test
