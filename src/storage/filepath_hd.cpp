#include "storage/filepath_hd.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "storage/bytestream.h"
#include "storage/diskfilestream.h"
#include "storage/filepathutil.h"
#include "storage/hdnotification.h"
#include "storage/osfile.h"

#include <cstring>
#include <unistd.h>

namespace
{
constexpr size_t PathBuffer = size_t(FilePath::MAXPATH) + 1;

bool HasWildcard(const char* name)
{
    return std::strpbrk(name, "*?") != nullptr;
}

// Splits a full name into its folder (without the last separator; "." for none) and file part.
void SplitFolder(const char* full, char* folder, const char*& file)
{
    file = FilePathUtil::GetFilenamePtr(full);
    size_t len = size_t(file - full);
    if (len > 0 && FilePathUtil::IsSeparator(full[len - 1]))
        --len;
    if (len == 0 && file != full)
        len = 1; // the root folder itself
    if (len == 0)
    {
        std::strcpy(folder, ".");
        return;
    }
    std::memcpy(folder, full, len);
    folder[len] = '\0';
}

// 0 nothing there, 1 a file, 2 a folder. A name that is not there as it stands is taken as a
// wildcard: any match that is a plain file (not hidden, not a folder) gives 1.
int DiskFileType(const char* full)
{
    char name[PathBuffer];
    if (std::strlen(full) >= PathBuffer)
        return 0;
    std::strcpy(name, full);
    size_t len = std::strlen(name);
    if (len > 1 && FilePathUtil::IsSeparator(name[len - 1]))
        name[len - 1] = '\0';
    if (name[0] == '\0')
        return 0;
    const uint32 attr = OSFile::FileAttr(name);
    if (attr & OSFile::F_ATTRIBUTE_FOLDER)
        return 2;
    if (attr & OSFile::F_ATTRIBUTE_FILE)
        return 1;
    if (!HasWildcard(FilePathUtil::GetFilenamePtr(name)))
        return 0;

    char folder[PathBuffer];
    const char* pattern = nullptr;
    SplitFolder(name, folder, pattern);
    std::vector<OSFile::FolderEntry> cEntry;
    if (!OSFile::ListFolder(folder, cEntry))
        return 0;
    for (const OSFile::FolderEntry& entry : cEntry)
    {
        if (!entry.isFolder && entry.name[0] != '.' && FilePathUtil::MatchSpec(pattern, entry.name.c_str()))
            return 1;
    }
    return 0;
}

// The attributes are matched against the mode as they always were: every entry is readable and
// then needs the read bit; a writable entry also needs the write bit. So Mode_Read finds only
// read-only files, and Mode_Both every file.
bool DiskExists(const char* full, int mode)
{
    if (DiskFileType(full) == 0)
        return false;
    const uint32 attr = OSFile::FileAttr(full);
    if ((attr & OSFile::F_ATTRIBUTE_READ) && !(mode & ByteStream::BS_ReadBit))
        return false;
    if ((attr & OSFile::F_ATTRIBUTE_WRITE) && !(mode & ByteStream::BS_WriteBit))
        return false;
    return true;
}

// Hands each entry of the folder of `fullSpec` that matches its file part to the visitor.
void DiskFindFiles(const char* fullSpec, FilePath::FileListObj* visitor)
{
    char folder[PathBuffer];
    const char* pattern = nullptr;
    SplitFolder(fullSpec, folder, pattern);
    std::vector<OSFile::FolderEntry> cEntry;
    if (!OSFile::ListFolder(folder, cEntry))
        return;
    for (const OSFile::FolderEntry& entry : cEntry)
    {
        if (FilePathUtil::MatchSpec(pattern, entry.name.c_str()))
            visitor->Add(entry.name.c_str());
    }
}

bool DiskDelete(const char* full)
{
    const OSFile::Result result = OSFile::Delete(full);
    // A file that is not there is as good as deleted.
    return result == OSFile::R_Success || result == OSFile::R_FileNotFound;
}

// Every name handed to a root source stays below its root.
bool IsValidName(const char* name)
{
    return name != nullptr && *name != '\0' && *name != '\\' && std::strpbrk(name, ":/") == nullptr &&
           std::strstr(name, "..") == nullptr;
}

bool CheckName(const char* name)
{
    return dbAssert(IsValidName(name));
}

// The full name of a raw source: the separator that the alias split took off goes back on.
bool RawName(char* out, const char* name)
{
    const size_t len = std::strlen(name);
    const bool absolute = FilePathUtil::IsSeparator(name[0]);
    if (len + (absolute ? 0 : 1) >= size_t(FilePath::MAXPATH))
        return false;
    if (absolute)
        std::strcpy(out, name);
    else
    {
        out[0] = '\\';
        std::strcpy(out + 1, name);
    }
    return true;
}

// The current folder in system form, upper case, with a trailing '\\'.
bool CurrentFolder(char* out)
{
    char cwd[PathBuffer];
    if (::getcwd(cwd, sizeof(cwd) - 1) == nullptr)
        return false;
    FilePathUtil::Normalize(cwd);
    FilePathUtil::ToUpper(cwd);
    size_t len = std::strlen(cwd);
    if (len == 0 || cwd[len - 1] != '\\')
    {
        cwd[len++] = '\\';
        cwd[len] = '\0';
    }
    std::strcpy(out, cwd);
    return true;
}

// On this platform a leading separator stands where a drive letter would.
bool HasDrive(const char* name)
{
    return FilePathUtil::IsSeparator(name[0]) || (name[0] != '\0' && name[1] == ':');
}

// `name` made absolute against the current folder, upper case; false when it does not fit.
bool AbsoluteUpper(char* out, const char* name)
{
    char buf[PathBuffer * 2];
    buf[0] = '\0';
    if (!HasDrive(name) && !CurrentFolder(buf))
        return false;
    if (std::strlen(buf) + std::strlen(name) >= PathBuffer)
        return false;
    std::strcat(buf, name);
    FilePathUtil::Normalize(buf);
    FilePathUtil::ToUpper(buf);
    std::strcpy(out, buf);
    return true;
}
} // namespace

