// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <ios>
#include <streambuf>
#include <string>
#include <utility>

namespace Corvana::Test {

/// Hands out bytes like a pipe: no place can be asked for or gone to. Breaks after some bytes, when told how.
class PipeBuf : public std::streambuf
{
public:
    explicit PipeBuf(std::string in_strBytes)
        : m_strBytes(std::move(in_strBytes))
    {
        char* pBegin = m_strBytes.data();
        setg(pBegin, pBegin, pBegin); // one byte at a time, so that it can break anywhere
    }

    void breakAfter(std::size_t in_uiNbOfBytes, std::function<void()> in_break)
    {
        m_uiBreak = in_uiNbOfBytes;
        m_break = std::move(in_break);
    }

protected:
    int_type underflow() override
    {
        const auto uiPosition = static_cast<std::size_t>(egptr() - eback());
        if (m_break && uiPosition >= m_uiBreak)
            m_break();
        if (uiPosition >= m_strBytes.size())
            return traits_type::eof();
        setg(eback(), gptr(), egptr() + 1);
        return traits_type::to_int_type(*gptr());
    }

private:
    std::string m_strBytes;
    std::size_t m_uiBreak = 0;
    std::function<void()> m_break;
};

/// The same, but places are told and gone to.
class SeekablePipeBuf : public PipeBuf
{
public:
    explicit SeekablePipeBuf(const std::string& in_strBytes)
        : PipeBuf(in_strBytes)
        , m_iSize(static_cast<std::streamoff>(in_strBytes.size()))
    {
    }

protected:
    pos_type seekoff(off_type in_iOffset, std::ios_base::seekdir in_from, std::ios_base::openmode) override
    {
        off_type iPlace = in_iOffset;
        if (in_from == std::ios_base::cur)
            iPlace += gptr() - eback();
        else if (in_from == std::ios_base::end)
            iPlace += m_iSize;
        if (iPlace < 0 || iPlace > m_iSize)
            return off_type(-1);
        setg(eback(), eback() + iPlace, eback() + iPlace);
        return iPlace;
    }
    pos_type seekpos(pos_type in_place, std::ios_base::openmode in_mode) override
    {
        return seekoff(in_place, std::ios_base::beg, in_mode);
    }

private:
    off_type m_iSize;
};

/// Takes some bytes, then no more, like a disk that gets full.
class FullBuf : public std::streambuf
{
public:
    explicit FullBuf(std::size_t in_uiRoom)
        : m_uiRoom(in_uiRoom)
    {
    }
    const std::string& bytes() const { return m_strBytes; }

protected:
    int_type overflow(int_type in_iByte) override
    {
        if (m_strBytes.size() >= m_uiRoom)
            return traits_type::eof();
        m_strBytes.push_back(traits_type::to_char_type(in_iByte));
        return in_iByte;
    }

private:
    std::string m_strBytes;
    std::size_t m_uiRoom;
};

} // namespace Corvana::Test
