// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathFeatureComputer.h"

#include "MathFeatureGraph.h"
#include "corvana/Logger.h"

#include <boost/archive/archive_exception.hpp>
#include <boost/archive/polymorphic_iarchive.hpp>
#include <boost/archive/polymorphic_oarchive.hpp>
#include <boost/serialization/nvp.hpp>
#include <boost/serialization/string.hpp>
#include <boost/serialization/void_cast.hpp>

CORVANA_FILE_SCOPE_LOGGER("kestrivon.math.FeatureComputerImpl")

namespace Corvana::Math {
namespace {

[[maybe_unused]] const boost::serialization::void_cast_detail::void_caster& s_castToFeatureComputer =
    boost::serialization::void_cast_register<FeatureComputerImpl, FeatureComputer>(nullptr, nullptr);

} // namespace

FeatureComputer::~FeatureComputer() = default;
FeatureComputerWithInputs::~FeatureComputerWithInputs() = default;

FeatureComputerImpl::FeatureComputerImpl()
    : m_pGraph(std::make_unique<FeatureGraph>())
{
}

FeatureComputerImpl::~FeatureComputerImpl() = default;

bool FeatureComputerImpl::addFeature(const char* in_szDescription, const char* in_szInputName,
                                     const char* in_szOutputName)
{
    if (in_szDescription == nullptr || in_szInputName == nullptr || in_szOutputName == nullptr)
        return false;
    return m_pGraph->addFeature(m_pool, {in_szDescription, in_szInputName, in_szOutputName});
}

void FeatureComputerImpl::setWindow(const DoubleVector& in_vWindow)
{
    m_pGraph->setInput("", in_vWindow);
}

bool FeatureComputerImpl::setNamedInput(const char* in_szName, const DoubleVector& in_vInput)
{
    return in_szName != nullptr && in_szName[0] != '\0' && m_pGraph->setInput(in_szName, in_vInput);
}

bool FeatureComputerImpl::configure(const ROConfiguration& in_config)
{
    return m_pGraph->configure(in_config);
}

bool FeatureComputerImpl::computeFeatures(DoubleVector& out_vFeatures)
{
    return m_pGraph->compute(out_vFeatures);
}

unsigned long FeatureComputerImpl::computeSeveral(unsigned long in_uiNbOfWindows, const DoubleVector* in_pWindows,
                                                  DoubleVector* out_pFeatures)
{
    return m_pGraph->computeSeveral(in_uiNbOfWindows, in_pWindows, out_pFeatures);
}

bool FeatureComputerImpl::reset()
{
    return m_pGraph->reset();
}

unsigned long FeatureComputerImpl::getNbOfFeatures() const
{
    return m_pGraph->getNbOfFeatures();
}

const std::string& FeatureComputerImpl::getDescription(unsigned long in_uiIndex) const
{
    return m_pGraph->getEntry(in_uiIndex).m_strDescription;
}

const std::string& FeatureComputerImpl::getInputName(unsigned long in_uiIndex) const
{
    return m_pGraph->getEntry(in_uiIndex).m_strInput;
}

const std::string& FeatureComputerImpl::getOutputName(unsigned long in_uiIndex) const
{
    return m_pGraph->getEntry(in_uiIndex).m_strOutput;
}

SignalFeaturePool& FeatureComputerImpl::getFeaturePool()
{
    return m_pool;
}

namespace {

// Item names and their order are the saved format.
template <class ArchiveT>
void serializeEntry(ArchiveT& io_archive, FeatureGraph::Entry& inout_entry)
{
    io_archive& boost::serialization::make_nvp("Description", inout_entry.m_strDescription);
    io_archive& boost::serialization::make_nvp("Input", inout_entry.m_strInput);
    io_archive& boost::serialization::make_nvp("Output", inout_entry.m_strOutput);
}

} // namespace

template <>
void FeatureComputerImpl::serialize(boost::archive::polymorphic_oarchive& io_archive, unsigned int)
{
    const unsigned long uiNbOfFeatures = getNbOfFeatures();
    io_archive << boost::serialization::make_nvp("NbOfFeatures", uiNbOfFeatures);
    for (unsigned long uiIndex = 0; uiIndex < uiNbOfFeatures; ++uiIndex) {
        FeatureGraph::Entry entry = m_pGraph->getEntry(uiIndex);
        serializeEntry(io_archive, entry);
    }
}

template <>
void FeatureComputerImpl::serialize(boost::archive::polymorphic_iarchive& io_archive, unsigned int)
{
    computerUnderLoad(io_archive) = this;
    unsigned long uiNbOfFeatures = 0;
    io_archive >> boost::serialization::make_nvp("NbOfFeatures", uiNbOfFeatures);
    if (uiNbOfFeatures > FeatureGraph::s_uiMaxNbOfFeatures)
        throw boost::archive::archive_exception(boost::archive::archive_exception::input_stream_error,
                                                "too many features");
    m_pGraph->clear();
    for (unsigned long uiIndex = 0; uiIndex < uiNbOfFeatures; ++uiIndex) {
        FeatureGraph::Entry entry;
        serializeEntry(io_archive, entry);
        if (m_pGraph->addFeature(m_pool, entry))
            continue;
        CORVANA_LOG_ERROR(fileScopeLogger(), "Unknown feature " << entry.m_strDescription << " in archive");
        m_pGraph->addUnknownFeature(entry);
    }
}

FeatureComputerImpl*& computerUnderLoad(boost::archive::polymorphic_iarchive& inout_archive)
{
    struct Note
    {
        FeatureComputerImpl* m_pComputer = nullptr;
    };
    static char s_cIdentity; // its address tells this note from others that the archive carries
    return inout_archive.get_helper<Note>(&s_cIdentity).m_pComputer;
}

FeatureComputerWithInputsImpl::FeatureComputerWithInputsImpl() = default;
FeatureComputerWithInputsImpl::~FeatureComputerWithInputsImpl() = default;

bool FeatureComputerWithInputsImpl::setInput(const char* in_szName, const DoubleVector& in_vInput)
{
    return setNamedInput(in_szName, in_vInput);
}

} // namespace Corvana::Math
