// FilePath: the system's virtual file system. A file is named "ALIAS:relative\\path"; the alias
// names a list of sources, tried in descending priority, each of which maps the relative name to
// something that opens. Searches (FileSet), opening listeners and change callbacks sit on top.
//
// All of it is static and used from the main thread only. Names are held in stack buffers of
// MAXPATH characters: resolving a name allocates nothing. Failures return false, null or 0 and
// log; nothing here throws.
#pragma once

#include "foundation/types.h"
#include "names/fixedstring.h"

#include <memory>
#include <string>
#include <vector>

class ByteStream;

class FilePath
{
public:
    static constexpr int MAXPATH = 260;

    // What FindFiles keeps.
    enum SEARCH_Type
    {
        SEARCH_Files = 0,
        SEARCH_Folders = 1,
        SEARCH_Both = 2,
    };

    // Visitor of a file search: gets each name found.
    class FileListObj
    {
    public:
        virtual ~FileListObj() = default;
        virtual void Add(const char* filename) = 0;
    };

    // Told of every open through an alias: the name as given, the alias, and the id of the path.
    class FileListener
    {
    public:
        virtual ~FileListener() = default;
        virtual void OnOpen(const char* name, const char* alias, const char* id) = 0;
    };

    // Identifies one source of the alias table. A default-made one is InvalidID.
    class SourceID
    {
    public:
        static const SourceID InvalidID;

        SourceID() = default;
        bool IsValid() const { return m_value != 0; }
        friend bool operator==(SourceID a, SourceID b) { return a.m_value == b.m_value; }
        friend bool operator!=(SourceID a, SourceID b) { return a.m_value != b.m_value; }

    private:
        friend class FilePath;
        explicit SourceID(uint32 value) : m_value(value) {}
        uint32 m_value = 0;
    };

    // One place that holds files. Names handed to a source are relative to it and normalised:
    // '\\' separators, no alias, no leading separator.
    class Source
    {
    public:
        virtual ~Source() = default;
        // The full name of `inname` in this source, into `out` (MAXPATH bytes).
        virtual bool BuildPath(char* out, const char* inname, int mode) = 0;
        // The reverse: a full name to one relative to this source.
        virtual bool ConvertPath(char* out, const char* fullName) = 0;
        virtual std::unique_ptr<ByteStream> Open(const char* name, int mode) = 0;
        virtual bool Delete(const char* name) = 0;
        virtual bool Exists(const char* name, int mode) = 0;
        // 0 nothing there, 1 a file, 2 a folder.
        virtual int FileType(const char* name) = 0;
        // Hands each entry matching `filespec` (a folder and a wildcard name) to the visitor.
        virtual void FindFiles(const char* filespec, FileListObj* visitor) = 0;
        // Names of the files changed since the last call, relative to this source.
        virtual bool GetChanges(std::vector<std::string>& out) { return false; }
    };

    // The files a search found: names under the base "ALIAS:folder\\", sorted, each once.
    struct FoundFiles
    {
        FixedString<MAXPATH> basePath;
        std::vector<FixedString<MAXPATH>> cName;
    };

    // The result of FindFiles. Copies share one list.
    class FileSet : public FileListObj
    {
    public:
        FileSet();
        explicit FileSet(const char* basePath);
        // Appends `filename` to the base, normalises it and keeps it unless an equal name
        // (without regard to case) is there already.
        void Add(const char* filename) override;
        uint32 GetCount() const;
        // The full aliased name; null for an index out of range.
        const char* Get(uint32 index) const;
        const char* GetBasePath() const;

    private:
        std::shared_ptr<FoundFiles> m_pFiles;
    };

    // The simple form of a search result: the names as found, under one folder.
    struct FileListRaw : FileListObj
    {
        std::string folder;
        std::vector<std::string> cName;
        void Add(const char* filename) override { cName.emplace_back(filename); }
    };

    // Called with the aliased, lower-cased name of a changed file.
    using ChangeCallback = void (*)(const char* filename);

    // Aliases. An alias of one letter or holding ':' is refused (it would read as a drive), as is
    // an id already in the alias. Among equal priorities the path added last is tried first.
    static bool AddAlias(const char* alias, const char* id, int priority, std::shared_ptr<Source> source);
    static bool RemoveAlias(const char* alias, const char* id);

    // Listeners, unique by name without regard to case, told in the order of adding.
    static bool AddListener(const char* name, FileListener* pListener);
    static bool RemoveListener(const char* name);

    // In place: "ALIAS:x" to the full name in the first source that accepts it. `streamName` is a
    // buffer of MAXPATH bytes.
    static bool BuildPath(char* streamName, int mode);

    // Opens through the first source that gives a stream; null when none does. The stream carries
    // the name as given. `limitTo` passes over every other source; `pUsed` reports the source used.
    static std::shared_ptr<ByteStream> Open(const char* name, int mode);
    static std::shared_ptr<ByteStream> Open(const char* name, int mode, SourceID limitTo);
    static std::shared_ptr<ByteStream> Open(const char* name, int mode, SourceID* pUsed);

    // The first source in which BuildPath succeeds for `mode`: for a read, the one that holds the
    // file; for a write, the first that takes writes.
    static SourceID FindSource(const char* name, int mode);

    static int FileType(const char* name);
    static bool Delete(const char* name);
    static bool Exists(const char* name, int mode);

    // Searches every source of the alias of `filespec` ("ALIAS:folder\\*.ext"); with `recurse`, the
    // folders below as well. A name held by several sources is listed once.
    static FileSet FindFiles(const char* filespec, bool recurse, SEARCH_Type type);

    // True when `name` begins with an alias of the table.
    static bool IsAliased(const char* name);
    // In place, in a buffer of MAXPATH: a full name to "ALIAS:relative", upper case; a name that
    // already has a known alias is left as it is.
    static bool ConvertToAliased(char* name);
    // In place: lower case, and every '\\' as '/'.
    static void MakeCanonical(char* name);

    static bool SplitPath(const char* fullpath, char* alias, char* folder, char* name, char* ext);
    static bool MakePath(char* out, const char* alias, const char* folder, const char* name, const char* ext);

    // Change callbacks: `filespec` is "ALIAS:folder\\name"; a changed file whose aliased name holds
    // the folder and name (lower-cased) as a substring calls the callback at Update.
    static bool AddChangeCallback(const char* filespec, ChangeCallback callback);
    // With a null `filespec`, from every entry.
    static bool RemoveChangeCallback(ChangeCallback callback, const char* filespec = nullptr);
    // Runs the pending change notifications of the thread, then calls the callbacks of the files
    // that changed. Sources of aliases without callbacks are drained.
    static void Update();

    // Drops every alias, listener and change callback. For shutdown and for tests; sources still
    // held elsewhere (by streams or file sets) live on.
    static void Reset();
};
