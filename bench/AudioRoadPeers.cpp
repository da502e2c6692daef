// SPDX-License-Identifier: Apache-2.0
#include "AudioRoadPeers.h"

#include "AudioRoadPeerLoops.h"

#ifdef CORVANA_BENCH_FFTW
#include <fftw3.h>
#include <sndfile.h>
#endif
#ifdef CORVANA_BENCH_AUBIO
#define AUBIO_UNSTABLE 1 // the sources for one kind of file, which are faster than the one for all
#include <aubio/aubio.h>
#endif

#include <algorithm>
#include <cstring>

namespace Corvana::Bench {

const RoadLoops s_plainRoadLoops = s_roadLoops;

namespace {

#ifdef CORVANA_BENCH_FFTW
using FftwDoubles = std::unique_ptr<double[], decltype(&fftw_free)>;

FftwDoubles fftwDoubles(std::size_t in_uiSize)
{
    return {fftw_alloc_real(in_uiSize), fftw_free};
}

// Reads large blocks, takes the windows where they lie in them, and keeps the end of a block for the next one.
class FftwRoad : public RoadPeer
{
public:
    explicit FftwRoad(const RoadLoops& in_loops)
        : m_loops(in_loops)
        , m_vTaper(s_uiRoadWindow)
        , m_vBlock(s_uiBlock + s_uiRoadWindow)
        , m_pSamples(fftwDoubles(s_uiRoadWindow))
        , m_pPoints(fftwDoubles(s_uiRoadWindow + 2))
        , m_pPlan(fftw_plan_dft_r2c_1d(s_uiRoadWindow, m_pSamples.get(),
                                       reinterpret_cast<fftw_complex*>(m_pPoints.get()), FFTW_MEASURE),
                  fftw_destroy_plan)
    {
        for (std::size_t uiSample = 0; uiSample < s_uiRoadWindow; ++uiSample)
            m_vTaper[uiSample] = (1.0 - std::cos(static_cast<double>(uiSample) * 6.283185307179586 / 255.0)) * 0.5;
    }

    bool analyse(const char* in_szPath, RoadRows& out_rows) override
    {
        SF_INFO info = {};
        const std::unique_ptr<SNDFILE, decltype(&sf_close)> pFile(sf_open(in_szPath, SFM_READ, &info), sf_close);
        if (pFile == nullptr || info.channels != 1)
            return false;
        out_rows.clear();
        std::size_t uiKept = 0;
        sf_count_t iRead = 0;
        do {
            iRead = sf_read_double(pFile.get(), m_vBlock.data() + uiKept, s_uiBlock);
            const std::size_t uiHeld = uiKept + static_cast<std::size_t>(iRead);
            std::size_t uiStart = 0;
            for (; uiStart + s_uiRoadWindow <= uiHeld; uiStart += s_uiRoadHop)
                analyseWindow(m_vBlock.data() + uiStart, out_rows);
            uiKept = uiHeld - uiStart;
            std::copy_n(m_vBlock.begin() + static_cast<std::ptrdiff_t>(uiStart), uiKept, m_vBlock.begin());
        } while (iRead == s_uiBlock);
        return true;
    }

    double getTolerance() const override { return 1e-9; }

private:
    static constexpr sf_count_t s_uiBlock = 8192;

    void analyseWindow(const double* in_pWindow, RoadRows& out_rows)
    {
        const double dPrevious = out_rows.getNbOfRows() == 0 ? 0.0 : in_pWindow[s_uiRoadHop - 1];
        m_loops.m_pTaper(in_pWindow, m_vTaper.data(), m_pSamples.get());
        fftw_execute(m_pPlan.get());
        double* const pRow = out_rows.next().data();
        m_loops.m_pNormalisePowers(m_pPoints.get(), pRow);
        pRow[s_uiRoadBins] = m_loops.m_pFlatness(pRow);
        pRow[s_uiRoadBins + 1] = m_loops.m_pCrossingRate(in_pWindow, dPrevious);
        m_loops.m_pRanges(pRow, pRow + s_uiRoadBins + 2);
    }

    const RoadLoops& m_loops;
    std::vector<double> m_vTaper;
    std::vector<double> m_vBlock;
    FftwDoubles m_pSamples;
    FftwDoubles m_pPoints;
    std::unique_ptr<std::remove_pointer_t<fftw_plan>, decltype(&fftw_destroy_plan)> m_pPlan;
};
#endif

#ifdef CORVANA_BENCH_AUBIO
// aubio reads, transforms and counts; it has no flatness, no ranges of a spectrum and no normalisation. Those are
// written around it as around FFTW.
class AubioRoad : public RoadPeer
{
public:
    AubioRoad()
        : m_pWindow(new_fvec(s_uiRoadWindow), del_fvec)
        , m_hop{s_uiRoadHop, m_pWindow->data + s_uiRoadHop}
        , m_pSpectrum(new_cvec(s_uiRoadWindow), del_cvec)
    {
    }

