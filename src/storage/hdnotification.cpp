#include "storage/hdnotification.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "storage/filepathutil.h"
#include "storage/osfile.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace
{
// File name, last write and size changes of the tree, and the name changes that tell of new
// folders to watch. Links to folders are not followed, so a loop of links cannot trap the walk.
constexpr uint32 WatchMask = IN_MODIFY | IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_ONLYDIR |
                             IN_DONT_FOLLOW | IN_EXCL_UNLINK;

uint32 MonotonicTick()
{
    timespec ts;
    ::clock_gettime(CLOCK_MONOTONIC, &ts);
    return uint32(uint64(ts.tv_sec) * 1000u + uint64(ts.tv_nsec) / 1000000u);
}

HDNotification::TickSource s_tickSource = nullptr;

// The watches of this thread, which RunCompletions reads.
std::vector<HDNotification*>& LiveWatches()
{
    static std::vector<HDNotification*> s_live;
    return s_live;
}

} // namespace

void HDNotification::SetTickSource(TickSource source)
{
    s_tickSource = source;
}

uint32 HDNotification::GetTick()
{
    return s_tickSource ? s_tickSource() : MonotonicTick();
}

HDNotification::HDNotification(const char* root)
{
    std::memset(m_buffer, 0, sizeof(m_buffer));
    // Seen in a debugger, the buffer says whether any read has come back.
    std::strcpy(m_buffer, "No callbacks received");

    char text[FilePathUtil::MAXPATH];
    if (FilePathUtil::Copy(text, root))
    {
        FilePathUtil::Normalize(text);
        const size_t len = std::strlen(text);
        if (len > 0 && text[len - 1] != '\\' && len + 1 < FilePathUtil::MAXPATH)
        {
            text[len] = '\\';
            text[len + 1] = '\0';
        }
        m_root = text;
    }
}

std::unique_ptr<HDNotification> HDNotification::Create(const char* root)
{
    if (!dbAssert(root != nullptr && *root != '\0'))
        return nullptr;
    std::unique_ptr<HDNotification> pWatch(new HDNotification(root));
    pWatch->Start();
    return pWatch;
}

bool HDNotification::Start()
{
    m_lastTick = GetTick();
    if (m_root.empty())
    {
        dbTracef("NOTIFIER - Unable to create handle for directory %s, error code: %#x.", m_root.c_str(),
                 unsigned(ENAMETOOLONG));
        return false;
    }
    const int fd = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (fd < 0)
    {
        dbTracef("NOTIFIER - Unable to create handle for directory %s, error code: %#x.", m_root.c_str(),
                 unsigned(errno));
        return false;
    }
    // The root resolved once to its name on disk: the calls below then need no caseless search.
    m_nativeRoot = OSFile::NativeName(m_root.c_str());
    const int wd = ::inotify_add_watch(fd, m_nativeRoot.c_str(), WatchMask & ~uint32(IN_DONT_FOLLOW));
    if (wd < 0)
    {
        const int error = errno;
        ::close(fd);
        dbTracef("NOTIFIER - Unable to create handle for directory %s, error code: %#x.", m_root.c_str(),
                 unsigned(error));
        return false;
    }
    m_dirHandle = fd;
    if (m_nativeRoot.back() != '/')
        m_nativeRoot += '/';
    m_watches[wd] = std::string();
    dbTracef("NOTIFIER - Handle created for directory %s - %#x", m_root.c_str(), unsigned(fd));
    LiveWatches().push_back(this);

    // The folders below the root, each with a watch of its own.
    std::vector<OSFile::FolderEntry> cEntry;
    if (OSFile::ListFolder(m_nativeRoot.c_str(), cEntry))
    {
        for (const OSFile::FolderEntry& entry : cEntry)
        {
            if (entry.isFolder)
                AddWatch(entry.name + '\\', true, false);
        }
    }
    return true;
}

