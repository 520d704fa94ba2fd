#include "foundation/callstack.h"

#include <gtest/gtest.h>

#include <string>

// Outside any namespace and not inlined, so that the trace can name them.
__attribute__((noinline)) std::vector<dbg::StackFrame> CaptureHere(int skip)
{
    auto frames = dbg::CaptureCallStack(skip);
    asm volatile(""); // keeps the call from becoming a jump
    return frames;
}

__attribute__((noinline)) std::vector<dbg::StackFrame> CaptureDeep(int depth)
{
    if (depth == 0)
        return CaptureHere(0);
    auto frames = CaptureDeep(depth - 1);
    asm volatile("");
    return frames;
}

__attribute__((noinline)) std::vector<dbg::StackFrame> CaptureThroughCaller()
{
    return CaptureHere(1);
}

TEST(CallStack, FrameLinesWithAndWithoutALine)
{
    dbg::StackFrame frame;
    frame.address = reinterpret_cast<const void*>(uintptr_t(0x1234abcd));
    frame.symbol = "Inv::Warehouse::AddRef";
    frame.line = 42;
    frame.module = "tq7z";
    EXPECT_EQ(dbg::FormatStackFrame(frame), "0x1234abcd: Inv::Warehouse::AddRef              Ln   42 (tq7z)");
    frame.line = 0;
    EXPECT_EQ(dbg::FormatStackFrame(frame), "0x1234abcd: Inv::Warehouse::AddRef                      (tq7z)");
    frame.address = reinterpret_cast<const void*>(uintptr_t(0x10));
    frame.symbol = std::string(40, 's');
    frame.line = 12345;
    EXPECT_EQ(dbg::FormatStackFrame(frame), "0x00000010: " + std::string(40, 's') + " Ln 12345 (tq7z)");
}

TEST(CallStack, StartsAtTheCallerAndSkipsOnRequest)
{
    auto frames = CaptureHere(0);
    ASSERT_FALSE(frames.empty());
    EXPECT_EQ(frames[0].symbol, "CaptureHere(int)");
    EXPECT_EQ(frames[0].module, "foundation_tests");
    EXPECT_NE(frames[0].address, nullptr);

    auto skipped = CaptureThroughCaller();
    ASSERT_FALSE(skipped.empty());
    EXPECT_EQ(skipped[0].symbol, "CaptureThroughCaller()");
}

TEST(CallStack, TakesAtMostThirtyTwoFrames)
{
    auto frames = CaptureDeep(60);
    ASSERT_EQ(frames.size(), size_t(dbg::MaxStackFrames));
    EXPECT_EQ(frames[0].symbol, "CaptureHere(int)");
    for (size_t i = 1; i < frames.size(); ++i)
        EXPECT_EQ(frames[i].symbol, "CaptureDeep(int)") << i;
}
