// SPDX-License-Identifier: Apache-2.0
#include "tools/ShellCompletion.h"

#include <algorithm>

namespace Corvana::Tools {
namespace {

// What completes a value.
enum class ValueKind
{
    NONE, ///< a flag
    ANY,  ///< nothing that could be offered
    WORDS,
    FILES,
    FOLDERS,
    FEATURES
};

ValueKind kindOf(const OptionDescription& in_option)
{
    if (in_option.m_strValue.empty())
        return ValueKind::NONE;
    if (!in_option.getWords().empty())
        return ValueKind::WORDS;
    if (in_option.m_strValue == "FILE")
        return ValueKind::FILES;
    if (in_option.m_strValue == "DIR")
        return ValueKind::FOLDERS;
    return in_option.m_strValue == "DESC" ? ValueKind::FEATURES : ValueKind::ANY;
}

// What completes the arguments of a command.
struct Arguments
{
    bool m_bFiles = false;
    bool m_bTypes = false;
    std::vector<std::string> m_vWords;
};

Arguments argumentsOf(const CommandDescription& in_command)
{
    static const std::vector<std::string> s_vFileNames = {"INPUT", "FILE", "FROM", "INTO", "TO", "PATH"};
    Arguments arguments;
    arguments.m_bTypes = in_command.m_strUsage.find(" TYPE ") != std::string::npos;
    for (const OptionDescription& argument : in_command.m_vArguments) {
        const std::string& strName = argument.m_vNames[0];
        if (std::find(s_vFileNames.begin(), s_vFileNames.end(), strName) != s_vFileNames.end())
            arguments.m_bFiles = true;
        const std::vector<std::string> vWords = argument.getWords();
        arguments.m_vWords.insert(arguments.m_vWords.end(), vWords.begin(), vWords.end());
    }
    return arguments;
}

// The commands that take options and arguments, nested ones included.
std::vector<const CommandDescription*> leavesOf(const CommandDescription& in_program)
{
    std::vector<const CommandDescription*> vpLeaves;
    for (const CommandDescription& command : in_program.m_vCommands) {
        if (command.m_vCommands.empty())
            vpLeaves.push_back(&command);
        for (const CommandDescription& nested : command.m_vCommands)
            vpLeaves.push_back(&nested);
    }
    return vpLeaves;
}

std::string joinedWith(const std::string& in_strSeparator, const std::vector<std::string>& in_vWords)
{
    std::string strText;
    for (const std::string& strWord : in_vWords)
        strText += (strText.empty() ? "" : in_strSeparator) + strWord;
    return strText;
}

std::string commandWords(const CommandDescription& in_parent)
{
    std::vector<std::string> vNames;
    for (const CommandDescription& command : in_parent.m_vCommands)
        vNames.push_back(command.getName());
    return joinedWith(" ", vNames);
}

// The commands that have commands.
std::vector<const CommandDescription*> parentsOf(const CommandDescription& in_program)
{
    std::vector<const CommandDescription*> vpParents;
    for (const CommandDescription& command : in_program.m_vCommands)
        if (!command.m_vCommands.empty())
            vpParents.push_back(&command);
    return vpParents;
}

// In front of each letter of in_strLetters, a backslash.
std::string withBackslashes(const std::string& in_strText, const std::string& in_strLetters)
{
    std::string strText;
    for (const char cLetter : in_strText) {
        if (in_strLetters.find(cLetter) != std::string::npos)
            strText += '\\';
        strText += cLetter;
    }
    return strText;
}

// For bash and zsh, where nothing within single quotes has a meaning but the quote.
std::string quoted(const std::string& in_strText)
{
    std::string strText = "'";
    for (const char cLetter : in_strText)
        strText += cLetter == '\'' ? std::string("'\\''") : std::string(1, cLetter);
    return strText + "'";
}

std::string quotedForFish(const std::string& in_strText)
{
    return "'" + withBackslashes(in_strText, "\\'") + "'";
}

// ---- bash

std::string bashCaseOfOption(const CommandDescription& in_command, const OptionDescription& in_option)
{
    std::vector<std::string> vPatterns;
    for (const std::string& strName : in_option.m_vNames)
        vPatterns.push_back(quoted(in_command.m_strPath + " " + strName));
    const std::string strBegin = "    " + joinedWith(" | ", vPatterns) + ") ";
    switch (kindOf(in_option)) {
    case ValueKind::NONE:
        return {};
    case ValueKind::WORDS:
        return strBegin + "words=" + quoted(joinedWith(" ", in_option.getWords())) + " ;;\n";
    case ValueKind::FILES:
        return strBegin + "return ;;\n"; // the shell's own completion
    case ValueKind::FOLDERS:
        return strBegin + "compopt -o dirnames; return ;;\n";
    case ValueKind::FEATURES:
        return strBegin + "_corvana_chain; return ;;\n";
    case ValueKind::ANY:
        break;
    }
    return strBegin + "compopt +o default; return ;;\n";
}

std::string bashCaseOfArguments(const CommandDescription& in_command)
{
    std::vector<std::string> vOptions;
    for (const OptionDescription& option : in_command.m_vOptions)
        vOptions.insert(vOptions.end(), option.m_vNames.begin(), option.m_vNames.end());
    const Arguments arguments = argumentsOf(in_command);
    std::string strText = "    " + quoted(in_command.m_strPath) + ") options=" + quoted(joinedWith(" ", vOptions));
    if (!arguments.m_vWords.empty())
        strText += " words=" + quoted(joinedWith(" ", arguments.m_vWords));
    if (arguments.m_bTypes)
        strText += " words=$_corvana_types";
    if (!arguments.m_bFiles)
        strText += "; compopt +o default";
    return strText + " ;;\n";
}

constexpr const char* s_szBashChain = R"(
# A chain of features: what is behind the last | is completed.
_corvana_chain() {
    local before=
    [[ $current != *'|'* ]] || before=${current%'|'*}'|'
    compopt -o nospace +o default
    mapfile -t COMPREPLY < <(compgen -P "$before" -W "$_corvana_features" -- "${current##*'|'}")
}

_corvana() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}
    local command=${COMP_WORDS[1]} words= options=
    # "--option=value" comes as three words.
    if [[ $current == = ]]; then
        current=
    elif [[ $previous == = ]]; then
        previous=${COMP_WORDS[COMP_CWORD-2]}
    fi
    current=${current#[\'\"]}
)";

constexpr const char* s_szBashEnd = R"(
    [[ $current != -* ]] || words=$options
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}
complete -o default -F _corvana corvana
)";

