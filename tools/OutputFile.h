// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/FileDescriptorBuf.h"
#include "tools/PartialFile.h"
#include "tools/TemporaryFile.h"

#include <cstdint>
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
    /// The same for what another run may go on with: PATH.partial is kept when it is not committed. What it holds
    /// behind so many bytes is dropped; with fewer it is refused, as is what is no file.
    bool openToResume(const std::string& in_strPath, std::uint64_t in_uiNbOfBytes);
    /// Whether it would be refused whatever PATH.partial holds, before anything is written. False, with the fault.
    bool canBeResumed(const std::string& in_strPath);
    /// For what has all its bytes, and may have got its name, before a run was killed: only commit() remains.
    bool openToFinish(const std::string& in_strPath, std::uint64_t in_uiNbOfBytes);

    /// The file that would be replaced: behind symbolic links.
    static std::string targetOf(const std::string& in_strPath);
    /// Whether it gets its name when it is complete, unlike pipes, devices and standard output.
    bool isNamedAtLast() const { return m_temporary.isOpen() || m_partial.isOpen(); }

    /// The first of the paths that is the very file that would be replaced or written to; empty when none is.
    std::string findAmong(const std::vector<std::string>& in_vPaths) const;

    std::ostream& stream() { return *m_pStream; }
    /// Whether nothing has failed so far.
    bool isGood() const { return m_strFault.empty() && m_pStream->good(); }
    /// Brings what was written so far to the disk, where it gets its name at last. False: that failed.
    bool sync();
    /// Writes over the first bytes of what gets its name at last. False: that failed.
    bool rewriteStart(const std::string& in_strBytes);
    /// Hands all rows out and, for a named file, gives it its name. False: something could not be written.
    bool commit();

    /// Why writing failed, for people; empty for a reader that has gone, which is no news to anyone.
    std::string getFault() const;
    /// Removes what another run would have gone on with.
    void removePartial() { m_partial.remove(); }

private:
    bool findTarget(bool& out_bDirect, unsigned& out_uiMode);
    bool findResumable(const std::string& in_strPath, unsigned& out_uiMode);
    bool openPartial(const std::string& in_strPath);
    bool hasWritten();
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
    TemporaryFile m_temporary; // when it and the next are not open: written directly
    PartialFile m_partial;
    bool m_bFinished = false; // has its name already
    int m_iDescriptor = -1;   // written directly
    std::unique_ptr<FileDescriptorBuf> m_pBuffer;
    std::unique_ptr<std::ostream> m_pOwnStream;
    std::string m_strFault;
};

} // namespace Corvana::Tools
