#include "burnerimp/burnplugins.h"

#include "foundation/output.h"
#include "inventory/warehouse.h"
#include "model/file/final/rendermodelloadfinal.h"
#include "model/file/final/shaderloadfinal.h"
#include "model/file/final/textureloadfinal.h"
#include "model/file/generic/rendermodelloadgeneric.h"
#include "model/file/generic/shaderloadgeneric.h"
#include "model/rendermodel.h"
#include "model/shader/shader.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"
#include "storage/filesave.h"
#include "storage/ramstream.h"
#include "teamcolour/pattern.h"

#include <strings.h>

#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <unistd.h>

namespace
{
// The lines the model library logs while a plug-in holds the library lock; the last one says why
// a load or save failed.
std::vector<std::string>* s_pCaptured = nullptr;

void Capture(const char* const* lines, uint32 count, uint32)
{
    if (s_pCaptured != nullptr)
        for (uint32 i = 0; i < count; ++i)
            s_pCaptured->emplace_back(lines[i]);
}

// The library lock with the log captured and an inventory frame of the file's own, so that no two
// files of a burn share a mesh, shader or texture by name, whatever order they burn in.
class LibraryScope
{
public:
    LibraryScope() : m_lock(ModelLibraryLock())
    {
        s_pCaptured = &m_cLine;
        m_listening = dbg::AddListener(&Capture);
        Inv::Warehouse::Get()->PushFrame("burn");
    }
    ~LibraryScope()
    {
        Inv::Warehouse::Get()->PopFrame();
        if (m_listening)
            dbg::RemoveListener(&Capture);
        s_pCaptured = nullptr;
    }
    LibraryScope(const LibraryScope&) = delete;
    LibraryScope& operator=(const LibraryScope&) = delete;

    // "what: the last line logged", or `what` alone.
    std::string Reason(const std::string& what) const
    {
        return m_cLine.empty() ? what : what + ": " + m_cLine.back();
    }

private:
    std::lock_guard<std::mutex> m_lock;
    std::vector<std::string> m_cLine;
    bool m_listening = false;
};

std::string WithExtension(const std::string& relative, const char* extension)
{
    return std::filesystem::path(relative).replace_extension(extension).generic_string();
}

bool ReadWhole(const std::string& path, std::vector<uint8>& data, std::string& error)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
    {
        error = "cannot be read";
        return false;
    }
    data.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    if (in.bad())
    {
        error = "cannot be read";
        return false;
    }
    return true;
}

bool IntParam(const BurnerConfig::Target& target, const char* name, const char* fallback, int& value,
              std::string& error)
{
    const std::string text = BurnParam(target, name, fallback);
    try
    {
        size_t used = 0;
        value = std::stoi(text, &used);
        if (used == text.size())
            return true;
    }
    catch (const std::exception&)
    {
    }
    error = "parameter '" + std::string(name) + "' is '" + text + "', not a whole number";
    return false;
}

// The texture settings of a target: dxtc 0, 1, 3 or 5, mips_to_skip 0 or more, write_all_mips.
struct TextureSettings
{
    int dxtc = 0;
    int mipsToSkip = 0;
    bool writeAllMips = false;

    bool Read(const BurnerConfig::Target& target, std::string& error)
    {
        if (!IntParam(target, "dxtc", "0", dxtc, error) ||
            !IntParam(target, "mips_to_skip", "0", mipsToSkip, error))
            return false;
        if (dxtc != 0 && dxtc != 1 && dxtc != 3 && dxtc != 5)
        {
            error = "parameter 'dxtc' is " + std::to_string(dxtc) + ", not 0, 1, 3 or 5";
            return false;
        }
        if (mipsToSkip < 0)
        {
            error = "parameter 'mips_to_skip' is " + std::to_string(mipsToSkip) + ", below 0";
            return false;
        }
        writeAllMips = strcasecmp(BurnParam(target, "write_all_mips", "no").c_str(), "yes") == 0;
        return true;
    }
    // The texture writer's settings are globals; the library lock is held while they are set.
    void Apply() const
    {
        TextureLoadFinal::SetUseDXTC(dxtc);
        TextureLoadFinal::SetMipsToSkip(mipsToSkip);
        TextureLoadFinal::SetWriteAllMips(writeAllMips);
    }
};

std::string ToolName(const std::string& native)
{
    return "TOOL:" + native;
}

