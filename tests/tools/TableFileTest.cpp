// SPDX-License-Identifier: Apache-2.0
#include "tools/TableFile.h"

#include "support/TempDir.h"
#include "tools/NpyFormat.h"

#include <gmock/gmock.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>

namespace Corvana::Tools {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

std::string contentsOf(const std::string& in_strPath)
{
    std::ostringstream text;
    text << std::ifstream(in_strPath, std::ios::binary).rdbuf();
    return text.str();
}

std::vector<std::string> namesIn(const std::string& in_strFolder)
{
    std::vector<std::string> vNames;
    for (const auto& entry : std::filesystem::directory_iterator(in_strFolder))
        vNames.push_back(entry.path().filename());
    return vNames;
}

// The values 0, 1, 2 and so on, from the given row on.
std::string npyRows(std::size_t in_uiFirst, std::size_t in_uiNbOfRows, std::size_t in_uiNbOfColumns,
                    std::uint64_t in_uiFile)
{
    const auto pWriter = RowWriter::make(RowFormat::NPY, {"a"}, {in_uiNbOfColumns});
    pWriter->setFileIndex(in_uiFile);
    pWriter->beginFile("a.wav");
    std::string strRows;
    for (std::size_t uiRow = in_uiFirst; uiRow < in_uiFirst + in_uiNbOfRows; ++uiRow) {
        std::vector<double> vValues;
        for (std::size_t uiColumn = 0; uiColumn < in_uiNbOfColumns; ++uiColumn)
            vValues.push_back(static_cast<double>(uiRow * in_uiNbOfColumns + uiColumn));
        pWriter->beginRow(0.016 * static_cast<double>(uiRow + 1));
        pWriter->addFeature(0, vValues);
        strRows += pWriter->endRow();
    }
    return strRows;
}

class TableFileTest : public testing::Test
{
protected:
    // What a program of Python prints; "@" stands for the folder.
    std::string python(std::string in_strProgram) const
    {
        for (std::size_t uiPos = in_strProgram.find('@'); uiPos != std::string::npos; uiPos = in_strProgram.find('@'))
            in_strProgram.replace(uiPos, 1, m_dir.path());
        const std::string strCommand =
            std::string(CORVANA_PYTHON3) + " " + m_dir.write("program.py", in_strProgram) + " 2>&1";
        std::FILE* pPipe = popen(strCommand.c_str(), "r");
        std::string strPrinted;
        for (int iLetter = std::fgetc(pPipe); iLetter != EOF; iLetter = std::fgetc(pPipe))
            strPrinted += static_cast<char>(iLetter);
        EXPECT_EQ(pclose(pPipe), 0) << strPrinted;
        return strPrinted;
    }

    static bool hasNumpy()
    {
        return std::system((std::string(CORVANA_PYTHON3) + " -c 'import numpy' 2> /dev/null").c_str()) == 0;
    }

    void writeNpy(std::size_t in_uiNbOfRows, std::size_t in_uiNbOfColumns,
                  const std::string& in_strName = "t.npy") const
    {
        std::ostringstream unused;
        const auto pTable = TableFile::make(RowFormat::NPY, unused);
        pTable->wantChecksums();
        ASSERT_TRUE(pTable->open(m_dir.file(in_strName))) << pTable->getFault();
        pTable->begin("", in_uiNbOfColumns);
        pTable->write(npyRows(0, in_uiNbOfRows, in_uiNbOfColumns, 7));
        pTable->endRows(in_uiNbOfRows);
        ASSERT_TRUE(pTable->prepare() && pTable->commit()) << pTable->getFault();
    }

