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
    auto frames = depth == 0 ? CaptureHere(0) : CaptureDeep(depth - 1);
    asm volatile("");
    return frames;
}

__attribute__((noinline)) std::vector<dbg::StackFrame> CaptureThroughCaller()
{
    return CaptureHere(1);
}

TEST(CallStack, FrameLinesAndCapturesFromTheCallerWithSkipsUpToThirtyTwoFrames)
{
    dbg::StackFrame frame{reinterpret_cast<const void*>(uintptr_t(0x1234abcd)), "Inv::Warehouse::AddRef", 42,
                          "tq7z"};
    EXPECT_EQ(dbg::FormatStackFrame(frame), "0x1234abcd: Inv::Warehouse::AddRef              Ln   42 (tq7z)");
    frame.line = 0;
    EXPECT_EQ(dbg::FormatStackFrame(frame), "0x1234abcd: Inv::Warehouse::AddRef                      (tq7z)");
    frame = {reinterpret_cast<const void*>(uintptr_t(0x10)), std::string(40, 's'), 12345, "tq7z"};
    EXPECT_EQ(dbg::FormatStackFrame(frame), "0x00000010: " + std::string(40, 's') + " Ln 12345 (tq7z)");
    auto frames = CaptureHere(0);
    ASSERT_FALSE(frames.empty());
    EXPECT_TRUE(frames[0].symbol + " " + frames[0].module == "CaptureHere(int) foundation_tests" &&
                frames[0].address);
    auto skipped = CaptureThroughCaller();
    EXPECT_TRUE(!skipped.empty() && skipped[0].symbol == "CaptureThroughCaller()");
    frames = CaptureDeep(60);
    ASSERT_EQ(frames.size(), size_t(dbg::MaxStackFrames));
    EXPECT_EQ(frames[0].symbol, "CaptureHere(int)");
    for (size_t i = 1; i < frames.size(); ++i)
        EXPECT_EQ(frames[i].symbol, "CaptureDeep(int)") << i;
}
