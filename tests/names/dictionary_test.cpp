#include "names/dictionary.h"
#include "names/faststring.h"
#include "names/memorypool.h"
#include "names/name.h"

#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <memory>
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
} // namespace

TEST(Dictionary, CollisionProbesToTheNextValueAndWarnsOnce)
{
    for (auto [text, hash] : {std::pair{CollisionA1, CollisionAHash},
                              {CollisionA2, CollisionAHash},
                              {CollisionB1, CollisionBHash},
                              {CollisionB2, CollisionBHash}})
        ASSERT_EQ(FastString::HashString(text), hash) << text;
    LogCapture log;
    Dictionary dict(false);
    const Dictionary::Key a1 = dict.Add(CollisionA1), a2 = dict.Add(CollisionA2);
    EXPECT_TRUE(a1.m_value == CollisionAHash && a2.m_value == CollisionAHash + 1 && a1 != a2);
    EXPECT_TRUE(dict.HasSeenCollision() && log.Count("hash collision 'mesh_39051'<->'mesh_92940'") == 1);
    // A second collision is not reported again.
    const Dictionary::Key b1 = dict.Add(CollisionB1), b2 = dict.Add(CollisionB2);
    EXPECT_TRUE(b2.m_value == CollisionBHash + 1 && log.Count("Dictionary hash collision") == 1);
    // Adding again gives the same keys; Find probes the same way.
    EXPECT_EQ(dict.Add(CollisionA2).m_value, CollisionAHash + 1);
    Dictionary::Key found;
    EXPECT_TRUE(dict.Find("MESH_92940", found) && found == a2 && std::string(found.m_string) == CollisionA2);
    EXPECT_TRUE(dict.Find(CollisionA1, found) && found == a1);
    EXPECT_EQ(std::string(dict.GetString(b1)) + dict.GetString(b2), std::string(CollisionB1) + CollisionB2);
    EXPECT_EQ(dict.GetCount(), 4u);
    // The order of adding decides which of the two gets the next value.
    Dictionary reversed(true);
    EXPECT_EQ(reversed.Add(CollisionA2).m_value, CollisionAHash);
    EXPECT_EQ(reversed.Add(CollisionA1).m_value, CollisionAHash + 1);
    // A text that probes past all there is, and is not there, fails and leaves the last value
    // probed.
    Dictionary empty(true);
    EXPECT_FALSE(empty.Find(CollisionA1, found));
    EXPECT_EQ(found.m_value, CollisionAHash);
}

TEST(Dictionary, CaseFoldingKeptTextAndLengths)
{
    Dictionary folding(false);
    MemoryPool& pool = MemoryPool::Get("DictionaryStrings");
    const uint64 before = pool.GetBytesInUse();
    const Dictionary::Key upper = folding.Add("Bone_01");
    EXPECT_EQ(upper, folding.Add("bone_01"));
    EXPECT_EQ(pool.GetBytesInUse(), before + 8) << "the texts come from their pool";
    EXPECT_STREQ(upper.m_string, "bone_01");
    EXPECT_TRUE(upper.m_value == FastString::HashString("bone_01") && folding.GetCount() == 1u);
    Dictionary exact(true);
    const Dictionary::Key a = exact.Add("Bone_01");
    EXPECT_NE(a, exact.Add("bone_01"));
    EXPECT_STREQ(exact.GetString(a), "Bone_01");
    Dictionary::Key found;
    EXPECT_FALSE(exact.Find("BONE_01", found));
    const Dictionary::Key empty = folding.Add("");
    EXPECT_EQ(empty.m_value, 0xBD49D10Du); // the hash of length 0
    EXPECT_STREQ(empty.m_string, "");
    // A folding dictionary keeps 0x3FF characters: texts that differ later are one name.
    const std::string base(0x3FF, 'k');
    const Dictionary::Key longA = folding.Add((base + "A").c_str());
    EXPECT_EQ(longA, folding.Add((base + "b").c_str()));
    EXPECT_EQ(std::string(longA.m_string), base);
    const uint64 now = pool.GetBytesInUse();
    std::make_unique<Dictionary>(false)->Add("Walker");
    EXPECT_EQ(pool.GetBytesInUse(), now) << "and go back with their dictionary";
}

