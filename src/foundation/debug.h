// Assertions and the fatal exit. A failed assertion reports file, line and expression with a stack
// trace through the output layer, breaks into a debugger when one is attached, and then the site
// takes its safe return; tests can make assertions throw instead.
#pragma once

#include "foundation/types.h"

#include <stdexcept>

namespace dbg
{
// Size of the buffer that holds an assertion's or a fatal exit's message.
constexpr uint32 MessageBuffer = 0x400;
// Texts the repeat filter keeps; past that every new assertion breaks.
constexpr int MaxAssertionTexts = 256;

// An assertion site. `pSiteFlag` is the byte flag of the site: when set (from a debugger, to
// quiet a site that fires too often) the site is silent. Otherwise it reports, and breaks when
// the report asks for it. Returns false so that an assertion can be tested as a condition.
bool AssertFailed(const char* file, int line, const char* expression, bool* pSiteFlag);

// The reporter: sends "FILE(LINE): Assertion of (EXPRESSION) failed." with the stack trace as one
// error batch, unless a debugger is attached; throws std::runtime_error with the message when the
// throw switch is on; then passes the message to the repeat filter. Returns true when the site
// should break: the message was not seen before. Keeps errno as it found it.
bool ReportAssertion(const char* file, int line, const char* expression);

// Forgets the messages the repeat filter has seen, so that each breaks once again.
void ClearAssertionHistory();

// The process-wide switch that makes every failed assertion and fatal exit throw
// std::runtime_error with the message text, after the report. Tests use it to prove that an
// assertion fires.
void SetThrowOnAssert(bool on);
bool GetThrowOnAssert();

// RAII form of the switch, for tests.
class ScopedThrowOnAssert
{
public:
    explicit ScopedThrowOnAssert(bool on = true) : m_old(GetThrowOnAssert()) { SetThrowOnAssert(on); }
    ~ScopedThrowOnAssert() { SetThrowOnAssert(m_old); }
    ScopedThrowOnAssert(const ScopedThrowOnAssert&) = delete;
    ScopedThrowOnAssert& operator=(const ScopedThrowOnAssert&) = delete;

private:
    bool m_old;
};

// Whether a debugger traces this process (looked up once); always false with the run option
// "nodbg".
bool IsDebuggerPresent();

// Stops in the debugger when one is attached (SIGTRAP); does nothing otherwise. Every call counts,
// attached or not.
void DebugBreak();
// Breaks asked for since the start of the process.
uint32 GetBreakCount();

// Fatal exit: the file and line are stored by the macro just before the call. Sends
// "-- FATAL EXIT --", the message, "FILE(LINE)", an empty line and the stack trace as one error
// batch, throws when the throw switch is on, and otherwise ends the process with status -1.
void SetFatalLocation(const char* file, int line);
[[noreturn]] void Fatal(const char* format, ...) __attribute__((format(printf, 1, 2)));
} // namespace dbg

// dbAssert(expr) evaluates to true when expr holds; otherwise it reports and evaluates to false,
// so the site writes its safe return as: if (!dbAssert(p)) return false;
#define dbAssert(expr)                                                                                       \
    (static_cast<bool>(expr) || (::dbg::AssertFailed(__FILE__, __LINE__, #expr,                              \
                                                     []                                                      \
                                                     {                                                       \
                                                         static bool s_siteFlag = false;                     \
                                                         return &s_siteFlag;                                 \
                                                     }()),                                                   \
                                 false))

// An assertion that always fails, with a text of its own.
#define dbBreakMsg(text)                                                                                     \
    ::dbg::AssertFailed(__FILE__, __LINE__, text,                                                            \
                        []                                                                                   \
                        {                                                                                    \
                            static bool s_siteFlag = false;                                                  \
                            return &s_siteFlag;                                                              \
                        }())
#define dbBreak() dbBreakMsg("dbBreak")

#define dbFatal(...) (::dbg::SetFatalLocation(__FILE__, __LINE__), ::dbg::Fatal(__VA_ARGS__))
