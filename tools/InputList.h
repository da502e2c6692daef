// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/LogBridge.h"
#include "tools/MessageOptions.h"

#include <string>
#include <vector>

namespace Corvana::Tools {

/// One recording to read, or the reason why there is none.
struct Input
{
    std::string m_strPath;  ///< as the user gave it; for an entry of a list its full path, or as spelled if not found
    std::string m_strFault; ///< empty: can be tried
    bool m_bIsFile = false; ///< known to be a file, which no pipe or device is; else it may be one
};

/// What folders among the inputs stand for.
struct FolderOptions
{
    bool m_bRecursive = false;            ///< the recordings in them and the folders below; else a folder is a fault
    std::vector<std::string> m_vPatterns; ///< for the names of files, as in the shell; none: "*.wav" in any case
};

/// The recordings given one by one, then those of the lists, in their order. Those of a folder are sorted by the bytes
/// of their paths; hidden ones, links to folders, and what is no file are left out.
std::vector<Input> collectInputs(const std::vector<std::string>& in_vPaths, const std::vector<std::string>& in_vLists,
                                 const FolderOptions& in_folders, LogBridge& inout_log, Messages& out_messages);

/// The same for callers without a LogBridge.
std::vector<Input> collectInputs(const std::vector<std::string>& in_vPaths, const std::vector<std::string>& in_vLists,
                                 const FolderOptions& in_folders, const MessageOptions& in_options,
                                 Messages& out_messages);

/// What a run reads by name, which it must not write to: the lists, and the inputs that can be tried.
std::vector<std::string> filesRead(const std::vector<std::string>& in_vLists, const std::vector<Input>& in_vInputs);

/// What to tell when one of those is to be written.
std::string readAndWritten(const std::string& in_strPath);

/// Whether it is a file whose length is known, no pipe or device.
bool isRegularFile(const std::string& in_strPath);

/// Why the library did not open a recording: what it logged, and what the system says about the file, as far as that
/// tells more.
std::string openingFault(const std::string& in_strPath, LogBridge& inout_log);

} // namespace Corvana::Tools
