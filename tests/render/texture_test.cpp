#include "render/nulldevice.h"

#include "foundation/debug.h"

#include <gtest/gtest.h>

#include <numeric>
#include <stdexcept>
#include <vector>

namespace
{
fr::ObjectPtr<fr::Texture> Make(uint32 w, uint32 h, uint32 mips, fr::PixelFormat f, bool autoMip = false)
{
    NullDevice device;
    return device.CreateTexture(w, h, mips, f, autoMip);
}

const fr::NullTexture& AsNull(const fr::ObjectPtr<fr::Texture>& p)
{
    return static_cast<const fr::NullTexture&>(*p);
}
} // namespace

TEST(NullTexture, LevelsHalveAndNeverShrinkUnderOne)
{
    auto tex = Make(8, 2, 4, fr::PF_A8R8G8B8);
    ASSERT_TRUE(tex);
    EXPECT_EQ(tex->GetMipCount(), 4u);
    const uint32 w[] = {8, 4, 2, 1}, h[] = {2, 1, 1, 1};
    for (uint32 i = 0; i < 4; ++i)
    {
        EXPECT_EQ(tex->GetLevelWidth(i), w[i]);
        EXPECT_EQ(tex->GetLevelHeight(i), h[i]);
        EXPECT_EQ(AsNull(tex).GetLevel(i).size(), w[i] * h[i] * 4u);
    }
    // Asking for more levels than the chain has gives the chain.
    EXPECT_EQ(Make(8, 2, 10, fr::PF_L8)->GetMipCount(), 4u);
}

TEST(NullTexture, CompressedLevelsAreWholeBlocks)
{
    auto dxt1 = Make(8, 8, 4, fr::PF_DXT1);
    EXPECT_EQ(AsNull(dxt1).GetLevel(0).size(), 4u * 8u);
    EXPECT_EQ(AsNull(dxt1).GetLevel(1).size(), 8u);
    EXPECT_EQ(AsNull(dxt1).GetLevel(2).size(), 8u) << "2 by 2 still takes a block";
    EXPECT_EQ(AsNull(dxt1).GetLevel(3).size(), 8u);
    auto dxt5 = Make(16, 4, 1, fr::PF_DXT5);
    EXPECT_EQ(AsNull(dxt5).GetLevel(0).size(), 4u * 16u);
}

TEST(NullTexture, WriteThenReadARectangle)
{
    auto tex = Make(4, 4, 1, fr::PF_R8G8B8);
    std::vector<uint8> rect(2 * 3 * 3);
    std::iota(rect.begin(), rect.end(), uint8(1));
    ASSERT_TRUE(tex->Write(0, 1, 1, 3, 2, rect, 9));
    const auto level = AsNull(tex).GetLevel(0);
    EXPECT_EQ(level[0], 0);
    EXPECT_EQ(level[1 * 12 + 3], 1) << "row 1, pixel 1";
    EXPECT_EQ(level[1 * 12 + 11], 9);
    EXPECT_EQ(level[2 * 12 + 3], 10);
    EXPECT_EQ(level[3 * 12 + 3], 0);

    std::vector<uint8> back(rect.size(), 0xEE);
    ASSERT_TRUE(tex->Read(0, 1, 1, 3, 2, back, 9));
    EXPECT_EQ(back, rect);
    // An empty rectangle reads nothing, whatever the pitch and the room.
    dbg::ScopedThrowOnAssert throwing;
    EXPECT_TRUE(tex->Read(0, 0, 0, 0, 2, std::span<uint8>(), 12));
    EXPECT_TRUE(tex->Read(0, 0, 0, 3, 0, std::span<uint8>(), 12));
}

TEST(NullTexture, AutomaticMipsAverageTwoByTwo)
{
    auto tex = Make(2, 2, 1, fr::PF_A8R8G8B8, true);
    ASSERT_EQ(tex->GetMipCount(), 2u);
    const std::vector<uint8> top = {10, 20, 30, 255, 20, 20, 30, 255, 30, 20, 30, 0, 41, 20, 31, 0};
    ASSERT_TRUE(tex->Write(0, 0, 0, 2, 2, top, 8));
    const auto mip = AsNull(tex).GetLevel(1);
    EXPECT_EQ(mip[0], (10 + 20 + 30 + 41) / 4);
    EXPECT_EQ(mip[1], 20);
    EXPECT_EQ(mip[2], (30 + 30 + 30 + 31) / 4);
    EXPECT_EQ(mip[3], 127);

    auto t565 = Make(2, 1, 1, fr::PF_R5G6B5, true);
    const uint16 px[2] = {uint16((31 << 11) | (63 << 5) | 0), uint16((0 << 11) | (1 << 5) | 3)};
    ASSERT_TRUE(t565->Write(0, 0, 0, 2, 1, std::span<const uint8>(reinterpret_cast<const uint8*>(px), 4), 4));
    const auto m = AsNull(t565).GetLevel(1);
    const uint16 v = uint16(m[0] | (m[1] << 8));
    // A side of 1 repeats its pixel: the mean of p0, p1, p0, p1 per field.
    EXPECT_EQ(v >> 11, (31 + 0 + 31 + 0) / 4);
    EXPECT_EQ((v >> 5) & 63, (63 + 1 + 63 + 1) / 4);
    EXPECT_EQ(v & 31, (0 + 3 + 0 + 3) / 4);
}
