// The host's plug-in side: module and window handles, the scene exporter base class that the host
// calls DoExport on, and the class descriptor through which the host finds and creates it.
#pragma once

#include "host/interface.h"

namespace host
{
// Handles of the plug-in module and of host windows; outside the host they only identify.
using HINSTANCE = void*;
using HWND = void*;

// What the host knows of an export in progress; the exporter does not look at it.
class ExpInterface
{
public:
    virtual ~ExpInterface() = default;
};

class SceneExport
{
public:
    virtual ~SceneExport() = default;
    virtual int ExtCount() = 0;
    virtual const char* Ext(int n) = 0;
    virtual const char* LongDesc() = 0;
    virtual const char* ShortDesc() = 0;
    virtual const char* AuthorName() = 0;
    virtual const char* CopyrightMessage() = 0;
    virtual const char* OtherMessage1() = 0;
    virtual const char* OtherMessage2() = 0;
    virtual unsigned int Version() = 0;
    virtual void ShowAbout(HWND hWnd) = 0;
    // 1 when the file was written or the user cancelled, 0 on failure.
    virtual int DoExport(const char* name, ExpInterface* ei, Interface* i, int suppressPrompts = 0,
                         uint32 options = 0) = 0;
    virtual int SupportsOptions(int /*ext*/, uint32 /*options*/) { return 0; }
};

class ClassDesc
{
public:
    virtual ~ClassDesc() = default;
    virtual int IsPublic() = 0;
    virtual void* Create(int loading = 0) = 0;
    virtual int BeginCreate(Interface* /*i*/) { return 0; }
    virtual int EndCreate(Interface* /*i*/) { return 0; }
    virtual const char* ClassName() = 0;
    virtual SClass_ID SuperClassID() = 0;
    virtual Class_ID ClassID() = 0;
    virtual const char* Category() = 0;
};

class ClassDesc2 : public ClassDesc
{
public:
    virtual const char* InternalName() { return nullptr; }
    virtual HINSTANCE HInstance() { return nullptr; }
};
} // namespace host
