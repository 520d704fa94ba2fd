#include "storage/filepath.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "storage/bytestream.h"
#include "storage/filepathutil.h"
#include "storage/hdnotification.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>

const FilePath::SourceID FilePath::SourceID::InvalidID;

namespace
{
using Source = FilePath::Source;

struct PathRecord
{
    std::string id;
    FilePath::SourceID sourceId;
    int priority;
    std::shared_ptr<Source> pSource;
};

struct AliasRecord
{
    std::string alias;             // upper case
    std::vector<PathRecord> cPath; // descending priority
};

struct ListenerRecord
{
    std::string name;
    FilePath::FileListener* pListener;
};

// Change callbacks: alias, then folder, then file name (both lower case), to the callbacks.
using NameTable = std::map<std::string, std::vector<FilePath::ChangeCallback>>;
using FolderTable = std::map<std::string, NameTable>;
using CallbackTable = std::map<std::string, FolderTable>;

struct Tables
{
    std::vector<AliasRecord> cAlias; // sorted by alias text
    std::vector<ListenerRecord> cListener;
    CallbackTable callbacks;
    uint32 nextSourceId = 1;
};

Tables& GetTables()
{
    static Tables s_tables;
    return s_tables;
}

// Bisection over the sorted alias table.
std::vector<AliasRecord>::iterator LowerBound(const char* alias)
{
    std::vector<AliasRecord>& cAlias = GetTables().cAlias;
    return std::lower_bound(cAlias.begin(), cAlias.end(), alias,
                            [](const AliasRecord& rec, const char* text)
                            { return std::strcmp(rec.alias.c_str(), text) < 0; });
}

AliasRecord* FindAlias(const char* alias)
{
    std::vector<AliasRecord>& cAlias = GetTables().cAlias;
    auto it = LowerBound(alias);
    if (it == cAlias.end() || it->alias != alias)
        return nullptr;
    return &*it;
}

// Drops the single leading separator of a relative name; a leading pair (a network name) stays.
void DropLeadingSeparator(char* rest)
{
    if (rest[0] == '\\' && rest[1] != '\\')
        std::memmove(rest, rest + 1, std::strlen(rest));
}

// A name split for resolution: the alias in upper case and the normalised relative rest.
struct SplitName
{
    char alias[FilePath::MAXPATH + 1];
    char rest[FilePath::MAXPATH + 1];
};

bool SplitForResolution(const char* inname, SplitName& out)
{
    if (!dbAssert(inname && strlen(inname) <= FilePath::MAXPATH))
        return false;
    const char* colon = std::strchr(inname, ':');
    if (colon)
    {
        const size_t aliasLen = size_t(colon - inname);
        std::memcpy(out.alias, inname, aliasLen);
        out.alias[aliasLen] = '\0';
        std::strcpy(out.rest, colon + 1);
    }
    else
    {
        out.alias[0] = '\0';
        std::strcpy(out.rest, inname);
    }
    FilePathUtil::ToUpper(out.alias);
    FilePathUtil::Normalize(out.rest);
    DropLeadingSeparator(out.rest);
    return true;
}

// Splits `name` and finds its alias. An empty name fails at once and silently; a missing alias
// is logged with the whole name.
AliasRecord* Resolve(const char* name, SplitName& split)
{
    if (name == nullptr || *name == '\0')
        return nullptr;
    if (!SplitForResolution(name, split))
        return nullptr;
    AliasRecord* pAlias = FindAlias(split.alias);
    if (pAlias == nullptr)
        dbTracef("FILESYSTEM -- filepath failure, missing alias '%s'", name);
    return pAlias;
}

bool IsValidMode(int mode)
{
    return mode == ByteStream::Mode_Read || mode == ByteStream::Mode_Write || mode == ByteStream::Mode_Both;
}

// Copies `text` into `out` (MAXPATH + 1 bytes) and appends `more`; false when it would not fit.
bool Concat(char* out, const char* text, const char* more)
{
    const size_t a = std::strlen(text);
    const size_t b = std::strlen(more);
    if (a + b > size_t(FilePath::MAXPATH))
        return false;
    std::memmove(out, text, a);
    std::memcpy(out + a, more, b + 1);
    return true;
}

// Collects the names a source hands out.
struct NameList : FilePath::FileListObj
{
    std::vector<std::string> cName;
    void Add(const char* filename) override { cName.emplace_back(filename); }
};

void RecurseFindFiles(Source& source, const char* folder, const char* relative, const char* nameExt,
                      FilePath::FileSet& set, FilePath::SEARCH_Type type, bool recurse)
{
    char pattern[FilePath::MAXPATH + 1];
    char full[FilePath::MAXPATH + 1];
    char rel[FilePath::MAXPATH + 1];
    if (!Concat(pattern, folder, nameExt))
        return;
    NameList found;
    source.FindFiles(pattern, &found);
    for (const std::string& entry : found.cName)
    {
        if (!Concat(full, folder, entry.c_str()) || !Concat(rel, relative, entry.c_str()))
            continue;
        bool keep = type == FilePath::SEARCH_Both;
        if (!keep)
        {
            const int fileType = source.FileType(full);
            keep = (type == FilePath::SEARCH_Files && fileType == 1) ||
                   (type == FilePath::SEARCH_Folders && fileType == 2);
        }
        if (keep)
            set.Add(rel);
    }
    if (!recurse)
        return;

    if (!Concat(pattern, folder, "*.*"))
        return;
    NameList all;
    source.FindFiles(pattern, &all);
    for (const std::string& entry : all.cName)
    {
        if (!Concat(full, folder, entry.c_str()) || source.FileType(full) != 2)
            continue;
        char subFolder[FilePath::MAXPATH + 1];
        char subRelative[FilePath::MAXPATH + 1];
        if (!Concat(subFolder, full, "\\") || !Concat(rel, relative, entry.c_str()) ||
            !Concat(subRelative, rel, "\\"))
            continue;
        RecurseFindFiles(source, subFolder, subRelative, nameExt, set, type, recurse);
    }
}
} // namespace

