// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace Corvana::Tools {

/// An option or an argument of a command, as its help shows it.
struct OptionDescription
{
    std::vector<std::string> m_vNames; ///< "-f" and "--feature"; the one name of an argument, "FILE"
    std::string m_strValue;            ///< "DESC", "csv|jsonl"; empty for an option without a value
    std::string m_strHelp;

    /// The words that the value may be: those of "N|file" are "file"; none for "FILE".
    std::vector<std::string> getWords() const;
};

/// A command as its help shows it: the one source of manual pages and of what shells complete.
struct CommandDescription
{
    std::string m_strPath;  ///< "annotations add"; empty for the program itself
    std::string m_strHelp;  ///< one sentence
    std::string m_strUsage; ///< "corvana annotations add [OPTIONS] FILE... TYPE START STOP"
    std::string m_strFooter;
    std::vector<OptionDescription> m_vArguments;
    std::vector<OptionDescription> m_vOptions;
    std::vector<CommandDescription> m_vCommands;

    /// The last word of the path.
    std::string getName() const;
};

} // namespace Corvana::Tools
