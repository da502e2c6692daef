// SPDX-License-Identifier: Apache-2.0
#include "TracedCommand.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace Corvana::Test {
namespace {

std::string bytesOf(const std::string& in_strPath)
{
    std::ostringstream text;
    text << std::ifstream(in_strPath, std::ios::binary).rdbuf();
    return text.str();
}

// In memory where there is such a file system: edits wait for the disk, thousands of times.
const char* folderInMemory()
{
    return access("/dev/shm", W_OK) == 0 ? "/dev/shm" : std::getenv("TMPDIR");
}

void open(const std::string& in_strPath, int in_iFlags, int in_iAs)
{
    constexpr mode_t uiMode = 0600;
    const int iDescriptor = ::open(in_strPath.c_str(), in_iFlags, uiMode);
    if (iDescriptor < 0 || dup2(iDescriptor, in_iAs) < 0)
        _exit(126);
    close(iDescriptor);
}

std::string readAll(int in_iDescriptor)
{
    std::string strAll;
    std::array<char, 4096> acPart{};
    for (ssize_t iRead = 0; (iRead = read(in_iDescriptor, acPart.data(), acPart.size())) != 0;)
        if (iRead > 0)
            strAll.append(acPart.data(), static_cast<std::size_t>(iRead));
        else if (errno != EINTR)
            break;
    return strAll;
}

// Takes the place of a descriptor by a pipe that holds a few bytes, and nobody writes to any more.
void openPipeWith(const std::string& in_strBytes, int in_iAs)
{
    int aiPipe[2];
    if (pipe2(aiPipe, O_CLOEXEC | O_NONBLOCK) != 0 ||
        write(aiPipe[1], in_strBytes.data(), in_strBytes.size()) != static_cast<ssize_t>(in_strBytes.size()) ||
        fcntl(aiPipe[0], F_SETFL, 0) != 0 || dup2(aiPipe[0], in_iAs) < 0)
        _exit(126);
    close(aiPipe[1]);
}

// What the tests are about: files, and what becomes of them.
bool isAboutFiles(const std::string& in_strName)
{
    static const std::set<std::string> s_names = {
        "openat",    "read",    "pread64",         "write",    "pwrite64",  "writev",     "lseek",
        "fsync",     "close",   "fdatasync",       "rename",   "renameat2", "sendfile",   "copy_file_range",
        "ioctl",     "mmap",    "sync_file_range", "truncate", "ftruncate", "newfstatat", "fstat",
        "statx",     "fchmod",  "fchown",          "unlink",   "utimensat", "flock",      "getdents64",
        "access",    "statfs",  "faccessat2",      "readlink", "fcntl",     "mkdir",      "flistxattr",
        "fgetxattr", "fstatfs", "linkat",          "fsetxattr"};
    return s_names.contains(in_strName);
}

} // namespace

TracedCommand::TracedCommand(std::vector<std::string> in_vArguments, Files in_files)
    : m_environment("TMPDIR", folderInMemory())
    , m_strFolder(m_dir.path() + "/folder")
    , m_vArguments(std::move(in_vArguments))
    , m_files(std::move(in_files))
{
    std::filesystem::create_directory(m_strFolder);
    for (std::string& strArgument : m_vArguments)
        for (std::size_t uiPos = strArgument.find('@'); uiPos != std::string::npos; uiPos = strArgument.find('@'))
            strArgument.replace(uiPos, 1, m_strFolder);
    restoreFiles();
}

bool TracedCommand::isPossible()
{
    return std::system("strace -o /dev/null true >/dev/null 2>&1") == 0;
}

std::vector<std::string> TracedCommand::command() const
{
    std::vector<std::string> vCommand{CORVANA_PROGRAM};
    vCommand.insert(vCommand.end(), m_vArguments.begin(), m_vArguments.end());
    return vCommand;
}

void TracedCommand::restoreFiles() const
{
    for (const auto& entry : std::filesystem::directory_iterator(m_strFolder))
        std::filesystem::remove_all(entry.path());
    rewriteFiles();
}

void TracedCommand::rewriteFiles() const
{
    for (const auto& [strName, strBytes] : m_files)
        std::ofstream(m_strFolder + "/" + strName, std::ios::binary) << strBytes;
}

TracedCommand::Files TracedCommand::files() const
{
    Files found;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(m_strFolder))
        if (entry.is_regular_file())
            found[std::filesystem::relative(entry.path(), m_strFolder)] = bytesOf(entry.path());
    return found;
}

