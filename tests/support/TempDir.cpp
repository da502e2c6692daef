// SPDX-License-Identifier: Apache-2.0
#include "support/TempDir.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace Corvana::Test {

TempDir::TempDir()
{
    std::string strTemplate = (std::filesystem::temp_directory_path() / "corvana-test-XXXXXX").string();
    if (mkdtemp(strTemplate.data()) == nullptr)
        throw std::runtime_error("cannot make a temporary folder");
    m_strPath = std::filesystem::canonical(strTemplate).string();
}

TempDir::~TempDir()
{
    std::error_code error;
    std::filesystem::remove_all(m_strPath, error);
}

std::string TempDir::write(const std::string& in_strName, const std::string& in_strContents) const
{
    std::ofstream stream(file(in_strName), std::ios::binary);
    stream << in_strContents;
    return file(in_strName);
}

ScopedEnvironment::ScopedEnvironment(const char* in_szName, const char* in_szValue)
    : m_strName(in_szName)
    , m_bWasSet(std::getenv(in_szName) != nullptr)
    , m_strFormerValue(m_bWasSet ? std::getenv(in_szName) : "")
{
    if (in_szValue == nullptr)
        unsetenv(in_szName);
    else
        setenv(in_szName, in_szValue, 1);
}

ScopedEnvironment::~ScopedEnvironment()
{
    if (m_bWasSet)
        setenv(m_strName.c_str(), m_strFormerValue.c_str(), 1);
    else
        unsetenv(m_strName.c_str());
}

} // namespace Corvana::Test
