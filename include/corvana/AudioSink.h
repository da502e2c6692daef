// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Object.h"

namespace Corvana::Audio {

/// A consumer of audio samples.
class CORVANA_API AudioSink : public virtual Object
{
public:
    ~AudioSink() override;

    /// Takes the samples from in_pBegin up to, not including, in_pEnd.
    virtual bool pushAudio(const double* in_pBegin, const double* in_pEnd) = 0;
};

/// A consumer of linear audio samples.
class CORVANA_API LinearAudioSink : public AudioSink
{
public:
    ~LinearAudioSink() override;

    /// Calls pushLinearAudio().
    bool pushAudio(const double* in_pBegin, const double* in_pEnd) override;
    /// Takes the linear amplitudes from in_pBegin up to, not including, in_pEnd.
    virtual bool pushLinearAudio(const double* in_pBegin, const double* in_pEnd) = 0;
};

} // namespace Corvana::Audio