int TracedCommand::execute(const std::vector<std::string>& in_vCommand, std::string& out_strPiped) const
{
    std::vector<char*> vArguments;
    for (const std::string& strWord : in_vCommand)
        vArguments.push_back(const_cast<char*>(strWord.c_str())); // NOLINT: execvp() changes nothing
    vArguments.push_back(nullptr);
    int aiPipe[2] = {-1, -1};
    if (m_bPipe && pipe2(aiPipe, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    const pid_t iChild = fork();
    if (iChild == 0) {
        // Leak detection traces its own process, which can be traced once.
        setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
        if (chdir(m_dir.path().c_str()) != 0)
            _exit(126);
        if (m_bInputPipe)
            openPipeWith(bytesOf(m_strFolder + "/" + m_strInput), STDIN_FILENO);
        else
            open(m_strInput.empty() ? "/dev/null" : m_strFolder + "/" + m_strInput, O_RDONLY, STDIN_FILENO);
        if (m_bPipe)
            dup2(aiPipe[1], STDOUT_FILENO);
        else
            open(m_strOutput.empty() ? path("out") : m_strOutput, O_WRONLY | O_CREAT | O_TRUNC, STDOUT_FILENO);
        open(path("errors"), O_WRONLY | O_CREAT | O_TRUNC, STDERR_FILENO);
        execvp(vArguments[0], vArguments.data());
        _exit(126);
    }
    if (m_bPipe) {
        close(aiPipe[1]);
        out_strPiped = readAll(aiPipe[0]);
        close(aiPipe[0]);
    }
    int iStatus = 0;
    while (waitpid(iChild, &iStatus, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(iStatus) ? WEXITSTATUS(iStatus) : -WTERMSIG(iStatus);
}

RunResult TracedCommand::runAs(const std::vector<std::string>& in_vCommand)
{
    RunResult run;
    std::string strPiped;
    run.m_iCode = execute(in_vCommand, strPiped);
    run.m_strData = m_bPipe ? strPiped : m_strOutput.empty() ? bytesOf(path("out")) : std::string();
    run.m_strMessages = bytesOf(path("errors"));
    run.m_files = files();
    return run;
}

RunResult TracedCommand::runBehind(const std::vector<std::string>& in_vWords)
{
    std::vector<std::string> vAll = in_vWords;
    const std::vector<std::string> vCommand = command();
    vAll.insert(vAll.end(), vCommand.begin(), vCommand.end());
    return runAs(vAll);
}

RunResult TracedCommand::runWith(const std::string& in_strFault, const std::string& in_strOtherFault)
{
    const auto nameIn = [](const std::string& in_str) { return in_str.substr(0, in_str.find(':')); };
    std::string strNames = nameIn(in_strFault);
    std::vector<std::string> vTracer{"strace", "-f", "-qq", "-o", path("trace"), "-e", "inject=" + in_strFault};
    if (!in_strOtherFault.empty()) {
        vTracer.insert(vTracer.end(), {"-e", "inject=" + in_strOtherFault});
        strNames += "," + nameIn(in_strOtherFault);
    }
    vTracer.insert(vTracer.end(), {"-e", "trace=" + strNames});
    if ((in_strFault + in_strOtherFault).find(":signal=") == std::string::npos)
        vTracer.emplace_back("--seccomp-bpf"); // which is faster, and lets no signal through
    return runTraced(vTracer);
}

RunResult TracedCommand::runWithIn(const std::string& in_strFault, const std::vector<std::string>& in_vNames)
{
    const std::string strName = in_strFault.substr(0, in_strFault.find(':'));
    std::vector<std::string> vTracer{"strace", "-f",
                                     "-qq",    "--seccomp-bpf",
                                     "-o",     path("trace"),
                                     "-e",     "trace=" + strName,
                                     "-e",     "inject=" + in_strFault};
    for (const std::string& strFile : in_vNames)
        vTracer.insert(vTracer.end(), {"-P", m_strFolder + "/" + strFile});
    return runTraced(vTracer);
}

RunResult TracedCommand::runTraced(const std::vector<std::string>& in_vTracer)
{
    RunResult run = runBehind(in_vTracer);
    run.m_bInjected = run.m_iCode == -SIGKILL || bytesOf(path("trace")).find("(INJECTED)") != std::string::npos;
    return run;
}

std::vector<Call> TracedCommand::trace()
{
    runBehind({"strace", "-f", "-y", "-qq", "-s", "300", "-o", path("trace"), "-e", "signal=none"});
    std::ifstream stream(path("trace"));
    std::map<std::string, unsigned> numbers;
    std::vector<Call> vCalls;
    std::string strMainThread;
    for (std::string strLine; std::getline(stream, strLine);) {
        const std::string strThread = strLine.substr(0, strLine.find(' '));
        if (strMainThread.empty())
            strMainThread = strThread;
        const std::size_t uiName = strLine.find_first_not_of(' ', strThread.size());
        const std::size_t uiEnd = strLine.find('(');
        if (strThread != strMainThread || uiEnd == std::string::npos || strLine[uiName] == '<' ||
            strLine[uiName] == '+')
            continue;
        const std::string strName = strLine.substr(uiName, uiEnd - uiName);
        const unsigned uiNumber = ++numbers[strName];
        const std::string strText = strLine.substr(uiName);
        const std::string strFirst = strLine.substr(uiEnd, 3);
        const bool bOwn = strText.find(m_strFolder) != std::string::npos || strFirst == "(0<" || strFirst == "(1<" ||
                          strFirst == "(2<";
        if (bOwn && isAboutFiles(strName))
            vCalls.push_back({strName, uiNumber, strText});
    }
    return vCalls;
}

} // namespace Corvana::Test
