// The export session: the plug-in's SceneExport operations and the run of one export, from the
// log file and the options to the saved model and the collected messages.
#include "exporter/sgmexport.h"

#include "exporter/consoleui.h"
#include "exporter/sgmerrors.h"
#include "exporter/sgmexportclassdesc.h"
#include "exporter/sgmfilename.h"
#include "foundation/debug.h"
#include "inventory/warehouse.h"
#include "logging/processlog.h"
#include "model/file/generic/rendermodelloadgeneric.h"
#include "model/rendermodel.h"
#include "model/shader/shader.h"
#include "model/shader/shaderimp.h"
#include "model/skeleton/skeleton.h"
#include "render/device.h"
#include "storage/bytestream.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "storage/filepathutil.h"
#include "storage/osfile.h"
#include "storage/userpath.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>
#include <strings.h>

namespace
{
constexpr size_t MaxPath = FilePathUtil::MAXPATH;
// A property's value as text is at most this long.
constexpr size_t PropertyText = 80;

std::string Narrow(const std::u16string& wide)
{
    std::string narrow;
    for (char16_t c : wide)
        narrow += c < 0x80 ? char(c) : '?';
    return narrow;
}

// A host date (days since 30 December 1899) as the short date "M/D/YYYY".
void FormatShortDate(char* text, size_t length, double date)
{
    // Days since 1 March of year 0, the start of the civil calendar's 400-year cycle.
    const long days = long(std::floor(date)) - 25569 + 719468; // 25569: 1899-12-30 to 1970-01-01
    const long era = (days >= 0 ? days : days - 146096) / 146097;
    const long dayOfEra = days - era * 146097;
    const long yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const long dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const long mp = (5 * dayOfYear + 2) / 153;
    const long day = dayOfYear - (153 * mp + 2) / 5 + 1;
    const long month = mp < 10 ? mp + 3 : mp - 9;
    const long year = yearOfEra + era * 400 + (month <= 2 ? 1 : 0);
    std::snprintf(text, length, "%ld/%ld/%ld", month, day, year);
}

void FormatProperty(char* text, size_t length, const host::PROPVARIANT& value)
{
    text[0] = '\0';
    switch (value.vt)
    {
    case host::VT_I4:
        std::snprintf(text, length, "%ld", long(value.lVal));
        break;
    case host::VT_R4:
        std::snprintf(text, length, "%f", value.fltVal);
        break;
    case host::VT_R8:
        std::snprintf(text, length, "%lf", value.dblVal);
        break;
    case host::VT_BOOL:
        std::snprintf(text, length, "%s", value.boolVal ? "Yes" : "No");
        break;
    case host::VT_LPSTR:
        std::snprintf(text, length, "%s", value.pszVal.c_str());
        break;
    case host::VT_LPWSTR:
        std::snprintf(text, length, "%s", Narrow(value.pwszVal).c_str());
        break;
    case host::VT_DATE:
        FormatShortDate(text, length, value.date);
        break;
    default:
        break;
    }
}

// Makes every folder of `path`, parents first, ignoring failures: one that is there already is
// as good as a new one.
void MakeFolders(const char* path)
{
    char alias[MaxPath];
    char folder[MaxPath];
    if (!FilePathUtil::SplitPath(path, alias, folder, nullptr, nullptr) || folder[0] == '\0')
        return;
    char joined[MaxPath];
    if (!FilePathUtil::MakePath(joined, alias, folder, nullptr, nullptr))
        return;
    // Cut the trailing separator and make the parent first.
    const size_t length = std::strlen(joined);
    if (length == 0)
        return;
    joined[length - 1] = '\0';
    MakeFolders(joined);
    // The top of the tree ("\\" cut to "") is no folder to make.
    if (joined[0] != '\0')
        OSFile::MakeFolder(joined);
}

// The folders of an aliased file name, made on disk where the alias's source puts the file.
void MakeFileFolders(const std::string& filename)
{
    char native[MaxPath];
    if (!FilePathUtil::Copy(native, filename.c_str()) || !FilePath::BuildPath(native, ByteStream::Mode_Write))
        return;
    MakeFolders(native);
}
} // namespace

SGMExport::SGMExport() : m_pUI(&ConsoleUI::Default()) {}

SGMExport::~SGMExport() = default;

int SGMExport::ExtCount()
{
    return 1;
}

const char* SGMExport::Ext(int n)
{
    return n == 0 ? "SGM" : "";
}

const char* SGMExport::LongDesc()
{
    return GetString(IDS_LONGDESC);
}

const char* SGMExport::ShortDesc()
{
    return GetString(IDS_SHORTDESC);
}

const char* SGMExport::AuthorName()
{
    return GetString(IDS_AUTHOR);
}

const char* SGMExport::CopyrightMessage()
{
    return GetString(IDS_COPYRIGHT);
}

const char* SGMExport::OtherMessage1()
{
    return "";
}

const char* SGMExport::OtherMessage2()
{
    return "";
}

unsigned int SGMExport::Version()
{
    return 2;
}

void SGMExport::ShowAbout(host::HWND /*hWnd*/)
{
    // The About box: the plug-in's name and maker on the listener, closed at once.
    if (m_pUI == nullptr)
        return;
    const std::string about = std::string(GetString(IDS_CLASS_NAME)) + " - " + GetString(IDS_AUTHOR) + "\n";
    m_pUI->ListenerPrint(about.c_str());
}

void SGMExport::SetUI(ExportUI* pUI)
{
    m_pUI = pUI != nullptr ? pUI : &ConsoleUI::Default();
}

