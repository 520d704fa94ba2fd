#include "storage/fileburninfo.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "storage/chunky.h"
#include "storage/filepath.h"

#include <cstdio>
#include <memory>

FileBurnInfo::FileBurnInfo()
{
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    localtime_r(&now, &local);
    m_Date = FormatDate(local);
}

std::string FileBurnInfo::FormatDate(const std::tm& time)
{
    // The hour is put in by hand: this platform's strftime has no form without the leading zero.
    char date[512];
    char clock[64];
    const size_t length = std::strftime(date, sizeof(date), "%B %d, %Y, ", &time);
    std::strftime(clock, sizeof(clock), ":%M:%S %p", &time);
    const int hour = time.tm_hour % 12 == 0 ? 12 : time.tm_hour % 12;
    std::snprintf(date + length, sizeof(date) - length, "%d%s", hour, clock);
    return date;
}

void FileBurnInfo::Write(Chunky& chunky, ByteStreamAdapter& adapter) const
{
    chunky.OpenDataChunk(ChunkId, ChunkVersion, ChunkName);
    adapter.WriteString(m_Label);
    adapter.WriteValue(m_Value);
    adapter.WriteString(m_Text);
    adapter.WriteString(m_Date);
    chunky.CloseChunk();
}

bool FileBurnInfo::Read(Chunky& chunky, ByteStreamAdapter& adapter)
{
    chunky.ReadDataChunk(ChunkId, ChunkVersion);
    const bool ok = adapter.ReadString(m_Label) && adapter.ReadValue(m_Value) && adapter.ReadString(m_Text) &&
                    adapter.ReadString(m_Date);
    chunky.CloseChunk();
    return ok;
}

bool FileBurnInfo::ReadFromFile(const char* filename, FileBurnInfo& out)
{
    if (!dbAssert(filename != nullptr))
        return false;
    std::shared_ptr<ByteStream> pStream = FilePath::Open(filename, ByteStream::Mode_Read);
    if (pStream == nullptr)
    {
        dbWarningf("Could not open '%s' to read its burn info", filename);
        return false;
    }
    ByteStreamAdapter adapter(*pStream);
    try
    {
        Chunky chunky(adapter);
        if (out.Read(chunky, adapter))
            return true;
        dbWarningf("The burn info of '%s' ends early", filename);
    }
    catch (const Chunky::Exception& e)
    {
        dbWarningf("No burn info in '%s': %s at byte offset %u", filename, e.what(), e.GetPosition());
    }
    catch (const ByteStream::Exception& e)
    {
        dbWarningf("No burn info in '%s': %s at byte offset %u", filename, e.what(), adapter.GetPos());
    }
    return false;
}
