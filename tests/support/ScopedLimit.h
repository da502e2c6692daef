// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <csignal>
#include <sys/resource.h>

namespace Corvana::Test {

/// While it exists, this process has no more of something.
class ScopedLimit
{
public:
    ScopedLimit(__rlimit_resource_t in_resource, rlim_t in_uiMax)
        : m_resource(in_resource)
    {
        getrlimit(m_resource, &m_former);
        const rlimit limit{in_uiMax, m_former.rlim_max};
        setrlimit(m_resource, &limit);
    }
    ~ScopedLimit()
    {
        setrlimit(m_resource, &m_former);
        std::signal(SIGXFSZ, m_pFormerHandler);
    }
    ScopedLimit(const ScopedLimit&) = delete;
    ScopedLimit& operator=(const ScopedLimit&) = delete;

private:
    const __rlimit_resource_t m_resource;
    rlimit m_former = {};
    void (*m_pFormerHandler)(int) = std::signal(SIGXFSZ, SIG_IGN);
};

} // namespace Corvana::Test
