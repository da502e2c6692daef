// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

// A recording from its file to the values of its windows of 256 samples that overlap by half, by others' means.

namespace Corvana::Bench {

/// The values of one window: its spectrum, flatness, rate of zero crossings, and four ranges of the spectrum, each with
/// the place of its centre within the middle bin.
using RoadRow = std::array<double, 128 + 1 + 1 + 6 + 10 + 10 + 12>;

/// Where the rows of a recording go: the last ones, as many as there is room for, a power of two. Room for one row
/// costs nothing to write, room for all shows whether they are right.
class RoadRows
{
public:
    explicit RoadRows(std::size_t in_uiRoom)
        : m_vRows(in_uiRoom)
    {
    }

    void clear() { m_uiNbOfRows = 0; }
    RoadRow& next() { return m_vRows[m_uiNbOfRows++ & (m_vRows.size() - 1)]; }
    std::size_t getNbOfRows() const { return m_uiNbOfRows; }
    const RoadRow& operator[](std::size_t in_uiRow) const { return m_vRows[in_uiRow]; }

private:
    std::vector<RoadRow> m_vRows;
    std::size_t m_uiNbOfRows = 0;
};

class RoadPeer
{
public:
    virtual ~RoadPeer() = default;
    RoadPeer(const RoadPeer&) = delete;
    RoadPeer& operator=(const RoadPeer&) = delete;

    /// False when the recording cannot be read.
    virtual bool analyse(const char* in_szPath, RoadRows& out_rows) = 0;
    /// Of its values and those of exact arithmetic: single precision and another taper differ more than rounding.
    virtual double getTolerance() const = 0;

protected:
    RoadPeer() = default;
};

using MadeRoadPeer = std::unique_ptr<RoadPeer>;

struct NamedRoadPeer
{
    std::string m_strName;
    MadeRoadPeer (*m_pMake)();
};

/// What this program was built with; empty without CORVANA_BENCH_PEERS.
std::vector<NamedRoadPeer> roadPeers();

} // namespace Corvana::Bench
