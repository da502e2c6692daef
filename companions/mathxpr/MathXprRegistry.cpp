// SPDX-License-Identifier: Apache-2.0
#include "corvana/MathXprRegistry.h"

#include <string_view>
#include <utility>

namespace Corvana::Math::Xpr {

Registry::ExpressionAllocator::~ExpressionAllocator() = default;

Registry& Registry::getInstance()
{
    static Registry* const s_pRegistry = new Registry;
    return *s_pRegistry;
}

bool Registry::registerFunction(const char* in_szName, ExpressionAllocator* in_pAllocator)
{
    if (in_pAllocator == nullptr || in_szName == nullptr)
        return false;
    const auto [it, bInserted] = m_allocators.try_emplace(in_szName);
    if (bInserted)
        it->second.reset(in_pAllocator);
    return bInserted;
}

Handle<FunctionBaseImpl> Registry::newFunction(const char* in_szName) const
{
    if (in_szName == nullptr)
        return {};
    const auto it = m_allocators.find(std::string_view(in_szName));
    return it == m_allocators.end() ? Handle<FunctionBaseImpl>() : it->second->newExpression();
}

std::vector<std::string> Registry::getFunctionNames() const
{
    std::vector<std::string> vNames;
    for (const auto& entry : m_allocators)
        vNames.push_back(entry.first);
    return vNames;
}

} // namespace Corvana::Math::Xpr