std::string bashPlaces(const CommandDescription& in_program)
{
    const std::string strOffer = "; mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\"); return ;;\n";
    std::string strText =
        "    compopt -o default\n    case $COMP_CWORD:$command in\n    1:*) compopt +o default; words=" +
        quoted(commandWords(in_program) + " --help --version") + strOffer;
    for (const CommandDescription* pParent : parentsOf(in_program)) {
        const std::string strWords =
            "compopt +o default; words=" + quoted(commandWords(*pParent) + " --help") + strOffer;
        strText += "    2:" + pParent->getName() + ") " + strWords + "    *:" + pParent->getName() +
                   ") command+=\" ${COMP_WORDS[2]}\" ;;\n";
        strText += "    3:help) [[ ${COMP_WORDS[2]} != " + pParent->getName() +
                   " ]] || words=" + quoted(commandWords(*pParent)) + "; compopt +o default" + strOffer;
    }
    return strText + "    2:help) compopt +o default; words=" + quoted(commandWords(in_program)) + strOffer +
           "    esac\n";
}

// ---- zsh

std::string zshAction(const OptionDescription& in_option)
{
    switch (kindOf(in_option)) {
    case ValueKind::WORDS:
        return "(" + joinedWith(" ", in_option.getWords()) + ")";
    case ValueKind::FILES:
        return "_files";
    case ValueKind::FOLDERS:
        return "_files -/";
    case ValueKind::FEATURES:
        return "_corvana_chain";
    case ValueKind::NONE:
    case ValueKind::ANY:
        break;
    }
    return {};
}

std::string zshSpecs(const OptionDescription& in_option)
{
    const std::string strHelp = "[" + withBackslashes(in_option.m_strHelp, "[]:\\") + "]";
    const bool bValue = kindOf(in_option) != ValueKind::NONE;
    const std::string strValue =
        bValue ? ":" + withBackslashes(in_option.m_strValue, ":\\") + ":" + zshAction(in_option) : "";
    std::string strText;
    for (const std::string& strName : in_option.m_vNames) {
        const char* const szValueBehind = !bValue ? "" : strName.starts_with("--") ? "=" : "+";
        strText += " \\\n            " + quoted("*" + strName + szValueBehind + strHelp + strValue);
    }
    return strText;
}

