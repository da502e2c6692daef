// SPDX-License-Identifier: Apache-2.0
// Prints every feature that can be made by name, and makes each one from its example.
#include <corvana/Corvana.h>

#include <iostream>
#include <memory>

int main()
{
    Corvana::Math::SignalFeaturePool pool;
    pool.addFactory(new Corvana::Audio::AudioFeatureFactory);

    for (const Corvana::Audio::FeatureDescription& description : Corvana::Audio::getFeatureDescriptions()) {
        std::cout << description.m_szName << description.m_szParameters << ": " << description.m_szMeaning << '\n'
                  << "    reads a " << description.m_szInput << " of n values, gives " << description.m_szNbOfValues
                  << " (" << description.m_szUnit << ")\n";
        const std::unique_ptr<Corvana::Math::SignalFeature> pFeature(pool.getNewFeature(description.m_szExample));
        if (pFeature == nullptr) {
            std::cerr << description.m_szExample << " cannot be made\n";
            return 1;
        }
    }
}
