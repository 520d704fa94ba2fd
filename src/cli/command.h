// Subcommands of the tq7z program. Each cmd_*.cpp registers its subcommands with a static
// CommandRegistrar; the program runs the one the user chose and exits with its status.
#pragma once

#include <CLI/CLI.hpp>

#include <functional>

namespace cli
{
// Sets up one or more subcommands on `app`. A subcommand's callback stores its exit status
// (0 on success) in `exitCode`.
using CommandSetup = std::function<void(CLI::App& app, int& exitCode)>;

class CommandRegistrar
{
public:
    explicit CommandRegistrar(CommandSetup setup);
};

// The subcommand `name` of `app`, made when no command file has made it yet: several command files
// add their subcommands under one group ("model info" and "model pose"), in any order.
CLI::App* GetOrAddSubcommand(CLI::App& app, const std::string& name, const std::string& description);

// Runs the program on its arguments: parses, runs the chosen subcommand, returns the exit status.
int RunMain(int argc, char** argv);
} // namespace cli
