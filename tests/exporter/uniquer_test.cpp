// Welding by raw bytes: the welded list, its order and the remap of old indices.
#include "exporter/sgmexport.h"
#include "exporter/uniquer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

namespace
{
template <class T> bool SameBytes(const T& a, const T& b)
{
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

// Every old value is found, bit for bit, where the remap says, and the list rises strictly in
// byte order.
template <class T>
void ExpectWelded(const std::vector<T>& cOld, const std::vector<T>& cNew, const std::vector<uint32>& cRemap)
{
    ASSERT_EQ(cRemap.size(), cOld.size());
    for (size_t i = 0; i < cOld.size(); ++i)
    {
        ASSERT_LT(cRemap[i], cNew.size());
        EXPECT_TRUE(SameBytes(cOld[i], cNew[cRemap[i]])) << "old index " << i;
    }
    for (size_t i = 1; i < cNew.size(); ++i)
        EXPECT_LT(std::memcmp(&cNew[i - 1], &cNew[i], sizeof(T)), 0) << "new index " << i;
}

TEST(Uniquer, EmptyListGivesEmptyRemap)
{
    std::vector<ra::Vec3> cList;
    std::vector<uint32> cRemap = {7, 8};
    Uniquer(cList, cRemap);
    EXPECT_TRUE(cList.empty());
    EXPECT_TRUE(cRemap.empty());
}

TEST(Uniquer, EqualValuesShareOneEntry)
{
    const std::vector<ra::Vec3> cOld = {{1, 2, 3}, {4, 5, 6}, {1, 2, 3}, {1, 2, 3}, {4, 5, 6}};
    std::vector<ra::Vec3> cList = cOld;
    std::vector<uint32> cRemap;
    Uniquer(cList, cRemap);
    ASSERT_EQ(cList.size(), 2u);
    EXPECT_EQ(cRemap[0], cRemap[2]);
    EXPECT_EQ(cRemap[0], cRemap[3]);
    EXPECT_EQ(cRemap[1], cRemap[4]);
    EXPECT_NE(cRemap[0], cRemap[1]);
    ExpectWelded(cOld, cList, cRemap);
}

TEST(Uniquer, MinusZeroAndLastBitStayApart)
{
    const float one = 1.0f;
    const float nextToOne = std::nextafter(one, 2.0f);
    const std::vector<ra::Vec3> cOld = {
        {0.0f, 0, 0}, {-0.0f, 0, 0}, {one, 0, 0}, {nextToOne, 0, 0}, {0.0f, 0, 0}};
    std::vector<ra::Vec3> cList = cOld;
    std::vector<uint32> cRemap;
    Uniquer(cList, cRemap);
    EXPECT_EQ(cList.size(), 4u);
    EXPECT_NE(cRemap[0], cRemap[1]);
    EXPECT_NE(cRemap[2], cRemap[3]);
    EXPECT_EQ(cRemap[0], cRemap[4]);
    ExpectWelded(cOld, cList, cRemap);
}

TEST(Uniquer, OrderIsByteOrderOfLittleEndianFloats)
{
    // 0.5 is 0x3F000000, 2.0 0x40000000, 1.0 0x3F800000, -1.0 0xBF800000: the third byte in memory
    // puts 1.0 and -1.0 behind the other two.
    std::vector<float> cList = {1.0f, -1.0f, 2.0f, 0.5f};
    std::vector<uint32> cRemap;
    Uniquer(cList, cRemap);
    EXPECT_EQ(cList, (std::vector<float>{0.5f, 2.0f, 1.0f, -1.0f}));
    EXPECT_EQ(cRemap, (std::vector<uint32>{2, 3, 1, 0}));
}

TEST(Uniquer, WholeValueIsCompared)
{
    // Texture coordinates that agree in u, and weight records that differ only in the last bone.
    const std::vector<TexCoord> cOldUV = {{0.25f, 1}, {0.25f, 2}, {0.25f, 1}};
    std::vector<TexCoord> cUV = cOldUV;
    std::vector<uint32> cRemap;
    Uniquer(cUV, cRemap);
    EXPECT_EQ(cUV.size(), 2u);
    ExpectWelded(cOldUV, cUV, cRemap);

    WeightRecord a;
    a.weight[0] = 1;
    a.boneIndex[0] = 3;
    WeightRecord b = a;
    b.boneIndex[3] = 4;
    const std::vector<WeightRecord> cOldWeight = {a, b, a};
    std::vector<WeightRecord> cWeight = cOldWeight;
    Uniquer(cWeight, cRemap);
    EXPECT_EQ(cWeight.size(), 2u);
    EXPECT_EQ(cRemap[0], cRemap[2]);
    ExpectWelded(cOldWeight, cWeight, cRemap);
}

TEST(Uniquer, LargeListAgainstPairwiseCount)
{
    // Values from a small pool so that many repeat, with signed zeros among them.
    std::mt19937 random(1234);
    const float pool[] = {0.0f, -0.0f, 1.0f, -1.0f, 0.5f, 3.25f, 1e-30f, -7.0f};
    std::vector<ra::Vec3> cOld(20000);
    for (ra::Vec3& v : cOld)
        v = {pool[random() % 8], pool[random() % 8], pool[random() % 4]};
    std::vector<ra::Vec3> cList = cOld;
    std::vector<uint32> cRemap;
    Uniquer(cList, cRemap);
    // 8 * 8 * 4 combinations; with 20000 draws every one of them turns up.
    EXPECT_EQ(cList.size(), 256u);
    ExpectWelded(cOld, cList, cRemap);
}
} // namespace
