#include "storage/osfile.h"

#include "foundation/debug.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <csignal>
#include <strings.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace OSFile
{
namespace
{
int ToFd(Handle h)
{
    return int(h - 1);
}
Handle ToHandle(int fd)
{
    return Handle(fd) + 1;
}

std::string Translate(const char* name)
{
    std::string native(name);
    std::replace(native.begin(), native.end(), '\\', '/');
    return native;
}

bool StatName(const std::string& native, struct stat& st)
{
    return ::stat(native.c_str(), &st) == 0;
}

// The entry of `folder` whose name equals `component` without regard to case. Of several, the first
// in byte order, so that the choice does not depend on the order of the folder on disk.
bool FindCaseless(const std::string& folder, const std::string& component, std::string& found)
{
    DIR* pDir = ::opendir(folder.empty() ? "." : folder.c_str());
    if (pDir == nullptr)
        return false;
    bool any = false;
    while (const dirent* pEntry = ::readdir(pDir))
    {
        if (::strcasecmp(pEntry->d_name, component.c_str()) != 0)
            continue;
        if (!any || std::strcmp(pEntry->d_name, found.c_str()) < 0)
            found = pEntry->d_name;
        any = true;
    }
    ::closedir(pDir);
    return any;
}

// Walks the components of a translated name, taking each one that exists in the case found on
// disk; from the first one that does not exist in any case, the rest stays as given.
std::string ResolveCaseless(const std::string& native)
{
    std::string out;
    size_t pos = 0;
    if (!native.empty() && native[0] == '/')
    {
        out = "/";
        pos = 1;
    }
    bool searching = true;
    while (pos <= native.size())
    {
        size_t end = native.find('/', pos);
        if (end == std::string::npos)
            end = native.size();
        std::string component = native.substr(pos, end - pos);
        pos = end + 1;
        if (component.empty())
            continue;
        std::string next = out;
        if (!next.empty() && next.back() != '/')
            next += '/';
        if (searching && component != "." && component != "..")
        {
            struct stat st;
            std::string exact = next + component;
            std::string found;
            if (!StatName(exact, st))
            {
                if (FindCaseless(out, component, found))
                    component = found;
                else
                    searching = false;
            }
        }
        out = next + component;
    }
    if (out.empty())
        out = native;
    return out;
}

// The native name to use: the exact name when it exists (one stat), the resolved one otherwise.
std::string Resolve(const char* name)
{
    std::string native = Translate(name);
    struct stat st;
    if (StatName(native, st))
        return native;
    return ResolveCaseless(native);
}

Result FromErrno(int error)
{
    switch (error)
    {
    case ENOENT:
    case ENOTDIR:
        return R_FileNotFound;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
        return R_AccessDenied;
    default:
        return R_Failed;
    }
}

bool SameEntry(const struct stat& a, const struct stat& b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}
} // namespace

uint32 FileAttr(const char* fname)
{
    if (!dbAssert(fname != 0 && std::strlen(fname) > 0))
        return 0;
    struct stat st;
    if (!StatName(Resolve(fname), st))
        return 0;
    uint32 attr = F_ATTRIBUTE_READ;
    attr |= S_ISDIR(st.st_mode) ? F_ATTRIBUTE_FOLDER : F_ATTRIBUTE_FILE;
    if ((st.st_mode & S_IWUSR) != 0)
        attr |= F_ATTRIBUTE_WRITE;
    return attr;
}

Handle Open(const char* fname, int mode, bool shareable)
{
    (void)shareable;
    if (!dbAssert(fname != nullptr && fname[0] != '\0'))
        return 0;
    int flags = 0;
    switch (mode)
    {
    case OM_Read:
        flags = O_RDONLY;
        break;
    case OM_ReadWrite:
        flags = O_RDWR | O_CREAT;
        break;
    case OM_Write:
        flags = O_WRONLY | O_CREAT | O_TRUNC;
        break;
    default:
        dbAssert(mode == OM_Read || mode == OM_ReadWrite || mode == OM_Write);
        return 0;
    }
    flags |= O_CLOEXEC;

    std::string native = Translate(fname);
    int fd = -1;
    if (mode == OM_Read)
    {
        // The exact name first: reading a file that is there costs no more than the open.
        fd = ::open(native.c_str(), flags);
        if (fd < 0 && (errno == ENOENT || errno == ENOTDIR))
        {
            std::string resolved = ResolveCaseless(native);
            if (resolved != native)
                fd = ::open(resolved.c_str(), flags);
        }
    }
    else
    {
        // A file that exists in another case is the one written, not a second one beside it.
        struct stat st;
        if (!StatName(native, st))
            native = ResolveCaseless(native);
        fd = ::open(native.c_str(), flags, 0666);
    }
    if (fd < 0)
        return 0;

    struct stat st;
    if (::fstat(fd, &st) != 0 || S_ISDIR(st.st_mode))
    {
        ::close(fd);
        return 0;
    }
    if (mode == OM_Read)
        ::posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
    else if (mode == OM_ReadWrite)
        ::lseek(fd, 0, SEEK_END);
    return ToHandle(fd);
}

void Close(Handle h)
{
    if (!dbAssert(h != 0))
        return;
    ::close(ToFd(h));
}

bool TryLock(Handle h)
{
    if (!dbAssert(h != 0))
        return false;
    return ::flock(ToFd(h), LOCK_EX | LOCK_NB) == 0;
}

bool Truncate(Handle h)
{
    if (!dbAssert(h != 0))
        return false;
    return ::ftruncate(ToFd(h), 0) == 0 && ::lseek(ToFd(h), 0, SEEK_SET) == 0;
}

bool CanOpenShared(const char* name)
{
    const Handle h = Open(name, OM_Read, true);
    if (h == 0)
        return false;
    const int fd = ToFd(h);
    // A read lease is refused (EAGAIN) exactly while some process has the file open for writing;
    // it is dropped again at once. Where leases are not to be had (a file of another owner, a file
    // system without them) the open alone decides. A writer that opens while the lease stands
    // breaks it and the kernel signals the holder: SIGURG is ignored unless handled, where the
    // default SIGIO would end the process.
    ::fcntl(fd, F_SETSIG, SIGURG);
    bool ready = true;
    if (::fcntl(fd, F_SETLEASE, F_RDLCK) == 0)
        ::fcntl(fd, F_SETLEASE, F_UNLCK);
    else if (errno == EAGAIN)
        ready = false;
    Close(h);
    return ready;
}

Result SetWritable(const char* name, bool writable)
{
    if (!dbAssert(name != nullptr && name[0] != '\0'))
        return R_Failed;
    const std::string native = Resolve(name);
    struct stat st;
    if (!StatName(native, st))
        return R_FileNotFound;
    const mode_t mode = writable ? (st.st_mode | S_IWUSR) : (st.st_mode & ~mode_t(S_IWUSR | S_IWGRP | S_IWOTH));
    if (::chmod(native.c_str(), mode & 07777) != 0)
        return errno == EPERM || errno == EACCES ? R_AccessDenied : R_Failed;
    return R_Success;
}

uint32 Tell(Handle h)
{
    if (!dbAssert(h != 0))
        return 0;
    off_t pos = ::lseek(ToFd(h), 0, SEEK_CUR);
    if (!dbAssert(pos >= 0 && uint64(pos) <= 0xFFFFFFFFu))
        return 0;
    return uint32(pos);
}

bool Seek(Handle h, uint32 pos)
{
    if (!dbAssert(h != 0))
        return false;
    off_t result = ::lseek(ToFd(h), off_t(pos), SEEK_SET);
    return dbAssert(result == off_t(pos));
}

uint32 Length(Handle h)
{
    if (!dbAssert(h != 0))
        return 0;
    struct stat st;
    if (!dbAssert(::fstat(ToFd(h), &st) == 0))
        return 0;
    if (!dbAssert(uint64(st.st_size) <= 0xFFFFFFFFu))
        return 0;
    return uint32(st.st_size);
}

uint32 Write(Handle h, const void* src, uint32 n)
{
    if (!dbAssert(h != 0) || !dbAssert(src != nullptr && n > 0))
        return 0;
    const char* p = static_cast<const char*>(src);
    uint32 done = 0;
    while (done < n)
    {
        ssize_t got = ::write(ToFd(h), p + done, n - done);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        done += uint32(got);
    }
    return done;
}

uint32 Read(Handle h, void* dst, uint32 n)
{
    if (!dbAssert(h != 0) || !dbAssert(dst != nullptr))
        return 0;
    char* p = static_cast<char*>(dst);
    uint32 done = 0;
    while (done < n)
    {
        ssize_t got = ::read(ToFd(h), p + done, n - done);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        done += uint32(got);
    }
    return done;
}

bool Flush(Handle h)
{
    if (!dbAssert(h != 0))
        return false;
    return dbAssert(::fsync(ToFd(h)) == 0);
}

Result Delete(const char* name)
{
    if (!dbAssert(name != nullptr && name[0] != '\0'))
        return R_Failed;
    if (::unlink(Resolve(name).c_str()) != 0)
        return FromErrno(errno);
    return R_Success;
}

Result Rename(const char* from, const char* to)
{
    if (!dbAssert(from != nullptr && from[0] != '\0' && to != nullptr && to[0] != '\0'))
        return R_Failed;
    std::string source = Resolve(from);
    std::string target = Resolve(to);
    struct stat sourceStat, targetStat;
    if (!StatName(source, sourceStat))
        return FromErrno(errno);
    if (StatName(target, targetStat))
    {
        if (!SameEntry(sourceStat, targetStat))
            return R_Failed;
        // The same entry under another case: only the case of the file part changes.
        std::string given = Translate(to);
        size_t cut = given.rfind('/');
        std::string filePart = cut == std::string::npos ? given : given.substr(cut + 1);
        size_t targetCut = target.rfind('/');
        target = targetCut == std::string::npos ? filePart : target.substr(0, targetCut + 1) + filePart;
        if (::rename(source.c_str(), target.c_str()) != 0)
            return FromErrno(errno);
        return R_Success;
    }
    if (::renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) != 0)
    {
        if (errno == EEXIST)
            return R_Failed;
        if (errno != EINVAL)
            return FromErrno(errno);
        // A file system without the no-replace form: the target was checked above.
        if (::rename(source.c_str(), target.c_str()) != 0)
            return FromErrno(errno);
    }
    return R_Success;
}

