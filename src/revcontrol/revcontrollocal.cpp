#include "revcontrol/revcontrollocal.h"

#include "foundation/debug.h"
#include "storage/osfile.h"

bool RevControlLocal::Initialize(const char*)
{
    return true;
}

std::string RevControlLocal::GetLastError()
{
    return std::string();
}

bool RevControlLocal::CreateChangelist(const char*, int& number)
{
    // Deliberately a failure: callers that must work in both modes use FindOrCreateChangelist.
    number = 0;
    return false;
}

bool RevControlLocal::FindChangelist(const char*, int& number)
{
    number = 0;
    return false;
}

bool RevControlLocal::DeleteChangelist(int)
{
    return true;
}

bool RevControlLocal::RevertChangelist(int, bool)
{
    return true;
}

bool RevControlLocal::OpenForEdit(const FileList& files, int changelist)
{
    for (const std::string& file : files)
    {
        if (!OpenForEdit(file.c_str(), changelist))
            return false;
    }
    return true;
}

bool RevControlLocal::OpenForEdit(const char* file, int)
{
    if (!dbAssert(file != nullptr && *file != '\0'))
        return false;
    uint32 attr = OSFile::FileAttr(file);
    if (attr == 0)
        return true;
    return (attr & OSFile::F_ATTRIBUTE_FILE) != 0 && (attr & OSFile::F_ATTRIBUTE_WRITE) != 0;
}

bool RevControlLocal::Integrate(const char*, const char*, int)
{
    return false;
}

bool RevControlLocal::Rename(const char*, const char*, int)
{
    return false;
}

bool RevControlLocal::OpenForAdd(const FileList&, int)
{
    return false;
}

bool RevControlLocal::OpenForAdd(const char*, int)
{
    return false;
}

bool RevControlLocal::OpenForDelete(const char* file, int)
{
    if (!dbAssert(file != nullptr && *file != '\0'))
        return false;
    return OSFile::Delete(file) == OSFile::R_Success;
}

int RevControlLocal::GetFileStatus(const char* file)
{
    if (!dbAssert(file != nullptr && *file != '\0'))
        return FileStatusOpenForDelete;
    uint32 attr = OSFile::FileAttr(file);
    if ((attr & OSFile::F_ATTRIBUTE_FILE) == 0)
        return FileStatusOpenForDelete;
    return OpenForEdit(file, 0) ? FileStatusNotOpened : FileStatusOpenForEdit;
}

bool RevControlLocal::IsOpenedIn(const char* file, int changelist)
{
    if (changelist != 0)
        return false;
    return GetFileStatus(file) != FileStatusNotOpened;
}

bool RevControlLocal::GetOpenedChangelist(const char*, int& number)
{
    number = 0;
    return true;
}

bool RevControlLocal::Revert(const char*, int, bool)
{
    return true;
}

int RevControlLocal::Sync(const char*, int)
{
    return SyncUpToDate;
}

int RevControlLocal::OpenOrAdd(const char* file, int changelist)
{
    return OpenForEdit(file, changelist) ? OpenResultOpened : OpenResultFailed;
}

bool RevControlLocal::FindOrCreateChangelist(const char*, int& number)
{
    number = 0;
    return true;
}
