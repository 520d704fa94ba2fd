// tq7z run SCRIPT.lua [ARGS...]: runs an artist's script with the tq7z_ primitives as Lua globals.
#include "cli/command.h"

#include "scripts/scripthost.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace
{
int RunScript(const std::vector<std::string>& words)
{
    Script::ScriptHost host;
    if (!host.RunFile(words[0], std::vector<std::string>(words.begin() + 1, words.end())))
    {
        std::fflush(stdout);
        std::fprintf(stderr, "tq7z run: %s\n", host.GetLastError().c_str());
        return 1;
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}

cli::CommandRegistrar s_run(
    [](CLI::App& app, int& exitCode)
    {
        CLI::App* run = app.add_subcommand(
            "run",
            "Run an artist's Lua script: tq7z run SCRIPT.lua [ARGS...]. The script sees ARGS in the table\n"
            "`arg` (arg[0] is the script), Lua's standard libraries, and the nine script commands as\n"
            "globals: tq7z_animerge, tq7z_animergeFlags, tq7z_burner, tq7z_burner_reset,\n"
            "tq7z_p4_openoradd, tq7z_p4_reset, tq7z_pipeline_sourcetointermediate,\n"
            "tq7z_pipeline_sourcetogeneric and tq7z_pipeline_sourcetofinal (an Array is a sequence,\n"
            "undefined is nil). What the commands tell goes to standard output. A Lua error prints its\n"
            "message with file and line on standard error and exits 1.");
        auto script = std::make_shared<std::string>();
        run->add_option("SCRIPT", *script, "The Lua script")->required();
        // Everything after the script is the script's, options included: none of it goes up to the
        // program's own options.
        run->prefix_command();
        run->fallthrough(false);
        run->callback(
            [run, script, &exitCode]
            {
                std::vector<std::string> words{*script};
                for (const std::string& word : run->remaining())
                    words.push_back(word);
                exitCode = RunScript(words);
            });
    });
} // namespace
