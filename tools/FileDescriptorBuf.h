// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <streambuf>
#include <vector>

namespace Corvana::Tools {

/// The buffered output of a file descriptor that remembers why a write failed. The standard streams tell only that
/// something failed; users need to know whether the disk is full or the reader has gone.
/// After the first failure nothing more is written.
class FileDescriptorBuf : public std::streambuf
{
public:
    /// The descriptor stays the caller's.
    explicit FileDescriptorBuf(int in_iDescriptor);
    /// Writes what is left, without telling whether that worked: flush the stream before.
    ~FileDescriptorBuf() override;
    FileDescriptorBuf(const FileDescriptorBuf&) = delete;
    FileDescriptorBuf& operator=(const FileDescriptorBuf&) = delete;

    int getDescriptor() const { return m_iDescriptor; }
    /// The errno of the first failed write; 0 while all went well.
    int getError() const { return m_iError; }

protected:
    int_type overflow(int_type in_iLetter) override;
    std::streamsize xsputn(const char* in_pBegin, std::streamsize in_iLength) override;
    int sync() override;

private:
    bool writeOut();
    bool writeAll(const char* in_pBegin, std::size_t in_uiLength);

    std::vector<char> m_vBuffer;
    int m_iDescriptor;
    int m_iError = 0;
};

} // namespace Corvana::Tools
