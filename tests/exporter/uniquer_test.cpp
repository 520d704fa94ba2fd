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
TEST(Uniquer, EqualityAndOrderAreThoseOfTheBytes)
{
    std::vector<float> cList;
    std::vector<uint32> cRemap = {7};
    Uniquer(cList, cRemap);
    EXPECT_TRUE(cRemap.empty());

    // 0.0 and -0.0 stay two, as do 1.0 and the float after it. Memory order compares the low
    // byte first: 0.5 (0x3F000000), 2.0 (0x40000000) and -0.0 (0x80000000) come ahead of 1.0
    // (0x3F800000) and -1.0 (0xBF800000), and the float after 1.0 (0x3F800001) comes last.
    const float next = std::nextafter(1.0f, 2.0f);
    cList = {1.0f, -1.0f, 2.0f, 0.5f, 0.0f, -0.0f, next, 2.0f};
    Uniquer(cList, cRemap);
    ASSERT_EQ(cList.size(), 7u);
    EXPECT_EQ(std::memcmp(cList.data(), std::vector<float>{0.0f, 0.5f, 2.0f, -0.0f, 1.0f, -1.0f, next}.data(),
                          7 * sizeof(float)),
              0);
    EXPECT_EQ(cRemap, (std::vector<uint32>{4, 5, 2, 1, 0, 3, 6, 2}));
}

TEST(Uniquer, LargeListMapsEveryValueToItsBytes)
{
    std::mt19937 random(1234);
    const float pool[] = {0.0f, -0.0f, 1.0f, -1.0f, 0.5f, 3.25f, 1e-30f, -7.0f};
    std::vector<ra::Vec3> cOld(20000);
    for (ra::Vec3& v : cOld)
        v = {pool[random() % 8], pool[random() % 8], pool[random() % 4]};
    std::vector<ra::Vec3> cList = cOld;
    std::vector<uint32> cRemap;
    Uniquer(cList, cRemap);
    // Every one of the 8 * 8 * 4 combinations turns up in 20000 draws.
    ASSERT_EQ(cList.size(), 256u);
    ASSERT_EQ(cRemap.size(), cOld.size());
    for (size_t i = 0; i < cOld.size(); ++i)
        ASSERT_EQ(std::memcmp(&cOld[i], &cList.at(cRemap[i]), sizeof(ra::Vec3)), 0) << i;
    for (size_t i = 1; i < cList.size(); ++i)
        ASSERT_LT(std::memcmp(&cList[i - 1], &cList[i], sizeof(ra::Vec3)), 0) << i;
}
} // namespace
