// SPDX-License-Identifier: Apache-2.0
// The interfaces of audio producers and consumers.
#include "corvana/AudioSink.h"

#include "corvana/AudioTimeSource.h"

namespace Corvana::Audio {

AudioSink::~AudioSink() = default;
LinearAudioSink::~LinearAudioSink() = default;
TimeSource::~TimeSource() = default;

bool LinearAudioSink::pushAudio(const double* in_pBegin, const double* in_pEnd)
{
    return pushLinearAudio(in_pBegin, in_pEnd);
}

double TimeSource::getCurrentTime() const
{
    return getCurrentAudioTime();
}

} // namespace Corvana::Audio
