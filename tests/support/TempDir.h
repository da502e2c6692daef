// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace Corvana::Test {

/// A folder of its own, removed with all its contents at the end of the test.
class TempDir
{
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return m_strPath; }
    /// The path of a file of this name in the folder.
    std::string file(const std::string& in_strName) const { return m_strPath + "/" + in_strName; }
    /// Writes a file and returns its path.
    std::string write(const std::string& in_strName, const std::string& in_strContents) const;

private:
    std::string m_strPath;
};

/// Sets an environment variable (null: removes it) and puts the former value back at the end.
class ScopedEnvironment
{
public:
    ScopedEnvironment(const char* in_szName, const char* in_szValue);
    ~ScopedEnvironment();
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    std::string m_strName;
    bool m_bWasSet;
    std::string m_strFormerValue;
};

} // namespace Corvana::Test
