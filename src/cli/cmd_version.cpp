#include "cli/command.h"

#include <cstdio>

namespace
{
cli::CommandRegistrar s_version([](CLI::App& app, int& exitCode) {
    CLI::App* sub = app.add_subcommand("version", "Print the program's version");
    sub->callback([&exitCode] {
        std::printf("tq7z 0.1\n");
        exitCode = 0;
    });
});
} // namespace
