// The console listener: what reaches standard error, and in what form.
#include "foundation/debug.h"
#include "logging/consolelistener.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <memory>

TEST(Console, ShowsErrorsAndWarningsAlwaysTracesWhenVerboseNamesInTheUsersForm)
{
    enum Kind
    {
        Trace,
        Tagged,
        Error,
        Warning
    };
    const struct
    {
        Kind kind;
        const char* text;
        bool verbose, listening;
        const char* shown;
    } cases[] = {
        {Trace, "RENDER - Driver[null]", false, true, ""},
        {Trace, "RENDER - Driver[null]", true, true, "RENDER - Driver[null]\n"},
        {Tagged, "Loading 'TOOL:/tmp/a.tqm'", false, true, ""},
        {Tagged, "Loading 'TOOL:/tmp/a.tqm'", true, true, "RMUS: Loading '/tmp/a.tqm'\n"},
        // The alias split drops the leading separator of "TOOL:"'s full path; it is put back.
        {Error, "one\nUnable to write 'TOOL:a\\b.sgm' from TOOL:\\c", false, true,
         "one\nUnable to write '/a/b.sgm' from /c\n"},
        {Warning, "DATA:art\\x.tga, MYTOOL:x", false, true, "x.cpp(7): WARNING: DATA:art/x.tga, MYTOOL:x\n"},
        // Nobody listens: the debugger's channel, silent without a debugger, and never a repeat of
        // what the console showed.
        {Trace, "alone", false, false, ""},
        {Error, "alone", false, false, "alone\n"},
    };
    for (const auto& c : cases)
    {
        if (!c.listening && dbg::IsDebuggerPresent())
            continue;
        auto pLog = c.listening ? std::make_unique<LogCapture>() : nullptr;
        dbg::StartConsole(c.verbose);
        testing::internal::CaptureStderr();
        if (c.kind == Trace)
            dbTracef("%s", c.text);
        else if (c.kind == Tagged)
            dbTagf(FourCC("RMUS"), "%s", c.text);
        else if (c.kind == Error)
            dbErrorf("%s", c.text);
        else
            dbWarningAt("x.cpp", 7, "%s", c.text);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), c.shown) << c.text;
        EXPECT_TRUE(dbg::StopConsole());
        EXPECT_TRUE(!pLog || pLog->Size() >= 1) << c.text << ": the listeners get every line";
    }
    dbg::StartConsole(false);
    dbg::GetDispatcher().Output(nullptr, 0); // an empty batch has no first line to look at
    EXPECT_TRUE(dbg::StopConsole());
    testing::internal::CaptureStderr();
    dbErrorf("after the stop");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "the console is no longer the dispatcher";
    EXPECT_FALSE(dbg::StopConsole()) << "stopped already";
}
