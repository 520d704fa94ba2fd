// Runs the built tq7z program with arguments and environment, and keeps what it printed.
#pragma once

#include "support/tempfolder.h"

#include <cstdlib>
#include <string>
#include <sys/wait.h>
#include <vector>

// A text as one shell word.
inline std::string Quote(const std::string& text)
{
    std::string quoted = "'";
    for (char c : text)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

struct ToolRun
{
    int status = -1;
    std::string out;
    std::string err;
};

// `env` are "NAME=value" settings for the run; `args` are passed as given, each quoted.
inline ToolRun RunTool(const std::vector<std::string>& args, const std::vector<std::string>& env = {})
{
    TempFolder scratch;
    std::string command = "env";
    for (const std::string& setting : env)
        command += " " + Quote(setting);
    command += " " + Quote(TQ7Z_BINARY);
    for (const std::string& arg : args)
        command += " " + Quote(arg);
    command += " >" + Quote(scratch / "out.txt") + " 2>" + Quote(scratch / "err.txt");
    ToolRun run;
    const int rc = std::system(command.c_str());
    run.status = rc != -1 && WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
    run.out = TempFolder::Read(scratch / "out.txt");
    run.err = TempFolder::Read(scratch / "err.txt");
    return run;
}

// A command line split at spaces, for tests whose arguments hold none.
inline std::vector<std::string> Words(const std::string& line)
{
    std::vector<std::string> words;
    std::string word;
    for (char c : line)
    {
        if (c != ' ')
            word += c;
        else if (!word.empty())
            words.push_back(std::move(word)), word.clear();
    }
    if (!word.empty())
        words.push_back(word);
    return words;
}
