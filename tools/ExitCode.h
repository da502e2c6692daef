// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Corvana::Tools {

/// What the program tells its caller; scripts rely on the values.
enum ExitCode : int
{
    EXIT_DONE = 0,        ///< everything asked for is done
    EXIT_SOME_FAILED = 1, ///< finished, but some inputs failed; each was named
    EXIT_UNUSABLE = 2     ///< wrong usage, or the output could not be written
};

} // namespace Corvana::Tools
