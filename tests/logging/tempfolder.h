// A fresh folder that is the working folder while a test runs, and a whole file read back.
#pragma once

#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <climits>
#include <unistd.h>

namespace testutil
{
class WorkingFolder : public TempFolder
{
public:
    WorkingFolder()
    {
        char old[PATH_MAX];
        m_old = ::getcwd(old, sizeof(old)) ? old : "/";
        EXPECT_EQ(::chdir(Path().c_str()), 0);
    }
    ~WorkingFolder() { (void)::chdir(m_old.c_str()); }

private:
    std::string m_old;
};

inline std::string ReadFile(const std::string& name)
{
    return ::TempFolder::Read(name);
}
} // namespace testutil
