// Revision control for a machine with no server: it only looks at the disk, and tells whether a
// file can be written.
#pragma once

#include "revcontrol/revcontrolapi.h"

class RevControlLocal final : public RevControlAPI
{
public:
    bool Initialize(const char* port) override;
    std::string GetLastError() override;

    bool CreateChangelist(const char* description, int& number) override;
    bool FindChangelist(const char* description, int& number) override;
    bool DeleteChangelist(int number) override;
    bool RevertChangelist(int number, bool onlyUnchanged) override;

    // A missing file, or a plain writable one, can be written; a read-only file or a folder cannot.
    bool OpenForEdit(const FileList& files, int changelist) override;
    bool OpenForEdit(const char* file, int changelist) override;
    bool Integrate(const char* from, const char* to, int changelist) override;
    bool Rename(const char* from, const char* to, int changelist) override;
    bool OpenForAdd(const FileList& files, int changelist) override;
    bool OpenForAdd(const char* file, int changelist) override;
    // Deletes the file on disk.
    bool OpenForDelete(const char* file, int changelist) override;

    // FileStatusNotOpened for a writable file, FileStatusOpenForEdit for a read-only one,
    // FileStatusOpenForDelete when there is no plain file of that name.
    int GetFileStatus(const char* file) override;
    bool IsOpenedIn(const char* file, int changelist) override;
    bool GetOpenedChangelist(const char* file, int& number) override;
    bool Revert(const char* file, int changelist, bool onlyUnchanged) override;
    int Sync(const char* file, int mode) override;
    int OpenOrAdd(const char* file, int changelist) override;
    bool FindOrCreateChangelist(const char* description, int& number) override;
};
