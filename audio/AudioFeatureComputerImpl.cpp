// SPDX-License-Identifier: Apache-2.0
#include "corvana/AudioFeatureComputerImpl.h"

#include "AudioFeatureComputerConstruct.h"
#include "AudioFeatureComputerInstall.h"
#include "corvana/AudioFeatureFactory.h"
#include "corvana/Logger.h"

#include <boost/archive/polymorphic_iarchive.hpp>
#include <boost/archive/polymorphic_oarchive.hpp>
#include <boost/serialization/base_object.hpp>
#include <boost/serialization/nvp.hpp>

#include <memory>

CORVANA_FILE_SCOPE_LOGGER("kestrivon.audio.FeatureComputerImpl")

BOOST_CLASS_EXPORT_IMPLEMENT(Corvana::Audio::FeatureComputerImpl)
BOOST_CLASS_EXPORT_IMPLEMENT(Corvana::Audio::FeatureComputerWithInputsImpl)

namespace Corvana::Audio {
namespace {

namespace at {
constexpr SourcePosition factoryRefused{"AudioFeatureComputerImpl", 38};
constexpr SourcePosition factoryRefusedWithInputs{"AudioFeatureComputerImpl", 69};
} // namespace at

using boost::serialization::void_cast_register;
using boost::serialization::void_cast_detail::void_caster;

// Pointers saved through these bases come back as what they were.
[[maybe_unused]] const void_caster& s_castWithInputsToComputer =
    void_cast_register<FeatureComputerWithInputsImpl, Math::FeatureComputer>(nullptr, nullptr);
[[maybe_unused]] const void_caster& s_castWithInputsToWithInputs =
    void_cast_register<FeatureComputerWithInputsImpl, Math::FeatureComputerWithInputs>(nullptr, nullptr);
[[maybe_unused]] const void_caster& s_castToMath =
    void_cast_register<FeatureComputerImpl, Math::FeatureComputerImpl>(nullptr, nullptr);
[[maybe_unused]] const void_caster& s_castWithInputsToMath =
    void_cast_register<FeatureComputerWithInputsImpl, Math::FeatureComputerImpl>(nullptr, nullptr);
[[maybe_unused]] const void_caster& s_castWithInputsToMathWithInputs =
    void_cast_register<FeatureComputerWithInputsImpl, Math::FeatureComputerWithInputsImpl>(nullptr, nullptr);

void noteLoading(boost::archive::polymorphic_iarchive& inout_archive, Math::FeatureComputerImpl& inout_computer)
{
    Math::computerUnderLoad(inout_archive) = &inout_computer;
}

void noteLoading(boost::archive::polymorphic_oarchive&, Math::FeatureComputerImpl&) {}

// The item name is the saved format.
template <class ArchiveT, class ComputerT>
void serializeMathPart(ArchiveT& io_archive, ComputerT& inout_computer)
{
    noteLoading(io_archive, inout_computer); // before anything is read
    io_archive& boost::serialization::make_nvp(
        "MathFeatureComputerImpl", boost::serialization::base_object<Math::FeatureComputerImpl>(inout_computer));
}

} // namespace

bool installAudioFeatureFactory(Math::SignalFeaturePool& inout_pool, SourcePosition in_refused)
{
    // The pool owns it from here on; one that it refuses is left alone, as nobody knows who else holds it.
    auto pFactory = std::make_unique<AudioFeatureFactory>();
    const bool bAdded = inout_pool.addFactory(pFactory.get());
    static_cast<void>(pFactory.release());
    if (bAdded)
        return true;
    CORVANA_LOG_WARN_AT(in_refused, fileScopeLogger(), "Could not add AudioFeatureFactory to feature pool");
    return false;
}

FeatureComputerImpl::FeatureComputerImpl()
{
    CORVANA_TRACE_SCOPE(fileScopeLogger(), "FeatureComputerImpl ctor");
    installAudioFeatureFactory(getFeaturePool(), at::factoryRefused);
}

FeatureComputerImpl::~FeatureComputerImpl() = default;

template <class ArchiveT>
void FeatureComputerImpl::serialize(ArchiveT& io_archive, unsigned int)
{
    serializeMathPart(io_archive, *this);
}

FeatureComputerWithInputsImpl::FeatureComputerWithInputsImpl()
{
    CORVANA_TRACE_SCOPE(fileScopeLogger(), "FeatureComputerWithInputsImpl ctor");
    installAudioFeatureFactory(getFeaturePool(), at::factoryRefusedWithInputs);
}

FeatureComputerWithInputsImpl::~FeatureComputerWithInputsImpl() = default;

template <class ArchiveT>
void FeatureComputerWithInputsImpl::serialize(ArchiveT& io_archive, unsigned int)
{
    serializeMathPart(io_archive, *this); // the inputs are not saved, on purpose
}

template void FeatureComputerImpl::serialize(boost::archive::polymorphic_iarchive&, unsigned int);
template void FeatureComputerImpl::serialize(boost::archive::polymorphic_oarchive&, unsigned int);
template void FeatureComputerWithInputsImpl::serialize(boost::archive::polymorphic_iarchive&, unsigned int);
template void FeatureComputerWithInputsImpl::serialize(boost::archive::polymorphic_oarchive&, unsigned int);

} // namespace Corvana::Audio
