// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommandLine.h"

#include <functional>
#include <ostream>
#include <string>

namespace CLI {
class App;
}

namespace Corvana::Tools {

/// The command line of `corvana annotations`, to which each of its commands adds itself.
struct AnnotationCommandLine
{
    /// Makes a command: its name, what it does in a line, the text below its options, and what runs it. Its options are
    /// added to what is returned.
    std::function<CLI::App&(const std::string& in_strName, const std::string& in_strHelp, const char* in_szFooter,
                            std::function<int()> in_run)>
        m_add;
    std::ostream& m_data;
    std::ostream& m_messages;
    Terminals m_terminals;
};

/// Adds all commands, in the order in which the help shows them. Groups of commands that stand in source files of their
/// own have a function of this form each, which it calls.
void addAnnotationCommands(const AnnotationCommandLine& in_commandLine);

} // namespace Corvana::Tools