bool FilePath::AddAlias(const char* alias, const char* id, int priority, std::shared_ptr<Source> source)
{
    if (!dbAssert(alias) || !dbAssert(id && *id) || !dbAssert(priority >= 0))
        return false;
    // One letter would be taken for a drive.
    if (!dbAssert(std::strlen(alias) != 1 && std::strchr(alias, ':') == nullptr))
        return false;
    if (source == nullptr)
        return false;
    char upper[MAXPATH + 1];
    if (!dbAssert(std::strlen(alias) <= size_t(MAXPATH)))
        return false;
    std::strcpy(upper, alias);
    FilePathUtil::ToUpper(upper);

    Tables& tables = GetTables();
    auto it = LowerBound(upper);
    if (it == tables.cAlias.end() || it->alias != upper)
        it = tables.cAlias.insert(it, AliasRecord{upper, {}});
    std::vector<PathRecord>& cPath = it->cPath;
    for (const PathRecord& path : cPath)
    {
        if (!dbAssert(!FilePathUtil::Equal(path.id.c_str(), id)))
            return false;
    }
    // Past every path of strictly greater priority: a new path goes ahead of its equals.
    auto place = std::partition_point(
        cPath.begin(), cPath.end(), [priority](const PathRecord& path) { return path.priority > priority; });
    cPath.insert(place, PathRecord{id, SourceID(tables.nextSourceId++), priority, std::move(source)});
    return true;
}

bool FilePath::RemoveAlias(const char* alias, const char* id)
{
    if (!dbAssert(alias && id))
        return false;
    char upper[MAXPATH + 1];
    if (std::strlen(alias) > size_t(MAXPATH))
        return false;
    std::strcpy(upper, alias);
    FilePathUtil::ToUpper(upper);
    AliasRecord* pAlias = FindAlias(upper);
    if (pAlias == nullptr)
    {
        dbTracef("FILESYSTEM -- filepath failed to remove alias, missing alias '%s'", alias);
        return false;
    }
    std::vector<PathRecord>& cPath = pAlias->cPath;
    auto it = std::find_if(cPath.begin(), cPath.end(),
                           [id](const PathRecord& path) { return FilePathUtil::Equal(path.id.c_str(), id); });
    if (it == cPath.end())
        return false;
    cPath.erase(it);
    if (cPath.empty())
    {
        std::vector<AliasRecord>& cAlias = GetTables().cAlias;
        cAlias.erase(cAlias.begin() + (pAlias - cAlias.data()));
    }
    return true;
}

