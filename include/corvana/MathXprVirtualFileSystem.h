// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/Object.h"

#include <string>

namespace Corvana::Math::Xpr {

/// Where functions of formulas find the files that their configuration names.
class CORVANA_API VirtualFileSystem : public virtual Object
{
public:
    ~VirtualFileSystem() override;

    /// False, with out untouched, when the file cannot be read.
    virtual bool readFile(const char* in_szPath, std::string& out_strContents) const = 0;
};

} // namespace Corvana::Math::Xpr
