#include "render/nulldevice.h"

#include "foundation/debug.h"
#include "render/pixelmask.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace
{
// Leaves no device behind, whatever a test did.
struct DeviceGuard
{
    ~DeviceGuard()
    {
        if (fr::Interface::GetDevice())
            fr::Interface::DestroyDevice();
    }
};
} // namespace

TEST(DeviceCreation, NullDriverByNameWithoutRegardToCase)
{
    DeviceGuard guard;
    LogCapture log;
    fr::DeviceDesc desc;
    desc.driverName = "nUlL";
    fr::Device* pDevice = fr::Interface::CreateDevice(desc);
    ASSERT_NE(pDevice, nullptr);
    EXPECT_EQ(fr::Interface::GetDevice(), pDevice);
    EXPECT_TRUE(log.Has("RENDER - Driver[null] on adapter[0], version[1,0]"));
    EXPECT_STREQ(pDevice->GetDescription().name, "null");
    EXPECT_STREQ(pDevice->GetDescription().description, "null render driver");
    EXPECT_STREQ(pDevice->GetDescription().deviceDescription, "Dummy Device structure");
    EXPECT_NE(dynamic_cast<NullDevice*>(pDevice), nullptr);
    EXPECT_TRUE(fr::Interface::DestroyDevice());
    EXPECT_EQ(fr::Interface::GetDevice(), nullptr);
}

TEST(DeviceCreation, OneDeviceAtATime)
{
    DeviceGuard guard;
    LogCapture log;
    fr::Device* pFirst = fr::Interface::CreateDevice({});
    ASSERT_NE(pFirst, nullptr);
    EXPECT_EQ(fr::Interface::CreateDevice({}), nullptr);
    EXPECT_EQ(log.Count("Already have an active device."), 1);
    EXPECT_EQ(fr::Interface::GetDevice(), pFirst);
    EXPECT_TRUE(fr::Interface::DestroyDevice());
    EXPECT_FALSE(fr::Interface::DestroyDevice());
    EXPECT_EQ(log.Count("No device to destroy."), 1);
}

TEST(DeviceCreation, DriverLibrariesAreCheckedBeforeUse)
{
    DeviceGuard guard;
    struct Case
    {
        const char* driver;
        int32 adapter;
        const char* message;
    };
    const Case cases[] = {
        {"nosuchdriver", 0, "Unable to create device."},
        {"badrevision", 0, "DLL with different revision number."},
        {"badversion", 0, "DLL with different version number."},
        {"nodevices", 0, "DLL with no devices."},
        {"nocreate", 0, "Unable to create device."},
        {"nocreate", 1, "Unsupported Device."},
        {"null", 1, "Unsupported Device."},
    };
    for (const Case& c : cases)
    {
        LogCapture log;
        fr::DeviceDesc desc;
        desc.driverName = c.driver;
        desc.adapter = c.adapter;
        EXPECT_EQ(fr::Interface::CreateDevice(desc), nullptr) << c.driver;
        EXPECT_TRUE(log.Has(c.message)) << c.driver << " should say " << c.message;
        EXPECT_EQ(fr::Interface::GetDevice(), nullptr);
    }
}

TEST(PixelMask, ShiftAndLossOfChannelMasks)
{
    struct Case
    {
        uint32 mask;
        int32 shift;
        int32 loss;
    };
    const Case cases[] = {
        {0xF800, 11, 3},     {0x07E0, 5, 2},      {0x001F, 0, 3}, {0x8000, 15, 7}, {0x7C00, 10, 3},
        {0xFF000000, 24, 0}, {0x00FF0000, 16, 0}, {0x0F00, 8, 4}, {0, 0, 8},
    };
    for (const Case& c : cases)
    {
        const fr::MaskShift r = fr::MaskToShiftLoss(c.mask);
        EXPECT_EQ(r.shift, c.shift) << std::hex << c.mask;
        EXPECT_EQ(r.loss, c.loss) << std::hex << c.mask;
    }
    dbg::ScopedThrowOnAssert throwing;
    EXPECT_THROW(fr::MaskToShiftLoss(0x0F0F), std::runtime_error);
}

TEST(MatrixStack, OverflowAndUnderflowLeaveTheStack)
{
    fr::MatrixStack stack;
    LogCapture log;
    EXPECT_FALSE(stack.Pop());
    EXPECT_EQ(log.Count("MATH -- Matrix stack underflow."), 1);
    EXPECT_TRUE(stack.Top() == fr::Matrix44::Identity());

    fr::Matrix44 m = fr::Matrix44::Identity();
    for (uint32 i = 1; i < fr::MatrixStack::Depth; ++i)
    {
        m.m[3][0] = float(i);
        ASSERT_TRUE(stack.Push(m));
    }
    m.m[3][0] = 1000;
    EXPECT_FALSE(stack.Push(m));
    EXPECT_EQ(log.Count("MATH -- Matrix stack overflow."), 1);
    EXPECT_EQ(stack.GetLevel(), fr::MatrixStack::Depth - 1);
    EXPECT_EQ(stack.Top().m[3][0], float(fr::MatrixStack::Depth - 1));
    EXPECT_TRUE(stack.Pop());
    EXPECT_EQ(stack.Top().m[3][0], float(fr::MatrixStack::Depth - 2));
}
