// tq7z export SCENE OUT.sgm: runs the scene exporter on a scene file as the host's export would,
// with the options dialog's check boxes as flags, and writes OUT.sgm and its log file.
#include "cli/command.h"
#include "cli/outputfile.h"

#include "exporter/consoleui.h"
#include "exporter/sgmexport.h"
#include "host/scene.h"
#include "importhost/importhost.h"
#include "storage/filepathutil.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

namespace
{
struct ExportArgs
{
    std::string sceneFile;
    std::string outFile;
    ConsoleUI::Flags flags;
    bool suppressPrompts = false;
    importhost::ImportOptions importOptions;
};

int RunExportCommand(const ExportArgs& args)
{
    // The exporter writes a .sgm file: given another extension it would write OUT.sgm, a file the
    // user never named.
    if (!cli::CheckOutputExtension("export", args.outFile, {".sgm"}))
        return 2;
    if (!cli::CheckOutputFolder("export", args.outFile))
        return 1;
    std::unique_ptr<scene::Scene> pScene;
    try
    {
        const std::string sceneFile = std::filesystem::absolute(args.sceneFile).lexically_normal().string();
        // A modelling package's file goes through the import host, anything else is a scene file.
        if (importhost::IsImportFile(sceneFile))
        {
            std::vector<std::string> cWarning;
            pScene = importhost::ImportScene(sceneFile, args.importOptions, &cWarning);
            for (const std::string& warning : cWarning)
                std::fprintf(stderr, "warning: %s\n", warning.c_str());
        }
        else
            pScene = scene::ReadScene(sceneFile);
    }
    catch (const scene::SceneError& e)
    {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }

    // The exporter works on the system's own form of a full path: absolute, with '\\' between
    // names, as the host hands it over (the reference file's name is matched in that form).
    std::string outName = std::filesystem::absolute(args.outFile).lexically_normal().string();
    if (outName.size() >= FilePathUtil::MAXPATH)
    {
        std::fprintf(stderr, "export: %s: the name is longer than %zu characters\n", outName.c_str(),
                     FilePathUtil::MAXPATH - 1);
        return 1;
    }
    // The log opens before the export makes the output's folders: make them first, so that a
    // first export into a new folder has its log too.
    std::error_code ec;
    std::filesystem::create_directories(std::filesystem::path(outName).parent_path(), ec);

    char internal[FilePathUtil::MAXPATH];
    FilePathUtil::Copy(internal, outName.c_str());
    FilePathUtil::Normalize(internal);

    ConsoleUI ui(args.flags);
    SGMExport exporter;
    exporter.SetUI(&ui);
    const int result = exporter.DoExport(internal, nullptr, pScene.get(), args.suppressPrompts ? 1 : 0);
    return result == 1 ? 0 : 1;
}

cli::CommandRegistrar s_export(
    [](CLI::App& app, int& exitCode)
    {
        auto pArgs = std::make_shared<ExportArgs>();
        CLI::App* sub = app.add_subcommand("export", "Export a scene file to a .sgm model file");
        sub->footer(
            "The scene exporter as the host runs it: walks the scene, builds meshes, skin weights,\n"
            "shaders, skeleton, markers, cameras and animation keys, and saves one .sgm file.\n"
            "\n"
            "SCENE is a scene file (.json), or a modelling package's file (.fbx, .gltf, .glb, .dae,\n"
            ".obj) read through the import host (docs/import.md; `tq7z scene convert` shows the\n"
            "scene it makes).\n"
            "\n"
            "The options dialog's check boxes are flags here: without flags meshes and animation\n"
            "keys are both written. --suppress-prompts is a batch export instead: the flags are not\n"
            "asked, XRef meshes are never local, and a file named ...\\reference\\ref.sgm (any case)\n"
            "gets its meshes and no animation, any other file its animation and no meshes.\n"
            "\n"
            "The log is written beside the output, named from the first '.' of OUT's full path with\n"
            "\".log\": /art/scout/walk.sgm logs to /art/scout/walk.log, but a dot in a folder cuts the\n"
            "name there (/art/data.v2/walk.sgm logs to /art/data.log). A custom file property\n"
            "IgnoreShaders (any value) turns shaders off. Collected errors and warnings are printed to\n"
            "standard error at the end.\n"
            "\n"
            "Exit status: 0 when the file was written or there was nothing to write, 1 when the scene\n"
            "could not be read, OUT's folder cannot be written or any error was reported (the .sgm may\n"
            "exist even then), 2 when OUT does not end in .sgm.");
        sub->add_option("SCENE", pArgs->sceneFile, "Scene file (JSON), or .fbx .gltf .glb .dae .obj")
            ->required();
        sub->add_option("OUT", pArgs->outFile, "Model file to write (.sgm)")->required();
        sub->add_flag("--no-meshes", pArgs->flags.noMeshes,
                      "Clear \"Export Meshes\": write the animation only");
        sub->add_flag("--no-animation", pArgs->flags.noAnimation, "Clear \"Export Animation Keys\"");
        sub->add_flag("--xref-local", pArgs->flags.xrefLocal, "Set \"Treat XRef'ed meshes as local\"");
        sub->add_flag("--suppress-prompts", pArgs->suppressPrompts,
                      "Batch export: no options; the reference file rule decides meshes or animation");
        sub->add_option("--frame-rate", pArgs->importOptions.frameRate,
                        "Imported files: frames a second at which the animation is sampled (30)")
            ->check(CLI::Range(1, 4800));
        sub->add_option("--animation", pArgs->importOptions.animation,
                        "Imported files: which animation is the scene's, from 0 (0)")
            ->check(CLI::NonNegativeNumber);
        sub->callback([pArgs, &exitCode] { exitCode = RunExportCommand(*pArgs); });
    });
} // namespace
