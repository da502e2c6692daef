// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Object.h"

namespace Corvana::Audio {

/// Something that knows how much audio time has passed.
class CORVANA_API TimeSource : public virtual Object
{
public:
    ~TimeSource() override;

    /// Seconds of audio.
    virtual double getCurrentAudioTime() const = 0;
    /// The same as getCurrentAudioTime().
    virtual double getCurrentTime() const;
};

} // namespace Corvana::Audio
