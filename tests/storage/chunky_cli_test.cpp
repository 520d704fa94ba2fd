#include "support/runtool.h"

#include <gtest/gtest.h>

#include "foundation/types.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#ifdef TQ7Z_BINARY
namespace
{
std::string ReadFile(const std::string& path)
{
    return TempFolder::Read(path);
}

class ChunksCommand : public ::testing::Test
{
protected:
    // The command line after "tq7z chunks", split at spaces (the test paths hold none).
    ToolRun Chunks(const std::string& args) const { return RunTool(Words("chunks " + args)); }
    std::string Write(const std::string& name, const std::string& bytes) const
    {
        const std::string path = m_root + "/" + name;
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    }

    TempFolder m_folder;
    const std::string m_root = m_folder.Path();
    const std::string m_sample = std::string(TQ7Z_SAMPLES) + "/chunks/walker.chunky";
};

TEST_F(ChunksCommand, ListsTheSampleTree)
{
    const ToolRun run = Chunks(m_sample);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, "FOLD RSGM v1 size=288 name=\"walker\"\n"
                       "  DATA INFO v2 size=8\n"
                       "  FOLD SKEL v1 size=81 name=\"skeleton\"\n"
                       "    DATA BONE v1 size=16 name=\"root\"\n"
                       "    DATA BONE v1 size=16 name=\"hip\"\n"
                       "  FOLD MESH v3 size=100 name=\"body\"\n"
                       "    DATA VERT v1 size=48\n"
                       "    DATA FACE v1 size=12\n"
                       "  FOLD ANIM v1 size=0 name=\"walk\"\n"
                       "DATA CMNT v1 size=37 name=\"comment\"\n");
}

TEST_F(ChunksCommand, DataDumpsEachPayloadUnderItsLine)
{
    const ToolRun run = Chunks(m_sample + " --data");
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(
        run.out.find("    DATA FACE v1 size=12\n"
                     "      00000000  00 00 01 00 02 00 02 00 01 00 03 00              |............|\n"),
        std::string::npos)
        << run.out;
    EXPECT_NE(run.out.find("  00000010  6d 61 6b 65 5f 73 61 6d 70 6c 65 5f 63 68 75 6e  |make_sample_chun|\n"
                           "  00000020  6b 73 2e 70 79                                   |ks.py|\n"),
              std::string::npos)
        << run.out;
}

TEST_F(ChunksCommand, MalformedFilesReportTheTextAndTheOffset)
{
    const std::string sample = ReadFile(m_sample);
    ASSERT_EQ(sample.size(), 404u);
    const std::string truncated = Write("truncated.chunky", sample.substr(0, 200));
    ToolRun run = Chunks(truncated);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "tq7z chunks: " + truncated + ": Read past the Chunk end! at byte offset 24\n");

    // Damage the type of the FACE chunk: the chunks before it are listed, then the failure.
    std::string damaged = sample;
    const size_t face = damaged.find("DATAFACE");
    ASSERT_NE(face, std::string::npos);
    damaged[face] = 'X';
    const std::string damagedPath = Write("damaged.chunky", damaged);
    run = Chunks(damagedPath);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out.substr(run.out.rfind("  FOLD MESH")), "  FOLD MESH v3 size=100 name=\"body\"\n"
                                                            "    DATA VERT v1 size=48\n");
    EXPECT_EQ(run.err, "tq7z chunks: " + damagedPath + ": Not a valid chunk header! at byte offset " +
                           std::to_string(face) + "\n");

    const std::string text = Write("text.chunky", "not a chunk file at all");
    run = Chunks(text);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "tq7z chunks: " + text + ": Not a valid chunky file! at byte offset 0\n");
}

TEST_F(ChunksCommand, MissingFilesAndFoldersFail)
{
    ToolRun run = Chunks(m_root + "/none.chunky");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "tq7z chunks: " + m_root + "/none.chunky: no such file\n");
    run = Chunks(m_root);
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("is a folder"), std::string::npos);
    run = Chunks("");
    EXPECT_NE(run.status, 0);
}
} // namespace
#endif
