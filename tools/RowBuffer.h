// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <ostream>
#include <streambuf>
#include <string>

namespace Corvana::Tools {

/// Keeps the rows of a recording until it is their turn: in memory up to a limit, beyond it in a file without a name.
class RowBuffer : public std::streambuf
{
public:
    /// in_strFolder: where the file is made, if there is one. From the moment that in_bStopped is set, writing fails.
    RowBuffer(std::size_t in_uiMaxInMemory, std::string in_strFolder, const std::atomic<bool>& in_bStopped);
    ~RowBuffer() override;
    RowBuffer(const RowBuffer&) = delete;
    RowBuffer& operator=(const RowBuffer&) = delete;

    /// All that was written, to the stream; reading back may fail too. False when it was the file that failed.
    bool copyTo(std::ostream& out_stream);
    /// Why the file could not be written or read, for people; empty when it could.
    std::string getFault() const;

protected:
    int_type overflow(int_type in_iLetter) override;
    std::streamsize xsputn(const char* in_pBegin, std::streamsize in_iLength) override;

private:
    bool makeRoom(std::size_t in_uiNbOfBytes);
    void grow(std::size_t in_uiCapacity);
    bool writeOut(const char* in_pBegin, std::size_t in_uiLength);
    bool openFile();
    bool copyFile(std::ostream& out_stream);

    const std::size_t m_uiMaxInMemory;
    const std::string m_strFolder;
    const std::atomic<bool>& m_bStopped;
    std::unique_ptr<char[]> m_pText;
    std::size_t m_uiSize = 0;
    std::size_t m_uiCapacity = 0;
    int m_iFile = -1; // none yet
    int m_iError = 0;
};

} // namespace Corvana::Tools
