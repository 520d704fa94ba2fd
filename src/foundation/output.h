// The output layer: one current dispatcher hands batches of text lines to up to ten listeners.
// Every subsystem logs through the functions at the end of this header.
#pragma once

#include "foundation/types.h"

namespace dbg
{
// A listener takes a batch of lines (no line ends), the count, and the channel code (0 if none).
using Listener = void (*)(const char* const* lines, uint32 count, uint32 channel);

constexpr int MaxListeners = 10;

// Size of the buffer through which a line goes to the debugger's output channel when nobody
// listens. Its stand-in is standard error, written only while a debugger is attached.
constexpr uint32 ConsoleLineBuffer = 0x400;

class Dispatcher
{
public:
    virtual ~Dispatcher() = default;
    virtual void Output(const char* const* lines, uint32 count) = 0;
    virtual void ErrorOutput(const char* const* lines, uint32 count) = 0;
    virtual void TaggedOutput(uint32 channel, const char* const* lines, uint32 count) = 0;
    virtual void Flush() = 0;
};

// All four operations do nothing.
class DebugSpewDispatcher final : public Dispatcher
{
public:
    void Output(const char* const*, uint32) override {}
    void ErrorOutput(const char* const*, uint32) override {}
    void TaggedOutput(uint32, const char* const*, uint32) override {}
    void Flush() override {}
};

// Calls the listeners at once on the caller's thread; with no listener, lines go to the debugger's
// output channel.
class DirectDispatcher final : public Dispatcher
{
public:
    void Output(const char* const* lines, uint32 count) override;
    void ErrorOutput(const char* const* lines, uint32 count) override;
    void TaggedOutput(uint32 channel, const char* const* lines, uint32 count) override;
    void Flush() override;
};

// The current dispatcher; a DirectDispatcher unless another is set. Not owned: the setter keeps
// the object alive for as long as it is current. Null puts the DirectDispatcher back.
Dispatcher& GetDispatcher();
void SetDispatcher(Dispatcher* pDispatcher);

// Listener table. Adding counts up the output layer's user count, removing counts it down.
// Adding fails when all slots are taken; removing fails for a listener that is not there.
bool AddListener(Listener listener);
bool RemoveListener(Listener listener);
int GetUserCount();

// Hands a batch to every listener on the calling thread, or to the debugger's output channel when
// the table is empty. The dispatchers end here; a dispatcher of another kind may call it too.
void CallListeners(const char* const* lines, uint32 count, uint32 channel);

// The letters of a channel code ("INV" for 0x494E56, "ANIM" for FourCC("ANIM")) into `out`.
// A code that is not made of letters and digits gives its eight hex digits instead.
const char* ChannelName(uint32 channel, char (&out)[9]);
} // namespace dbg

// Plain output of one formatted line (split at line ends into a batch).
void dbTracef(const char* format, ...) __attribute__((format(printf, 1, 2)));
// Error output.
void dbErrorf(const char* format, ...) __attribute__((format(printf, 1, 2)));
// Tagged output on a channel (Tag3("INV"), FourCC("ANIM"), ...).
void dbTagf(uint32 channel, const char* format, ...) __attribute__((format(printf, 2, 3)));
// A warning carries the file and line of its call site.
void dbWarningAt(const char* file, int line, const char* format, ...) __attribute__((format(printf, 3, 4)));
#define dbWarningf(...) dbWarningAt(__FILE__, __LINE__, __VA_ARGS__)
