// SPDX-License-Identifier: Apache-2.0
#include "tools/CommandDoctor.h"

#include "corvana/MathSimd.h"
#include "corvana/Version.h"
#include "support/TempDir.h"
#include "tools/CommandLine.h"
#include "tools/ExitCode.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <sstream>

namespace Corvana::Tools {
namespace {

using testing::HasSubstr;
using testing::Not;

class CommandDoctorTest : public testing::Test
{
protected:
    int run(const std::vector<std::string>& in_vArguments)
    {
        m_data.str("");
        m_messages.str("");
        return runCommandLine(in_vArguments, {}, m_data, m_messages);
    }

    Corvana::Test::TempDir m_dir;
    Corvana::Test::ScopedEnvironment m_temporary{"TMPDIR", m_dir.path().c_str()};
    std::ostringstream m_data;
    std::ostringstream m_messages;
};

TEST_F(CommandDoctorTest, FindsNothingWrongHere)
{
    EXPECT_EQ(run({"doctor"}), EXIT_DONE);
    EXPECT_EQ(m_messages.str(), "");
    EXPECT_THAT(m_data.str(), HasSubstr(std::string("\n  corvana           ") + getVersion() + "\n"));
    EXPECT_THAT(m_data.str(), HasSubstr(std::string("\n  in use            ") + Math::getSimdName() + "\n"));
    EXPECT_THAT(m_data.str(), HasSubstr("\n  libsndfile        1."));
    EXPECT_THAT(m_data.str(), HasSubstr("\n  ok     spectra, portable: the bits of the plain algorithm\n"));
    EXPECT_THAT(m_data.str(), HasSubstr("\n  ok     a region can be added, and changes no sample\n"));
    EXPECT_THAT(m_data.str(), Not(HasSubstr("WRONG")));
}

TEST_F(CommandDoctorTest, LeavesNothingBehind)
{
    run({"doctor"});
    EXPECT_TRUE(std::filesystem::is_empty(m_dir.path()));
}

TEST_F(CommandDoctorTest, TellsTheSameToPrograms)
{
    EXPECT_EQ(run({"doctor", "--json"}), EXIT_DONE);
    const nlohmann::json json = nlohmann::json::parse(m_data.str());
    EXPECT_EQ(json.at("versions").at("corvana"), getVersion());
    EXPECT_EQ(json.at("instruction_sets").at("in use"), Math::getSimdName());
    EXPECT_EQ(json.at("environment").at("temporary files"), m_dir.path());
    EXPECT_GE(json.at("tests").size(), 6U);
    for (const nlohmann::json& test : json.at("tests"))
        EXPECT_EQ(test.at("ok"), true) << test;
}

TEST_F(CommandDoctorTest, EndsWithOneWhenSomethingIsWrong)
{
    const Corvana::Test::ScopedEnvironment temporary("TMPDIR", "/proc");
    EXPECT_EQ(run({"doctor"}), EXIT_SOME_FAILED);
    EXPECT_THAT(m_data.str(),
                HasSubstr("\n  WRONG  a small recording can be written: cannot make a folder in /proc: "));
    EXPECT_EQ(run({"doctor", "--json"}), EXIT_SOME_FAILED);
    EXPECT_EQ(nlohmann::json::parse(m_data.str()).at("tests").back().at("ok"), false);
}

} // namespace
} // namespace Corvana::Tools