// FilePathHD

FilePathHD::FilePathHD(int mode, const char* root, bool share) : m_mode(mode), m_share(share)
{
    std::strcpy(m_root, root);
}

FilePathHD::~FilePathHD()
{
    if (m_pNotify)
        m_pNotify->Close();
}

std::shared_ptr<FilePathHD> FilePathHD::Create(const char* root, int mode, bool share, bool notify)
{
    if (!dbAssert(mode == ByteStream::Mode_Read || mode == ByteStream::Mode_Write ||
                  mode == ByteStream::Mode_Both))
        return nullptr;
    if (!dbAssert(root && std::strlen(root) < size_t(FilePath::MAXPATH)))
        return nullptr;
    // Paths on this platform are written with '/': the root is held with '\\' like every name.
    char given[PathBuffer];
    std::strcpy(given, root);
    FilePathUtil::Normalize(given);
    size_t len = std::strlen(given);
    if (len == 0 || given[len - 1] != '\\')
    {
        given[len++] = '\\';
        given[len] = '\0';
    }
    char upper[PathBuffer];
    std::strcpy(upper, given);
    FilePathUtil::ToUpper(upper);

    if (mode == ByteStream::Mode_Read)
    {
        if ((OSFile::FileAttr(upper) & OSFile::F_ATTRIBUTE_FOLDER) == 0)
        {
            dbTracef("FILESYSTEM -- filepath failure, path does not exist '%s'", root);
            return nullptr;
        }
    }
    else if ((OSFile::FileAttr(upper) & OSFile::F_ATTRIBUTE_FOLDER) == 0)
    {
        // Made in the case given: the upper-case text is only how the source names it.
        if (!FilePathHDRaw::MakeFolders(given))
        {
            dbTracef("FILESYSTEM -- filepath failure, failed to create path '%s'", root);
            return nullptr;
        }
    }

    std::shared_ptr<FilePathHD> pSource(new FilePathHD(mode, upper, share));
    if (notify)
        pSource->m_pNotify = HDNotification::Create(upper);
    return pSource;
}

bool FilePathHD::JoinRoot(char* out, const char* name) const
{
    const size_t rootLen = std::strlen(m_root);
    const size_t nameLen = std::strlen(name);
    if (rootLen + nameLen >= size_t(FilePath::MAXPATH))
        return false;
    std::memcpy(out, m_root, rootLen);
    std::memcpy(out + rootLen, name, nameLen + 1);
    return true;
}

bool FilePathHD::BuildPath(char* out, const char* inname, int mode)
{
    if (!dbAssert(out) || !dbAssert(inname && *inname != '\\'))
        return false;
    if (!CheckName(inname))
        return false;
    if ((mode & ~m_mode) != 0)
        return false;
    if (!JoinRoot(out, inname))
        return false;
    if ((mode & ByteStream::BS_WriteBit) && !FilePathHDRaw::MakeFolders(out))
        return false;
    if (mode == ByteStream::BS_ReadBit && OSFile::FileAttr(out) == 0)
        return false;
    return true;
}

bool FilePathHD::ConvertPath(char* out, const char* fullName)
{
    if (!dbAssert(out) || !dbAssert(fullName))
        return false;
    char root[PathBuffer];
    char name[PathBuffer];
    if (!AbsoluteUpper(root, m_root) || !AbsoluteUpper(name, fullName))
        return false;
    if (!FilePathUtil::HasPrefix(name, root))
        return false;
    return FilePathUtil::Copy(out, name + std::strlen(root));
}

std::unique_ptr<ByteStream> FilePathHD::Open(const char* name, int mode)
{
    if (!CheckName(name) || (mode & ~m_mode) != 0)
        return nullptr;
    char full[FilePath::MAXPATH];
    if (!JoinRoot(full, name))
        return nullptr;
    if ((mode & ByteStream::BS_WriteBit) && !FilePathHDRaw::MakeFolders(full))
        return nullptr;
    return DiskFileStream::New(full, mode, m_share);
}

