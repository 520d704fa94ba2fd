#include "support/runtool.h"

#include <gtest/gtest.h>

#include <string>

#ifdef TQ7Z_BINARY
namespace
{
const std::string s_sample = std::string(TQ7Z_SAMPLES) + "/chunks/walker.chunky";

TEST(ChunksCommand, ListsTheSampleTreeAndDumpsPayloads)
{
    const ToolRun run = RunTool({"chunks", s_sample});
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

TEST(ChunksCommand, MalformedFilesReportTheTextAndTheOffset)
{
    TempFolder folder;
    const std::string sample = TempFolder::Read(s_sample);
    ASSERT_EQ(sample.size(), 404u);
    // The type of the FACE chunk damaged: the chunks before it are listed, then the failure.
    std::string damaged = sample;
    const size_t face = damaged.find("DATAFACE");
    ASSERT_NE(face, std::string::npos);
    damaged[face] = 'X';
    const struct
    {
        std::string bytes;
        std::string error;
        std::string outTail;
    } cases[] = {
        {sample.substr(0, 200), "Read past the Chunk end! at byte offset 24", ""},
        {damaged, "Not a valid chunk header! at byte offset " + std::to_string(face),
         "  FOLD MESH v3 size=100 name=\"body\"\n    DATA VERT v1 size=48\n"},
        {"not a chunk file at all", "Not a valid chunky file! at byte offset 0", ""},
    };
    for (const auto& c : cases)
    {
        const std::string path = folder.Write("bad.chunky", c.bytes);
        const ToolRun run = RunTool({"chunks", path});
        EXPECT_EQ(run.status, 1) << c.error;
        EXPECT_EQ(run.err, "tq7z chunks: " + path + ": " + c.error + "\n");
        EXPECT_EQ(run.out.substr(run.out.size() - c.outTail.size()), c.outTail);
        EXPECT_EQ(run.out.empty(), c.outTail.empty());
    }
}

} // namespace
#endif