bool HDNotification::AddWatch(const std::string& relative, bool walk, bool reportFiles)
{
    const std::string full = std::string(m_root.c_str()) + relative;
    if (full.size() >= FilePathUtil::MAXPATH)
        return false;
    const std::string native = Native(relative);
    const int wd = ::inotify_add_watch(m_dirHandle, native.c_str(), WatchMask);
    if (wd < 0)
    {
        // A link to a folder is not followed: it is no failure.
        if (errno != ENOTDIR)
            dbTracef("NOTIFIER - Error requesting notifications for %s, error code: %#x.", full.c_str(),
                     unsigned(errno));
        return false;
    }
    m_watches[wd] = relative;
    if (!walk)
        return true;

    std::vector<OSFile::FolderEntry> cEntry;
    if (!OSFile::ListFolder(native.c_str(), cEntry))
        return true;
    for (const OSFile::FolderEntry& entry : cEntry)
    {
        if (entry.isFolder)
            AddWatch(relative + entry.name + '\\', true, reportFiles);
        else if (reportFiles)
        {
            // Written into a new folder before its watch stood: no record will come for it.
            ProcessRecord(relative + entry.name, Action_Modified, false);
        }
    }
    return true;
}

void HDNotification::RunCompletions()
{
    // A completion may close its watch, which takes it off the list: walk a copy.
    const std::vector<HDNotification*> cWatch = LiveWatches();
    for (HDNotification* pWatch : cWatch)
    {
        std::vector<HDNotification*>& cLive = LiveWatches();
        if (std::find(cLive.begin(), cLive.end(), pWatch) == cLive.end())
            continue;
        for (;;)
        {
            if (pWatch->m_dirHandle == InvalidHandle)
                break;
            const ssize_t got = ::read(pWatch->m_dirHandle, pWatch->m_buffer, sizeof(pWatch->m_buffer));
            if (got > 0)
            {
                pWatch->Completion(0, uint32(got));
                continue;
            }
            if (got < 0 && errno == EINTR)
                continue;
            if (got < 0 && errno != EAGAIN)
                pWatch->Completion(errno, 0);
            break;
        }
    }
}

void HDNotification::Completion(int error, uint32 bytes)
{
    if (m_closing)
        return;
    if (error == 0)
    {
        if (bytes > 0)
            ProcessRecords(bytes);
        return;
    }
    dbTracef("NOTIFIER - Error code in callback: %#x", unsigned(error));
}

void HDNotification::ProcessRecords(uint32 bytes)
{
    const size_t header = sizeof(inotify_event);
    size_t offset = 0;
    while (bytes - offset >= header)
    {
        inotify_event event;
        std::memcpy(&event, m_buffer + offset, header);
        const char* pName = m_buffer + offset + header;
        if (event.len > bytes - offset - header)
            break;
        offset += header + event.len;

        if (event.mask & IN_Q_OVERFLOW)
        {
            dbTracef(
                "NOTIFIER - Data discarded by system due to overflow - files have been modified but which "
                "ones are unknown");
            dbBreakMsg("Notification overflow");
            continue;
        }
        if (event.mask & IN_IGNORED)
        {
            m_watches.erase(event.wd);
            continue;
        }
        // The name is padded with terminators; one of NAME_MAX characters still ends inside.
        const size_t nameLen = event.len ? strnlen(pName, event.len) : 0;
        if (nameLen == 0 || nameLen >= FilePathUtil::MAXPATH)
            continue;
        const auto found = m_watches.find(event.wd);
        if (found == m_watches.end())
            continue;
        const std::string relative = found->second + std::string(pName, nameLen);

        Action action = Action_None;
        if (event.mask & IN_MODIFY)
            action = Action_Modified;
        else if (event.mask & IN_MOVED_TO)
            action = Action_RenamedNew;
        else if (event.mask & IN_CREATE)
            action = Action_Added;
        else if (event.mask & IN_DELETE)
            action = Action_Removed;
        else if (event.mask & IN_MOVED_FROM)
            action = Action_RenamedOld;

        const bool isFolder = (event.mask & IN_ISDIR) != 0;
        if (isFolder && (action == Action_Added || action == Action_RenamedNew))
            AddWatch(relative + '\\', true, action == Action_Added);
        ProcessRecord(relative, action, isFolder);
    }
    Sweep();
}

