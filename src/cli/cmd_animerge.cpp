// tq7z animerge, animerge-flags, burner-reset: the script commands of Ani-merge and the burner's
// reset, each run once as its script command runs (its listener text on standard output).
// A setting of the flags or a reset holds only for the one process, so these are mostly for
// trying a command out; scripts call the commands themselves (tq7z run).
#include "cli/command.h"
#include "cli/outputfile.h"

#include "cli/scriptcommand.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace
{
std::vector<Script::Value> Strings(const std::vector<std::string>& cText)
{
    std::vector<Script::Value> cValue;
    for (const std::string& text : cText)
        cValue.push_back(Script::Value::String(text));
    return cValue;
}

cli::CommandRegistrar s_animerge(
    [](CLI::App& app, int& exitCode)
    {
        auto files = std::make_shared<std::vector<std::string>>();
        CLI::App* animerge = app.add_subcommand(
            "animerge",
            "Ani-merge (tq7z_animerge): load MODEL (an intermediate .sgm the exporter wrote into a\n"
            "project's intermediate folder), add the first animation of each ANIM file, and write the\n"
            "merged model, named after MERGE's base name, to MERGE with its .ebp; then export the\n"
            "team colour patterns and shared shaders of its shared textures (\"texture_share\" in the\n"
            "name) to the generic folder and burn them. The log goes beside MODEL (its name cut at the\n"
            "first point, then \".log\"). Texts for the artist on standard output; exit 1 when the\n"
            "merge fails.");
        animerge
            ->add_option("MERGE MODEL ANIM", *files, "The merged file, the model file, the animation files")
            ->expected(2, -1)
            ->required();
        animerge->callback(
            [files, &exitCode]
            {
                // The merge writes MERGE as .sgm, with its .ebp, whatever it ends in.
                if (!cli::CheckOutputExtension("animerge", files->front(), {".sgm"}))
                {
                    exitCode = 2;
                    return;
                }
                if (!cli::CheckOutputFolder("animerge", files->front()))
                {
                    exitCode = 1;
                    return;
                }
                exitCode = cli::CallPrimitive("tq7z_animerge", Strings(*files));
                // A set-up that fails says nothing to the artist; the command line says where to look.
                if (exitCode == 1)
                    std::fprintf(stderr,
                                 "tq7z animerge: the merge failed; MODEL must lie in the intermediate "
                                 "folder of a project of a pipeline.ini above it, and the log beside "
                                 "MODEL tells more\n");
            });

        auto flags = std::make_shared<std::vector<bool>>();
        CLI::App* animergeFlags = app.add_subcommand(
            "animerge-flags",
            "Set Ani-merge's two flags (tq7z_animergeFlags): write the merged model and its animations,\n"
            "and export the shared textures' patterns and shaders. Both start true; a setting holds\n"
            "for the rest of the process, so in a script it steers every later merge, and here it\n"
            "ends with the command.");
        animergeFlags->add_option("MODEL_FLAG TEXTURES_FLAG", *flags, "true or false, each")
            ->expected(2)
            ->required();
        animergeFlags->callback(
            [flags, &exitCode]
            {
                std::vector<Script::Value> cArg;
                for (bool flag : *flags)
                    cArg.push_back(Script::Value::Boolean(flag));
                exitCode = cli::CallPrimitive("tq7z_animergeFlags", cArg);
            });

        CLI::App* burnerReset = app.add_subcommand(
            "burner-reset",
            "Take down what a burn or merge left set up (tq7z_burner_reset): inventory, render device,\n"
            "burner, revision control, the TOOL and DATA aliases, the pipeline. In a script it clears a\n"
            "command left half done; in a fresh process there is nothing to clear, and the pipeline's\n"
            "shut-down reports an assertion.");
        burnerReset->callback([&exitCode] { exitCode = cli::CallPrimitive("tq7z_burner_reset", {}); });
    });
} // namespace
