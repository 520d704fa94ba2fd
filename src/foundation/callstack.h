// Call stacks as records of (address, symbol, line, module): the assertion reporter prints them,
// the inventory's leak tracking keeps them per reference.
#pragma once

#include "foundation/types.h"

#include <string>
#include <vector>

namespace dbg
{
// Frames taken at most.
constexpr int MaxStackFrames = 32;

struct StackFrame
{
    const void* address = nullptr;
    // The function's name, demangled; "module+0xOFFSET" when the module exports no name for it.
    std::string symbol;
    // The source line; 0 when it is not known.
    uint32 line = 0;
    // The file name of the executable or shared library, without its folder.
    std::string module;
};

// The calls that lead to the caller of this function, innermost first, up to MaxStackFrames.
// `skip` leaves out that many further frames: a reporter skips its own.
std::vector<StackFrame> CaptureCallStack(int skip = 0);

// One frame as a log line: "0x%08p: %-35s Ln %4u (%s)", or with blanks in place of the line
// number when the line is not known.
std::string FormatStackFrame(const StackFrame& frame);
} // namespace dbg