bool FilePathHD::Delete(const char* name)
{
    if ((m_mode & ByteStream::BS_WriteBit) == 0 || !CheckName(name))
        return false;
    char full[FilePath::MAXPATH];
    return JoinRoot(full, name) && DiskDelete(full);
}

bool FilePathHD::Exists(const char* name, int mode)
{
    if (!CheckName(name) || (mode & ~m_mode) != 0)
        return false;
    char full[FilePath::MAXPATH];
    return JoinRoot(full, name) && DiskExists(full, mode);
}

int FilePathHD::FileType(const char* name)
{
    if (!CheckName(name))
        return 0;
    char full[FilePath::MAXPATH];
    return JoinRoot(full, name) ? DiskFileType(full) : 0;
}

void FilePathHD::FindFiles(const char* filespec, FilePath::FileListObj* visitor)
{
    if (!dbAssert(filespec && *filespec != '\0') ||
        !dbAssert(filespec[0] != '\\' ||
                  (filespec[0] == '\\' && filespec[1] == '\\' && filespec[2] != '\\')) ||
        !dbAssert(visitor))
        return;
    if (!CheckName(filespec))
        return;
    char full[FilePath::MAXPATH];
    if (JoinRoot(full, filespec))
        DiskFindFiles(full, visitor);
}

bool FilePathHD::GetChanges(std::vector<std::string>& out)
{
    out.clear();
    if (!m_pNotify)
        return false;
    std::vector<HDNotification::Name> cChanged;
    if (!m_pNotify->GetChanges(cChanged))
        return false;
    for (const HDNotification::Name& name : cChanged)
    {
        if (FilePathUtil::HasPrefix(name.c_str(), m_root))
            out.emplace_back(name.c_str() + std::strlen(m_root));
    }
    return !out.empty();
}

// FilePathHDRaw

bool FilePathHDRaw::BuildPath(char* out, const char* inname, int mode)
{
    if (!dbAssert(out) || !dbAssert(inname && *inname))
        return false;
    return RawName(out, inname);
}

bool FilePathHDRaw::ConvertPath(char* out, const char* fullName)
{
    return false;
}

std::unique_ptr<ByteStream> FilePathHDRaw::Open(const char* name, int mode)
{
    char full[FilePath::MAXPATH];
    if (!dbAssert(name && *name) || !RawName(full, name))
        return nullptr;
    return DiskFileStream::New(full, mode, m_share);
}

bool FilePathHDRaw::Delete(const char* name)
{
    char full[FilePath::MAXPATH];
    if (!dbAssert(name && *name) || !RawName(full, name))
        return false;
    return DiskDelete(full);
}

bool FilePathHDRaw::Exists(const char* name, int mode)
{
    char full[FilePath::MAXPATH];
    if (!dbAssert(name && *name) || !RawName(full, name))
        return false;
    return DiskExists(full, mode);
}

int FilePathHDRaw::FileType(const char* name)
{
    char full[FilePath::MAXPATH];
    if (!dbAssert(name && *name) || !RawName(full, name))
        return 0;
    return DiskFileType(full);
}

void FilePathHDRaw::FindFiles(const char* filespec, FilePath::FileListObj* visitor)
{
    if (!dbAssert(filespec && *filespec != '\0') ||
        !dbAssert(filespec[0] != '\\' ||
                  (filespec[0] == '\\' && filespec[1] == '\\' && filespec[2] != '\\')) ||
        !dbAssert(visitor))
        return;
    char full[FilePath::MAXPATH];
    if (RawName(full, filespec))
        DiskFindFiles(full, visitor);
}

bool FilePathHDRaw::Rename(const char* from, const char* to)
{
    char fullFrom[FilePath::MAXPATH];
    char fullTo[FilePath::MAXPATH];
    if (!dbAssert(from && *from && to && *to) || !RawName(fullFrom, from) || !RawName(fullTo, to))
        return false;
    return OSFile::Rename(fullFrom, fullTo) == OSFile::R_Success;
}

bool FilePathHDRaw::MakeFolders(const char* name)
{
    if (!dbAssert(name != nullptr))
        return false;
    const size_t len = std::strlen(name);
    if (len >= PathBuffer)
        return false;
    char cut[PathBuffer];
    std::strcpy(cut, name);
    FilePathUtil::Normalize(cut);

    size_t start = 0;
    if (cut[0] == '\\' && cut[1] == '\\')
    {
        // "\\\\server\\share": the server is no folder to make.
        const char* afterServer = std::strchr(cut + 2, '\\');
        if (afterServer == nullptr)
            return true;
        start = size_t(afterServer - cut) + 1;
    }
    for (size_t i = start; cut[i] != '\0'; ++i)
    {
        if (cut[i] != '\\' || i == 0)
            continue;
        cut[i] = '\0';
        const bool isFolder = (OSFile::FileAttr(cut) & OSFile::F_ATTRIBUTE_FOLDER) != 0;
        const bool made = isFolder || OSFile::MakeFolder(cut) == OSFile::R_Success;
        cut[i] = '\\';
        if (!made)
            return false;
    }
    return true;
}
