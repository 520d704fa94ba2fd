// The one place that calls the operating system for files: open, read, write, seek and the name
// operations, on an opaque handle. Everything above it (disk streams, disk sources) goes through here.
//
// Names are the system's own: both separators are accepted ('\\' becomes '/'), and when the exact
// name does not exist each component is matched without regard to case, as artists and sources
// type names in any case. New files and folders take the case given for the part that does not exist.
#pragma once

#include "foundation/types.h"

#include <string>
#include <vector>

namespace OSFile
{
// An open file; 0 means none.
using Handle = std::uintptr_t;

// Open modes.
enum OpenMode
{
    OM_Read = 0,      // an existing file, shared for reading, hinted for a sequential scan
    OM_ReadWrite = 1, // open or create, positioned at the end
    OM_Write = 2,     // create or truncate
};

// Results of the name operations.
enum Result
{
    R_Success = 0,
    R_FileNotFound = 1,
    R_AccessDenied = 2,
    R_Failed = 3,
};

// Attribute bits of FileAttr. 0 means the entry does not exist.
enum Attribute : uint32
{
    F_ATTRIBUTE_FOLDER = 0x1,
    F_ATTRIBUTE_FILE = 0x2,
    F_ATTRIBUTE_READ = 0x100,  // always set for an existing entry
    F_ATTRIBUTE_WRITE = 0x200, // the owner may write it: the entry is not read-only
};

uint32 FileAttr(const char* fname);

// Returns 0 on failure. Sharing is advisory on this platform: `shareable` is accepted for the
// callers' sake and other openers are not locked out.
Handle Open(const char* fname, int mode, bool shareable);
void Close(Handle h);

// Positions and lengths are 32-bit: a file past 4 GB fails these calls.
uint32 Tell(Handle h);
bool Seek(Handle h, uint32 pos);
uint32 Length(Handle h);

// The bytes moved; 0 on failure.
uint32 Write(Handle h, const void* src, uint32 n);
uint32 Read(Handle h, void* dst, uint32 n);
bool Flush(Handle h);

// Takes the advisory lock of an open file, without waiting: false while another opener of the
// file holds it. This is how one log file tells that another process is writing it.
bool TryLock(Handle h);
// Cuts an open file to length 0 and moves to its start.
bool Truncate(Handle h);

// True when the file opens for reading and no process holds it open for writing: a saved file
// is ready once its writer has closed it.
bool CanOpenShared(const char* name);

// Sets or clears the owner's write permission: the read-only attribute of the file.
Result SetWritable(const char* name, bool writable);

Result Delete(const char* name);
// Fails (R_Failed) when `to` exists.
Result Rename(const char* from, const char* to);
// Writes `size` bytes as the whole of `name`: to a temporary file beside it, then renamed over
// it, so that no reader sees part of the new file. A read-only `name` is refused
// (R_AccessDenied) as an open for writing would be; an existing file's permission bits are kept.
Result WriteWhole(const char* name, const void* data, size_t size);
// Keeps the permission bits and the modification time of `from`.
Result Copy(const char* from, const char* to, bool failIfExists);

// Seconds since 1970; 0 when there is no such entry.
uint64 ModifyTime(const char* name);

// Makes one folder (its parent must exist). An existing folder is a success.
Result MakeFolder(const char* name);

// One entry of a folder listing.
struct FolderEntry
{
    std::string name; // as it stands on disk
    bool isFolder = false;
};
// Lists a folder's entries without "." and "..", sorted by name. False when it cannot be read.
bool ListFolder(const char* folder, std::vector<FolderEntry>& out);

// The native name a system name resolves to: separators turned, each existing component in the
// case found on disk, the part that does not exist as given. Empty for a null or empty name.
std::string NativeName(const char* name);
} // namespace OSFile
