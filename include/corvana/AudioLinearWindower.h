// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/AudioSampleQueue.h"
#include "corvana/AudioSink.h"
#include "corvana/AudioTimeSource.h"
#include "corvana/CountedObjPtr.h"
#include "corvana/Logger.h"
#include "corvana/MathSignalFeature.h"
#include "corvana/Resettable.h"

#include <boost/serialization/export.hpp>
#include <boost/serialization/tracking.hpp>

namespace boost::serialization {
class access;
}

namespace Corvana::Audio {

/// Cuts a stream of linear samples, pushed in pieces of any length, into windows of one length that may overlap.
/// Optionally removes each window's mean. Its clock tells the time of the end of the last window in seconds; it adds
/// up the configured milliseconds, so it does not drift with the rounding of lengths to samples.
/// Order of calls: configure(), reset(), then pushes and pops in any order.
class CORVANA_API LinearAudioWindower : public virtual LinearAudioSink,
                                        public virtual TimeSource,
                                        public virtual Resettable,
                                        public virtual ObjectWithLogger<CachedLLLogger>
{
public:
    /// Saved and loaded under the class key "LinearAudioWindowerConfig".
    struct CORVANA_API Config
    {
        unsigned long m_uiSampleRate = 8000;   ///< samples per second
        unsigned long m_uiWindowSizeMs = 16;   ///< length of a window
        unsigned long m_uiWindowOverlapMs = 0; ///< what consecutive windows share
        bool m_bSuppressDCOffset = false;      ///< subtract each window's mean from it

    private:
        friend class boost::serialization::access;
        template <class ArchiveT>
        void serialize(ArchiveT& io_archive, unsigned int in_uiVersion);
    };

    LinearAudioWindower();
    /// Copies everything but the mean feature: each windower makes its own.
    LinearAudioWindower(const LinearAudioWindower& in_other);
    LinearAudioWindower& operator=(const LinearAudioWindower&) = delete;
    ~LinearAudioWindower() override;

    /// Lengths in samples are sample rate * milliseconds / 1000, rounded down, the window's at least 1.
    /// False: the overlap is not shorter than the window. The values are stored all the same, and until a good
    /// configuration comes, popWindow() returns false.
    bool configure(const Config& in_config);
    const Config& getConfig() const { return m_config; }
    unsigned long getWindowSize() const { return m_uiWindowSize; }   ///< samples in a window
    unsigned long getOverlapSize() const { return m_uiOverlapSize; } ///< samples that consecutive windows share

    /// Forgets all samples and sets the clock to 0.
    bool reset() override;
    /// Appends the samples to those waiting; always true.
    bool pushLinearAudio(const double* in_pBegin, const double* in_pEnd) override;
    /// Replaces out_vWindow by the next window and advances by window minus overlap.
    /// False, with an empty out_vWindow: too few samples are waiting.
    bool popWindow(Math::DoubleVector& out_vWindow);
    double getCurrentAudioTime() const override;

private:
    void makeMeanFeature();
    bool suppressDCOffset(Math::DoubleVector& inout_vWindow);
    void advanceClock();

    Config m_config;
    unsigned long m_uiWindowSize = 128;
    unsigned long m_uiOverlapSize = 0;
    double m_dHopDuration = 0.016;
    CountedObjPtr<Math::SignalFeature> m_pFeatureDCOffset;
    SampleQueue m_samples;
    Math::DoubleVector m_vScratch;
    double m_dCurrentTime = 0.0;
    bool m_bFirstWindow = true;
};

} // namespace Corvana::Audio

BOOST_CLASS_EXPORT_KEY2(Corvana::Audio::LinearAudioWindower::Config, "LinearAudioWindowerConfig")
// Without this, a second Config saved from the same variable into one archive would be taken for the first.
BOOST_CLASS_TRACKING(Corvana::Audio::LinearAudioWindower::Config, boost::serialization::track_never)