bool FilePath::AddListener(const char* name, FileListener* pListener)
{
    if (!dbAssert(name && pListener))
        return false;
    std::vector<ListenerRecord>& cListener = GetTables().cListener;
    for (const ListenerRecord& rec : cListener)
    {
        if (FilePathUtil::Equal(rec.name.c_str(), name))
            return false;
    }
    cListener.push_back(ListenerRecord{name, pListener});
    return true;
}

bool FilePath::RemoveListener(const char* name)
{
    if (!dbAssert(name))
        return false;
    std::vector<ListenerRecord>& cListener = GetTables().cListener;
    auto it = std::find_if(cListener.begin(), cListener.end(),
                           [name](const ListenerRecord& rec)
                           { return FilePathUtil::Equal(rec.name.c_str(), name); });
    if (it == cListener.end())
        return false;
    cListener.erase(it);
    return true;
}

bool FilePath::BuildPath(char* streamName, int mode)
{
    SplitName split;
    AliasRecord* pAlias = Resolve(streamName, split);
    if (pAlias == nullptr)
        return false;
    char out[MAXPATH];
    for (const PathRecord& path : pAlias->cPath)
    {
        if (path.pSource->BuildPath(out, split.rest, mode))
        {
            std::strcpy(streamName, out);
            return true;
        }
    }
    dbWarningf("Could not find file [%s]", streamName);
    return false;
}

namespace
{
std::shared_ptr<ByteStream> OpenThrough(const char* name, int mode, FilePath::SourceID limitTo,
                                        FilePath::SourceID* pUsed)
{
    if (!dbAssert(IsValidMode(mode)))
        return nullptr;
    SplitName split;
    AliasRecord* pAlias = Resolve(name, split);
    if (pAlias == nullptr)
        return nullptr;
    for (const PathRecord& path : pAlias->cPath)
    {
        if (limitTo.IsValid() && path.sourceId != limitTo)
            continue;
        std::unique_ptr<ByteStream> pStream = path.pSource->Open(split.rest, mode);
        if (pStream == nullptr)
            continue;
        for (const ListenerRecord& rec : GetTables().cListener)
            rec.pListener->OnOpen(name, pAlias->alias.c_str(), path.id.c_str());
        pStream->SetName(name);
        if (pUsed)
            *pUsed = path.sourceId;
        return std::shared_ptr<ByteStream>(std::move(pStream));
    }
    return nullptr;
}
} // namespace

std::shared_ptr<ByteStream> FilePath::Open(const char* name, int mode)
{
    return OpenThrough(name, mode, SourceID::InvalidID, nullptr);
}

std::shared_ptr<ByteStream> FilePath::Open(const char* name, int mode, SourceID limitTo)
{
    return OpenThrough(name, mode, limitTo, nullptr);
}

std::shared_ptr<ByteStream> FilePath::Open(const char* name, int mode, SourceID* pUsed)
{
    return OpenThrough(name, mode, SourceID::InvalidID, pUsed);
}

FilePath::SourceID FilePath::FindSource(const char* name, int mode)
{
    SplitName split;
    AliasRecord* pAlias = Resolve(name, split);
    if (pAlias == nullptr)
        return SourceID::InvalidID;
    char out[MAXPATH];
    for (const PathRecord& path : pAlias->cPath)
    {
        if (path.pSource->BuildPath(out, split.rest, mode))
            return path.sourceId;
    }
    return SourceID::InvalidID;
}

int FilePath::FileType(const char* name)
{
    SplitName split;
    AliasRecord* pAlias = Resolve(name, split);
    if (pAlias == nullptr)
        return 0;
    for (const PathRecord& path : pAlias->cPath)
    {
        if (int type = path.pSource->FileType(split.rest))
            return type;
    }
    return 0;
}

bool FilePath::Delete(const char* name)
{
    SplitName split;
    AliasRecord* pAlias = Resolve(name, split);
    if (pAlias == nullptr)
        return false;
    for (const PathRecord& path : pAlias->cPath)
    {
        if (path.pSource->Delete(split.rest))
            return true;
    }
    return false;
}

