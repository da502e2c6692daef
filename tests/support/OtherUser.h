// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <unistd.h>

namespace Corvana::Test {

/// Another user's rights while it exists, also for access(). Only root can be someone else; other users are bound by
/// permissions anyway.
class OtherUser
{
public:
    OtherUser()
    {
        m_bActive =
            geteuid() == 0 && setresgid(s_uiNobody, s_uiNobody, 0) == 0 && setresuid(s_uiNobody, s_uiNobody, 0) == 0;
    }
    ~OtherUser()
    {
        if (m_bActive && (setresuid(0, 0, 0) != 0 || setresgid(0, 0, 0) != 0))
            std::abort();
    }
    OtherUser(const OtherUser&) = delete;
    OtherUser& operator=(const OtherUser&) = delete;

    bool isActive() const { return m_bActive; }

private:
    static constexpr unsigned s_uiNobody = 65534;
    bool m_bActive;
};

} // namespace Corvana::Test
