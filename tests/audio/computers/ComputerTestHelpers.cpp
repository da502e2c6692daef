// SPDX-License-Identifier: Apache-2.0
#include "audio/computers/ComputerTestHelpers.h"

#include "corvana/AudioFeatureDescription.h"
#include "corvana/AudioFeatureFactory.h"
#include "support/Signals.h"

#include <gtest/gtest.h>

#include <sstream>

namespace Corvana::Test {
namespace {

bool startsWith(const std::string& in_strText, const char* in_szStart)
{
    return in_strText.rfind(in_szStart, 0) == 0;
}

class PlainProbe : public virtual Math::SignalFeature
{
public:
    PlainProbe(std::string in_strName, ProbeCalls& out_vCalls)
        : m_strName(std::move(in_strName))
        , m_pCalls(&out_vCalls)
    {
    }

    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override
    {
        note("compute");
        ++m_dNbOfCalls;
        if (startsWith(m_strName, "nocompute"))
            return false;
        out_vOutput.push_back(in_vInput.empty() ? 0.0 : in_vInput.front());
        out_vOutput.push_back(m_dNbOfCalls);
        return true;
    }
    PlainProbe* clone() const override { return new PlainProbe(*this); }

protected:
    void note(const char* in_szCall) { m_pCalls->push_back(in_szCall + (' ' + m_strName)); }
    const std::string& name() const { return m_strName; }

private:
    std::string m_strName;
    ProbeCalls* m_pCalls;
    double m_dNbOfCalls = 0.0;
};

class Probe : public PlainProbe,
              public virtual Math::SignalFeatureWithMemory,
              public virtual Math::SignalFeatureWithParameters
{
public:
    using PlainProbe::PlainProbe;

    bool compute(const Math::DoubleVector& in_vInput, Math::DoubleVector& out_vOutput) override
    {
        return PlainProbe::compute(in_vInput, out_vOutput);
    }
    bool configure(const ROConfiguration&) override
    {
        note("configure");
        return !startsWith(name(), "noconfigure");
    }
    bool reset() override
    {
        note("reset");
        return !startsWith(name(), "noreset");
    }
    Probe* clone() const override { return new Probe(*this); }
};

} // namespace

std::vector<std::string> allExamples()
{
    std::vector<std::string> vExamples;
    for (const Audio::FeatureDescription& description : Audio::getFeatureDescriptions())
        vExamples.emplace_back(description.m_szExample);
    return vExamples;
}

std::vector<Math::DoubleVector> makeWindows(unsigned long in_uiNbOfWindows)
{
    std::vector<Math::DoubleVector> vWindows;
    for (unsigned long uiWindow = 0; uiWindow < in_uiNbOfWindows; ++uiWindow) {
        const double dAmplitude = static_cast<double>((uiWindow * 3) % 7) / 7.0;
        Math::DoubleVector vWindow = sine(440.0, 8000.0, 256, dAmplitude);
        const Math::DoubleVector vNoise = noise(256, uiWindow + 1);
        for (unsigned long uiSample = 0; uiSample < vWindow.size(); ++uiSample)
            vWindow[uiSample] += 0.1 * vNoise[uiSample];
        vWindows.push_back(vWindow);
    }
    return vWindows;
}

void addAll(Math::FeatureComputerImpl& inout_computer, const std::vector<std::string>& in_vDescriptions)
{
    for (const std::string& strDescription : in_vDescriptions)
        EXPECT_TRUE(inout_computer.addFeature(strDescription.c_str())) << strDescription;
}

Math::DoubleVector computed(Math::FeatureComputer& inout_computer)
{
    Math::DoubleVector vFeatures;
    EXPECT_TRUE(inout_computer.computeFeatures(vFeatures));
    return vFeatures;
}

Math::DoubleVector computed(Math::FeatureComputerImpl& inout_computer, const Math::DoubleVector& in_vWindow)
{
    inout_computer.setWindow(in_vWindow);
    return computed(inout_computer);
}

std::string saved(const Math::FeatureComputerImpl& in_computer, Audio::ArchiveFormat in_format)
{
    std::ostringstream stream;
    EXPECT_TRUE(Audio::saveFeatureComputer(stream, in_computer, in_format));
    return stream.str();
}

std::unique_ptr<Math::FeatureComputerImpl> loaded(const std::string& in_strArchive, Audio::ArchiveFormat in_format)
{
    std::istringstream stream(in_strArchive);
    return Audio::loadFeatureComputer(stream, in_format);
}

DirectFeature::DirectFeature(const std::string& in_strDescription)
{
    Audio::AudioFeatureFactory factory;
    std::istringstream stages(in_strDescription);
    for (std::string strStage; std::getline(stages, strStage, '|');) {
        m_vStages.emplace_back(factory.getNewFeature(strStage.c_str()));
        EXPECT_NE(nullptr, m_vStages.back()) << strStage;
    }
}

Math::DoubleVector DirectFeature::compute(const Math::DoubleVector& in_vInput)
{
    Math::DoubleVector vValues = in_vInput;
    for (const auto& pStage : m_vStages)
        vValues = valuesOf(*pStage, vValues);
    return vValues;
}

ProbeFactory::ProbeFactory(ProbeCalls& out_vCalls)
    : m_vCalls(out_vCalls)
{
}

const char* ProbeFactory::getFactoryName() const
{
    return "ProbeFactory";
}

Math::SignalFeature* ProbeFactory::getNewBaseFeature(const char* in_szFeatureName)
{
    std::string strName;
    std::vector<std::string> vParams;
    if (!splitParams(in_szFeatureName, strName, vParams))
        return nullptr;
    if (strName == "plain")
        return new PlainProbe(in_szFeatureName, m_vCalls);
    for (const char* szName : {"probe", "other", "nocompute", "noconfigure", "noreset"})
        if (strName == szName)
            return new Probe(in_szFeatureName, m_vCalls);
    return nullptr;
}

} // namespace Corvana::Test