Result WriteWhole(const char* name, const void* data, size_t size)
{
    if (!dbAssert(name != nullptr && name[0] != '\0') || !dbAssert(data != nullptr || size == 0))
        return R_Failed;
    const std::string target = Resolve(name);
    struct stat targetStat;
    const bool exists = StatName(target, targetStat);
    if (exists && (S_ISDIR(targetStat.st_mode) || (targetStat.st_mode & S_IWUSR) == 0))
        return R_AccessDenied;
    // The process id keeps two writers of one file apart; the rename decides which one stays.
    const std::string temporary = target + ".tmp" + std::to_string(::getpid());
    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0)
        return FromErrno(errno);
    const uint8* p = static_cast<const uint8*>(data);
    size_t left = size;
    while (left > 0)
    {
        const ssize_t n = ::write(fd, p, left);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
        {
            const int error = errno;
            ::close(fd);
            ::unlink(temporary.c_str());
            return FromErrno(error);
        }
        p += n;
        left -= size_t(n);
    }
    if (exists)
        ::fchmod(fd, targetStat.st_mode & 07777);
    if (::close(fd) != 0 || ::rename(temporary.c_str(), target.c_str()) != 0)
    {
        const int error = errno;
        ::unlink(temporary.c_str());
        return FromErrno(error);
    }
    return R_Success;
}

