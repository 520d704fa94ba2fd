#include "foundation/debug.h"
#include "logging/consolelistener.h"
#include "storage/userpath.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>

TEST(Console, ShowsErrorsAndWarningsAndTracesOnlyWhenVerbose)
{
    const auto trace = [] { dbTracef("RENDER - Driver[null]"); };
    const auto tagged = [] { dbTagf(FourCC("RMUS"), "Loading model 'TOOL:/tmp/a.tqm'..."); };
    const auto error = [] { dbErrorf("one\ntwo"); };
    const auto warning = [] { dbWarningAt("x.cpp", 7, "TEXTURES -- 'TOOL:\\tmp\\b.xyz': Unrecognized"); };
    const struct
    {
        std::function<void()> log;
        bool verbose, listening;
        const char* shown;
    } cases[] = {
        {trace, false, true, ""},
        {trace, true, true, "RENDER - Driver[null]\n"},
        {tagged, false, true, ""},
        {tagged, true, true, "RMUS: Loading model '/tmp/a.tqm'...\n"},
        {error, false, true, "one\ntwo\n"},
        {warning, false, true, "x.cpp(7): WARNING: TEXTURES -- '/tmp/b.xyz': Unrecognized\n"},
        // Nobody listens: the debugger's channel, which writes nothing without a debugger, and does
        // not repeat what the console showed.
        {trace, false, false, ""},
        {error, false, false, "one\ntwo\n"},
    };
    for (const auto& c : cases)
    {
        if (!c.listening && dbg::IsDebuggerPresent())
            continue;
        auto pLog = c.listening ? std::make_unique<LogCapture>() : nullptr;
        dbg::StartConsole(c.verbose);
        testing::internal::CaptureStderr();
        c.log();
        EXPECT_EQ(testing::internal::GetCapturedStderr(), c.shown);
        EXPECT_TRUE(dbg::StopConsole());
        if (pLog)
        {
            EXPECT_GE(pLog->Size(), 1u) << c.shown << ": the listeners get every line";
        }
    }
    EXPECT_FALSE(dbg::StopConsole()) << "stopped already";
}

TEST(Console, NamesInTheSystemsFormAreShownAsTheUserTypesThem)
{
    const struct
    {
        const char* text;
        const char* user;
    } cases[] = {
        {"TOOL:\\tmp\\x.sgm", "/tmp/x.sgm"},
        {"TOOL:tmp\\x.sgm", "/tmp/x.sgm"}, // the alias split dropped the leading separator
        {"DATA:art\\x.tga", "DATA:art/x.tga"},
        {"Unable to write 'TOOL:\\a\\b.sgm'!", "Unable to write '/a/b.sgm'!"},
        {"from TOOL:a\\b to TOOL:\\c", "from /a/b to /c"},
        {"MYTOOL:x and TOOL_X", "MYTOOL:x and TOOL_X"},
        {"Exporting File \\tmp\\w.sgm...", "Exporting File /tmp/w.sgm..."},
    };
    for (const auto& c : cases)
        EXPECT_EQ(UserPath::InText(c.text), c.user) << c.text;
    EXPECT_EQ(UserPath::FromName("TOOL:home\\artist\\walk.sgm"), "/home/artist/walk.sgm");
}
