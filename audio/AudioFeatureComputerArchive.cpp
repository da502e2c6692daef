// SPDX-License-Identifier: Apache-2.0
// Saving and loading feature computers. Apart from their classes, which must not see a particular archive: that would
// tie the saved classes to it.
#include "corvana/AudioFeatureComputerImpl.h"
#include "corvana/Logger.h"

#include <boost/archive/polymorphic_binary_iarchive.hpp>
#include <boost/archive/polymorphic_binary_oarchive.hpp>
#include <boost/archive/polymorphic_text_iarchive.hpp>
#include <boost/archive/polymorphic_text_oarchive.hpp>
#include <boost/archive/polymorphic_xml_iarchive.hpp>
#include <boost/archive/polymorphic_xml_oarchive.hpp>

#include <exception>
#include <istream>
#include <ostream>

CORVANA_FILE_SCOPE_LOGGER("kestrivon.audio.FeatureComputerImpl")

namespace Corvana::Audio {
namespace {

constexpr const char* s_szItem = "FeatureComputer";

template <class ArchiveT>
void saveTo(std::ostream& out_stream, const Math::FeatureComputerImpl* in_pComputer)
{
    ArchiveT archive(out_stream);
    boost::archive::polymorphic_oarchive& interface = archive;
    interface << boost::serialization::make_nvp(s_szItem, in_pComputer);
}

template <class ArchiveT>
std::unique_ptr<Math::FeatureComputerImpl> loadFrom(std::istream& io_stream)
{
    ArchiveT archive(io_stream);
    boost::archive::polymorphic_iarchive& interface = archive;
    Math::FeatureComputerImpl* pComputer = nullptr;
    interface >> boost::serialization::make_nvp(s_szItem, pComputer);
    return std::unique_ptr<Math::FeatureComputerImpl>(pComputer);
}

} // namespace

bool saveFeatureComputer(std::ostream& out_stream, const Math::FeatureComputerImpl& in_computer,
                         ArchiveFormat in_format)
{
    try {
        switch (in_format) {
        case ArchiveFormat::TEXT:
            saveTo<boost::archive::polymorphic_text_oarchive>(out_stream, &in_computer);
            break;
        case ArchiveFormat::XML:
            saveTo<boost::archive::polymorphic_xml_oarchive>(out_stream, &in_computer);
            break;
        case ArchiveFormat::BINARY:
            saveTo<boost::archive::polymorphic_binary_oarchive>(out_stream, &in_computer);
            break;
        }
    } catch (const std::exception& exception) {
        CORVANA_LOG_ERROR(fileScopeLogger(), "Could not save feature computer: " << exception.what());
        return false;
    }
    if (!out_stream.flush()) {
        CORVANA_LOG_ERROR(fileScopeLogger(), "Could not save feature computer: the stream failed");
        return false;
    }
    return true;
}

std::unique_ptr<Math::FeatureComputerImpl> loadFeatureComputer(std::istream& io_stream, ArchiveFormat in_format)
{
    try {
        switch (in_format) {
        case ArchiveFormat::TEXT:
            return loadFrom<boost::archive::polymorphic_text_iarchive>(io_stream);
        case ArchiveFormat::XML:
            return loadFrom<boost::archive::polymorphic_xml_iarchive>(io_stream);
        case ArchiveFormat::BINARY:
            return loadFrom<boost::archive::polymorphic_binary_iarchive>(io_stream);
        }
    } catch (const std::exception& exception) {
        CORVANA_LOG_ERROR(fileScopeLogger(), "Could not load feature computer: " << exception.what());
    }
    return nullptr;
}

} // namespace Corvana::Audio
