// Burn records: the text round trip, the texts refused, the store and find under a key, and the
// input hash.
#include "burnerimp/burncache.h"
#include "support/tempfolder.h"
#include <gtest/gtest.h>

TEST(BurnCache, RecordsGoRoundTheirTextAndTheStoreAndOthersAreRefused)
{
    BurnCache::Record record, read;
    record.source = "units/scout guard/scout.sgm";
    record.cTargets = {{"models final", {{"DataFinal", "units/scout guard/scout.tqm", 48213}, {"DataFinal", "s.tqe", 0}}},
                       {"models preview", {{"DataPreview", "s.tqm", 7}}}};
    const std::string text = BurnCache::Text(record);
    EXPECT_EQ(text, "burnerimp record 1\nsource units/scout guard/scout.sgm\ntarget models final\n"
                    "output DataFinal units/scout guard/scout.tqm 48213\noutput DataFinal s.tqe 0\n"
                    "target models preview\noutput DataPreview s.tqm 7\n");
    ASSERT_TRUE(BurnCache::Parse(text, read));
    EXPECT_EQ(BurnCache::Text(read), text);
    // A file that no group takes: a record with no target.
    ASSERT_TRUE(BurnCache::Parse("burnerimp record 1\nsource a.ebp\n", read) && read.cTargets.empty());
    TempFolder folder;
    const BurnCache cache(folder / "cache");
    EXPECT_FALSE(cache.Find(0x1234, read));
    ASSERT_TRUE(cache.Store(0x1234, record));
    EXPECT_EQ(TempFolder::Read(folder / "cache/0000000000001234.rec"), text);
    ASSERT_TRUE(cache.Find(0x1234, read) && BurnCache::Text(read) == text);
    EXPECT_TRUE(cache.Forget(0x1234) && !cache.Find(0x1234, read));
    // Texts that are no record.
    const std::string head = "burnerimp record 1\nsource a\ntarget g t\n";
    for (const std::string& bad : std::vector<std::string>{
             "", "burnerimp record 2\nsource a\ntarget g t\noutput DataFinal a 1\n",
          "burnerimp record 1\ntarget g t\noutput DataFinal a 1\n", "burnerimp record 1\nsource a\noutput DataFinal a 1\n", head,
          head + "output DataFinal a\n", head + "output DataFinal a -1\n", head + "output DataFinal a 12x\n",
          head + "output DataFinal a 99999999999999999999999\n", head + "output DataFinal a 1\nwhatever\n"})
        EXPECT_FALSE(BurnCache::Parse(bad, read)) << bad;
}

TEST(BurnHasher, HashesTextsAndFilesInOrder)
{
    TempFolder folder;
    const std::string a = folder.Write("a", "abc"), b = folder.Write("b", "abd"), empty = folder.Write("empty", "");
    auto hash = [](const std::vector<std::string>& cText, const std::vector<std::string>& cFile)
    {
        BurnHasher hasher;
        for (const std::string& text : cText)
            hasher.AddText(text);
        for (const std::string& file : cFile)
            hasher.AddFile(file);
        return hasher.Digest();
    };
    EXPECT_EQ(hash({"x"}, {a}), hash({"x"}, {a}));
    EXPECT_NE(hash({"x"}, {a}), hash({"x"}, {b}));
    EXPECT_NE(hash({"ab", "c"}, {}), hash({"a", "bc"}, {}));
    EXPECT_NE(hash({}, {a, b}), hash({}, {b, a}));
    // A missing file is an input too, and differs from an empty one; a folder is no input.
    EXPECT_NE(hash({}, {folder / "missing"}), hash({}, {empty}));
    EXPECT_TRUE(BurnHasher().AddFile(folder / "missing") && BurnHasher().AddFile(a + "/x") && !BurnHasher().AddFile(folder.Path()));
}
