// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandAnnotationsClear.h"

#include "corvana/BoostRegex.h"
#include "tools/ExitCode.h"
#include "tools/RegionType.h"
#include "tools/Text.h"

#include <memory>
#include <stdexcept>

namespace Corvana::Tools {
namespace {

using Annotation = AnnotationEdit::Annotation;
using Regions = AnnotationEdit::Regions;

constexpr const char* s_szTooLong = " takes too long to match; say the same without repetitions of repetitions";

class Clearing
{
public:
    Clearing(const CommandAnnotationsClear::Options& in_options, std::ostream& out_data, std::ostream& out_messages)
        : m_options(in_options)
        , m_edit(in_options, out_data, out_messages)
    {
    }

    int run()
    {
        if (!compile() || !m_edit.hasFiles())
            return EXIT_UNUSABLE;
        return m_edit.run(m_edit.collectFiles(), [this](const std::string&, const Audio::AnnotatedFile&,
                                                        Regions& inout_vRegions) { return change(inout_vRegions); });
    }

private:
    bool refuse(const std::string& in_strText)
    {
        m_edit.messages().error("--match: " + in_strText);
        return false;
    }

    bool compile()
    {
        if (!m_options.m_strPattern)
            return true;
        const std::string& strPattern = *m_options.m_strPattern;
        if (strPattern.size() > CommandAnnotationsClear::s_uiMaxPatternSize)
            return refuse("the pattern has " + std::to_string(strPattern.size()) + " bytes; " +
                          std::to_string(CommandAnnotationsClear::s_uiMaxPatternSize) + " are the most");
        try {
            m_pPattern = std::make_unique<BoostRegex>(strPattern, BoostRegex::s_uiIgnoreCase);
        } catch (const std::runtime_error& error) {
            return refuse("the pattern " + inQuotes(strPattern) +
                          " is no regular expression: " + printable(error.what()));
        }
        return tryOut(strPattern);
    }

    // On all types, so that a pattern without any use is told apart from files without such regions.
    bool tryOut(const std::string& in_strPattern)
    {
        try {
            // With --interop, removing nothing is of use as well.
            if (!matchesAnyType() && !m_options.m_bInterop)
                m_edit.messages().warning("--match: the pattern " + inQuotes(in_strPattern) +
                                          " matches no type; it has to match the whole of it, as .*HUMAN matches "
                                          "CPA_HUMAN");
            return true;
        } catch (const std::runtime_error&) {
            return refuse("the pattern " + inQuotes(in_strPattern) + s_szTooLong);
        }
    }

    bool matchesAnyType() const
    {
        for (int iType = Annotation::s_firstNumbered; iType <= Annotation::s_lastNamed; ++iType)
            if (isRegionType(static_cast<RegionTypeValue>(iType)) && matches(static_cast<RegionTypeValue>(iType)))
                return true;
        return false;
    }

    bool matches(RegionTypeValue in_type) const { return regex_match(regionTypeText(in_type), *m_pPattern); }

    AnnotationEdit::Outcome change(Regions& inout_vRegions) const
    {
        try {
            const std::size_t uiNbOfRemoved = std::erase_if(inout_vRegions, [this](const Annotation& in_region) {
                return m_pPattern == nullptr || matches(in_region.m_type);
            });
            return {std::to_string(uiNbOfRemoved) + " removed", {}};
        } catch (const std::runtime_error&) {
            return {{}, "the pattern" + std::string(s_szTooLong)};
        }
    }

    const CommandAnnotationsClear::Options& m_options;
    AnnotationEdit m_edit;
    std::unique_ptr<const BoostRegex> m_pPattern;
};

} // namespace

int CommandAnnotationsClear::run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages)
{
    return Clearing(in_options, out_data, out_messages).run();
}

} // namespace Corvana::Tools
