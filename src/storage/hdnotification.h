// HDNotification: watches one folder tree and reports the files in it that were changed, once a
// writer no longer holds them, so that a running tool can reload what an artist saves.
//
// The watch is inotify, one watch per folder of the tree (new folders are added as they appear).
// Nothing runs on a thread of its own: the events are read without blocking when the owning thread
// calls RunCompletions(), which FilePath::Update does at each call. A changed file waits in the
// pending list until it can be opened for reading with no writer holding it; the pending list is
// swept at most once every 500 ms, and a file still held after 60 s is ignored for the rest of
// the run. Folders are never reported.
#pragma once

#include "foundation/types.h"
#include "names/fixedstring.h"

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

class HDNotification
{
public:
    static constexpr uint32 ReceiveBufferSize = 0x1040;
    // The sweep runs only when strictly more than this has passed since the last one.
    static constexpr uint32 SweepInterval = 500;
    // A pending file younger than this stays pending; an older one that is still held is ignored.
    static constexpr uint32 LockTimeOut = 60001;

    // A full name: the root text and the name below it.
    using Name = FixedString<260>;

    // Milliseconds from a monotonic clock; wraps at 2^32 like the tick count it stands for.
    using TickSource = uint32 (*)();
    // Replaces the clock of every watch (tests step time by hand); null restores the real clock.
    static void SetTickSource(TickSource source);
    static uint32 GetTick();

    // Makes and starts a watch on `root` (a system path name; both separators accepted). A folder
    // that cannot be watched is logged and gives a harmless object that reports nothing.
    static std::unique_ptr<HDNotification> Create(const char* root);

    // The stand-in for the zero-length alertable sleep: reads, without blocking, what every open
    // watch has received, and processes it. Call it from the thread that made the watches.
    static void RunCompletions();

    ~HDNotification();
    HDNotification(const HDNotification&) = delete;
    HDNotification& operator=(const HDNotification&) = delete;

    // Clears `out`, sweeps the pending list, hands over the changed list (full names, under the
    // root text as given to Create) and clears it. True when anything came.
    bool GetChanges(std::vector<Name>& out);

    // Ends the watch and clears the lists; the object stays harmless until its owner deletes it.
    void Close();

    bool IsWatching() const { return m_dirHandle != InvalidHandle; }
    const char* GetRoot() const { return m_root.c_str(); }

private:
    static constexpr int InvalidHandle = -1;

    // What a record says happened to a name.
    enum Action
    {
        Action_None = 0,
        Action_Added = 1,
        Action_Removed = 2,
        Action_Modified = 3,
        Action_RenamedOld = 4,
        Action_RenamedNew = 5,
    };

    struct Pending
    {
        Name name;
        uint32 tick;
    };

    explicit HDNotification(const char* root);
    bool Start();
    // Adds a watch on a folder of the tree and, when `walk` is set, on each folder below it.
    // `relative` is the folder below the root, with a trailing '\\' (empty for the root itself).
    bool AddWatch(const std::string& relative, bool walk, bool reportFiles);
    void Completion(int error, uint32 bytes);
    void ProcessRecords(uint32 bytes);
    void ProcessRecord(const std::string& relative, Action action, bool isFolderEvent);
    void Sweep();
    void Cancel();
    // The name on disk of a name below the root.
    std::string Native(const std::string& relative) const;

    alignas(8) char m_buffer[ReceiveBufferSize];
    Name m_root;
    std::string m_nativeRoot; // with a trailing '/'
    int m_dirHandle = InvalidHandle;
    // Watch descriptor to the folder it watches, relative to the root.
    std::map<int, std::string> m_watches;
    uint32 m_lastTick = 0;
    uint32 m_closeTick = 0;
    bool m_closing = false;
    bool m_cancelIssued = false;
    std::set<std::string> m_ignored;
    std::vector<Pending> m_pending;
    std::vector<Name> m_changed;
};