    Corvana::Test::TempDir m_dir;
    std::ostringstream m_stream;
};

TEST_F(TableFileTest, WritesATextWithItsHeader)
{
    const auto pTable = TableFile::make(RowFormat::CSV, m_stream);
    pTable->wantChecksums();
    ASSERT_TRUE(pTable->open(m_dir.file("t.csv")));
    pTable->begin("file,time\n", 0);
    pTable->write("a,1\na,2\n");
    pTable->endRows(2);
    pTable->write("");
    pTable->endRows(0);
    EXPECT_EQ(pTable->getPosition().m_uiNbOfRows, 2U);
    EXPECT_EQ(pTable->getPosition().m_uiNbOfBytes, 18U);
    Checksum checksum;
    checksum.add("a,1\na,2\n");
    EXPECT_EQ(pTable->getPosition().m_uiChecksum, checksum.getValue());
    EXPECT_TRUE(pTable->prepare());
    EXPECT_THAT(namesIn(m_dir.path()), ElementsAre());
    EXPECT_TRUE(pTable->commit());
    EXPECT_EQ(contentsOf(m_dir.file("t.csv")), "file,time\na,1\na,2\n");
}

TEST_F(TableFileTest, WritesATextToTheStreamAtFirst)
{
    const auto pTable = TableFile::make(RowFormat::JSONL, m_stream);
    pTable->wantChecksums();
    pTable->begin("", 0);
    pTable->write("{}\n");
    pTable->endRows(1);
    pTable->flush();
    EXPECT_TRUE(pTable->isGood() && pTable->prepare() && pTable->commit());
    EXPECT_EQ(m_stream.str(), "{}\n");
}

TEST_F(TableFileTest, GoesOnWithATextWithoutItsHeader)
{
    TablePosition position;
    {
        const auto pTable = TableFile::make(RowFormat::CSV, m_stream);
        pTable->wantChecksums();
        ASSERT_TRUE(pTable->openToResume(m_dir.file("t.csv"), position));
        pTable->begin("file,time\n", 0);
        pTable->write("a,1\n");
        pTable->endRows(1);
        position = pTable->getPosition();
        pTable->write("b,1\n");
        pTable->endRows(1);
        EXPECT_TRUE(pTable->sync());
    }
    const auto pTable = TableFile::make(RowFormat::CSV, m_stream);
    pTable->wantChecksums();
    ASSERT_TRUE(pTable->openToResume(m_dir.file("t.csv"), position));
    pTable->begin("file,time\n", 0);
    pTable->write("c,1\n");
    pTable->endRows(1);
    EXPECT_TRUE(pTable->prepare() && pTable->commit());
    EXPECT_EQ(contentsOf(m_dir.file("t.csv")), "file,time\na,1\nc,1\n");
    Checksum checksum;
    checksum.add("a,1\nc,1\n");
    EXPECT_EQ(pTable->getPosition().m_uiChecksum, checksum.getValue());
    EXPECT_EQ(pTable->getPosition().m_uiNbOfRows, 2U);
}

TEST_F(TableFileTest, WritesValuesAndTimesIntoFilesOfTheirOwn)
{
    writeNpy(2, 3);
    EXPECT_THAT(namesIn(m_dir.path()), UnorderedElementsAre("t.npy", "t.times.npy"));
    std::string strValues = npyHeaderOfValues(2, 3);
    for (const double dValue : {0.0, 1.0, 2.0, 3.0, 4.0, 5.0})
        appendNpy(strValues, dValue);
    EXPECT_EQ(contentsOf(m_dir.file("t.npy")), strValues);
    std::string strTimes = npyHeaderOfTimes(2);
    for (const double dTime : {0.016, 0.032}) {
        appendNpy(strTimes, dTime);
        appendNpy(strTimes, std::uint64_t{7});
    }
    EXPECT_EQ(contentsOf(m_dir.file("t.times.npy")), strTimes);
}

TEST_F(TableFileTest, GoesOnWithValuesAndTimes)
{
    writeNpy(5, 3);
    std::filesystem::rename(m_dir.file("t.npy"), m_dir.file("whole.npy"));
    std::filesystem::rename(m_dir.file("t.times.npy"), m_dir.file("whole.times.npy"));
    TablePosition position;
    for (std::size_t uiRow = 0; uiRow < 5; ++uiRow) {
        const auto pTable = TableFile::make(RowFormat::NPY, m_stream);
        pTable->wantChecksums();
        ASSERT_TRUE(pTable->openToResume(m_dir.file("t.npy"), position)) << pTable->getFault();
        pTable->begin("", 3);
        pTable->write(npyRows(uiRow, 1, 3, 7));
        pTable->endRows(1);
        position = pTable->getPosition();
        pTable->write(npyRows(99, 2, 3, 8));
        pTable->endRows(2); // what nobody recorded
        EXPECT_TRUE(pTable->prepare());
        EXPECT_THAT(namesIn(m_dir.path()),
                    UnorderedElementsAre("whole.npy", "whole.times.npy", "t.npy.partial", "t.times.npy.partial"));
    }
    const auto pTable = TableFile::make(RowFormat::NPY, m_stream);
    pTable->wantChecksums();
    ASSERT_TRUE(pTable->openToResume(m_dir.file("t.npy"), position));
    pTable->begin("", 3);
    EXPECT_TRUE(pTable->prepare() && pTable->commit());
    EXPECT_EQ(contentsOf(m_dir.file("t.npy")), contentsOf(m_dir.file("whole.npy")));
    EXPECT_EQ(contentsOf(m_dir.file("t.times.npy")), contentsOf(m_dir.file("whole.times.npy")));
}

TEST_F(TableFileTest, FinishesATextThatHasItsNameOrHasNot)
{
    TablePosition position;
    {
        const auto pTable = TableFile::make(RowFormat::CSV, m_stream);
        pTable->wantChecksums();
        ASSERT_TRUE(pTable->openToResume(m_dir.file("t.csv"), position));
        pTable->begin("file,time\n", 0);
        pTable->write("a,1\n");
        pTable->endRows(1);
        EXPECT_TRUE(pTable->prepare());
        position = pTable->getPosition();
    }
    for (int iRun = 0; iRun < 2; ++iRun) {
        const auto pTable = TableFile::make(RowFormat::CSV, m_stream);
        ASSERT_TRUE(pTable->openToFinish(m_dir.file("t.csv"), position)) << pTable->getFault();
        EXPECT_EQ(pTable->getPosition().m_uiNbOfBytes, 14U);
        EXPECT_EQ(pTable->getPosition().m_uiNbOfRows, 1U);
        EXPECT_EQ(pTable->getPosition().m_uiChecksum, position.m_uiChecksum);
        EXPECT_TRUE(pTable->commit());
        EXPECT_EQ(contentsOf(m_dir.file("t.csv")), "file,time\na,1\n");
    }
}

TEST_F(TableFileTest, FinishesFilesThatHaveTheirNamesOrHaveNot)
{
    TablePosition position;
    {
        const auto pTable = TableFile::make(RowFormat::NPY, m_stream);
        pTable->wantChecksums();
        ASSERT_TRUE(pTable->openToResume(m_dir.file("t.npy"), position));
        pTable->begin("", 1);
        pTable->write(npyRows(0, 2, 1, 7));
        pTable->endRows(2);
        EXPECT_TRUE(pTable->prepare());
        position = pTable->getPosition();
    }
    std::filesystem::rename(m_dir.file("t.times.npy.partial"), m_dir.file("t.times.npy"));
    for (int iRun = 0; iRun < 2; ++iRun) {
        const auto pTable = TableFile::make(RowFormat::NPY, m_stream);
        pTable->wantChecksums();
        ASSERT_TRUE(pTable->openToFinish(m_dir.file("t.npy"), position)) << pTable->getFault();
        EXPECT_TRUE(pTable->commit());
        EXPECT_THAT(namesIn(m_dir.path()), UnorderedElementsAre("t.npy", "t.times.npy"));
    }
    EXPECT_TRUE(contentsOf(m_dir.file("t.npy")).starts_with(npyHeaderOfValues(2, 1)));
}

TEST_F(TableFileTest, RefusesNumbersIntoWhatIsNoFile)
{
    for (const char* szPath : {"-", "/dev/null"}) {
        const auto pTable = TableFile::make(RowFormat::NPY, m_stream);
        pTable->wantChecksums();
        EXPECT_FALSE(pTable->open(szPath));
        EXPECT_EQ(pTable->getFault(), std::string(szPath) + ": is no file, which the format npy needs");
    }
}

TEST_F(TableFileTest, FindsEachOfItsFilesAmongThoseThatAreRead)
{
    writeNpy(1, 1);
    const auto pTable = TableFile::make(RowFormat::NPY, m_stream);
    pTable->wantChecksums();
    ASSERT_TRUE(pTable->open(m_dir.file("t.npy")));
    EXPECT_EQ(pTable->findAmong({m_dir.file("a.wav"), m_dir.file("t.times.npy")}), m_dir.file("t.times.npy"));
    EXPECT_EQ(pTable->findAmong({m_dir.file("t.npy")}), m_dir.file("t.npy"));
    EXPECT_EQ(pTable->findAmong({m_dir.file("a.wav")}), "");
}

TEST_F(TableFileTest, KeepsEveryBitOfAValue)
{
    const auto pWriter = RowWriter::make(RowFormat::NPY, {"a", "b"}, {2, 1});
    pWriter->setFileIndex(3);
    pWriter->beginFile("a.wav");
    pWriter->beginRow(-0.0);
    pWriter->setLabels({"VOICE"});
    pWriter->addFeature(0, std::array{std::numeric_limits<double>::denorm_min(), -0.0});
    pWriter->addFeature(1, std::array{-std::numeric_limits<double>::infinity()});
    EXPECT_EQ(pWriter->getHeader(), "");
    EXPECT_EQ(pWriter->endRow(), std::string("\0\0\0\0\0\0\0\x80\x03\0\0\0\0\0\0\0"
                                             "\x01\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x80\0\0\0\0\0\0\xf0\xff",
                                             40));
}

TEST_F(TableFileTest, TellsWhatStandsBeforeTheRows)
{
    TableDescription description;
    description.m_vColumns = {{"a[0]", ""}, {"a[1]", ""}, {"b(1,2)", "Hz"}};
    EXPECT_EQ(startOfTable(description), "file,time,a[0],a[1],\"b(1,2)\"\n");
    description.m_settings.m_bLabels = true;
    EXPECT_EQ(startOfTable(description), "file,time,labels,a[0],a[1],\"b(1,2)\"\n");
    description.m_settings.m_format = RowFormat::JSONL;
    EXPECT_EQ(startOfTable(description), "");
    description.m_settings.m_format = RowFormat::NPY;
    description.m_size.m_uiNbOfRows = 5;
    EXPECT_EQ(startOfTable(description), npyHeaderOfValues(5, 3));
}

TEST_F(TableFileTest, IsWhatNumpyMapsIntoMemory)
{
    if (!hasNumpy())
        GTEST_SKIP() << "NumPy is not installed";
    struct Shape
    {
        std::size_t m_uiNbOfRows;
        std::size_t m_uiNbOfColumns;
    };
    std::string strShapes;
    for (const Shape& shape : {Shape{0, 1}, {0, 3}, {1, 1}, {2, 1}, {1000, 3}, {3, 1000}, {3, 100000}, {4, 0}}) {
        const std::string strRows = std::to_string(shape.m_uiNbOfRows);
        const std::string strColumns = std::to_string(shape.m_uiNbOfColumns);
        writeNpy(shape.m_uiNbOfRows, shape.m_uiNbOfColumns, strRows + "x" + strColumns + ".npy");
        strShapes += "(" + strRows + ", " + strColumns + "), ";
    }
    EXPECT_EQ(python("import numpy\n"
                     "for r, c in [" +
                     strShapes +
                     "]:\n"
                     "  for mode in ('r', None):\n"
                     "    v = numpy.load('@/%dx%d.npy' % (r, c), mmap_mode=mode)\n"
                     "    t = numpy.load('@/%dx%d.times.npy' % (r, c), mmap_mode=mode)\n"
                     "    assert v.dtype == '<f8' and v.shape == (r, c), (v.dtype, v.shape)\n"
                     "    assert (v == numpy.arange(r * c).reshape(r, c)).all()\n"
                     "    assert t.shape == (r,) and t.dtype.names == ('time', 'file'), t.dtype\n"
                     "    assert (t['file'] == 7).all()\n"
                     "    assert (t['time'] == 0.016 * numpy.arange(1, r + 1)).all()\n"
                     "    print(r, c)\n"),
              "0 1\n0 1\n0 3\n0 3\n1 1\n1 1\n2 1\n2 1\n1000 3\n1000 3\n3 1000\n3 1000\n3 100000\n3 100000\n"
              "4 0\n4 0\n");
}

} // namespace
} // namespace Corvana::Tools
