// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <ostream>
#include <streambuf>
#include <string>
#include <vector>

namespace Corvana::Tools {

/// Memory for rows that wait, which goes from one recording to the next: asking the system for it each time would cost
/// more than filling it. Any thread may use it.
class RowMemory
{
public:
    struct Block
    {
        std::unique_ptr<char[]> m_pText;
        std::size_t m_uiSize = 0;
    };

    /// Empty when there is none left over.
    Block take();
    void giveBack(Block in_block);

private:
    std::mutex m_mutex;
    std::vector<Block> m_vBlocks;
};

/// Keeps the rows of a recording until it is their turn: in memory up to a limit, beyond it in a file without a name.
class RowBuffer : public std::streambuf
{
public:
    /// in_strFolder: where the file is made, if there is one. From the moment that in_bStopped is set, writing fails.
    RowBuffer(std::size_t in_uiMaxInMemory, std::string in_strFolder, RowMemory& inout_memory,
              const std::atomic<bool>& in_bStopped);
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
    RowMemory& m_memory;
    const std::atomic<bool>& m_bStopped;
    RowMemory::Block m_block;
    std::size_t m_uiSize = 0; // of what is in the block
    int m_iFile = -1;         // none yet
    int m_iError = 0;
};

} // namespace Corvana::Tools
