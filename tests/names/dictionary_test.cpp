#include "names/dictionary.h"
#include "names/faststring.h"
#include "names/memorypool.h"
#include "names/name.h"

#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
// Two pairs of lower-case texts whose lookup2 hashes are equal, found by a brute-force search.
constexpr const char* CollisionA1 = "mesh_39051";
constexpr const char* CollisionA2 = "mesh_92940";
constexpr uint32 CollisionAHash = 0x846A7233;
constexpr const char* CollisionB1 = "mesh_14197";
constexpr const char* CollisionB2 = "mesh_94967";
constexpr uint32 CollisionBHash = 0x269438D2;
// A text whose lookup2 hash is 0, the one value no key may have; found by a brute-force search.
constexpr const char* ZeroHash = "nccmpvxc";
} // namespace

TEST(Dictionary, CollisionProbesToTheNextValueAndWarnsOnce)
{
    for (const char* text : {CollisionA1, CollisionA2})
        ASSERT_EQ(FastString::HashString(text), CollisionAHash);
    for (const char* text : {CollisionB1, CollisionB2})
        ASSERT_EQ(FastString::HashString(text), CollisionBHash);
    LogCapture log;
    Dictionary dict(false);
    const Dictionary::Key a1 = dict.Add(CollisionA1);
    const Dictionary::Key a2 = dict.Add(CollisionA2);
    EXPECT_EQ(a1.m_value, CollisionAHash);
    EXPECT_EQ(a2.m_value, CollisionAHash + 1);
    EXPECT_NE(a1, a2);
    EXPECT_TRUE(dict.HasSeenCollision());
    EXPECT_EQ(log.Count("Dictionary hash collision 'mesh_39051'<->'mesh_92940'"), 1);

    // A second collision is not reported again.
    const Dictionary::Key b1 = dict.Add(CollisionB1);
    const Dictionary::Key b2 = dict.Add(CollisionB2);
    EXPECT_EQ(b2.m_value, CollisionBHash + 1);
    EXPECT_EQ(log.Count("Dictionary hash collision"), 1);

    // Adding again gives the same keys; Find probes the same way.
    EXPECT_EQ(dict.Add(CollisionA2).m_value, CollisionAHash + 1);
    Dictionary::Key found;
    ASSERT_TRUE(dict.Find("MESH_92940", found));
    EXPECT_EQ(found, a2);
    EXPECT_STREQ(found.m_string, CollisionA2);
    ASSERT_TRUE(dict.Find(CollisionA1, found));
    EXPECT_EQ(found, a1);
    EXPECT_STREQ(dict.GetString(b1), CollisionB1);
    EXPECT_STREQ(dict.GetString(b2), CollisionB2);
    EXPECT_EQ(dict.GetCount(), 4u);
}

TEST(Dictionary, OrderOfAddingDecidesCollidingValues)
{
    LogCapture log;
    Dictionary dict(true);
    EXPECT_EQ(dict.Add(CollisionA2).m_value, CollisionAHash);
    EXPECT_EQ(dict.Add(CollisionA1).m_value, CollisionAHash + 1);
    EXPECT_EQ(log.Count("Dictionary hash collision 'mesh_92940'<->'mesh_39051'"), 1);
    // A text that probes past both, but is not there, fails and leaves the last value probed.
    Dictionary empty(true);
    Dictionary::Key key;
    EXPECT_FALSE(empty.Find(CollisionA1, key));
    EXPECT_EQ(key.m_value, CollisionAHash);
}

TEST(Dictionary, CaseFoldingAndKeptText)
{
    Dictionary folding(false);
    const Dictionary::Key upper = folding.Add("Bone_01");
    const Dictionary::Key lower = folding.Add("bone_01");
    EXPECT_EQ(upper, lower);
    EXPECT_STREQ(upper.m_string, "bone_01");
    EXPECT_EQ(upper.m_value, FastString::HashString("bone_01"));
    EXPECT_EQ(folding.GetCount(), 1u);

    Dictionary exact(true);
    const Dictionary::Key a = exact.Add("Bone_01");
    const Dictionary::Key b = exact.Add("bone_01");
    EXPECT_NE(a, b);
    EXPECT_STREQ(exact.GetString(a), "Bone_01");
    Dictionary::Key found;
    EXPECT_FALSE(exact.Find("BONE_01", found));
}

TEST(Dictionary, EmptyAndOverlongTexts)
{
    Dictionary dict(false);
    const Dictionary::Key empty = dict.Add("");
    EXPECT_EQ(empty.m_value, 0xBD49D10Du); // the hash of length 0
    EXPECT_STREQ(empty.m_string, "");

    // A folding dictionary keeps 0x3FF characters: texts that differ later are one name.
    const std::string base(0x3FF, 'k');
    const Dictionary::Key longA = dict.Add((base + "A").c_str());
    const Dictionary::Key longB = dict.Add((base + "b").c_str());
    EXPECT_EQ(longA, longB);
    EXPECT_EQ(std::string(longA.m_string), base);
}

