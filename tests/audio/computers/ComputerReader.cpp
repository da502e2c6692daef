// SPDX-License-Identifier: Apache-2.0
// ComputerReader FILE: loads a computer from a text archive through the math library's base class and prints the
// values of a fixed window. It names no class of the audio library, which it only is linked with.
#include "corvana/MathDoubleVector.h"
#include "corvana/MathFeatureComputer.h"

#include <boost/archive/polymorphic_text_iarchive.hpp>
#include <boost/serialization/nvp.hpp>

#include <cstdio>
#include <exception>
#include <fstream>
#include <memory>

namespace {

std::unique_ptr<Corvana::Math::FeatureComputerImpl> load(const char* in_szFileName)
{
    std::ifstream stream(in_szFileName);
    boost::archive::polymorphic_text_iarchive archive(stream);
    boost::archive::polymorphic_iarchive& interface = archive;
    Corvana::Math::FeatureComputerImpl* pComputer = nullptr;
    interface >> boost::serialization::make_nvp("FeatureComputer", pComputer);
    return std::unique_ptr<Corvana::Math::FeatureComputerImpl>(pComputer);
}

void printFeatures(Corvana::Math::FeatureComputerImpl& inout_computer)
{
    Corvana::Math::DoubleVector vWindow(256);
    for (unsigned long uiIndex = 0; uiIndex < vWindow.size(); ++uiIndex)
        vWindow[uiIndex] = static_cast<double>(uiIndex % 8) / 8.0 - 0.5;
    inout_computer.setWindow(vWindow);
    Corvana::Math::DoubleVector vFeatures;
    if (!inout_computer.computeFeatures(vFeatures))
        std::puts("refused");
    for (const double dValue : vFeatures)
        std::printf("%a\n", dValue);
}

} // namespace

int main(int argc, char* argv[])
{
    if (argc != 2)
        return 2;
    try {
        printFeatures(*load(argv[1]));
    } catch (const std::exception& exception) {
        std::puts(exception.what());
        return 1;
    }
    return 0;
}