std::string zshArguments(const CommandDescription& in_command)
{
    const Arguments arguments = argumentsOf(in_command);
    if (arguments.m_bTypes)
        return " \\\n            '*:argument:_corvana_files_and_types'";
    if (!arguments.m_vWords.empty())
        return " \\\n            " + quoted("1:word:(" + joinedWith(" ", arguments.m_vWords) + ")");
    return arguments.m_bFiles ? " \\\n            '*:file:_files'" : "";
}

std::string zshDescribe(const CommandDescription& in_parent, const std::string& in_strIndent)
{
    std::string strText = in_strIndent + "commands=(";
    for (const CommandDescription& command : in_parent.m_vCommands)
        strText += "\n" + in_strIndent + "    " + quoted(command.getName() + ":" + command.m_strHelp);
    return strText + ")\n" + in_strIndent + "_describe command commands\n";
}

constexpr const char* s_szZshParts = R"(
# A chain of features: what is behind the last | is completed.
_corvana_chain() {
    compset -P '*\|'
    compadd -S '' -a _corvana_features
}

_corvana_files_and_types() {
    _alternative 'files:file:_files' 'types:type:compadd -a _corvana_types'
}

_corvana() {
    local -a commands
)";

// ---- fish

std::string fishValue(const OptionDescription& in_option)
{
    switch (kindOf(in_option)) {
    case ValueKind::NONE:
        return {};
    case ValueKind::WORDS:
        return " -x -a " + quotedForFish(joinedWith(" ", in_option.getWords()));
    case ValueKind::FILES:
        return " -r -F";
    case ValueKind::FOLDERS:
        return " -x -a '(__fish_complete_directories)'";
    case ValueKind::FEATURES:
        return " -x -a '(__corvana_chain)'";
    case ValueKind::ANY:
        break;
    }
    return " -x";
}

std::string fishOption(const std::string& in_strBegin, const OptionDescription& in_option)
{
    std::string strText = in_strBegin;
    for (const std::string& strName : in_option.m_vNames)
        strText += strName.starts_with("--") ? " -l " + strName.substr(2) : " -s " + strName.substr(1);
    return strText + fishValue(in_option) + " -d " + quotedForFish(in_option.m_strHelp) + "\n";
}

std::string fishCommand(const CommandDescription& in_command)
{
    const std::string strBegin = "complete -c corvana -n '__corvana_is " + in_command.m_strPath + "'";
    std::string strText;
    for (const OptionDescription& option : in_command.m_vOptions)
        strText += fishOption(strBegin, option);
    const Arguments arguments = argumentsOf(in_command);
    if (arguments.m_bFiles)
        strText += strBegin + " -F\n";
    if (arguments.m_bTypes)
        strText += strBegin + " -a '$__corvana_types'\n";
    if (!arguments.m_vWords.empty())
        strText += strBegin + " -a " + quotedForFish(joinedWith(" ", arguments.m_vWords)) + "\n";
    return strText;
}

std::string fishChoices(const CommandDescription& in_parent, const std::string& in_strBefore)
{
    std::string strText;
    for (const CommandDescription& command : in_parent.m_vCommands)
        strText += "complete -c corvana -n '__corvana_expects" + in_strBefore + "' -a " + command.getName() + " -d " +
                   quotedForFish(command.m_strHelp) + "\n";
    return strText;
}

constexpr const char* s_szFishParts = R"(
# Whether the words before the one that is completed begin with these.
function __corvana_is
    set -l words (commandline -opc)
    set -l last (math 1 + (count $argv))
    test (count $words) -ge $last; and test "$words[2..$last]" = "$argv"
end

# Whether they are these and no more.
function __corvana_expects
    set -l words (commandline -opc)
    test (count $words) -eq (math 1 + (count $argv)); and test "$words[2..-1]" = "$argv"
end

# A chain of features: what is behind the last | is completed.
function __corvana_chain
    set -l before (string trim -l -c '\'"' -- (commandline -ct) | string replace -r '^--?[a-z]+=?' '' | string replace -a '\\|' '|' | string match -r '.*\|')
    test (count $before) -gt 0; or set before ''
    printf '%s\n' $before$__corvana_features
end

