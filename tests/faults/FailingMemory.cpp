// SPDX-License-Identifier: Apache-2.0
// Loaded before the program, it lets memory run out: the allocation of the number CORVANA_FAILING_ALLOCATION fails, and
// all that follow when CORVANA_FAILING_ALLOCATIONS is there. They count from the first question whether a stream is a
// terminal, in the main thread: what happens before is the loader's. With CORVANA_FAILING_THREADS they count in each
// thread but the main one.
#include <cstddef>
#include <cstdlib>
#include <dlfcn.h>
#include <new>
#include <unistd.h>

namespace {

bool s_bStarted = false;
thread_local constinit unsigned long s_uiNumber = 0;

bool hasToFail()
{
    static const bool s_bInThreads = std::getenv("CORVANA_FAILING_THREADS") != nullptr;
    if (!s_bStarted || (gettid() == getpid()) == s_bInThreads)
        return false;
    static const char* const s_szNumber = std::getenv("CORVANA_FAILING_ALLOCATION");
    static const unsigned long s_uiFailing = s_szNumber == nullptr ? 0 : std::strtoul(s_szNumber, nullptr, 10);
    static const bool s_bAllBehind = std::getenv("CORVANA_FAILING_ALLOCATIONS") != nullptr;
    ++s_uiNumber;
    return s_uiNumber == s_uiFailing || (s_bAllBehind && s_uiNumber > s_uiFailing);
}

} // namespace

extern "C" int isatty(int in_iFile)
{
    static auto* const s_pNext = reinterpret_cast<int (*)(int)>(dlsym(RTLD_NEXT, "isatty"));
    s_bStarted = true;
    return s_pNext(in_iFile);
}

void* operator new(std::size_t in_uiSize)
{
    void* const pBlock = hasToFail() ? nullptr : std::malloc(in_uiSize == 0 ? 1 : in_uiSize);
    if (pBlock == nullptr)
        throw std::bad_alloc();
    return pBlock;
}

void operator delete(void* in_pBlock) noexcept
{
    std::free(in_pBlock);
}

void operator delete(void* in_pBlock, std::size_t) noexcept
{
    std::free(in_pBlock);
}