TEST(Dictionary, BadArgumentsZeroHashesAndForeignKeysAreAssertions)
{
    Dictionary dict(false), other(false);
    LogCapture log;
    {
        dbg::ScopedThrowOnAssert passed(false);
        EXPECT_EQ(dict.Add(nullptr).m_value, 1u);
        Dictionary::Key missing;
        missing.m_value = 12345;
        EXPECT_STREQ(dict.GetString(missing), "");
        // "nccmpvxc" hashes to 0, the one value no key may have.
        ASSERT_EQ(FastString::HashString("nccmpvxc"), 0u);
        EXPECT_EQ(dict.Add("NCCMPVXC").m_value, 1u);
        EXPECT_EQ(dict.GetCount(), 0u);
        EXPECT_EQ(log.Count("Assertion of (key.m_value != 0) failed."), 1);
    }
    Dictionary::Key a = dict.Add("x"), b = other.Add("x");
    EXPECT_EQ(a, b); // Add leaves the dictionary unset, so only the value counts
    a.m_pDictionary = &dict;
    b.m_pDictionary = &other;
    dbg::ScopedThrowOnAssert throwing;
    EXPECT_THROW((void)(a == b), std::runtime_error);
    EXPECT_THROW((void)(a < b), std::runtime_error);
}

TEST(Dictionary, DeferredSortFindsTheSameKeys)
{
    Dictionary sorted(false), deferred(false);
    deferred.SetDeferSort(true);
    std::vector<Dictionary::Key> cKey;
    for (int i = 0; i < 200; ++i)
    {
        const std::string text = "node_" + std::to_string(i * 7919 % 1000);
        cKey.push_back(sorted.Add(text.c_str()));
        EXPECT_EQ(deferred.Add(text.c_str()), cKey.back());
    }
    LogCapture log;
    EXPECT_TRUE(deferred.Add(CollisionA1).m_value == CollisionAHash &&
                deferred.Add(CollisionA2).m_value == CollisionAHash + 1);
    Dictionary::Key found;
    EXPECT_TRUE(deferred.Find("NODE_919", found));
    deferred.SetDeferSort(false);
    for (const Dictionary::Key& key : cKey)
        EXPECT_STREQ(deferred.GetString(key), sorted.GetString(key));
    EXPECT_TRUE(deferred.Find(CollisionA2, found) && found.m_value == CollisionAHash + 1);
}

TEST(Name, NamesShareOneCaseFreeDictionaryAndEffectsHaveTheirOwn)
{
    const ra::Name a = ra::MakeName("Bone_01");
    EXPECT_EQ(a, ra::MakeName("bone_01"));
    EXPECT_STREQ(ra::GetNameText(a), "bone_01");
    ra::Name found;
    EXPECT_TRUE(ra::FindName("BONE_01", found) && found == a);
    EXPECT_FALSE(ra::FindName("a name nobody made", found) || ra::FindEffectName("bone_01", found));
    const ra::Name effect = ra::MakeEffectName("Smoke_Puff");
    EXPECT_STREQ(ra::GetEffectNameText(effect), "smoke_puff");
    EXPECT_TRUE(ra::FindEffectName("SMOKE_PUFF", found) && !ra::FindName("smoke_puff", found));
    // Invalid is the default key, with no text.
    EXPECT_TRUE(ra::MakeName(nullptr) == ra::Name::INVALID && ra::Name() == ra::Name::INVALID &&
                a != ra::Name::INVALID);
    EXPECT_EQ(ra::GetNameText(ra::Name::INVALID), nullptr);
    EXPECT_EQ(std::hash<ra::Name>()(ra::MakeName("x")), ra::MakeName("x").m_value);
}