complete -c corvana -f
)";

std::string heading(const char* in_szShell)
{
    return std::string("# What ") + in_szShell + " completes for corvana(1); made by 'corvana completion " +
           in_szShell + "'.\n";
}

} // namespace

std::string bashCompletion(const CommandDescription& in_program, const CompletionNames& in_names)
{
    std::string strText = "# shellcheck shell=bash\n" + heading("bash") +
                          "_corvana_features=" + quoted(joinedWith(" ", in_names.m_vFeatures)) +
                          "\n_corvana_types=" + quoted(joinedWith(" ", in_names.m_vRegionTypes)) + "\n" +
                          s_szBashChain + bashPlaces(in_program) + "    case \"$command $previous\" in\n";
    for (const CommandDescription* pCommand : leavesOf(in_program))
        for (const OptionDescription& option : pCommand->m_vOptions)
            strText += bashCaseOfOption(*pCommand, option);
    strText += "    *)\n    case $command in\n";
    for (const CommandDescription* pCommand : leavesOf(in_program))
        strText += bashCaseOfArguments(*pCommand);
    return strText + "    esac ;;\n    esac" + s_szBashEnd;
}

std::string zshCompletion(const CommandDescription& in_program, const CompletionNames& in_names)
{
    std::string strText = "#compdef corvana\n" + heading("zsh") + "typeset -ga _corvana_features=(" +
                          joinedWith(" ", in_names.m_vFeatures) + ")\ntypeset -ga _corvana_types=(" +
                          joinedWith(" ", in_names.m_vRegionTypes) + ")\n" + s_szZshParts +
                          "    if (( CURRENT == 2 )); then\n" + zshDescribe(in_program, "        ") +
                          "        _arguments '--help[Show how it is used]' '--version[Show the version]'\n"
                          "        return\n    fi\n    local command=$words[2]\n    shift words\n    (( CURRENT-- ))\n";
    for (const CommandDescription* pParent : parentsOf(in_program))
        strText += "    if [[ $command == " + pParent->getName() + " ]]; then\n        if (( CURRENT == 2 )); then\n" +
                   zshDescribe(*pParent, "            ") +
                   "            return\n        fi\n        command+=\" $words[2]\"\n" +
                   "        shift words\n        (( CURRENT-- ))\n    fi\n";
    strText += "    if [[ $command == help ]]; then\n        if (( CURRENT == 2 )); then\n" +
               zshDescribe(in_program, "            ");
    for (const CommandDescription* pParent : parentsOf(in_program))
        strText += "        elif (( CURRENT == 3 )) && [[ $words[2] == " + pParent->getName() + " ]]; then\n" +
                   zshDescribe(*pParent, "            ");
    strText += "        fi\n        return\n    fi\n    case $command in\n";
    for (const CommandDescription* pCommand : leavesOf(in_program)) {
        strText += "    " + quoted(pCommand->m_strPath) + ")\n        _arguments -S";
        for (const OptionDescription& option : pCommand->m_vOptions)
            strText += zshSpecs(option);
        strText += zshArguments(*pCommand) + " ;;\n";
    }
    // The file is the function's body where zsh loads it by itself, and defines it where it is sourced.
    return strText +
           "    esac\n}\nif [[ $funcstack[1] == _corvana ]]; then\n    _corvana \"$@\"\nelse\n    compdef _corvana "
           "corvana\nfi\n";
}

std::string fishCompletion(const CommandDescription& in_program, const CompletionNames& in_names)
{
    std::string strText = heading("fish") + "set -g __corvana_features " + joinedWith(" ", in_names.m_vFeatures) +
                          "\nset -g __corvana_types " + joinedWith(" ", in_names.m_vRegionTypes) + "\n" +
                          s_szFishParts + fishChoices(in_program, "") + fishChoices(in_program, " help");
    for (const CommandDescription* pParent : parentsOf(in_program))
        strText +=
            fishChoices(*pParent, " " + pParent->getName()) + fishChoices(*pParent, " help " + pParent->getName());
    strText += "complete -c corvana -n __corvana_expects -l help -d 'Show how it is used'\n"
               "complete -c corvana -n __corvana_expects -l version -d 'Show the version'\n";
    for (const CommandDescription* pCommand : leavesOf(in_program))
        strText += fishCommand(*pCommand);
    return strText;
}

} // namespace Corvana::Tools
