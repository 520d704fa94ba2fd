// tq7z p4 openoradd|status FILE: opens or adds a file in the pending changelist "SGM Export Changes",
// or tells the state of a file, through Perforce when its server answers and on the disk alone when not.
// tq7z p4 reset: the script command that clears what tq7z_p4_openoradd left half done.
#include "cli/command.h"
#include "cli/scriptcommand.h"

#include "pipeline/fullpath.h"
#include "pipeline/pipeline.h"
#include "revcontrol/revcontrollocal.h"
#include "revcontrol/revcontrolp4.h"

#include <cstdio>
#include <memory>
#include <optional>
#include <string>

namespace
{
const char* const s_changelistDescription = "SGM Export Changes";

struct P4Options
{
    std::string file;
    std::optional<std::string> port;
};

std::string Native(std::string path)
{
    for (char& c : path)
    {
        if (c == '\\')
            c = '/';
    }
    return path;
}

// The server address: --port when given, else "RevControlPort" under [p4] of the pipeline.ini
// above the file. An empty address means local mode.
bool FindPort(const char* command, const std::string& file, const P4Options& options, std::string& port)
{
    if (options.port)
    {
        port = *options.port;
        return true;
    }
    const int result = Pipeline::Initialize(file.c_str());
    if (result != Pipeline::InitOk)
    {
        std::fprintf(
            stderr, "tq7z p4 %s: no usable pipeline.ini above %s (%s); give the server with --port\n",
            command, Native(file).c_str(),
            result == Pipeline::InitNotFound ? "none found" : "it cannot be read or has no complete project");
        return false;
    }
    char buffer[256];
    const bool found = Pipeline::GetString("p4", "RevControlPort", buffer, sizeof(buffer));
    Pipeline::Shutdown();
    if (!found)
    {
        std::fprintf(stderr, "PerforceMS: 'RevControlPort' not listed under [p4] in pipeline.ini\n");
        return false;
    }
    port = buffer;
    return true;
}

int RunOpenOrAdd(const P4Options& options)
{
    const std::string file = FullPath::Expand(options.file.c_str());
    std::string port;
    if (file.empty() || !FindPort("openoradd", file, options, port))
        return 1;
    std::unique_ptr<RevControlAPI> pRevCtrl = RevControlAPI::Create(port.c_str(), RevisionControlP4OrLocal);
    if (pRevCtrl == nullptr)
    {
        std::fprintf(stderr, "tq7z p4 openoradd: no revision control could be set up\n");
        return 1;
    }
    int changelist = 0;
    if (!pRevCtrl->FindOrCreateChangelist(s_changelistDescription, changelist))
    {
        std::fprintf(stderr, "PerforceMS: Unable to create changelist\n");
        const std::string error = pRevCtrl->GetLastError();
        if (!error.empty())
            std::fprintf(stderr, "%s\n", error.c_str());
        return 1;
    }
    const int result = pRevCtrl->OpenOrAdd(file.c_str(), changelist);
    if (result != OpenResultOpened && result != OpenResultInThisChangelist)
    {
        std::fprintf(stderr, "PerforceMS: Could not open or add requested file!\n");
        // Opened elsewhere is no fault of the server's; the last error says why anything else failed.
        const std::string error = pRevCtrl->GetLastError();
        if (result == OpenResultInOtherChangelist)
            std::fprintf(stderr, "%s is opened in another changelist\n", Native(file).c_str());
        else if (!error.empty())
            std::fprintf(stderr, "%s\n", error.c_str());
        return 1;
    }
    const bool local = dynamic_cast<RevControlLocal*>(pRevCtrl.get()) != nullptr;
    if (local)
        std::printf("%s: writable (local mode)\n", Native(file).c_str());
    else
        std::printf("%s: %s changelist %d\n", Native(file).c_str(),
                    result == OpenResultOpened ? "opened in" : "already opened in", changelist);
    return 0;
}

const char* StatusMeaning(int status, bool local)
{
    static const char* const s_p4[] = {
        "not opened",        "opened for edit",      "opened for add or branch",
        "opened for delete", "held by another user", "not under revision control"};
    static const char* const s_local[] = {"writable", "read-only", "", "missing, or a folder", "", ""};
    if (status < 0 || status > 5)
        return "unknown";
    return local ? s_local[status] : s_p4[status];
}

int RunStatus(const P4Options& options)
{
    const std::string file = FullPath::Expand(options.file.c_str());
    std::string port;
    if (file.empty() || !FindPort("status", file, options, port))
        return 1;
    std::unique_ptr<RevControlAPI> pRevCtrl = RevControlAPI::Create(port.c_str(), RevisionControlP4OrLocal);
    if (pRevCtrl == nullptr)
    {
        std::fprintf(stderr, "tq7z p4 status: no revision control could be set up\n");
        return 1;
    }
    const bool local = dynamic_cast<RevControlLocal*>(pRevCtrl.get()) != nullptr;
    const int status = pRevCtrl->GetFileStatus(file.c_str());
    std::printf("%d %s%s\n", status, StatusMeaning(status, local), local ? " (local mode)" : "");
    return 0;
}

void AddFileOptions(CLI::App* command, P4Options& options)
{
    command->add_option("FILE", options.file, "The file (either separator)")->required();
    command->add_option(
        "--port", options.port,
        "Perforce server address; empty for local mode (default: RevControlPort under [p4] of "
        "the pipeline.ini above FILE)");
}

cli::CommandRegistrar s_p4(
    [](CLI::App& app, int& exitCode)
    {
        CLI::App* p4 = app.add_subcommand(
            "p4", "Revision control of single files: Perforce through the p4 client on PATH, or, when the\n"
                  "server address is empty or the server does not answer, local mode, which only looks at\n"
                  "the disk.");
        p4->require_subcommand(1);

        auto openOptions = std::make_shared<P4Options>();
        CLI::App* openOrAdd = p4->add_subcommand(
            "openoradd",
            "Open FILE for edit, or add it, in the pending changelist \"SGM Export Changes\" (made\n"
            "when there is none). Exit 1 when the file is opened in another changelist or cannot\n"
            "be opened. In local mode: succeed when FILE is missing or writable.");
        AddFileOptions(openOrAdd, *openOptions);
        openOrAdd->callback([openOptions, &exitCode] { exitCode = RunOpenOrAdd(*openOptions); });

        auto statusOptions = std::make_shared<P4Options>();
        CLI::App* status = p4->add_subcommand(
            "status",
            "Print the state of FILE as a number and its meaning. Perforce: 0 not opened, 1 opened\n"
            "for edit, 2 for add or branch, 3 for delete, 4 held by another user, 5 not under\n"
            "revision control. Local mode: 0 writable, 1 read-only, 3 missing or a folder.");
        AddFileOptions(status, *statusOptions);
        status->callback([statusOptions, &exitCode] { exitCode = RunStatus(*statusOptions); });

        CLI::App* reset = p4->add_subcommand(
            "reset",
            "Take down what tq7z_p4_openoradd left set up (tq7z_p4_reset): its revision control and\n"
            "the pipeline. In a script it clears a command left half done; in a fresh process there\n"
            "is nothing to clear, and the pipeline's shut-down reports an assertion.");
        reset->callback([&exitCode] { exitCode = cli::CallPrimitive("tq7z_p4_reset", {}); });
    });
} // namespace
