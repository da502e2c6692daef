// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvana/MathSimd.h"
#include "tools/LogBridge.h"

#include <string>
#include <vector>

namespace Corvana::Tools {

/// What came of one test.
struct TestResult
{
    std::string m_strName;
    std::string m_strFault; ///< empty: it passed
};

/// The instruction sets that this processor and this build have.
std::vector<Math::Simd> supportedSimd();
/// The folder for temporary files, as TMPDIR says.
std::string temporaryFolder();

/// Tests within a second what results depend on: arithmetic, spectra with each instruction set, reading and labelling
/// of a small recording in the folder for temporary files. What the libraries log becomes the faults' reasons.
std::vector<TestResult> selfTest(LogBridge& inout_log);

} // namespace Corvana::Tools
