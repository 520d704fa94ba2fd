// The disk sources of FilePath: FilePathHD maps names below one root folder (read-only, write-only
// or both, optionally watched for changes); FilePathHDRaw takes full names as they stand, for the
// "TOOL:" alias of the tools.
#pragma once

#include "storage/filepath.h"

#include <memory>

class HDNotification;

class FilePathHD : public FilePath::Source
{
public:
    // `mode` is Mode_Read, Mode_Write or Mode_Both. The root is held in upper case with a trailing
    // '\\' (both separators are accepted); opening goes through the caseless name resolution of
    // the file layer, so the folders are found in whatever case they have on disk. A read-only
    // root must exist; a writable one is made, with its parents, when missing. `share` lets others
    // read the files this source writes; `notify` watches the tree for changed files.
    static std::shared_ptr<FilePathHD> Create(const char* root, int mode, bool share, bool notify);
    ~FilePathHD() override;

    // A name handed to this source must be non-empty, must not begin with '\\' and must hold no
    // ':', '/' or "..": every name stays below the root. Others are an assertion failure and fail.
    // A mode asking for a bit that the source lacks fails silently, so the next source is tried.
    bool BuildPath(char* out, const char* inname, int mode) override;
    bool ConvertPath(char* out, const char* fullName) override;
    std::unique_ptr<ByteStream> Open(const char* name, int mode) override;
    bool Delete(const char* name) override;
    bool Exists(const char* name, int mode) override;
    int FileType(const char* name) override;
    void FindFiles(const char* filespec, FilePath::FileListObj* visitor) override;
    bool GetChanges(std::vector<std::string>& out) override;

    const char* GetRoot() const { return m_root; }
    int GetMode() const { return m_mode; }

private:
    FilePathHD(int mode, const char* root, bool share);
    bool JoinRoot(char* out, const char* name) const;

    int m_mode;
    char m_root[FilePath::MAXPATH + 1];
    bool m_share;
    std::unique_ptr<HDNotification> m_pNotify;
};

class FilePathHDRaw : public FilePath::Source
{
public:
    explicit FilePathHDRaw(bool share = false) : m_share(share) {}

    // Names are full paths. The alias split drops the leading separator of an absolute name; these
    // operations put it back. BuildPath copies the name; ConvertPath has no reverse mapping.
    bool BuildPath(char* out, const char* inname, int mode) override;
    bool ConvertPath(char* out, const char* fullName) override;
    std::unique_ptr<ByteStream> Open(const char* name, int mode) override;
    bool Delete(const char* name) override;
    bool Exists(const char* name, int mode) override;
    int FileType(const char* name) override;
    void FindFiles(const char* filespec, FilePath::FileListObj* visitor) override;
    bool Rename(const char* from, const char* to);

    // Makes every missing folder that `name` passes through: the text before each '\\'. So a file
    // name gets its parent folders, and a name ending in '\\' the folder itself too. The server
    // part of "\\\\server\\share" is passed over.
    static bool MakeFolders(const char* name);

private:
    bool m_share;
};
