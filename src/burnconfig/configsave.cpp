// Saving a configuration: the parameters that differ from the level above go to the file's own
// ".burn" through revision control, and a file with nothing left to say is reverted or deleted.
#include "burnconfig/configload.h"

#include "burnconfig/configload_internal.h"
#include "foundation/debug.h"
#include "luaconfig/luaconfig.h"
#include "luaconfig/luaconfigsave.h"
#include "revcontrol/revcontrolapi.h"
#include "storage/diskfilestream.h"
#include "storage/filepathutil.h"
#include "storage/osfile.h"
#include "storage/ramstream.h"

#include <cstdio>

namespace ConfigLoad
{
namespace
{
// The lists of the file are tables keyed "1", "2", ... in order.
std::string Key(uint32 counter)
{
    char text[16];
    std::snprintf(text, sizeof(text), "%d", int(counter));
    return text;
}

// Makes the table `key` of the current table current for the life of the scope.
class Entered
{
public:
    Entered(LuaConfig& lc, const std::string& key) : m_lc(lc) { m_lc.Enter(key.c_str()); }
    ~Entered() { m_lc.Leave(); }
    Entered(const Entered&) = delete;
    Entered& operator=(const Entered&) = delete;

private:
    LuaConfig& m_lc;
};

void LogLastError(RevControlAPI& revControl)
{
    const std::string error = revControl.GetLastError();
    if (!error.empty())
        Log("%s", error.c_str());
}

// The whole text goes to a name beside the file first, then takes the file's place: a reader sees
// the old file or the new one, never a part.
bool WriteWhole(const char* burnName, const std::string& text)
{
    const std::string temp = std::string(burnName) + ".tmp";
    bool written = false;
    {
        std::unique_ptr<DiskFileStream> pStream =
            DiskFileStream::New(temp.c_str(), ByteStream::Mode_Write, false);
        if (!pStream)
        {
            Log("Burner configuration '%s' not opened for writing.", burnName);
            return false;
        }
        written = pStream->Write(text.data(), uint32(text.size())) == text.size();
    }
    if (written && OSFile::FileAttr(burnName) != 0)
        written = OSFile::Delete(burnName) == OSFile::R_Success;
    if (written)
        written = OSFile::Rename(temp.c_str(), burnName) == OSFile::R_Success;
    if (!written)
    {
        OSFile::Delete(temp.c_str());
        Log("Burner configuration '%s' not written.", burnName);
    }
    return written;
}

bool WriteOverrides(RevControlAPI& revControl, int changelist, const char* file, const char* burnName,
                    const BurnerConfig& config)
{
    revControl.Sync(file, SyncModeFile);
    const int opened = revControl.OpenOrAdd(burnName, changelist);
    // Opened in another changelist still lets the file be written.
    if (opened != OpenResultOpened && opened != OpenResultInOtherChangelist &&
        opened != OpenResultInThisChangelist)
    {
        Log("Unable to open %s for add or edit", burnName);
        LogLastError(revControl);
        return false;
    }
    std::string text;
    if (!MakeOverrideText(config, text))
    {
        Log("Burner configuration '%s' not written.", burnName);
        return false;
    }
    return WriteWhole(burnName, text);
}

bool RemoveOverrides(RevControlAPI& revControl, int changelist, const char* burnName)
{
    auto revert = [&]
    {
        if (revControl.Revert(burnName, changelist, false))
            return true;
        Log("Unable to revert %s in changelist %i", burnName, changelist);
        LogLastError(revControl);
        return false;
    };
    auto openForDelete = [&]
    {
        if (revControl.OpenForDelete(burnName, changelist))
            return true;
        Log("unable to open %s for delete in changelist %i", burnName, changelist);
        LogLastError(revControl);
        return false;
    };
    switch (revControl.GetFileStatus(burnName))
    {
    case FileStatusNotOpened:
        if (!openForDelete())
            return false;
        break;
    case FileStatusOpenForEdit:
        if (!revert() || !openForDelete())
            return false;
        break;
    case FileStatusOpenForAdd:
        if (!revert())
            return false;
        break;
    default:
        break;
    }
    if ((OSFile::FileAttr(burnName) & OSFile::F_ATTRIBUTE_FILE) != 0 &&
        OSFile::Delete(burnName) != OSFile::R_Success)
    {
        Log("Unable to remove stale burn file %s", burnName);
        return false;
    }
    return true;
}
} // namespace

bool MakeOverrideText(const BurnerConfig& config, std::string& out)
{
    out.clear();
    LuaConfig lc("burn_params");
    {
        Entered params(lc, "burn_params");
        uint32 groupKey = 0;
        for (uint32 g = 0; g < config.TargetGroupCount(); ++g)
        {
            if (!config.HasOverrides(g))
                continue;
            Entered groupEntry(lc, Key(++groupKey));
            lc.SetString("name", config.GetTargetGroup(g).name.c_str());
            Entered targets(lc, "targets");
            uint32 targetKey = 0;
            for (uint32 t = 0; t < config.TargetCount(g); ++t)
            {
                const BurnerConfig::TargetID id = config.GetTarget(g, t);
                if (!config.HasOverrides(id))
                    continue;
                Entered targetEntry(lc, Key(++targetKey));
                lc.SetString("target", config.GetTargetInfo(id)->name.c_str());
                Entered pairs(lc, "params");
                uint32 paramKey = 0;
                for (const BurnerConfig::Param& param : *config.GetParams(id))
                {
                    if (param.isDefault)
                        continue;
                    Entered pair(lc, Key(++paramKey));
                    lc.SetString("1", param.name.c_str());
                    lc.SetString("2", param.value.c_str());
                }
            }
        }
    }
    RamStream ram;
    if (!ram.Create(0x1000, ByteStream::Mode_Write) ||
        !LuaConfigSave::SaveTable(lc, "burn_params", ram, true, true))
        return false;
    out.assign(reinterpret_cast<const char*>(ram.GetBuffer()), ram.GetLength());
    return true;
}

bool SaveConfig(RevControlAPI& revControl, int changelist, const char* file, BurnerConfig& config)
{
    if (!dbAssert(file != nullptr))
        return false;
    char burnName[FilePathUtil::MAXPATH];
    if (!GetBurnFilename(file, burnName, sizeof(burnName)))
    {
        Log("Unable to get burn filename for %s", file);
        return false;
    }
    bool hasParent = false;
    if (!Validate(file, config, hasParent))
    {
        Log("Unable to validate burner configuration %s against its parent.", burnName);
        return false;
    }
    // The top of the tree holds the targets themselves: the minimal form would lose them.
    if (!hasParent)
    {
        Log("Burner configuration '%s' is the base of its tree and is edited by hand.", burnName);
        return false;
    }
    if (config.HasOverrides())
        return WriteOverrides(revControl, changelist, file, burnName, config);
    return RemoveOverrides(revControl, changelist, burnName);
}
} // namespace ConfigLoad
