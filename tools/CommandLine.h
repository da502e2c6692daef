// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// What the program knows about the streams it was started with.
struct Terminals
{
    bool m_bData = false;     ///< results go to a terminal
    bool m_bMessages = false; ///< messages go to a terminal
};

/// Runs the command that the arguments (without the program's name) ask for; returns an ExitCode.
/// Results and help that was asked for go to out_data, everything else to out_messages.
int runCommandLine(const std::vector<std::string>& in_vArguments, Terminals in_terminals, std::ostream& out_data,
                   std::ostream& out_messages);

} // namespace Corvana::Tools
