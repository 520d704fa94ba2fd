#include "cli/command.h"

#include "logging/consolelistener.h"
#include "logging/runoptionsfile.h"
#include "storage/userpath.h"

#include <cstdio>
#include <vector>

namespace cli
{
namespace
{
std::vector<CommandSetup>& Registry()
{
    static std::vector<CommandSetup> s_registry;
    return s_registry;
}
} // namespace

CommandRegistrar::CommandRegistrar(CommandSetup setup) { Registry().push_back(std::move(setup)); }

CLI::App* GetOrAddSubcommand(CLI::App& app, const std::string& name, const std::string& description)
{
    for (CLI::App* sub : app.get_subcommands([](CLI::App*) { return true; }))
        if (sub->get_name() == name)
            return sub;
    CLI::App* sub = app.add_subcommand(name, description);
    sub->require_subcommand(1);
    return sub;
}

int RunMain(int argc, char** argv)
{
    // Run options ("--opt NAME" and runoptions.cfg) are taken out before the subcommand parses.
    argc = RunOptions::Init(argc, argv);
    // Standard error shows what went wrong and the commands' own messages; traces go to the log
    // file, and to the console too with --verbose.
    dbg::StartConsole(false);
    CLI::App app{"tq7z: the model pipeline's command-line tool", "tq7z"};
    app.footer("Run options: --opt NAME (invleaks, noimages, nomodels, notrace, nodbg), also read from "
               "runoptions.cfg in the working folder.");
    app.require_subcommand(1);
    app.set_help_all_flag("--help-all", "Show help for every subcommand");
    // The flag's callback runs before the chosen subcommand's, and the subcommands made below let it
    // through, so it may stand anywhere on the line.
    app.add_flag_callback(
        "-v,--verbose", [] { dbg::SetConsoleVerbose(true); },
        "Show the traces of the system on standard error too");
    app.fallthrough();
    int exitCode = 0;
    for (const CommandSetup& setup : Registry())
        setup(app, exitCode);
    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::ParseError& e)
    {
        // Help is a success; any other parse failure is a usage error.
        return app.exit(e) == 0 ? 0 : 2;
    }
    catch (const std::exception& e)
    {
        std::fprintf(stderr, "tq7z: %s\n", UserPath::InText(e.what()).c_str());
        return 1;
    }
    return exitCode;
}
} // namespace cli
