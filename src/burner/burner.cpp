#include "burner/burner.h"

#include "burner/burnerspawn.h"
#include "foundation/debug.h"
#include "pipeline/fullpath.h"
#include "pipeline/pipeline.h"
#include "revcontrol/revcontrolapi.h"
#include "storage/filepathutil.h"
#include "storage/osfile.h"

#include <cstring>

std::unique_ptr<Burner> Burner::s_pBurner;

bool Burner::Initialize(const std::string& burnerPath)
{
    if (!dbAssert(s_pBurner == nullptr))
        return false;
    s_pBurner.reset(new Burner(burnerPath));
    return true;
}

void Burner::Shutdown()
{
    s_pBurner.reset();
}

Burner* Burner::Instance()
{
    return s_pBurner.get();
}

std::string Burner::FilePatternToRegex(const std::string& filePattern)
{
    if (filePattern == "*.*")
        return ".*$";
    std::string regex;
    for (char c : filePattern)
    {
        if (std::strchr(".+(){}[]^$", c) != nullptr && c != '\0')
            regex += '\\';
        if (c == '*')
            regex += '.';
        regex += c == '?' ? '.' : c;
    }
    return regex + "$";
}

void Burner::SplitPath(const std::string& path, std::string& folder, std::string& pattern)
{
    folder.clear();
    pattern.clear();
    if (path.empty())
        return;
    if ((OSFile::FileAttr(path.c_str()) & OSFile::F_ATTRIBUTE_FOLDER) != 0)
    {
        folder = path;
        pattern = ".*$";
    }
    else
    {
        char alias[FilePathUtil::MAXPATH];
        char dir[FilePathUtil::MAXPATH];
        char name[FilePathUtil::MAXPATH];
        char ext[FilePathUtil::MAXPATH];
        if (!FilePathUtil::SplitPath(path.c_str(), alias, dir, name, ext))
            return;
        pattern = FilePatternToRegex(std::string(name) + ext);
        if (alias[0] != '\0')
        {
            // An alias (or drive) keeps its colon, and the name stays one of the path table: the
            // working folder is no part of it.
            folder = std::string(alias) + ":\\" + (FilePathUtil::IsSeparator(dir[0]) ? dir + 1 : dir);
            return;
        }
        folder = dir;
    }
    char full[FilePathUtil::MAXPATH];
    if (FullPath::Expand(folder.c_str(), full, sizeof(full)))
        folder = full;
}

bool Burner::Burn(uint32 changelist, const std::string& path, bool flagA, uint32& filesBurned,
                  BurnerResults& results)
{
    std::string folder, pattern;
    SplitPath(path, folder, pattern);
    return Burn(changelist, folder, pattern, flagA, false, true, filesBurned, results);
}

bool Burner::Burn(uint32 changelist, const std::string& folder, const std::string& pattern, bool flagA,
                  bool flagB, bool flagC, uint32& filesBurned, BurnerResults& results)
{
    return BurnerSpawn::RunBurn(m_burnerPath, changelist, folder, pattern, flagA, flagB, flagC, filesBurned,
                                results);
}

bool Burner::BurnAsync(uint32 changelist, const std::string& path, bool flagA, bool flagB, bool flagC,
                       BurnerResults& results)
{
    std::string folder, pattern;
    SplitPath(path, folder, pattern);
    return BurnAsync(changelist, folder, pattern, flagA, flagB, flagC, results);
}

bool Burner::BurnAsync(uint32 changelist, const std::string& folder, const std::string& pattern, bool flagA,
                       bool flagB, bool flagC, BurnerResults& results)
{
    return BurnerSpawn::StartBurn(m_burnerPath, changelist, folder, pattern, flagA, flagB, flagC, results);
}

bool Burner::Poll(bool& done, uint32& filesBurned, BurnerResults& results)
{
    return BurnerSpawn::PollBurn(done, filesBurned, results);
}

bool Burner::OpenForBurn(uint32& changelist, const char* filename)
{
    if (!dbAssert(filename != nullptr))
        return false;
    changelist = 0;
    char port[FilePathUtil::MAXPATH];
    if (!Pipeline::GetString("p4", "RevControlPort", port, sizeof(port)))
        return false;
    std::unique_ptr<RevControlAPI> pRevControl = RevControlAPI::Create(port, RevisionControlP4OrLocal);
    int number = 0;
    if (!pRevControl || !pRevControl->FindOrCreateChangelist(ChangelistDescription, number))
        return false;
    changelist = uint32(number);
    pRevControl->Sync(filename, SyncModeFile);
    // An empty pending changelist must not stay behind; one that holds files refuses the delete.
    switch (pRevControl->OpenOrAdd(filename, number))
    {
    case OpenResultInOtherChangelist:
        pRevControl->DeleteChangelist(number);
        return true;
    case OpenResultFailed:
        pRevControl->DeleteChangelist(number);
        return false;
    default:
        return true;
    }
}

bool Burner::BurnOne(const std::string& path, uint32 changelist)
{
    char burnerPath[FilePathUtil::MAXPATH];
    if (!Pipeline::IsInitialized() ||
        !Pipeline::GetPath("burner", "burnerPath", burnerPath, sizeof(burnerPath)) || !Initialize(burnerPath))
        return false;
    uint32 filesBurned = 0;
    BurnerResults results;
    const bool burned = Instance()->Burn(changelist, path, false, filesBurned, results);
    Shutdown();
    return burned;
}
