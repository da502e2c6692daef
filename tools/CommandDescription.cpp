// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandDescription.h"

#include <algorithm>
#include <sstream>

namespace Corvana::Tools {

std::vector<std::string> OptionDescription::getWords() const
{
    std::vector<std::string> vWords;
    if (m_strValue.find('|') == std::string::npos)
        return vWords;
    std::istringstream value(m_strValue);
    for (std::string strWord; std::getline(value, strWord, '|');)
        if (std::none_of(strWord.begin(), strWord.end(),
                         [](char in_cLetter) { return 'A' <= in_cLetter && in_cLetter <= 'Z'; }))
            vWords.push_back(strWord);
    return vWords;
}

std::string CommandDescription::getName() const
{
    return m_strPath.substr(m_strPath.rfind(' ') + 1); // 0 for a path of one word
}

} // namespace Corvana::Tools
