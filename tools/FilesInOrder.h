// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/FileRun.h"
#include "tools/InOrder.h"
#include "tools/InputList.h"
#include "tools/LogBridge.h"
#include "tools/MessageOptions.h"
#include "tools/Messages.h"

#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace Corvana::Tools {

/// Examines files in several threads, and takes what was found in the order of the files. What the libraries log about
/// a file becomes messages right before it is taken. FoundT has m_strFault, the reason of a file that failed.
template <class FoundT>
class FilesInOrder
{
public:
    /// Called in any thread.
    using Examine = std::function<FoundT(const Input& in_file, LogBridge& inout_log)>;
    /// Called for one file at a time, when it did not fail. False: nothing more is to be done.
    using Take = std::function<bool(const Input& in_file, FoundT& inout_found)>;

    /// Where more than warnings is shown, files are examined one by one, so that the lines of the log come while things
    /// happen.
    FilesInOrder(const MessageOptions& in_options, unsigned long in_uiNbOfJobs, Messages& out_messages)
        : m_options(in_options)
        , m_inOrder(in_options.m_iLogLevel < LOG_WARN ? 1 : in_uiNbOfJobs)
        , m_messages(out_messages)
    {
    }

    /// No LogBridge of the caller's thread may exist meanwhile: each message would come twice.
    void run(const std::vector<Input>& in_vFiles, FileRun& inout_run, const Examine& in_examine, const Take& in_take)
    {
        m_inOrder.run(
            0, in_vFiles.size(), [&] { return std::make_unique<Worker>(m_options, in_vFiles, in_examine); },
            [&](std::size_t in_uiFile, InOrder::Result& inout_result) {
                auto& result = static_cast<Result&>(inout_result);
                if (!result.m_strMessages.empty())
                    m_messages.plain(result.m_strMessages);
                const Input& file = in_vFiles[in_uiFile];
                if (result.m_found.m_strFault.empty() && !in_take(file, result.m_found))
                    return false;
                return inout_run.end(file, result.m_found.m_strFault);
            });
    }

private:
    struct Result : public InOrder::Result
    {
        FoundT m_found;
        std::string m_strMessages;
    };

    class Worker : public InOrder::Worker
    {
    public:
        Worker(const MessageOptions& in_options, const std::vector<Input>& in_vFiles, const Examine& in_examine)
            : m_vFiles(in_vFiles)
            , m_examine(in_examine)
            , m_messages(m_text, in_options.m_bQuiet)
            , m_log(m_messages, in_options.m_iLogLevel)
        {
            m_text.exceptions(std::ios_base::badbit); // else memory that runs out would cut messages in silence
        }

        std::unique_ptr<InOrder::Result> work(std::size_t in_uiFile) override
        {
            auto pResult = std::make_unique<Result>();
            m_log.beginInput(m_vFiles[in_uiFile].m_strPath);
            pResult->m_found = m_examine(m_vFiles[in_uiFile], m_log);
            pResult->m_strMessages = m_text.str();
            m_text.str({});
            return pResult;
        }

    private:
        const std::vector<Input>& m_vFiles;
        const Examine& m_examine;
        std::ostringstream m_text;
        Messages m_messages;
        LogBridge m_log;
    };

    MessageOptions m_options;
    InOrder m_inOrder;
    Messages& m_messages;
};

} // namespace Corvana::Tools
