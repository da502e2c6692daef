// SPDX-License-Identifier: Apache-2.0
// Saving and loading feature computers. Apart from their classes, which must not see a particular archive: that would
// tie the saved classes to it.
#include "AudioFeatureComputerConstruct.h"
#include "corvana/AudioFeatureComputerImpl.h"
#include "corvana/Logger.h"

#include <boost/archive/archive_exception.hpp>
#include <boost/archive/polymorphic_binary_iarchive.hpp>
#include <boost/archive/polymorphic_binary_oarchive.hpp>
#include <boost/archive/polymorphic_text_iarchive.hpp>
#include <boost/archive/polymorphic_text_oarchive.hpp>
#include <boost/archive/polymorphic_xml_iarchive.hpp>
#include <boost/archive/polymorphic_xml_oarchive.hpp>

#include <exception>
#include <istream>
#include <locale>
#include <memory>
#include <new>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <string_view>

CORVANA_FILE_SCOPE_LOGGER("kestrivon.audio.FeatureComputerImpl")

namespace Corvana::Audio {
namespace {

constexpr const char* s_szItem = "FeatureComputer";
constexpr const char* s_szClosingTag = "</boost_serialization>"; // of every XML archive

template <class ArchiveT>
std::string archiveOf(const Math::FeatureComputerImpl* in_pComputer)
{
    // Not in the user's stream, which may group digits, or fail when the archive's destructor writes the end: an
    // exception there would end the program.
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    {
        ArchiveT archive(stream);
        boost::archive::polymorphic_oarchive& interface = archive;
        interface << boost::serialization::make_nvp(s_szItem, in_pComputer);
    }
    if (!stream) // memory ran out: a part of an archive must not pass for the whole
        throw std::bad_alloc();
    return stream.str();
}

std::string archiveOf(const Math::FeatureComputerImpl& in_computer, ArchiveFormat in_format)
{
    switch (in_format) {
    case ArchiveFormat::TEXT:
        return archiveOf<boost::archive::polymorphic_text_oarchive>(&in_computer);
    case ArchiveFormat::XML:
        return archiveOf<boost::archive::polymorphic_xml_oarchive>(&in_computer);
    case ArchiveFormat::BINARY:
        return archiveOf<boost::archive::polymorphic_binary_oarchive>(&in_computer);
    }
    throw std::invalid_argument("unknown format");
}

// Hands on what a user's stream reads, character by character, so that nothing behind the archive is taken.
class ArchiveBuffer : public std::streambuf
{
public:
    explicit ArchiveBuffer(std::streambuf* in_pSource)
        : m_pSource(in_pSource)
    {
    }
    void readFrom(std::streambuf* in_pSource) { m_pSource = in_pSource; }

protected:
    int_type underflow() override { return m_pSource->sgetc(); }
    int_type uflow() override { return m_pSource->sbumpc(); }
    int_type pbackfail(int_type) override { return m_pSource->sungetc(); }
    std::streamsize xsgetn(char* out_pCharacters, std::streamsize in_iNbOfCharacters) override
    {
        return m_pSource->sgetn(out_pCharacters, in_iNbOfCharacters);
    }

private:
    std::streambuf* m_pSource;
};

// A user's stream with the locale that archives are written with, and without exceptions: the archives' destructors
// read too, and an exception there would end the program.
class ArchiveStream : public std::istream
{
public:
    explicit ArchiveStream(std::istream& inout_stream)
        : std::istream(nullptr)
        , m_buffer(inout_stream.rdbuf())
    {
        rdbuf(&m_buffer);
        setstate(inout_stream.rdstate());
        imbue(std::locale::classic());
    }
    void readFrom(std::streambuf* in_pSource) { m_buffer.readFrom(in_pSource); }

private:
    ArchiveBuffer m_buffer;
};

[[noreturn]] void throwStreamError()
{
    throw boost::archive::archive_exception(boost::archive::archive_exception::input_stream_error);
}

// Boost takes the number of a class from the archive for an index and does not check it. An archive of one computer
// knows two classes: the computer's and its math part's; -1 stands for no object.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual" // the numbers of other things are read as before
template <class ArchiveT, class ImplementationT>
class CheckedArchive : public ArchiveT
{
public:
    explicit CheckedArchive(std::istream& inout_stream)
        : ArchiveT(inout_stream)
    {
    }

private:
    void vload(boost::archive::class_id_type& out_classId) override
    {
        ImplementationT::load_override(out_classId);
        const int iClassId = static_cast<const boost::archive::class_id_type&>(out_classId);
        if (iClassId < -1 || iClassId > 1)
            throwStreamError();
    }
};
#pragma GCC diagnostic pop

using TextArchive = CheckedArchive<boost::archive::polymorphic_text_iarchive, boost::archive::text_iarchive>;
using XmlArchive = CheckedArchive<boost::archive::polymorphic_xml_iarchive, boost::archive::xml_iarchive>;
using BinaryArchive = CheckedArchive<boost::archive::polymorphic_binary_iarchive, boost::archive::binary_iarchive>;

template <class ArchiveT>
std::unique_ptr<Math::FeatureComputerImpl> readFrom(ArchiveT& inout_archive)
{
    boost::archive::polymorphic_iarchive& interface = inout_archive;
    // Where it is noted is asked for before there is anything to lose: that needs memory, too.
    Math::FeatureComputerImpl* const& pNoted = Math::computerUnderLoad(interface);
    Math::FeatureComputerImpl* pComputer = nullptr;
    try {
        interface >> boost::serialization::make_nvp(s_szItem, pComputer);
    } catch (...) {
        Math::destroyAfterFailedLoad(pNoted, pComputer);
        throw;
    }
    if (pComputer == nullptr)
        throw std::invalid_argument("the archive holds none");
    return std::unique_ptr<Math::FeatureComputerImpl>(pComputer);
}

template <class ArchiveT>
std::unique_ptr<Math::FeatureComputerImpl> loadFrom(std::istream& inout_stream)
{
    ArchiveT archive(inout_stream);
    auto pComputer = readFrom(archive);
    if (inout_stream.fail()) // Boost does not see that a text ends early
        throwStreamError();
    return pComputer;
}

std::unique_ptr<Math::FeatureComputerImpl> loadFromXml(ArchiveStream& inout_stream)
{
    std::istringstream closingTag("</x>"); // so short that reading it needs no memory
    XmlArchive archive(inout_stream);
    auto pComputer = readFrom(archive);

    // The archive's destructor reads the closing tag and throws without it, which would end the program: it gets one
    // that is right, and the one in the stream is read here.
    std::string strTag(std::string_view(s_szClosingTag).size(), '\0');
    inout_stream >> std::ws;
    if (!inout_stream.read(strTag.data(), static_cast<std::streamsize>(strTag.size())) || strTag != s_szClosingTag)
        throwStreamError();
    inout_stream.readFrom(closingTag.rdbuf());
    return pComputer;
}

std::unique_ptr<Math::FeatureComputerImpl> loadFrom(std::istream& inout_stream, ArchiveFormat in_format)
{
    ArchiveStream stream(inout_stream);
    if (stream.fail())
        throwStreamError();
    switch (in_format) {
    case ArchiveFormat::TEXT:
        return loadFrom<TextArchive>(stream);
    case ArchiveFormat::XML:
        return loadFromXml(stream);
    case ArchiveFormat::BINARY:
        return loadFrom<BinaryArchive>(stream);
    }
    throw std::invalid_argument("unknown format");
}

} // namespace

bool saveFeatureComputer(std::ostream& out_stream, const Math::FeatureComputerImpl& in_computer,
                         ArchiveFormat in_format)
{
    try {
        const std::string strArchive = archiveOf(in_computer, in_format);
        out_stream.write(strArchive.data(), static_cast<std::streamsize>(strArchive.size())).flush();
    } catch (const std::exception& exception) {
        CORVANA_LOG_ERROR(fileScopeLogger(), "Could not save feature computer: " << exception.what());
        return false;
    }
    if (!out_stream) {
        CORVANA_LOG_ERROR(fileScopeLogger(), "Could not save feature computer: the stream failed");
        return false;
    }
    return true;
}

std::unique_ptr<Math::FeatureComputerImpl> loadFeatureComputer(std::istream& io_stream, ArchiveFormat in_format)
{
    try {
        return loadFrom(io_stream, in_format);
    } catch (const std::exception& exception) {
        CORVANA_LOG_ERROR(fileScopeLogger(), "Could not load feature computer: " << exception.what());
        return nullptr;
    }
}

} // namespace Corvana::Audio
