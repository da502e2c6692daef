// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandAnnotationsTransfer.h"

#include "tools/ExitCode.h"
#include "tools/RegionReading.h"
#include "tools/RegionType.h"
#include "tools/Text.h"

#include <filesystem>

namespace Corvana::Tools {
namespace {

using Regions = AnnotationEdit::Regions;

class Transfer
{
public:
    Transfer(const CommandAnnotationsTransfer::Options& in_options, std::ostream& out_data, std::ostream& out_messages)
        : m_options(in_options)
        , m_edit(in_options, out_data, out_messages)
    {
    }

    int run()
    {
        if (m_options.m_vFiles.empty() && m_options.m_vLists.empty()) {
            m_edit.messages().error("no target given: name the file whose regions are wanted, then those they go to");
            return EXIT_UNUSABLE;
        }
        const std::vector<Input> vTargets = m_edit.collectFiles();
        if (isAmong(vTargets) || !readSource())
            return EXIT_UNUSABLE;
        return m_edit.run(vTargets, [this](const std::string&, const Audio::AnnotatedFile& in_file,
                                           Regions& inout_vRegions) { return change(in_file, inout_vRegions); });
    }

private:
    // The same file under any of its names.
    bool isAmong(const std::vector<Input>& in_vTargets)
    {
        for (const Input& target : in_vTargets) {
            std::error_code error;
            if (target.m_strPath != m_options.m_strSource &&
                !std::filesystem::equivalent(target.m_strPath, m_options.m_strSource, error))
                continue;
            m_edit.messages().inputError(target.m_strPath, "is the file that the regions come from");
            return true;
        }
        return false;
    }

    bool readSource()
    {
        m_edit.log().beginInput(m_options.m_strSource);
        Audio::AnnotatedFile source;
        const std::string strFault = readRegionsOf(m_options.m_strSource, source, m_edit.log());
        if (!strFault.empty()) {
            m_edit.messages().inputError(m_options.m_strSource, strFault);
            return false;
        }
        m_edit.log().endInput();
        for (const AnnotationEdit::Annotation& region : source.annotations())
            if (isRegionType(region.m_type)) // of a skipped cue point there is nothing to bring
                m_vSource.push_back(region);
        return true;
    }

    AnnotationEdit::Outcome change(const Audio::AnnotatedFile& in_file, Regions& inout_vRegions) const
    {
        if (!m_options.m_bReplace)
            return m_edit.append(in_file, m_vSource, "added", inout_vRegions);
        const std::size_t uiNbOfRemoved = inout_vRegions.size();
        inout_vRegions.clear();
        AnnotationEdit::Outcome outcome = m_edit.append(in_file, m_vSource, "copied", inout_vRegions);
        outcome.m_strDone += ", " + std::to_string(uiNbOfRemoved) + " removed";
        return outcome;
    }

    const CommandAnnotationsTransfer::Options& m_options;
    AnnotationEdit m_edit;
    Regions m_vSource;
};

} // namespace

int CommandAnnotationsTransfer::run(const Options& in_options, std::ostream& out_data, std::ostream& out_messages)
{
    return Transfer(in_options, out_data, out_messages).run();
}

} // namespace Corvana::Tools