bool FilePath::Exists(const char* name, int mode)
{
    SplitName split;
    AliasRecord* pAlias = Resolve(name, split);
    if (pAlias == nullptr)
        return false;
    for (const PathRecord& path : pAlias->cPath)
    {
        if (path.pSource->Exists(split.rest, mode))
            return true;
    }
    return false;
}

FilePath::FileSet FilePath::FindFiles(const char* filespec, bool recurse, SEARCH_Type type)
{
    if (!dbAssert(filespec && *filespec != '\0' && strlen(filespec) <= MAXPATH))
        return FileSet();
    char alias[MAXPATH], folder[MAXPATH], name[MAXPATH], ext[MAXPATH];
    if (!FilePathUtil::SplitPath(filespec, alias, folder, name, ext))
        return FileSet();
    FilePathUtil::ToUpper(alias);
    // Under the empty alias the names found are plain paths, and keep their leading separator.
    char base[MAXPATH + 1];
    if (std::snprintf(base, sizeof(base), *alias ? "%s:%s" : "%s%s", alias, folder) > MAXPATH)
        return FileSet();
    DropLeadingSeparator(folder);
    FileSet set(base);
    AliasRecord* pAlias = FindAlias(alias);
    if (pAlias == nullptr)
    {
        dbTracef("FILESYSTEM -- filepath failure, missing alias '%s'", filespec);
        return set;
    }
    char nameExt[MAXPATH + 1];
    if (!Concat(nameExt, name, ext))
        return set;
    // The table may change under a visitor; the sources themselves are held for the walk.
    std::vector<std::shared_ptr<Source>> cSource;
    for (const PathRecord& path : pAlias->cPath)
        cSource.push_back(path.pSource);
    for (const std::shared_ptr<Source>& pSource : cSource)
        RecurseFindFiles(*pSource, folder, "", nameExt, set, type, recurse);
    return set;
}

bool FilePath::IsAliased(const char* name)
{
    if (name == nullptr)
        return false;
    const char* colon = std::strchr(name, ':');
    if (colon == nullptr || colon - name > MAXPATH)
        return false;
    char alias[MAXPATH + 1];
    std::memcpy(alias, name, size_t(colon - name));
    alias[colon - name] = '\0';
    FilePathUtil::ToUpper(alias);
    return FindAlias(alias) != nullptr;
}

bool FilePath::ConvertToAliased(char* name)
{
    if (!dbAssert(name != nullptr))
        return false;
    if (IsAliased(name))
        return true;
    char upper[MAXPATH];
    if (!FilePathUtil::Copy(upper, name))
    {
        dbWarningf("Could not convert file [%s]", name);
        return false;
    }
    FilePathUtil::ToUpper(upper);
    char relative[MAXPATH];
    for (const AliasRecord& rec : GetTables().cAlias)
    {
        for (const PathRecord& path : rec.cPath)
        {
            if (path.pSource->ConvertPath(relative, upper))
            {
                // Cut to the buffer: a longer name could not be opened anyway.
                const int written = std::snprintf(name, MAXPATH, "%s:%s", rec.alias.c_str(), relative);
                return written > 0;
            }
        }
    }
    dbWarningf("Could not convert file [%s]", name);
    return false;
}

void FilePath::MakeCanonical(char* name)
{
    if (!dbAssert(name != nullptr))
        return;
    FilePathUtil::ToLower(name);
    for (char* p = name; *p; ++p)
    {
        if (*p == '\\')
            *p = '/';
    }
}

bool FilePath::SplitPath(const char* fullpath, char* alias, char* folder, char* name, char* ext)
{
    return FilePathUtil::SplitPath(fullpath, alias, folder, name, ext);
}

bool FilePath::MakePath(char* out, const char* alias, const char* folder, const char* name, const char* ext)
{
    return FilePathUtil::MakePath(out, alias, folder, name, ext);
}

namespace
{
// The keys of a change callback: alias in upper case, folder without its trailing separator and
// file name, both lower case.
bool SplitCallbackSpec(const char* filespec, std::string& alias, std::string& folder, std::string& name)
{
    char a[FilePath::MAXPATH], f[FilePath::MAXPATH], n[FilePath::MAXPATH], e[FilePath::MAXPATH];
    if (!FilePathUtil::SplitPath(filespec, a, f, n, e))
        return false;
    FilePathUtil::ToUpper(a);
    DropLeadingSeparator(f);
    size_t len = std::strlen(f);
    if (len > 0 && f[len - 1] == '\\')
        f[len - 1] = '\0';
    FilePathUtil::ToLower(f);
    FilePathUtil::ToLower(n);
    FilePathUtil::ToLower(e);
    alias = a;
    folder = f;
    name = std::string(n) + e;
    return true;
}
} // namespace