TEST(Dictionary, BadArgumentsAreAssertions)
{
    Dictionary dict(false);
    {
        dbg::ScopedThrowOnAssert throwing;
        EXPECT_THROW(dict.Add(nullptr), std::runtime_error);
        Dictionary::Key key;
        EXPECT_THROW(dict.Find(nullptr, key), std::runtime_error);
        EXPECT_THROW(dict.GetString(key), std::runtime_error);
    }
    dbg::ScopedThrowOnAssert passed(false);
    EXPECT_EQ(dict.Add(nullptr).m_value, 1u);
    Dictionary::Key missing;
    missing.m_value = 12345;
    EXPECT_STREQ(dict.GetString(missing), "");
}

TEST(Dictionary, TextHashingToZeroIsRefused)
{
    ASSERT_EQ(FastString::HashString(ZeroHash), 0u);
    Dictionary dict(false);
    {
        dbg::ScopedThrowOnAssert throwing;
        EXPECT_THROW(dict.Add("NCCMPVXC"), std::runtime_error);
    }
    LogCapture log;
    dbg::ScopedThrowOnAssert passed(false);
    const Dictionary::Key key = dict.Add(ZeroHash);
    EXPECT_EQ(key.m_value, 1u);
    EXPECT_EQ(dict.GetCount(), 0u);
    EXPECT_EQ(log.Count("Assertion of (key.m_value != 0) failed."), 1);
}

TEST(Dictionary, KeysOfTwoDictionariesAreAnAssertionToCompare)
{
    Dictionary one(false);
    Dictionary two(false);
    Dictionary::Key a = one.Add("x");
    Dictionary::Key b = two.Add("x");
    EXPECT_EQ(a, b); // Add leaves the dictionary unset, so only the value counts
    a.m_pDictionary = &one;
    b.m_pDictionary = &two;
    dbg::ScopedThrowOnAssert throwing;
    EXPECT_THROW((void)(a == b), std::runtime_error);
    EXPECT_THROW((void)(a < b), std::runtime_error);
}

TEST(Dictionary, DeferredSortFindsTheSameKeys)
{
    Dictionary sorted(false);
    Dictionary deferred(false);
    deferred.SetDeferSort(true);
    std::vector<Dictionary::Key> cKey;
    for (int i = 0; i < 200; ++i)
    {
        const std::string text = "node_" + std::to_string(i * 7919 % 1000);
        cKey.push_back(sorted.Add(text.c_str()));
        EXPECT_EQ(deferred.Add(text.c_str()), cKey.back());
    }
    {
        LogCapture log;
        EXPECT_EQ(deferred.Add(CollisionA1).m_value, CollisionAHash);
        EXPECT_EQ(deferred.Add(CollisionA2).m_value, CollisionAHash + 1);
    }
    Dictionary::Key found;
    EXPECT_TRUE(deferred.Find("NODE_919", found));
    deferred.SetDeferSort(false);
    for (const Dictionary::Key& key : cKey)
        EXPECT_STREQ(deferred.GetString(key), sorted.GetString(key));
    EXPECT_TRUE(deferred.Find(CollisionA2, found));
    EXPECT_EQ(found.m_value, CollisionAHash + 1);
}

TEST(Dictionary, TextsComeFromTheirPoolAndGoBack)
{
    MemoryPool& pool = MemoryPool::Get("DictionaryStrings");
    const uint64 before = pool.GetBytesInUse();
    {
        Dictionary dict(false);
        dict.Add("walker");
        dict.Add("Walker");
        dict.Add("idle");
        EXPECT_EQ(pool.GetBytesInUse(), before + 7 + 5);
    }
    EXPECT_EQ(pool.GetBytesInUse(), before);
}

TEST(Name, NamesShareOneCaseFreeDictionary)
{
    const ra::Name a = ra::MakeName("Bone_01");
    const ra::Name b = ra::MakeName("bone_01");
    EXPECT_EQ(a, b);
    EXPECT_STREQ(ra::GetNameText(a), "bone_01");
    EXPECT_NE(a, ra::Name::INVALID);

    ra::Name found;
    EXPECT_TRUE(ra::FindName("BONE_01", found));
    EXPECT_EQ(found, a);
    EXPECT_FALSE(ra::FindName("a name nobody made", found));

    // Effect names are a dictionary of their own.
    EXPECT_FALSE(ra::FindEffectName("bone_01", found));
    const ra::Name effect = ra::MakeEffectName("Smoke_Puff");
    EXPECT_STREQ(ra::GetEffectNameText(effect), "smoke_puff");
    EXPECT_TRUE(ra::FindEffectName("SMOKE_PUFF", found));
    EXPECT_FALSE(ra::FindName("smoke_puff", found));
}

TEST(Name, InvalidIsTheDefaultKeyWithNoText)
{
    EXPECT_EQ(ra::MakeName(nullptr), ra::Name::INVALID);
    EXPECT_EQ(ra::Name(), ra::Name::INVALID);
    EXPECT_EQ(ra::Name::INVALID.m_value, 1u);
    EXPECT_STREQ(Dictionary::Key().m_string, "<uninitialized>");
    EXPECT_EQ(Dictionary::Key().m_pDictionary, nullptr);
    EXPECT_EQ(ra::GetNameText(ra::Name::INVALID), nullptr);
    EXPECT_EQ(ra::GetNameText(ra::MakeName(nullptr)), nullptr);
    EXPECT_EQ(std::hash<ra::Name>()(ra::MakeName("x")), ra::MakeName("x").m_value);

    ra::Name out;
    dbg::ScopedThrowOnAssert throwing;
    EXPECT_THROW(ra::FindName(nullptr, out), std::runtime_error);
}
