// SPDX-License-Identifier: Apache-2.0
// Loaded before a program, it lets reading and writing give and take at most CORVANA_SHORT_COUNT bytes at a time, as
// pipes, terminals, network file systems and signals do.
#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <dlfcn.h>
#include <sys/types.h>
#include <sys/uio.h>

namespace {

std::size_t limited(std::size_t in_uiLength)
{
    static const char* const s_szLimit = std::getenv("CORVANA_SHORT_COUNT");
    static const std::size_t s_uiLimit = s_szLimit == nullptr ? 1 : std::strtoul(s_szLimit, nullptr, 10);
    return std::min(in_uiLength, s_uiLimit);
}

template <class FunctionT>
FunctionT* next(const char* in_szName)
{
    return reinterpret_cast<FunctionT*>(dlsym(RTLD_NEXT, in_szName));
}

using Read = ssize_t(int, void*, std::size_t);
using Write = ssize_t(int, const void*, std::size_t);
using ReadAt = ssize_t(int, void*, std::size_t, off_t);

} // namespace

extern "C" {

ssize_t read(int in_iFile, void* out_pBytes, std::size_t in_uiLength)
{
    static Read* const s_pNext = next<Read>("read");
    return s_pNext(in_iFile, out_pBytes, limited(in_uiLength));
}

ssize_t write(int in_iFile, const void* in_pBytes, std::size_t in_uiLength)
{
    static Write* const s_pNext = next<Write>("write");
    return s_pNext(in_iFile, in_pBytes, limited(in_uiLength));
}

ssize_t writev(int in_iFile, const struct iovec* in_pParts, int in_iNbOfParts)
{
    for (int iPart = 0; iPart < in_iNbOfParts; ++iPart)
        if (in_pParts[iPart].iov_len > 0)
            return write(in_iFile, in_pParts[iPart].iov_base, in_pParts[iPart].iov_len);
    return 0;
}

ssize_t pread(int in_iFile, void* out_pBytes, std::size_t in_uiLength, off_t in_iOffset)
{
    static ReadAt* const s_pNext = next<ReadAt>("pread");
    return s_pNext(in_iFile, out_pBytes, limited(in_uiLength), in_iOffset);
}

ssize_t pread64(int in_iFile, void* out_pBytes, std::size_t in_uiLength, off_t in_iOffset)
{
    return pread(in_iFile, out_pBytes, in_uiLength, in_iOffset);
}

} // extern "C"
