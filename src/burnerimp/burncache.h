// BurnCache: what the burner remembers of the files it burned, so that a file whose inputs have
// not changed is not burned again. One small text file per source file, named by the key of its
// inputs (xxHash64 of the burner's version, the file's name, its bytes, its ".ebp" and every ".burn"
// of its chain), in a folder that a second machine could share. It lists the targets made and
// their outputs; a record with no target says that no group of the configuration takes the file.
//
//   burnerimp record 1
//   source units/scout/scout.sgm
//   target models final
//   output DataFinal units/scout/scout.tqm 48213
//   output DataFinal units/scout/scout.tqe 2210
//
// Output names are relative to the project's data folder of the kind named before them, so the
// record holds nothing that belongs to one machine.
#pragma once

#include "foundation/types.h"

#include <string>
#include <vector>

struct XXH64_state_s;

// xxHash64 over a run of texts and files, in the order they are added.
class BurnHasher
{
public:
    BurnHasher();
    ~BurnHasher();
    BurnHasher(const BurnHasher&) = delete;
    BurnHasher& operator=(const BurnHasher&) = delete;

    // Each text goes in with its length, so that "ab"+"c" and "a"+"bc" differ.
    void AddText(const std::string& text);
    // The file's bytes after its length; a missing file adds a marker of its own. False when the
    // file exists but cannot be read.
    bool AddFile(const std::string& nativePath);
    uint64 Digest() const;

private:
    void Add(const void* data, size_t size);

    XXH64_state_s* m_pState;
};

class BurnCache
{
public:
    struct Output
    {
        std::string kind;     // the data folder's key in pipeline.ini, "DataFinal"
        std::string relative; // with '/' between the components
        uint64 size = 0;
    };
    struct Target
    {
        std::string name; // "group target"
        std::vector<Output> cOutputs;
    };
    struct Record
    {
        std::string source;
        std::vector<Target> cTargets;
    };

    // Records live in `nativeFolder`, made on the first store.
    explicit BurnCache(std::string nativeFolder) : m_folder(std::move(nativeFolder)) {}

    const std::string& Folder() const { return m_folder; }
    // The record file of a key: "<folder>/<16 hex digits>.rec".
    std::string RecordPath(uint64 key) const;
    // False when there is no record of the key or it does not read as one.
    bool Find(uint64 key, Record& record) const;
    // Written whole (temporary name and rename). False when the folder or file cannot be written.
    bool Store(uint64 key, const Record& record) const;
    // False when there is a record of the key that cannot be removed.
    bool Forget(uint64 key) const;

    static std::string Text(const Record& record);
    // False for a text that is not a record of this version.
    static bool Parse(const std::string& text, Record& record);

private:
    std::string m_folder;
};
