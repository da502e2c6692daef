// SPDX-License-Identifier: Apache-2.0
// A program that configures no logging and makes the libraries report at every level, until after main().
#include "corvana/Assertion.h"
#include "corvana/AudioFeatureImpl.h"
#include "corvana/AudioFileReader.h"
#include "corvana/Fallible.h"
#include "corvana/Logger.h"
#include "corvana/MathFourierTransform.h"

CORVANA_FILE_SCOPE_LOGGER("kestrivon.quiet")

namespace {

void report()
{
    CORVANA_TRACE_SCOPE(fileScopeLogger(), "report");
    CORVANA_LOG_TRACE_AT(CORVANA_HERE, fileScopeLogger(), "trace");
    CORVANA_LOG_DEBUG(fileScopeLogger(), "debug");
    CORVANA_LOG_INFO(fileScopeLogger(), "info");
    CORVANA_LOG_WARN(fileScopeLogger(), "warning");
    CORVANA_LOG_ERROR(fileScopeLogger(), "error");
    CORVANA_LOG_ERROR(Corvana::Logger::getRoot(), "error");
    CORVANA_ASSERT(1 > 2);
    (void)Corvana::Fallible<int>().getValue();
}

struct ReportsAfterMain
{
    ReportsAfterMain() { report(); }
    ~ReportsAfterMain() { report(); }
};

const ReportsAfterMain s_reportsAfterMain;

} // namespace

int main()
{
    report();

    double adValues[3] = {1.0, 2.0, 3.0};
    Corvana::Math::discreteRealFastFourierTransform(adValues, 3, 1.0);

    Corvana::Audio::SpectrumFeature feature;
    Corvana::Math::DoubleVector vSpectrum;
    feature.compute(Corvana::Math::DoubleVector(16, 1.0), vSpectrum);
    feature.compute(Corvana::Math::DoubleVector(32, 1.0), vSpectrum);

    Corvana::Audio::AudioFileReader reader;
    return reader.setSourceAudioFile("/there is no such file") ? 1 : 0;
}