int SGMExport::DoExport(const char* name, host::ExpInterface* /*ei*/, host::Interface* i, int suppressPrompts,
                        uint32 /*options*/)
{
    if (!dbAssert(name != nullptr))
        return 0;
    // The log goes beside the file, named from the first dot on: a dot in a folder cuts it there.
    std::string logName = name;
    const size_t pExt = logName.find('.');
    if (!dbAssert(pExt != std::string::npos))
        return 0;
    logName.replace(pExt, std::string::npos, ".log");
    ProcessLog::Start(logName.c_str(), true);

    int result = 1;
    SGMExportOptions options;
    try
    {
        if (!InitExport(options, name, i, suppressPrompts == 1))
        {
            // Cancel: the log stays open until the plug-in is unloaded.
            return 1;
        }
        if (!RunExport(options))
            result = 0;
        ShutdownExport();
        ProcessLog::Stop(0);
        return result;
    }
    catch (const std::exception& e)
    {
        if (m_pUI != nullptr)
        {
            const std::string text = std::string(e.what()) + "\n";
            m_pUI->ListenerPrint(text.c_str());
        }
        ShutdownExport();
        ProcessLog::Stop(-1);
        return 0;
    }
}

bool SGMExport::InitExport(SGMExportOptions& options, const char* name, host::Interface* pInterface,
                           bool suppressPrompts)
{
    // The name comes in the system's form; the log shows it as the user typed it.
    host::DebugPrint("Exporting File %s...\n", UserPath::FromName(name).c_str());
    m_hInstance = GetModuleInstance();
    m_pInterface = pInterface;

    options = SGMExportOptions();
    options.filename = std::string("TOOL:") + name;
    GetModelName(options.modelName, options.filename.c_str());

    if (pInterface != nullptr)
    {
        const int count = pInterface->GetNumProperties(host::PROPSET_USERDEFINED);
        for (int index = 0; index < count; ++index)
        {
            const host::PROPSPEC* pSpec = pInterface->GetPropertySpec(host::PROPSET_USERDEFINED, index);
            if (pSpec == nullptr || pSpec->ulKind == host::PRSPEC_PROPID)
                continue;
            const std::string propertyName = Narrow(pSpec->lpwstr);
            // The value is read for the log's sake; only the name has an effect.
            char valueText[PropertyText + 1];
            valueText[0] = '\0';
            if (const host::PROPVARIANT* pValue =
                    pInterface->GetPropertyVariant(host::PROPSET_USERDEFINED, index))
                FormatProperty(valueText, sizeof(valueText), *pValue);
            if (strcasecmp(propertyName.c_str(), "IgnoreShaders") == 0)
            {
                options.exportShaders = false;
                if (m_pUI != nullptr)
                    m_pUI->ListenerPrint("Exporter: IgnoreShaders property has turned off shaders!\n");
            }
        }
    }

    if (!suppressPrompts)
    {
        if (m_pUI != nullptr && m_pUI->OptionsDialog(options) == 0)
            return false;
    }
    else
    {
        // A batch export writes the mesh of the reference file and the animation of every other.
        options.xrefLocal = false;
        const bool reference = IsReferenceFile(options.filename.c_str());
        options.exportMeshes = reference;
        options.exportAnimation = !reference;
    }

    FilePath::AddAlias("TOOL", "HD", 99, std::make_shared<FilePathHDRaw>());
    SGMErrors::Create(m_hInstance, m_pInterface, m_pUI);

    fr::DeviceDesc desc;
    desc.driverName = "Null";
    if (fr::Interface::CreateDevice(desc) == nullptr)
        throw std::runtime_error("Unable to initialize the render device!");

    Inv::Warehouse::Create();
    return true;
}

bool SGMExport::RunExport(SGMExportOptions& options)
{
    // The wait cursor of the host has no console counterpart: an export prints nothing until its
    // messages.
    WalkScene(options, m_pInterface != nullptr ? m_pInterface->GetRootNode() : nullptr);

    std::unique_ptr<RenderModel> pModel = BuildRenderModel(options);
    if (pModel != nullptr && pModel->GetMeshGroup() != nullptr)
    {
        MakeFileFolders(options.filename);
        // The intermediate form: bones go out as the sampled model-space matrices, which the
        // merge converts against the reference skeleton. Meshes gate the model part (shaders,
        // skeleton, mesh group, markers, cameras), shaders its textures.
        if (!RenderModelLoadGeneric::SaveInterm(options.filename.c_str(), *pModel, options.exportMeshes,
                                                options.exportAnimation, options.exportShaders))
            SGMErrors::Get()->Error("Unable to write '%s'!", options.filename.c_str());
    }

    SGMErrors* pErrors = SGMErrors::Get();
    pErrors->Show();
    const int32 errorCount = pErrors->GetErrorCount();
    pErrors->Clear();

    pModel.reset();
    return errorCount < 1;
}

void SGMExport::ShutdownExport()
{
    m_MeshNodes.clear();
    m_MarkerNodes.clear();
    m_BoneNodes.clear();
    m_LightNodes.clear();
    m_CameraNodes.clear();
    m_ShaderList.clear();
    m_ShaderOrder.clear();
    m_pSkeleton.reset();

    // A failed start may have stopped before any of these came up.
    if (SGMErrors::Exists())
        SGMErrors::Destroy();
    Inv::Warehouse::Destroy();
    if (fr::Interface::GetDevice() != nullptr)
        fr::Interface::DestroyDevice();
    FilePath::RemoveAlias("TOOL", "HD");

    host::DebugPrint("======== end =============\n");
}
