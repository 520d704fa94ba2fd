// Burn records: the text round trip, the texts refused, the store and find under a key, and the
// input hash.
#include "burnerimp/burncache.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

TEST(BurnCache, RecordsGoRoundTheirText)
{
    BurnCache::Record record;
    record.source = "units/scout guard/scout.sgm";
    record.cTargets = {{"models final",
                        {{"DataFinal", "units/scout guard/scout.tqm", 48213},
                         {"DataFinal", "units/scout guard/scout.tqe", 0}}},
                       {"models preview", {{"DataPreview", "units/scout guard/scout.tqm", 7}}}};
    const std::string text = BurnCache::Text(record);
    EXPECT_EQ(text, "burnerimp record 1\nsource units/scout guard/scout.sgm\ntarget models final\n"
                    "output DataFinal units/scout guard/scout.tqm 48213\n"
                    "output DataFinal units/scout guard/scout.tqe 0\n"
                    "target models preview\noutput DataPreview units/scout guard/scout.tqm 7\n");
    BurnCache::Record read;
    ASSERT_TRUE(BurnCache::Parse(text, read));
    EXPECT_EQ(BurnCache::Text(read), text);
    ASSERT_EQ(read.cTargets.size(), 2u);
    EXPECT_EQ(read.cTargets[0].cOutputs[0].relative, "units/scout guard/scout.tqm");
    EXPECT_EQ(read.cTargets[0].cOutputs[0].size, 48213u);
    EXPECT_EQ(read.cTargets[1].cOutputs[0].kind, "DataPreview");

    // A file that no group takes: a record with no target.
    ASSERT_TRUE(BurnCache::Parse("burnerimp record 1\nsource a.ebp\n", read));
    EXPECT_TRUE(read.cTargets.empty());

    TempFolder folder;
    const BurnCache cache(folder / "cache");
    EXPECT_FALSE(cache.Find(0x1234, read));
    ASSERT_TRUE(cache.Store(0x1234, record));
    EXPECT_EQ(cache.RecordPath(0x1234), folder / "cache/0000000000001234.rec");
    EXPECT_EQ(TempFolder::Read(cache.RecordPath(0x1234)), text);
    ASSERT_TRUE(cache.Find(0x1234, read));
    EXPECT_EQ(read.cTargets.size(), 2u);
    EXPECT_TRUE(cache.Forget(0x1234));
    EXPECT_FALSE(cache.Find(0x1234, read));
}

TEST(BurnCache, RefusesTextsThatAreNoRecord)
{
    const char* const cText[] = {
        "",
        "burnerimp record 2\nsource a\ntarget g t\noutput DataFinal a 1\n",
        "burnerimp record 1\ntarget g t\noutput DataFinal a 1\n",
        "burnerimp record 1\nsource a\noutput DataFinal a 1\n",
        "burnerimp record 1\nsource a\ntarget g t\n",
        "burnerimp record 1\nsource a\ntarget g t\noutput DataFinal a\n",
        "burnerimp record 1\nsource a\ntarget g t\noutput DataFinal a -1\n",
        "burnerimp record 1\nsource a\ntarget g t\noutput DataFinal a 12x\n",
        "burnerimp record 1\nsource a\ntarget g t\noutput DataFinal a 99999999999999999999999\n",
        "burnerimp record 1\nsource a\ntarget g t\noutput DataFinal a 1\nwhatever\n",
    };
    for (const char* text : cText)
    {
        BurnCache::Record record;
        EXPECT_FALSE(BurnCache::Parse(text, record)) << text;
    }
}

TEST(BurnHasher, HashesTextsAndFilesInOrder)
{
    TempFolder folder;
    const std::string a = folder.Write("a", "abc");
    const std::string b = folder.Write("b", "abd");
    auto hash = [](const std::vector<std::string>& cText, const std::vector<std::string>& cFile)
    {
        BurnHasher hasher;
        for (const std::string& text : cText)
            hasher.AddText(text);
        for (const std::string& file : cFile)
            EXPECT_TRUE(hasher.AddFile(file));
        return hasher.Digest();
    };
    EXPECT_EQ(hash({"x"}, {a}), hash({"x"}, {a}));
    EXPECT_NE(hash({"x"}, {a}), hash({"x"}, {b}));
    EXPECT_NE(hash({"ab", "c"}, {}), hash({"a", "bc"}, {}));
    EXPECT_NE(hash({}, {a, b}), hash({}, {b, a}));
    // A missing file is an input too: it differs from an empty one.
    const std::string empty = folder.Write("empty", "");
    EXPECT_NE(hash({}, {folder / "missing"}), hash({}, {empty}));
}
