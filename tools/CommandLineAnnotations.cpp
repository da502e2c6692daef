// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandLineAnnotations.h"

#include "tools/CommandAnnotationsTypes.h"
#include "tools/CommandLineParts.h"

#include <memory>

namespace Corvana::Tools {
namespace {

constexpr const char* s_szTypesFooter = R"(
Examples:
  corvana annotations types
  corvana annotations types | grep HUMAN
  corvana annotations types --json)";

void addTypes(const AnnotationCommandLine& in_commandLine)
{
    const auto pOptions = std::make_shared<CommandAnnotationsTypes::Options>();
    CLI::App& command = in_commandLine.m_add("types", "Shows what regions can be labelled with", s_szTypesFooter, [=] {
        return CommandAnnotationsTypes::run(*pOptions, in_commandLine.m_data, in_commandLine.m_messages);
    });
    command.add_flag("--json", pOptions->m_bJson, "As a JSON object");
}

} // namespace

void addAnnotationCommands(const AnnotationCommandLine& in_commandLine)
{
    addTypes(in_commandLine);
}

} // namespace Corvana::Tools
