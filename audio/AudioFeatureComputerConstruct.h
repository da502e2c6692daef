// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/MathFeatureComputer.h"

#include <boost/archive/polymorphic_iarchive.hpp>

#include <new>
#include <type_traits>

namespace Corvana::Math {

/// Makes the object that a loaded pointer points at, in memory that Boost.Serialization has allocated: Boost finds this
/// through the class. Unlike Boost's own way it notes the object at once, not when the first of it is read.
template <class ComputerT>
requires std::is_base_of_v<FeatureComputerImpl, ComputerT>
inline void load_construct_data(boost::archive::polymorphic_iarchive& inout_archive, ComputerT* out_pComputer,
                                const unsigned int)
{
    FeatureComputerImpl*& pNoted = computerUnderLoad(inout_archive);
    pNoted = ::new (static_cast<void*>(out_pComputer)) ComputerT;
}

/// Gives back what a failed load of a pointer left: the object that was noted, or, when memory ran out before it was
/// made, what Boost had allocated for it.
inline void destroyAfterFailedLoad(FeatureComputerImpl* in_pNoted, FeatureComputerImpl* in_pLoaded)
{
    if (in_pNoted != nullptr)
        delete in_pNoted;
    else
        ::operator delete(static_cast<void*>(in_pLoaded));
}

} // namespace Corvana::Math
