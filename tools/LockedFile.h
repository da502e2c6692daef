// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace Corvana::Tools {

/// Opens a file for reading and writing, or makes it, and locks it until it is closed: whoever else asks for the lock
/// meanwhile is refused. A link is not followed. Where the file system knows no locks there is none.
/// Negative, with errno: it cannot be opened; EWOULDBLOCK: somebody else has the lock; EEXIST: it is a folder, a device
/// or another thing that is no file.
int openLocked(const std::string& in_strPath, unsigned in_uiModeOfNewFile);

/// The folder that a path's last name is in, with the slash behind it.
std::string folderOf(const std::string& in_strPath);

/// Whether the path names the very file that is open.
bool isNameOf(const std::string& in_strPath, int in_iDescriptor);

} // namespace Corvana::Tools
