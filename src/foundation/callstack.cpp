#include "foundation/callstack.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>

namespace dbg
{
namespace
{
std::string BaseName(const char* path)
{
    if (path == nullptr || *path == '\0')
        return "?";
    const char* slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}

std::string Demangle(const char* name)
{
    int status = 0;
    char* pDemangled = abi::__cxa_demangle(name, nullptr, nullptr, &status);
    if (status != 0 || pDemangled == nullptr)
        return name;
    std::string out(pDemangled);
    std::free(pDemangled);
    return out;
}

StackFrame Resolve(void* address)
{
    StackFrame frame;
    frame.address = address;
    Dl_info info;
    if (::dladdr(address, &info) == 0)
    {
        frame.symbol = "?";
        frame.module = "?";
        return frame;
    }
    frame.module = BaseName(info.dli_fname);
    if (info.dli_sname != nullptr)
        frame.symbol = Demangle(info.dli_sname);
    else
    {
        char buf[64];
        const uintptr_t offset = uintptr_t(address) - uintptr_t(info.dli_fbase);
        std::snprintf(buf, sizeof(buf), "+0x%" PRIxPTR, offset);
        frame.symbol = frame.module + buf;
    }
    return frame;
}
} // namespace

__attribute__((noinline)) std::vector<StackFrame> CaptureCallStack(int skip)
{
    // Room for the frames kept, those skipped, and whatever stands above the caller (this
    // function, and an interposed backtrace() of a sanitizer).
    constexpr int Capacity = MaxStackFrames * 2 + 8;
    void* cAddress[Capacity];
    const int got = ::backtrace(cAddress, Capacity);
    // The trace starts at the caller: the frame that returns to where this call came from.
    const void* const pReturn = __builtin_return_address(0);
    int first = 1;
    for (int i = 0; i < got; ++i)
    {
        if (cAddress[i] == pReturn)
        {
            first = i;
            break;
        }
    }
    first += skip > 0 ? skip : 0;
    std::vector<StackFrame> cFrame;
    for (int i = first; i < got && int(cFrame.size()) < MaxStackFrames; ++i)
        cFrame.push_back(Resolve(cAddress[i]));
    return cFrame;
}

std::string FormatStackFrame(const StackFrame& frame)
{
    char buf[0x400];
    if (frame.line != 0)
        std::snprintf(buf, sizeof(buf), "0x%08" PRIxPTR ": %-35s Ln %4u (%s)", uintptr_t(frame.address),
                      frame.symbol.c_str(), unsigned(frame.line), frame.module.c_str());
    else
        std::snprintf(buf, sizeof(buf), "0x%08" PRIxPTR ": %-35s         (%s)", uintptr_t(frame.address),
                      frame.symbol.c_str(), frame.module.c_str());
    return buf;
}
} // namespace dbg