    bool analyse(const char* in_szPath, RoadRows& out_rows) override
    {
        const std::unique_ptr<aubio_source_wavread_t, decltype(&del_aubio_source_wavread)> pSource(
            new_aubio_source_wavread(in_szPath, 0, s_uiRoadHop), del_aubio_source_wavread);
        if (pSource == nullptr)
            return false;
        reset();
        out_rows.clear();
        fvec_zeros(m_pWindow.get());
        uint_t uiRead = 0;
        bool bFilled = false;
        for (;;) {
            std::memcpy(m_pWindow->data, m_hop.data, s_uiRoadHop * sizeof(smpl_t));
            aubio_source_wavread_do(pSource.get(), &m_hop, &uiRead);
            if (uiRead < s_uiRoadHop)
                return true;
            transform();
            if (bFilled)
                describe(out_rows.next());
            bFilled = true;
        }
    }

    double getTolerance() const override { return 0.05; }

protected:
    std::unique_ptr<fvec_t, decltype(&del_fvec)> m_pWindow;
    fvec_t m_hop; // the second half of the window
    std::unique_ptr<cvec_t, decltype(&del_cvec)> m_pSpectrum;

private:
    virtual void reset() = 0;
    virtual void transform() = 0;

    void describe(RoadRow& out_row)
    {
        double* const pRow = out_row.data();
        s_fastRoadLoops.m_pNormaliseMagnitudes(m_pSpectrum->norm, pRow);
        pRow[s_uiRoadBins] = s_fastRoadLoops.m_pFlatness(pRow);
        pRow[s_uiRoadBins + 1] = static_cast<double>(aubio_zero_crossing_rate(m_pWindow.get()));
        s_fastRoadLoops.m_pRanges(pRow, pRow + s_uiRoadBins + 2);
    }
};

// Its usual way to spectra of windows that overlap, which gives magnitudes and phases.
class AubioVocoderRoad : public AubioRoad
{
private:
    void reset() override { m_pVocoder.reset(new_aubio_pvoc(s_uiRoadWindow, s_uiRoadHop)); }
    void transform() override { aubio_pvoc_do(m_pVocoder.get(), &m_hop, m_pSpectrum.get()); }

    std::unique_ptr<aubio_pvoc_t, decltype(&del_aubio_pvoc)> m_pVocoder{nullptr, del_aubio_pvoc};
};

// Its transform alone, with the same window and without the phases, which nobody reads here.
class AubioTransformRoad : public AubioRoad
{
private:
    void reset() override {}
    void transform() override
    {
        fvec_weighted_copy(m_pWindow.get(), m_pTaper.get(), m_pTapered.get());
        aubio_fft_do_complex(m_pTransform.get(), m_pTapered.get(), m_pPoints.get());
        aubio_fft_get_norm(m_pPoints.get(), m_pSpectrum.get());
    }

    char m_szTaper[9] = "hanningz";
    std::unique_ptr<aubio_fft_t, decltype(&del_aubio_fft)> m_pTransform{new_aubio_fft(s_uiRoadWindow), del_aubio_fft};
    std::unique_ptr<fvec_t, decltype(&del_fvec)> m_pTaper{new_aubio_window(m_szTaper, s_uiRoadWindow), del_fvec};
    std::unique_ptr<fvec_t, decltype(&del_fvec)> m_pTapered{new_fvec(s_uiRoadWindow), del_fvec};
    std::unique_ptr<fvec_t, decltype(&del_fvec)> m_pPoints{new_fvec(s_uiRoadWindow), del_fvec};
};
#endif

} // namespace

std::vector<NamedRoadPeer> roadPeers()
{
    std::vector<NamedRoadPeer> vPeers;
#ifdef CORVANA_BENCH_FFTW
    vPeers.push_back({"fftw", []() -> MadeRoadPeer { return std::make_unique<FftwRoad>(s_plainRoadLoops); }});
    vPeers.push_back({"fftwfast", []() -> MadeRoadPeer { return std::make_unique<FftwRoad>(s_fastRoadLoops); }});
#endif
#ifdef CORVANA_BENCH_AUBIO
    vPeers.push_back({"aubio", []() -> MadeRoadPeer { return std::make_unique<AubioVocoderRoad>(); }});
    vPeers.push_back({"aubiofft", []() -> MadeRoadPeer { return std::make_unique<AubioTransformRoad>(); }});
#endif
    return vPeers;
}

} // namespace Corvana::Bench
