#include "model/file/eventload.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "inventory/warehouse.h"
#include "model/file/motionpayloadreader.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"
#include "storage/filepath.h"
#include "storage/filepathutil.h"

#include <cctype>
#include <cstring>
#include <exception>

namespace
{
// Puts the event into the inventory as its list's own: anonymous, so that two models with an event
// of the same name do not share it.
Inv::Reference<ra::EventData> AddOwnEvent(std::unique_ptr<ra::EventData> pEvent)
{
    Inv::Warehouse* pWarehouse = Inv::Warehouse::Get();
    if (pWarehouse == nullptr || pEvent == nullptr)
        return {};
    auto* pResource = new Inv::Resource(pEvent.get());
    if (!pWarehouse->AddAnonymous(pResource, ra::EventData::GetTypeInfo()))
    {
        // Refused only when an assertion failed; the record cannot give its data back, so it is
        // left alone rather than freed under the data.
        return {};
    }
    pEvent.release();
    return Inv::Reference<ra::EventData>(pResource);
}

// The file name of an event: its alias or "DATA", and the extension.
bool EventFileName(const char* filename, char (&out)[FilePath::MAXPATH])
{
    std::string name = FilePathUtil::HasAlias(filename) ? filename : std::string("DATA:") + filename;
    name += EventLoad::FileExtension;
    if (name.size() >= sizeof(out))
        return false;
    std::memcpy(out, name.c_str(), name.size() + 1);
    return true;
}
} // namespace

std::vector<std::unique_ptr<ra::EventData>> EventLoad::LoadEvents(Chunky& chunky, ByteStreamAdapter& adapter)
{
    std::vector<std::unique_ptr<ra::EventData>> cEvent;
    chunky.ReadFolderChunk(ID_EVCT, EVCTVersion);
    ChunkInfo info;
    while (chunky.NextChunk(info))
    {
        if (info.kind != Chunky::CT_Data || info.id != ID_EVNT)
            continue;
        const ChunkInfo evnt = chunky.ReadDataChunk(ID_EVNT, EVNTVersion);
        ra::MotionPayloadReader reader(adapter, evnt);
        auto pEvent = std::make_unique<ra::EventData>();
        const std::string name = ra::EventData::NormalizeName(evnt.name.c_str());
        pEvent->SetName(name.c_str());
        // Each parameter holds two string lengths at least.
        const uint32 count = reader.ReadCount(8);
        char paramName[ra::MotionPayloadReader::MaxString + 1];
        char paramValue[ra::MotionPayloadReader::MaxString + 1];
        for (uint32 i = 0; i < count; ++i)
        {
            reader.ReadString(paramName);
            reader.ReadString(paramValue);
            if (paramName[0] == '\0')
            {
                dbWarningf("EVENTS -- '%s': Parameter %u has no name, ignoring it!", name.c_str(), i);
                continue;
            }
            pEvent->AddParam(paramName, paramValue);
        }
        chunky.CloseChunk();
        if (name.empty())
        {
            dbWarningf("EVENTS -- Event without a name, ignoring it!");
            continue;
        }
        cEvent.push_back(std::move(pEvent));
    }
    chunky.CloseChunk();
    return cEvent;
}

void EventLoad::SaveEvents(Chunky& chunky, ByteStreamAdapter& adapter,
                           const std::vector<const ra::EventData*>& events)
{
    if (events.empty())
        return;
    chunky.OpenFolderChunk(ID_EVCT, EVCTVersion, nullptr);
    for (const ra::EventData* pEvent : events)
    {
        if (!dbAssert(pEvent))
            continue;
        chunky.OpenDataChunk(ID_EVNT, EVNTVersion, pEvent->GetName());
        adapter.WriteValue(int32(pEvent->GetParamCount()));
        for (int i = 0; i < pEvent->GetParamCount(); ++i)
        {
            adapter.WriteString(pEvent->GetParamName(i));
            adapter.WriteString(pEvent->GetParamValue(i));
        }
        chunky.CloseChunk();
    }
    chunky.CloseChunk();
}

void EventLoad::Load(Chunky& chunky, ByteStreamAdapter& adapter, ra::EventList& list)
{
    list.Clear();
    std::vector<std::unique_ptr<ra::EventData>> cEvent = LoadEvents(chunky, adapter);
    if (!cEvent.empty() && Inv::Warehouse::Get() == nullptr)
    {
        dbWarningf("EVENTS -- No inventory: %u event(s) dropped!", uint32(cEvent.size()));
        return;
    }
    for (auto& pEvent : cEvent)
    {
        Inv::Reference<ra::EventData> ref = AddOwnEvent(std::move(pEvent));
        if (ref.IsValid())
            list.AddEvent(ref);
    }
}

void EventLoad::Save(Chunky& chunky, ByteStreamAdapter& adapter, const ra::EventList& list)
{
    std::vector<const ra::EventData*> cEvent;
    for (int i = 0; i < list.GetEventCount(); ++i)
        if (const ra::EventData* pEvent = list.GetEvent(i).Get())
            cEvent.push_back(pEvent);
    SaveEvents(chunky, adapter, cEvent);
}

std::unique_ptr<ra::EventData> EventLoad::Load(const char* filename, const char* caller)
{
    if (!dbAssert(filename))
        return nullptr;
    if (caller == nullptr)
        caller = "";
    char path[FilePath::MAXPATH];
    std::shared_ptr<ByteStream> pStream;
    if (EventFileName(filename, path))
        pStream = FilePath::Open(path, ByteStream::Mode_Read);
    if (!pStream)
    {
        dbWarningf("EVENTS -- '%s': Unable to load event '%s'!", caller, filename);
        return nullptr;
    }
    try
    {
        ByteStreamAdapter adapter(*pStream);
        Chunky chunky(adapter);
        std::vector<std::unique_ptr<ra::EventData>> cEvent = LoadEvents(chunky, adapter);
        if (!cEvent.empty())
        {
            std::unique_ptr<ra::EventData> pEvent = std::move(cEvent.front());
            pEvent->SetName(ra::EventData::NormalizeName(filename).c_str());
            return pEvent;
        }
        dbWarningf("EVENTS -- '%s': Unable to load event '%s'! The file holds no event.", caller, filename);
    }
    catch (const std::exception& e)
    {
        dbWarningf("EVENTS -- '%s': Unable to load event '%s'! %s: %s", caller, filename, path, e.what());
    }
    return nullptr;
}

bool EventLoad::Save(const char* filename, const ra::EventList& list)
{
    if (!dbAssert(filename))
        return false;
    char path[FilePath::MAXPATH];
    std::shared_ptr<ByteStream> pStream;
    if (EventFileName(filename, path))
        pStream = FilePath::Open(path, ByteStream::Mode_Write);
    if (!pStream)
    {
        dbWarningf("EVENTS -- '%s': Unable to save!", filename);
        return false;
    }
    try
    {
        ByteStreamAdapter adapter(*pStream);
        Chunky chunky(adapter);
        Save(chunky, adapter, list);
        pStream->Flush();
        return true;
    }
    catch (const std::exception& e)
    {
        dbWarningf("EVENTS -- '%s': Unable to save! %s", filename, e.what());
        return false;
    }
}
