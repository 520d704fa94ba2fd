// SGMExportClassDesc: how the host finds and makes the scene exporter, with the library's exported
// functions and its string table.
#pragma once

#include "host/plugin.h"

class SGMExportClassDesc : public host::ClassDesc2
{
public:
    int IsPublic() override;
    void* Create(int loading = 0) override;
    int BeginCreate(host::Interface* i) override;
    int EndCreate(host::Interface* i) override;
    const char* ClassName() override;
    host::SClass_ID SuperClassID() override;
    host::Class_ID ClassID() override;
    const char* Category() override;
    const char* InternalName() override;
    host::HINSTANCE HInstance() override;
};

constexpr host::Class_ID SGMEXPORT_CLASS_ID(0x43F317C7, 0x24937085);
// The SDK's version word the library was built against: release 6000, API 13, revision 0.
constexpr unsigned long VERSION_3DSMAX = 0x17700D00;

// String resources of the plug-in.
enum
{
    IDS_COPYRIGHT = 2,
    IDS_CLASS_NAME = 3,
    IDS_CATEGORY = 4,
    IDS_LIBDESCRIPTION = 5,
    IDS_AUTHOR = 6,
    IDS_LONGDESC = 7,
    IDS_SHORTDESC = 8,
};

// The library's exports.
const char* LibDescription();
int LibNumberClasses();
host::ClassDesc* LibClassDesc(int i);
unsigned long LibVersion();

// The string resource `id` in one static buffer of 260 characters, overwritten by the next call;
// null when there is no such resource.
const char* GetString(int id);

// The library entry: stores the module handle on every call, sets up the host's controls on the
// first. Runs once when the library is loaded; always true.
bool DllMain(host::HINSTANCE hinstDLL, unsigned long fdwReason, void* lpvReserved);
// The module handle stored by DllMain.
host::HINSTANCE GetModuleInstance();
