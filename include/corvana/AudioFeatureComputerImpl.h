// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/MathFeatureComputer.h"

#include <boost/serialization/export.hpp>

#include <iosfwd>
#include <memory>

namespace Corvana::Audio {

/// A feature computer whose pool holds an AudioFeatureFactory of its own.
/// Saved and loaded under the class key "AudioFeatureComputerImpl".
class CORVANA_API FeatureComputerImpl : public Math::FeatureComputerImpl
{
public:
    FeatureComputerImpl();
    ~FeatureComputerImpl() override;

private:
    friend class boost::serialization::access;
    template <class ArchiveT>
    void serialize(ArchiveT& io_archive, unsigned int in_uiVersion);
};

/// The same with named inputs, which are not saved.
/// Saved and loaded under the class key "AudioFeatureComputerWithInputsImpl".
class CORVANA_API FeatureComputerWithInputsImpl : public Math::FeatureComputerWithInputsImpl
{
public:
    FeatureComputerWithInputsImpl();
    ~FeatureComputerWithInputsImpl() override;

private:
    friend class boost::serialization::access;
    template <class ArchiveT>
    void serialize(ArchiveT& io_archive, unsigned int in_uiVersion);
};

/// The forms of a saved computer: text and XML are portable, binary is for the same kind of machine.
enum class ArchiveFormat
{
    TEXT,
    XML,
    BINARY
};

/// Saves a computer with its class, so that it comes back as the same class. False, after a message at error level:
/// the stream failed. Save and load only with this pair, or through pointers of the same static type:
/// Math::FeatureComputerImpl.
CORVANA_API bool saveFeatureComputer(std::ostream& out_stream, const Math::FeatureComputerImpl& in_computer,
                                     ArchiveFormat in_format);
/// Null, after a message at error level: the stream holds no such archive. Archives are trusted input: one that was
/// damaged on purpose can crash inside Boost.Serialization.
CORVANA_API std::unique_ptr<Math::FeatureComputerImpl> loadFeatureComputer(std::istream& io_stream,
                                                                           ArchiveFormat in_format);

} // namespace Corvana::Audio

BOOST_CLASS_EXPORT_KEY2(Corvana::Audio::FeatureComputerImpl, "AudioFeatureComputerImpl")
BOOST_CLASS_EXPORT_KEY2(Corvana::Audio::FeatureComputerWithInputsImpl, "AudioFeatureComputerWithInputsImpl")