Result Copy(const char* from, const char* to, bool failIfExists)
{
    if (!dbAssert(from != nullptr && from[0] != '\0' && to != nullptr && to[0] != '\0'))
        return R_Failed;
    std::string source = Resolve(from);
    std::string target = Resolve(to);
    int in = ::open(source.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0)
        return FromErrno(errno);
    struct stat sourceStat, targetStat;
    if (::fstat(in, &sourceStat) != 0 || S_ISDIR(sourceStat.st_mode))
    {
        ::close(in);
        return R_AccessDenied;
    }
    if (StatName(target, targetStat) && SameEntry(sourceStat, targetStat))
    {
        // Truncating the target would destroy the source.
        ::close(in);
        return R_Failed;
    }
    int flags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | (failIfExists ? O_EXCL : 0);
    int out = ::open(target.c_str(), flags, 0600);
    if (out < 0)
    {
        Result result = errno == EEXIST ? R_Failed : FromErrno(errno);
        ::close(in);
        return result;
    }
    Result result = R_Success;
    char buffer[0x10000];
    for (;;)
    {
        ssize_t got = ::read(in, buffer, sizeof(buffer));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
        {
            result = R_Failed;
            break;
        }
        if (got == 0)
            break;
        ssize_t done = 0;
        while (done < got)
        {
            ssize_t put = ::write(out, buffer + done, size_t(got - done));
            if (put < 0 && errno == EINTR)
                continue;
            if (put <= 0)
                break;
            done += put;
        }
        if (done < got)
        {
            result = R_Failed;
            break;
        }
    }
    if (result == R_Success)
    {
        const struct timespec times[2] = {sourceStat.st_atim, sourceStat.st_mtim};
        ::futimens(out, times);
        ::fchmod(out, sourceStat.st_mode & 07777);
    }
    ::close(out);
    ::close(in);
    return result;
}

