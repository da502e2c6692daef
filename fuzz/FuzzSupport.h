// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/MathDoubleVector.h"
#include "corvana/MemAllocator.h"
#include "support/TempDir.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

/// What libFuzzer and the replay call: runTarget() within the limits of memory and time that hold for all targets.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* in_pData, std::size_t in_uiSize);

/// Stops the program with the condition and its place: the input that led here breaks an invariant.
#define CORVANA_FUZZ_REQUIRE(condition)                                                                                \
    (static_cast<bool>(condition) ? void(0) : ::Corvana::Fuzz::failRequirement(#condition, __FILE__, __LINE__))

namespace Corvana::Fuzz {

/// Seconds of the processor that an input may take; 0 in the replay, as tests do not depend on the machine's speed.
extern const int g_iMaxSeconds;

/// What a target does with an input; each target defines it.
void runTarget(const std::uint8_t* in_pData, std::size_t in_uiSize);

[[noreturn]] void failRequirement(const char* in_szCondition, const char* in_szFile, int in_iLine);

/// Hands out an input piece by piece. Past its end everything is 0, so that every input means something.
class ByteReader
{
public:
    ByteReader(const std::uint8_t* in_pData, std::size_t in_uiSize)
        : m_vRest(in_pData, in_uiSize)
    {
    }

    bool empty() const { return m_vRest.empty(); }
    std::uint8_t takeByte();
    /// 0 up to and including the bound.
    unsigned long takeUpTo(unsigned long in_uiMax);
    /// Eight bytes as they are: any double, also NaN, infinities and subnormals.
    double takeDouble();
    /// A length, then that many bytes.
    std::string takeText();
    /// All that is left.
    std::string_view rest() const { return {reinterpret_cast<const char*>(m_vRest.data()), m_vRest.size()}; }

private:
    std::span<const std::uint8_t> m_vRest;
};

/// Bytes that can be opened like a file, by path, without touching a disk.
class MemoryFile
{
public:
    explicit MemoryFile(std::string_view in_strContents);
    ~MemoryFile();
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    const char* path() const { return m_strPath.c_str(); }

private:
    int m_iDescriptor;
    std::string m_strPath;
};

/// The largest identifier that a "cue " chunk in these bytes may have. One of a million takes so much time to read that
/// targets take few such inputs.
std::uint32_t largestCueId(std::string_view in_strBytes);

/// Whether libsndfile may never come to an end of these bytes as a WAV file, so that it cannot be asked about them.
bool misleadsLibsndfile(std::string_view in_strBytes);

/// One folder for a process, in memory where there is such a place. Slower than a MemoryFile.
const Test::TempDir& scratchFolder();

/// Requires at its end that every block allocated since its beginning was given back.
class LeakCheck
{
public:
    LeakCheck();
    ~LeakCheck();
    LeakCheck(const LeakCheck&) = delete;
    LeakCheck& operator=(const LeakCheck&) = delete;

private:
    static constexpr const char* s_aszTags[] = {"\"DoubleVector\"", "SignalFeatureFactory", "ReferenceCount",
                                                "(other)"};
    MemAccount m_aBefore[std::size(s_aszTags)];
};

/// The same bits; any two NaNs count as the same, because which operand's payload survives is the compiler's choice.
bool sameValue(double in_dLeft, double in_dRight);
bool sameValues(std::span<const double> in_vLeft, std::span<const double> in_vRight);

} // namespace Corvana::Fuzz
