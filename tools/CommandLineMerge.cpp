// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandLineMerge.h"

#include "tools/CommandLineParts.h"
#include "tools/CommandMerge.h"
#include "tools/ExitCode.h"
#include "tools/Messages.h"

#include <memory>

namespace Corvana::Tools {
namespace {

constexpr const char* s_szFooter = R"(
Joins the tables that 'corvana features --shard I/N' wrote, one for each I from 1 to N. OUT, and the description OUT.json
beside it, get the same bytes as from one run over all inputs. The parts may be named in any order; all of them must be
there, with their descriptions (PART.json), of one run and as that run wrote them. What differs, is missing or was changed
is named, and then nothing is written.

Examples:
  corvana features --shard 1/3 --list calls.txt -o part-1.csv
  corvana features --shard 2/3 --list calls.txt -o part-2.csv
  corvana features --shard 3/3 --list calls.txt -o part-3.csv
  corvana merge calls.csv part-1.csv part-2.csv part-3.csv

Exit codes: 0 done; 2 wrong usage, parts that do not belong together, or the output could not be written.)";

int runMerge(const CommandMerge::Options& in_options, std::ostream& out_messages)
{
    if (!in_options.m_strOutput.empty() && !in_options.m_vParts.empty())
        return CommandMerge::run(in_options, out_messages);
    Messages(out_messages, false)
        .error(std::string("merge: ") +
               (in_options.m_strOutput.empty() ? "no output named" : "no part named behind the output") +
               "; it is used as 'corvana merge OUT PART...'\nTry 'corvana help merge'.");
    return EXIT_UNUSABLE;
}

} // namespace

void addMergeCommand(const AnnotationCommandLine& in_commandLine)
{
    const auto pOptions = std::make_shared<CommandMerge::Options>();
    CLI::App& command = in_commandLine.m_add("merge", "Joins the tables of a run that was shared out", s_szFooter,
                                             [=] { return runMerge(*pOptions, in_commandLine.m_messages); });
    command.add_option("OUT", pOptions->m_strOutput, "The file to write, which appears when it is complete")
        ->type_name("");
    command.add_option("PART", pOptions->m_vParts, "The tables of all parts")->type_name("");
    command.add_flag("-q,--quiet", pOptions->m_messages.m_bQuiet, "Errors only: no notes");
}

} // namespace Corvana::Tools