uint64 ModifyTime(const char* name)
{
    if (!dbAssert(name != nullptr && name[0] != '\0'))
        return 0;
    struct stat st;
    if (!StatName(Resolve(name), st) || st.st_mtime < 0)
        return 0;
    return uint64(st.st_mtime);
}

Result MakeFolder(const char* name)
{
    if (!dbAssert(name != nullptr && name[0] != '\0'))
        return R_Failed;
    std::string native = Resolve(name);
    if (::mkdir(native.c_str(), 0777) == 0)
        return R_Success;
    int error = errno;
    struct stat st;
    if (error == EEXIST && StatName(native, st) && S_ISDIR(st.st_mode))
        return R_Success;
    return error == EEXIST ? R_Failed : FromErrno(error);
}

bool ListFolder(const char* folder, std::vector<FolderEntry>& out)
{
    out.clear();
    if (!dbAssert(folder != nullptr && folder[0] != '\0'))
        return false;
    std::string native = Resolve(folder);
    DIR* pDir = ::opendir(native.c_str());
    if (pDir == nullptr)
        return false;
    while (const dirent* pEntry = ::readdir(pDir))
    {
        if (std::strcmp(pEntry->d_name, ".") == 0 || std::strcmp(pEntry->d_name, "..") == 0)
            continue;
        FolderEntry entry;
        entry.name = pEntry->d_name;
        if (pEntry->d_type == DT_DIR)
            entry.isFolder = true;
        else if (pEntry->d_type == DT_UNKNOWN || pEntry->d_type == DT_LNK)
        {
            struct stat st;
            std::string full = native + (native.back() == '/' ? "" : "/") + entry.name;
            entry.isFolder = StatName(full, st) && S_ISDIR(st.st_mode);
        }
        out.push_back(std::move(entry));
    }
    ::closedir(pDir);
    std::sort(out.begin(), out.end(),
              [](const FolderEntry& a, const FolderEntry& b) { return a.name < b.name; });
    return true;
}

std::string NativeName(const char* name)
{
    if (name == nullptr || name[0] == '\0')
        return std::string();
    return Resolve(name);
}
} // namespace OSFile
