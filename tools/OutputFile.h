// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/FileDescriptorBuf.h"
#include "tools/TemporaryFile.h"

#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// Where results go. A named file is written without a name in its folder and gets its name only when all of it is on
/// the disk, so that nobody ever reads half a result and a failure leaves the former file as it was; a symbolic link
/// stays, its target is replaced. Pipes, devices and standard output are written directly.
class OutputFile
{
public:
    /// Writes to a stream of the caller.
    explicit OutputFile(std::ostream& out_stream);
    /// Removes what was not committed.
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Writes to a file instead; "-" and "/dev/stdout" stand for the caller's stream. False, with the reason in
    /// getFault(): it cannot be written.
    bool open(const std::string& in_strPath);

    /// The first of the paths that is the very file that would be replaced or written to; empty when none is.
    std::string findAmong(const std::vector<std::string>& in_vPaths) const;

    std::ostream& stream() { return *m_pStream; }
    /// Hands all rows out and, for a named file, gives it its name. False: something could not be written.
    bool commit();

    /// Why writing failed, for people; empty for a reader that has gone, which is no news to anyone.
    std::string getFault() const;

private:
    bool openDirectly(const std::string& in_strPath);
    bool openDescriptor(const std::string& in_strNumber);
    void startWriting(int in_iDescriptor);
    void stopWriting();
    void closeDescriptor();
    bool discard(int in_iError);
    bool discardWith(const std::string& in_strFault);

    std::ostream& m_callersStream;
    std::ostream* m_pStream;
    std::string m_strPath;     // as given
    std::string m_strTarget;   // behind symbolic links
    TemporaryFile m_temporary; // not open: written directly
    int m_iDescriptor = -1;    // written directly
    std::unique_ptr<FileDescriptorBuf> m_pBuffer;
    std::unique_ptr<std::ostream> m_pOwnStream;
    std::string m_strFault;
};

} // namespace Corvana::Tools
