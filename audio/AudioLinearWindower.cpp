// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioLinearWindower.h"

#include "corvana/Assertion.h"
#include "corvana/MathSignalFeatureFactory.h"

#include <boost/archive/polymorphic_iarchive.hpp>
#include <boost/archive/polymorphic_oarchive.hpp>
#include <boost/serialization/nvp.hpp>

#include <algorithm>
#include <memory>

CORVANA_FILE_SCOPE_LOGGER("kestrivon.audio.LinearAudioWindower")

BOOST_CLASS_EXPORT_IMPLEMENT(Corvana::Audio::LinearAudioWindower::Config)

namespace Corvana::Audio {
namespace {

namespace at {
constexpr SourcePosition resetWithoutMeanFeature{"AudioLinearWindower", 143};
constexpr SourcePosition popWithoutMeanFeature{"AudioLinearWindower", 180};
constexpr SourcePosition oneMeanValue{"AudioLinearWindower", 186};
} // namespace at

double toSeconds(unsigned long in_uiMs)
{
    return static_cast<double>(in_uiMs) / 1000.0;
}

} // namespace

template <class ArchiveT>
void LinearAudioWindower::Config::serialize(ArchiveT& io_archive, unsigned int)
{
    // Names and order are the saved format.
    io_archive& boost::serialization::make_nvp("m_uiSampleRate", m_uiSampleRate);
    io_archive& boost::serialization::make_nvp("m_uiWindowSizeMs", m_uiWindowSizeMs);
    io_archive& boost::serialization::make_nvp("m_uiWindowOverlapMs", m_uiWindowOverlapMs);
    io_archive& boost::serialization::make_nvp("m_bSuppressDCOffset", m_bSuppressDCOffset);
}

template void LinearAudioWindower::Config::serialize(boost::archive::polymorphic_iarchive&, unsigned int);
template void LinearAudioWindower::Config::serialize(boost::archive::polymorphic_oarchive&, unsigned int);

LinearAudioWindower::LinearAudioWindower()
{
    setLogger(fileScopeLogger());
    makeMeanFeature();
}

LinearAudioWindower::LinearAudioWindower(const LinearAudioWindower& in_other)
    : Object(in_other)
    , LinearAudioSink(in_other)
    , TimeSource(in_other)
    , Resettable(in_other)
    , ObjectWithLogger(in_other)
    , m_config(in_other.m_config)
    , m_uiWindowSize(in_other.m_uiWindowSize)
    , m_uiOverlapSize(in_other.m_uiOverlapSize)
    , m_dHopDuration(in_other.m_dHopDuration)
    , m_samples(in_other.m_samples)
    , m_vScratch(in_other.m_vScratch)
    , m_dCurrentTime(in_other.m_dCurrentTime)
    , m_bFirstWindow(in_other.m_bFirstWindow)
{
    makeMeanFeature();
}

LinearAudioWindower::~LinearAudioWindower() = default;

void LinearAudioWindower::makeMeanFeature()
{
    const auto pFactory = std::make_unique<Math::MathSignalFeatureFactory>();
    std::unique_ptr<Object> pMade(pFactory->getNewFeature("TemporalMean_Mean_Amplitude"));
    auto* pFeature = dynamic_cast<Math::SignalFeature*>(pMade.get());
    if (pFeature != nullptr)
        static_cast<void>(pMade.release()); // the same object
    m_pFeatureDCOffset = CountedObjPtr<Math::SignalFeature>(pFeature);
}

bool LinearAudioWindower::configure(const Config& in_config)
{
    getLogger().cacheLogLevel();
    CORVANA_TRACE_SCOPE(getLogger(), "LinearAudioWindower::configure");

    m_config = in_config;
    m_uiWindowSize = std::max(1UL, m_config.m_uiWindowSizeMs * m_config.m_uiSampleRate / 1000);
    m_uiOverlapSize = m_config.m_uiWindowOverlapMs * m_config.m_uiSampleRate / 1000;
    if (m_uiOverlapSize >= m_uiWindowSize)
        return false;
    // In milliseconds, so it can even be negative where both lengths round to the same samples.
    const double dHopMs =
        static_cast<double>(m_config.m_uiWindowSizeMs) - static_cast<double>(m_config.m_uiWindowOverlapMs);
    m_dHopDuration = dHopMs / 1000.0;
    return true;
}

bool LinearAudioWindower::reset()
{
    getLogger().cacheLogLevel();

    m_samples.clear();
    m_bFirstWindow = true;
    m_dCurrentTime = 0.0;
    if (!CORVANA_ASSERT_AT(at::resetWithoutMeanFeature, !m_pFeatureDCOffset.isNull(), "!m_pFeatureDCOffset.isNull()"))
        return false;
    auto* pResettable = dynamic_cast<Resettable*>(m_pFeatureDCOffset.get());
    return pResettable == nullptr || pResettable->reset();
}

bool LinearAudioWindower::pushLinearAudio(const double* in_pBegin, const double* in_pEnd)
{
    CORVANA_TRACE_SCOPE(getLogger(), "LinearAudioWindower::pushLinearAudio");

    m_samples.push(in_pBegin, in_pEnd);
    return true;
}

bool LinearAudioWindower::popWindow(Math::DoubleVector& out_vWindow)
{
    CORVANA_TRACE_SCOPE(getLogger(), "LinearAudioWindower::popWindow");

    out_vWindow.clear();
    if (m_samples.size() < m_uiWindowSize || m_uiOverlapSize >= m_uiWindowSize)
        return false;
    out_vWindow.resize(m_uiWindowSize);
    std::copy_n(m_samples.begin(), m_uiWindowSize, out_vWindow.begin());
    if (m_config.m_bSuppressDCOffset && !suppressDCOffset(out_vWindow))
        return false;
    m_samples.pop(m_uiWindowSize - m_uiOverlapSize);
    advanceClock();
    return true;
}

bool LinearAudioWindower::suppressDCOffset(Math::DoubleVector& inout_vWindow)
{
    if (!CORVANA_ASSERT_AT(at::popWithoutMeanFeature, !m_pFeatureDCOffset.isNull(), "!m_pFeatureDCOffset.isNull()"))
        return false;
    m_vScratch.clear();
    if (!m_pFeatureDCOffset->compute(inout_vWindow, m_vScratch))
        return false;
    if (!CORVANA_ASSERT_AT(at::oneMeanValue, m_vScratch.size() == 1, "m_vScratch.size() == 1"))
        return false;
    const double dMean = m_vScratch[0];
    for (double& dSample : inout_vWindow)
        dSample -= dMean;
    return true;
}

void LinearAudioWindower::advanceClock()
{
    m_dCurrentTime += m_bFirstWindow ? toSeconds(m_config.m_uiWindowSizeMs) : m_dHopDuration;
    m_bFirstWindow = false;
}

double LinearAudioWindower::getCurrentAudioTime() const
{
    return m_dCurrentTime;
}

} // namespace Corvana::Audio