void HDNotification::ProcessRecord(const std::string& relative, Action action, bool isFolderEvent)
{
    if (!dbAssert(strlen(m_root.c_str()) + relative.size() < FilePathUtil::MAXPATH - 1))
        return;
    char full[FilePathUtil::MAXPATH];
    std::strcpy(full, m_root.c_str());
    std::strcat(full, relative.c_str());
    FilePathUtil::Normalize(full);

    const uint32 attr = OSFile::FileAttr(Native(relative).c_str());
    if (attr == 0)
        return;
    if ((attr & OSFile::F_ATTRIBUTE_FOLDER) != 0 || isFolderEvent)
    {
        m_ignored.insert(full);
        return;
    }
    if (action != Action_Modified && action != Action_RenamedNew)
        return;
    if (m_ignored.count(full) != 0)
        return;
    for (const Pending& pending : m_pending)
    {
        if (pending.name == full)
            return;
    }
    m_pending.push_back(Pending{Name(full), GetTick()});
}

void HDNotification::Sweep()
{
    const uint32 now = GetTick();
    if (now - m_lastTick <= SweepInterval)
        return;
    m_lastTick = now;
    for (auto it = m_pending.begin(); it != m_pending.end();)
    {
        if (OSFile::CanOpenShared(Native(it->name.c_str() + m_root.length()).c_str()))
        {
            m_changed.push_back(it->name);
            it = m_pending.erase(it);
        }
        else if (now - it->tick < LockTimeOut)
            ++it;
        else
        {
            // Held for a minute: not reported again during this run.
            m_ignored.insert(it->name.c_str());
            it = m_pending.erase(it);
        }
    }
}

bool HDNotification::GetChanges(std::vector<Name>& out)
{
    out.clear();
    Sweep();
    out = m_changed;
    m_changed.clear();
    return !out.empty();
}

void HDNotification::Close()
{
    if (m_closing)
        return;
    m_closing = true;
    if (m_dirHandle == InvalidHandle)
        return;
    Cancel();
}

void HDNotification::Cancel()
{
    if (!dbAssert(m_dirHandle != InvalidHandle))
        return;
    const int fd = m_dirHandle;
    m_closeTick = GetTick();
    m_cancelIssued = true;
    // Closing the inotify descriptor takes every watch of the tree down at once.
    if (::close(fd) != 0)
    {
        dbTracef("NOTIFIER - CancelIo returned FALSE for directory %s - HANDLE: %#x - ERROR: %#x",
                 m_root.c_str(), unsigned(fd), unsigned(errno));
        dbBreakMsg("Cancelling the notification failed");
    }
    m_dirHandle = InvalidHandle;
    m_watches.clear();
    m_pending.clear();
    m_changed.clear();
    m_ignored.clear();

    std::vector<HDNotification*>& cLive = LiveWatches();
    cLive.erase(std::remove(cLive.begin(), cLive.end(), this), cLive.end());
    dbTracef("NOTIFIER - Notification terminated for directory %s - HANDLE: %#x - after %i milliseconds",
             m_root.c_str(), unsigned(fd), int(GetTick() - m_closeTick));
}

std::string HDNotification::Native(const std::string& relative) const
{
    std::string native = m_nativeRoot + relative;
    std::replace(native.begin() + std::ptrdiff_t(m_nativeRoot.size()), native.end(), '\\', '/');
    return native;
}

HDNotification::~HDNotification()
{
    Close();
    std::vector<HDNotification*>& cLive = LiveWatches();
    cLive.erase(std::remove(cLive.begin(), cLive.end(), this), cLive.end());
}