bool FilePath::AddChangeCallback(const char* filespec, ChangeCallback callback)
{
    if (!dbAssert(filespec && callback))
        return false;
    std::string alias, folder, name;
    if (!SplitCallbackSpec(filespec, alias, folder, name))
        return false;
    std::vector<ChangeCallback>& cCallback = GetTables().callbacks[alias][folder][name];
    if (std::find(cCallback.begin(), cCallback.end(), callback) == cCallback.end())
        cCallback.push_back(callback);
    return true;
}

bool FilePath::RemoveChangeCallback(ChangeCallback callback, const char* filespec)
{
    if (!dbAssert(callback))
        return false;
    CallbackTable& callbacks = GetTables().callbacks;
    std::string onlyAlias, onlyFolder, onlyName;
    if (filespec && !SplitCallbackSpec(filespec, onlyAlias, onlyFolder, onlyName))
        return false;

    bool removed = false;
    for (auto aliasIt = callbacks.begin(); aliasIt != callbacks.end();)
    {
        FolderTable& folders = aliasIt->second;
        for (auto folderIt = folders.begin(); folderIt != folders.end();)
        {
            NameTable& names = folderIt->second;
            for (auto nameIt = names.begin(); nameIt != names.end();)
            {
                const bool selected =
                    !filespec || (aliasIt->first == onlyAlias && folderIt->first == onlyFolder &&
                                  nameIt->first == onlyName);
                std::vector<ChangeCallback>& cCallback = nameIt->second;
                if (selected)
                {
                    auto end = std::remove(cCallback.begin(), cCallback.end(), callback);
                    removed |= end != cCallback.end();
                    cCallback.erase(end, cCallback.end());
                }
                nameIt = cCallback.empty() ? names.erase(nameIt) : std::next(nameIt);
            }
            folderIt = names.empty() ? folders.erase(folderIt) : std::next(folderIt);
        }
        aliasIt = folders.empty() ? callbacks.erase(aliasIt) : std::next(aliasIt);
    }
    return removed;
}

void FilePath::Update()
{
    HDNotification::RunCompletions();

    Tables& tables = GetTables();
    // Calls are gathered first: a callback may change the tables it was found in.
    std::vector<std::pair<ChangeCallback, std::string>> cCall;
    for (const AliasRecord& rec : tables.cAlias)
    {
        auto found = tables.callbacks.find(rec.alias);
        if (found == tables.callbacks.end())
        {
            // Nobody listens under this alias: the changes are read only to be dropped.
            for (const PathRecord& path : rec.cPath)
            {
                std::vector<std::string> cName;
                path.pSource->GetChanges(cName);
            }
            continue;
        }
        std::vector<std::string> cChanged;
        for (const PathRecord& path : rec.cPath)
        {
            std::vector<std::string> cName;
            if (!path.pSource->GetChanges(cName))
                continue;
            for (std::string& name : cName)
            {
                FilePathUtil::ToLower(name.data());
                std::string aliased = rec.alias + ':' + name;
                if (std::find(cChanged.begin(), cChanged.end(), aliased) == cChanged.end())
                    cChanged.push_back(std::move(aliased));
            }
        }
        for (const auto& [folder, names] : found->second)
        {
            for (const auto& [name, cCallback] : names)
            {
                const std::string text = folder.empty() ? name : folder + '\\' + name;
                for (const std::string& changed : cChanged)
                {
                    if (changed.find(text) == std::string::npos)
                        continue;
                    for (ChangeCallback callback : cCallback)
                        cCall.emplace_back(callback, changed);
                }
            }
        }
    }
    for (const auto& [callback, name] : cCall)
        callback(name.c_str());
}

void FilePath::Reset()
{
    Tables& tables = GetTables();
    tables.callbacks.clear();
    tables.cListener.clear();
    tables.cAlias.clear();
}
