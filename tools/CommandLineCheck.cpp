// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandLineCheck.h"

#include "tools/CommandAnnotationsCheck.h"
#include "tools/CommandLineParts.h"

#include <memory>

namespace Corvana::Tools {
namespace {

constexpr const char* s_szFooter = R"(
An error is why the regions of a file cannot be read; a warning, that they can although something is wrong; a remark,
that nothing is wrong, but a change of the regions would bring a surprise. Each names the record, the byte of the file
where it stands, and how to mend it.

--fix writes files anew whose faults can be mended without a loss: sizes and counts, gaps between cue points, records
that nobody reads, regions that reach beyond the end of the audio. It leaves files with errors or notes alone.

Examples:
  corvana annotations check call.wav
  corvana annotations check --json --list calls.txt
  corvana annotations check --fix --dry-run *.wav

Exit codes: 0 no errors and no warnings; 1 some (with --fix, some are left), or a file could not be read; 2 wrong usage.)";

} // namespace

void addCheckCommand(const AnnotationCommandLine& in_commandLine)
{
    const auto pOptions = std::make_shared<CommandAnnotationsCheck::Options>();
    CLI::App& command = in_commandLine.m_add("check", "Tells what is wrong with regions and chunks", s_szFooter, [=] {
        return CommandAnnotationsCheck::run(*pOptions, in_commandLine.m_data, in_commandLine.m_messages);
    });
    command.add_option("FILE", pOptions->m_vFiles, "Recordings")->type_name("");
    addLists(command, pOptions->m_vLists, pOptions->m_folders);
    addFileRunOptions(command, pOptions->m_run);
    pOptions->m_run.m_bStatusLine = in_commandLine.m_terminals.m_bMessages && !in_commandLine.m_terminals.m_bData;
    command.add_flag("--json", pOptions->m_bJson, "As a JSON array");
    CLI::Option* pFix = command.add_flag("--fix", pOptions->m_bFix, "Mend what can be mended without a loss");
    command.add_flag("-n,--dry-run", pOptions->m_bDryRun, "With --fix: only tell what would be mended")->needs(pFix);
    addMessageOptions(command, pOptions->m_messages);
}

} // namespace Corvana::Tools
