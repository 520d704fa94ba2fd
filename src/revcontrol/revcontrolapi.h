// Revision control as the tools see it: changelists and the state of single files, behind one
// abstract interface with a Perforce back end and a local back end that only looks at the disk.
#pragma once

#include <memory>
#include <string>
#include <vector>

// Which back end the factory makes.
enum RevisionControlType
{
    RevisionControlP4 = 0,       // Perforce only
    RevisionControlLocal = 1,    // local only
    RevisionControlP4OrLocal = 2 // Perforce when the server answers, else local
};

// The result of GetFileStatus.
enum FileStatus
{
    FileStatusNotOpened = 0,     // known, not opened / local: exists and is writable
    FileStatusOpenForEdit = 1,   // opened for edit / local: exists and is read-only
    FileStatusOpenForAdd = 2,    // opened for add or branch
    FileStatusOpenForDelete = 3, // opened for delete / local: missing, or a folder
    FileStatusHeldByOther = 4,   // exclusive type opened elsewhere, or locked
    FileStatusNotControlled = 5  // no such depot file, or deleted at head
};

// The result of OpenOrAdd. A caller that needs the file in its own changelist accepts
// OpenResultOpened and OpenResultInThisChangelist only.
enum OpenResult
{
    OpenResultOpened = 0,
    OpenResultInOtherChangelist = 1,
    OpenResultInThisChangelist = 2,
    OpenResultFailed = 3
};

// The result of Sync.
enum SyncResult
{
    SyncNoSuchFile = 0,
    SyncUpdated = 1,
    SyncUpToDate = 2,
    SyncFailed = 3
};

// The second argument of Sync: SyncModeFolder makes the name a folder; any other value a file.
enum SyncMode
{
    SyncModeFile = 0,
    SyncModeFolder = 1
};

// Changelists are named by number; 0 is the default changelist. A failed operation leaves a
// text that GetLastError hands out once.
class RevControlAPI
{
public:
    using FileList = std::vector<std::string>;

    virtual ~RevControlAPI() = default;

    virtual bool Initialize(const char* port) = 0;
    virtual std::string GetLastError() = 0;

    virtual bool CreateChangelist(const char* description, int& number) = 0;
    virtual bool FindChangelist(const char* description, int& number) = 0;
    virtual bool DeleteChangelist(int number) = 0;
    virtual bool RevertChangelist(int number, bool onlyUnchanged) = 0;

    virtual bool OpenForEdit(const FileList& files, int changelist) = 0;
    virtual bool OpenForEdit(const char* file, int changelist) = 0;
    virtual bool Integrate(const char* from, const char* to, int changelist) = 0;
    virtual bool Rename(const char* from, const char* to, int changelist) = 0;
    virtual bool OpenForAdd(const FileList& files, int changelist) = 0;
    virtual bool OpenForAdd(const char* file, int changelist) = 0;
    virtual bool OpenForDelete(const char* file, int changelist) = 0;

    virtual int GetFileStatus(const char* file) = 0;
    virtual bool IsOpenedIn(const char* file, int changelist) = 0;
    virtual bool GetOpenedChangelist(const char* file, int& number) = 0;
    virtual bool Revert(const char* file, int changelist, bool onlyUnchanged) = 0;
    virtual int Sync(const char* file, int mode) = 0;
    virtual int OpenOrAdd(const char* file, int changelist) = 0;
    virtual bool FindOrCreateChangelist(const char* description, int& number) = 0;

    // Makes a back end for `port` (a server address; empty for none) and `type`
    // (RevisionControlType). Null when it cannot be made.
    static std::unique_ptr<RevControlAPI> Create(const char* port, int type);
};
