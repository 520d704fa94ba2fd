#include "exporter/sgmexportclassdesc.h"

#include "exporter/sgmexport.h"
#include "foundation/debug.h"

#include <cstring>

namespace
{
constexpr size_t StringBuffer = 260;
constexpr const char* Maker = "tq7z tools team";

host::HINSTANCE s_hDLLInstance = nullptr;
bool s_controlsInit = false;

struct StringResource
{
    int id;
    const char* text;
};

// The string table of the plug-in.
constexpr StringResource s_StringTable[] = {
    {IDS_COPYRIGHT, "Copyright (c) tq7z tools team"},
    {IDS_CLASS_NAME, "Halvane Exporter"},
    {IDS_CATEGORY, "Scene Exporter"},
    {IDS_LIBDESCRIPTION, "Halvane Exporter - tq7z tools team"},
    {IDS_AUTHOR, Maker},
    {IDS_LONGDESC, "Halvane Exporter"},
    {IDS_SHORTDESC, "Halvane Exporter"},
};

// Outside the host the custom and common controls need no setting up; the first library entry
// only marks them done.
void InitCustomControls(host::HINSTANCE) {}
void InitCommonControls() {}

SGMExportClassDesc s_SGMExportDesc;

// The library is loaded with the program: its entry runs once, with the attach reason.
constexpr unsigned long DLL_PROCESS_ATTACH = 1;
const bool s_loaded = DllMain(&s_SGMExportDesc, DLL_PROCESS_ATTACH, nullptr);
} // namespace

bool DllMain(host::HINSTANCE hinstDLL, unsigned long /*fdwReason*/, void* /*lpvReserved*/)
{
    s_hDLLInstance = hinstDLL;
    if (!s_controlsInit)
    {
        s_controlsInit = true;
        InitCustomControls(s_hDLLInstance);
        InitCommonControls();
    }
    return true;
}

host::HINSTANCE GetModuleInstance()
{
    return s_hDLLInstance;
}

const char* GetString(int id)
{
    static char s_buf[StringBuffer];
    if (!dbAssert(s_hDLLInstance))
        return nullptr;
    (void)s_loaded;
    for (const StringResource& entry : s_StringTable)
    {
        if (entry.id == id)
        {
            std::strncpy(s_buf, entry.text, StringBuffer - 1);
            s_buf[StringBuffer - 1] = '\0';
            return s_buf;
        }
    }
    return nullptr;
}

const char* LibDescription()
{
    return GetString(IDS_LIBDESCRIPTION);
}

int LibNumberClasses()
{
    return 1;
}

host::ClassDesc* LibClassDesc(int i)
{
    return i == 0 ? &s_SGMExportDesc : nullptr;
}

unsigned long LibVersion()
{
    return VERSION_3DSMAX;
}

int SGMExportClassDesc::IsPublic()
{
    return 1;
}

void* SGMExportClassDesc::Create(int /*loading*/)
{
    return new SGMExport;
}

int SGMExportClassDesc::BeginCreate(host::Interface* /*i*/)
{
    return 0;
}

int SGMExportClassDesc::EndCreate(host::Interface* /*i*/)
{
    return 0;
}

const char* SGMExportClassDesc::ClassName()
{
    return GetString(IDS_CLASS_NAME);
}

host::SClass_ID SGMExportClassDesc::SuperClassID()
{
    return host::SCENE_EXPORT_CLASS_ID;
}

host::Class_ID SGMExportClassDesc::ClassID()
{
    return SGMEXPORT_CLASS_ID;
}

const char* SGMExportClassDesc::Category()
{
    return GetString(IDS_CATEGORY);
}

const char* SGMExportClassDesc::InternalName()
{
    return "SGMExport";
}

host::HINSTANCE SGMExportClassDesc::HInstance()
{
    return s_hDLLInstance;
}