bool BurnModel(const BurnJob& job, std::vector<BurnOutput>& cOutput, std::string& error)
{
    TextureSettings settings;
    if (!settings.Read(*job.pTarget, error))
        return false;
    LibraryScope scope;
    try
    {
        std::unique_ptr<RenderModel> pModel =
            RenderModelLoadGeneric::Load(ToolName(job.nativeSource).c_str(), true);
        if (!pModel)
        {
            error = scope.Reason("does not load as a model");
            return false;
        }
        settings.Apply();
        // The final files are built in memory here (FileSave is the library's memory stream for a
        // whole file) and put on disk by the engine, outside the lock.
        FileSave model("");
        {
            ByteStreamAdapter adapter(model);
            Chunky chunky(adapter);
            if (!RenderModelLoadFinal::Save(chunky, adapter, *pModel))
            {
                error = scope.Reason("a texture of the model cannot be written");
                return false;
            }
        }
        cOutput.push_back(
            {WithExtension(job.relative, RenderModelLoadFinal::FileExtension), model.GetData()});
        if (RenderModelLoadFinal::HasEntity(*pModel))
        {
            FileSave entity("");
            {
                ByteStreamAdapter adapter(entity);
                Chunky chunky(adapter);
                RenderModelLoadFinal::SaveEntity(chunky, adapter, *pModel);
            }
            cOutput.push_back(
                {WithExtension(job.relative, RenderModelLoadFinal::EntityExtension), entity.GetData()});
        }
        return true;
    }
    catch (const std::exception& e)
    {
        error = std::string("does not load as a model: ") + e.what();
        return false;
    }
}

bool BurnShader(const BurnJob& job, std::vector<BurnOutput>& cOutput, std::string& error)
{
    TextureSettings settings;
    if (!settings.Read(*job.pTarget, error))
        return false;
    LibraryScope scope;
    std::unique_ptr<Shader> pShader = ShaderLoadGeneric::LoadSharedFile(ToolName(job.nativeSource).c_str());
    if (!pShader)
    {
        error = scope.Reason("does not load as a shared shader");
        return false;
    }
    settings.Apply();
    // The shared shader file is written by name only: it goes to a scratch file of this process,
    // whose bytes become the output.
    const std::string scratch =
        (std::filesystem::temp_directory_path() / ("burnerimp-" + std::to_string(getpid()) + ".vds"))
            .string();
    const bool saved = ShaderLoadFinal::SaveSharedFile(ToolName(scratch).c_str(), *pShader);
    BurnOutput output{job.relative, {}};
    const bool read = saved && ReadWhole(scratch, output.data, error);
    std::error_code ec;
    std::filesystem::remove(scratch, ec);
    if (!saved)
    {
        error = scope.Reason("the final shared shader cannot be written");
        return false;
    }
    if (!read)
        return false;
    cOutput.push_back(std::move(output));
    return true;
}

// A team pattern goes to the final data as the pattern export wrote it, once it reads as one.
bool BurnPattern(const BurnJob& job, std::vector<BurnOutput>& cOutput, std::string& error)
{
    BurnOutput output{job.relative, {}};
    if (!ReadWhole(job.nativeSource, output.data, error))
        return false;
    {
        // The pattern reader logs its faults: the library's, so under its lock.
        LibraryScope scope;
        RamStream stream;
        if (!stream.Attach(output.data.data(), uint32(output.data.size()), false, ByteStream::Mode_Read))
        {
            error = "is no team pattern: it is empty";
            return false;
        }
        ByteStreamAdapter adapter(stream);
        if (!TeamColour::Pattern::Load(adapter, job.relative.c_str()))
        {
            error = scope.Reason("is no team pattern");
            return false;
        }
    }
    cOutput.push_back(std::move(output));
    return true;
}

bool BurnCopy(const BurnJob& job, std::vector<BurnOutput>& cOutput, std::string& error)
{
    BurnOutput output{job.relative, {}};
    if (!ReadWhole(job.nativeSource, output.data, error))
        return false;
    cOutput.push_back(std::move(output));
    return true;
}

struct NamedPlugin
{
    const char* name;
    BurnPlugin plugin;
};

const NamedPlugin s_cPlugin[] = {
    {"model", &BurnModel},
    {"shader", &BurnShader},
    {"pattern", &BurnPattern},
    {"copy", &BurnCopy},
};
} // namespace

BurnPlugin FindBurnPlugin(const std::string& name)
{
    for (const NamedPlugin& entry : s_cPlugin)
        if (strcasecmp(entry.name, name.c_str()) == 0)
            return entry.plugin;
    return nullptr;
}

std::mutex& ModelLibraryLock()
{
    static std::mutex s_lock;
    return s_lock;
}

std::string BurnParam(const BurnerConfig::Target& target, const char* name, const char* fallback)
{
    for (const BurnerConfig::Param& param : target.cParams)
        if (strcasecmp(param.name.c_str(), name) == 0)
            return param.value;
    return fallback;
}
