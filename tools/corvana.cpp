// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandLine.h"
#include "tools/ExitCode.h"
#include "tools/FileDescriptorBuf.h"
#include "tools/LogBridge.h"
#include "tools/Termination.h"

#include <cerrno>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <iostream>
#include <unistd.h>

namespace {

using namespace Corvana::Tools;

// A program started with a standard stream closed would get the first file it opens in its place, and write its
// messages into a recording. What stands in for a closed stream fails every write, as a closed one does.
bool openStandardStreams()
{
    for (int iDescriptor = STDIN_FILENO; iDescriptor <= STDERR_FILENO; ++iDescriptor)
        if (fcntl(iDescriptor, F_GETFD) == -1 && open("/dev/null", O_RDONLY) != iDescriptor)
            return false;
    return true;
}

// Some devices and file systems tell only when they are closed that they could not keep what was written.
int errorOfClosing(FileDescriptorBuf& inout_buffer)
{
    if (inout_buffer.getError() != 0)
        return inout_buffer.getError();
    return close(STDOUT_FILENO) == 0 ? 0 : errno;
}

int run(const std::vector<std::string>& in_vArguments)
{
    FileDescriptorBuf buffer(STDOUT_FILENO);
    std::ostream data(&buffer);
    const Terminals terminals{isatty(STDOUT_FILENO) == 1, isatty(STDERR_FILENO) == 1};
    const int iExitCode = runCommandLine(in_vArguments, terminals, data, std::cerr);
    const bool bReported = buffer.getError() != 0 && iExitCode == EXIT_UNUSABLE;
    data.flush();
    const int iError = errorOfClosing(buffer);
    if (iError == 0)
        return iExitCode;
    if (!bReported && iError != EPIPE)
        std::cerr << std::string("corvana: cannot write: standard output: ") + std::strerror(iError) + "\n";
    return EXIT_UNUSABLE;
}

} // namespace

int main(int in_iNbOfArguments, char* in_aszArguments[])
{
    if (!openStandardStreams())
        return EXIT_UNUSABLE;
    Termination::install();
    limitLogThreads();
    try {
        return run({in_aszArguments + (in_iNbOfArguments > 0 ? 1 : 0), in_aszArguments + in_iNbOfArguments});
    } catch (const std::bad_alloc&) {
        std::cerr << "corvana: out of memory\n";
    } catch (const std::exception& exception) {
        std::cerr << std::string("corvana: ") + exception.what() + "\n";
    }
    return EXIT_UNUSABLE;
}
