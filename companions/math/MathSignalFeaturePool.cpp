// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathSignalFeaturePool.h"

#include "corvana/MathSignalFeatureComposed.h"
#include "corvana/NumberText.h"

#include <algorithm>
#include <string>
#include <utility>

namespace Corvana::Math {
namespace {

// A chain is a feature within a feature: one without an end would exhaust the stack.
constexpr std::size_t s_uiMaxNbOfStages = 256;

} // namespace

SignalFeaturePool::SignalFeaturePool() = default;
SignalFeaturePool::~SignalFeaturePool() = default;

bool SignalFeaturePool::addFactory(SignalFeatureFactory* in_pFactory)
{
    const auto isTheFactory = [in_pFactory](const auto& in_pOther) { return in_pOther.get() == in_pFactory; };
    if (in_pFactory == nullptr || std::any_of(m_vFactories.begin(), m_vFactories.end(), isTheFactory))
        return false;
    m_vFactories.reserve(m_vFactories.size() + 1); // before the factory has a second owner
    m_vFactories.emplace_back(in_pFactory);
    return true;
}

SignalFeature* SignalFeaturePool::getNewStage(std::string_view in_strStage) const
{
    const std::string strStage(withoutBlanksAround(in_strStage));
    if (strStage.empty())
        return nullptr;
    for (const auto& pFactory : m_vFactories)
        if (SignalFeature* pFeature = pFactory->getNewFeature(strStage.c_str()))
            return pFeature;
    return nullptr;
}

SignalFeature* SignalFeaturePool::getNewFeature(const char* in_szDescription) const
{
    if (in_szDescription == nullptr)
        return nullptr;
    std::string_view strRest = in_szDescription;
    if (static_cast<std::size_t>(std::count(strRest.begin(), strRest.end(), '|')) >= s_uiMaxNbOfStages)
        return nullptr;
    std::unique_ptr<SignalFeature> pChain;
    for (;;) {
        const std::size_t uiBar = strRest.find('|');
        std::unique_ptr<SignalFeature> pStage(getNewStage(strRest.substr(0, uiBar)));
        if (pStage == nullptr)
            return nullptr;
        if (pChain == nullptr)
            pChain = std::move(pStage);
        else // memory comes first, so both parts still have their owners when there is none
            // NOLINTNEXTLINE(modernize-make-unique)
            pChain.reset(new SignalFeatureComposed(pChain.release(), pStage.release()));
        if (uiBar == std::string_view::npos)
            return pChain.release();
        strRest.remove_prefix(uiBar + 1);
    }
}

unsigned long SignalFeaturePool::getNbOfFactories() const
{
    return m_vFactories.size();
}

} // namespace Corvana::Math
