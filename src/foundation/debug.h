// Assertions and the fatal exit. A failed assertion reports file, line and expression through the
// output layer, then the site takes its safe return; tests can make assertions throw instead.
#pragma once

#include <stdexcept>

namespace dbg
{
// Reports a failed assertion. Returns false so that an assertion can be tested as a condition.
// `pSiteFlag` is the byte flag of the assertion site: when set, the site is silent.
bool AssertFailed(const char* file, int line, const char* expression, bool* pSiteFlag);

// The process-wide switch that makes every failed assertion throw std::runtime_error with the
// report text, after the report. Tests use it to prove that an assertion fires.
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

// Fatal exit: the file and line are stored by the macro just before the call.
void SetFatalLocation(const char* file, int line);
[[noreturn]] void Fatal(const char* format, ...) __attribute__((format(printf, 1, 2)));
} // namespace dbg

// dbAssert(expr) evaluates to true when expr holds; otherwise it reports and evaluates to false,
// so the site writes its safe return as: if (!dbAssert(p)) return false;
#define dbAssert(expr)                                                                                  \
    (static_cast<bool>(expr) || (::dbg::AssertFailed(__FILE__, __LINE__, #expr, [] {                  \
                                     static bool s_siteFlag = false;                                    \
                                     return &s_siteFlag;                                                \
                                 }()),                                                                  \
                                 false))

// An assertion that always fails, with a text of its own.
#define dbBreakMsg(text)                                                                                \
    ::dbg::AssertFailed(__FILE__, __LINE__, text, [] {                                                  \
        static bool s_siteFlag = false;                                                                 \
        return &s_siteFlag;                                                                             \
    }())
#define dbBreak() dbBreakMsg("dbBreak")

#define dbFatal(...) (::dbg::SetFatalLocation(__FILE__, __LINE__), ::dbg::Fatal(__VA_ARGS__))
