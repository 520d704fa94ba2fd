#include "model/event/eventfiledatabase.h"
#include "model/file/generic/eventloadgeneric.h"

#include "foundation/debug.h"
#include "inventory/inventory.h"
#include "model/file/generic/generic_test_util.h"
#include "model/motiontree/motion_test_util.h"
#include "names/memorypool.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

using motion_test::Bytes;
using motion_test::ChunkReader;
using motion_test::ChunkWriter;
using motion_test::HandFile;

namespace
{
// The inventory (and the device beside it), for the events.
using Inventory = model_test::Env;

// A scratch folder mounted as "DATA:", where ".events" files live.
using DataFolder = generic_test::MountedFolder;

ra::EventData* NewEvent(const char* name, std::initializer_list<std::pair<const char*, const char*>> params)
{
    auto* pData = new ra::EventData(name);
    for (const auto& param : params)
        pData->AddParam(param.first, param.second);
    return pData;
}

std::string OneEventFile(const char* name, const Bytes& payload)
{
    return HandFile().Folder("EVCT", 1).Data("EVNT", 3, name, payload).End().Contents();
}
} // namespace

TEST(EventChunks, HandBuiltChunkNormalisesNamesAndDropsNamelessParams)
{
    Inventory inventory;
    HandFile hand;
    hand.Folder("EVCT", 1).Data(
        "EVNT", 3, "c:\\ART\\Events\\Boom.events",
        Bytes().I32(3).Str("fx").Str("big").Str("").Str("lost").Str("SOUND").Str("bang"));
    hand.Data("ZZZZ", 1, "unknown", Bytes().I32(0)).Data("EVNT", 2, "Plain", Bytes().I32(0));
    const std::string file = hand.End().Contents();
    ChunkReader reader(file);
    ra::EventList list;
    LogCapture log;
    EventLoadGeneric::Load(*reader.m_pChunky, reader.m_adapter, list);
    ASSERT_EQ(list.GetEventCount(), 2);
    const ra::EventData* pBoom = list.GetEvent(0).Get();
    EXPECT_STREQ(pBoom->GetName(), "art/events/boom");
    ASSERT_EQ(pBoom->GetParamCount(), 2);
    EXPECT_STREQ(pBoom->FindParam(ra::MakeName("sound")), "bang");
    EXPECT_TRUE(log.Has("Parameter 1 has no name"));
    EXPECT_STREQ(list.GetEvent(1)->GetName(), "plain");
    list.Clear();
}

TEST(EventChunks, DamagedChunksThrowAndNewerVersionsAreRefused)
{
    Inventory inventory;
    ra::EventList list;
    auto load = [&](const std::string& bytes)
    {
        ChunkReader reader(bytes);
        EventLoadGeneric::Load(*reader.m_pChunky, reader.m_adapter, list);
    };
    // A count that the chunk cannot hold or below zero, a string past its chunk, one past the
    // buffer of 260 characters, a newer chunk.
    EXPECT_EQ(ChunkyCode([&] { load(OneEventFile("e", Bytes().I32(1000).Str("fx").Str("x"))); }), 6);
    EXPECT_EQ(ChunkyCode([&] { load(OneEventFile("e", Bytes().I32(-1))); }), 6);
    EXPECT_EQ(ChunkyCode([&] { load(OneEventFile("e", Bytes().I32(1).U32(50).Raw("fxfx", 4))); }), 6);
    EXPECT_THROW(load(OneEventFile("e", Bytes().I32(1).Str(std::string(261, 'n')).Str("v"))),
                 ByteStream::Exception);
    EXPECT_EQ(
        ChunkyCode(
            [&]
            { load(HandFile().Folder("EVCT", 1).Data("EVNT", 4, "e", Bytes().I32(0)).End().Contents()); }),
        5);
    EXPECT_NO_THROW(load(OneEventFile("e", Bytes().I32(1).Str(std::string(260, 'n')).Str("v"))));
    ASSERT_EQ(list.GetEventCount(), 1);
    EXPECT_EQ(std::string(list.GetEvent(0)->GetParamName(0)), std::string(260, 'n'));
    list.Clear();
}

TEST(EventFiles, SavedFileLoadsUnderItsNormalisedName)
{
    Inventory inventory;
    DataFolder folder("DATA");
    ra::EventList list;
    list.AddEvent(Inv::Warehouse::Get()->Add(NewEvent("anything", {{"fx", "spark"}})));
    ASSERT_TRUE(EventLoadGeneric::Save("art/events/spark", list));
    EXPECT_EQ(FilePath::FileType("DATA:art\\events\\spark.events"), 1);

    std::unique_ptr<ra::EventData> pEvent = EventLoadGeneric::Load("DATA:Art\\Events\\Spark", "test");
    ASSERT_NE(pEvent, nullptr);
    EXPECT_STREQ(pEvent->GetName(), "art/events/spark");
    EXPECT_STREQ(pEvent->FindParam(ra::MakeName("fx")), "spark");
    list.Clear();
}

TEST(EventFiles, MissingDamagedAndEmptyFilesAreLoggedNotThrown)
{
    DataFolder folder("DATA");
    folder.Write("art/events/broken.events", OneEventFile("b", Bytes().I32(5)));
    folder.Write("art/events/garbage.events", "this is not a chunk file");
    folder.Write("art/events/empty.events", HandFile().Folder("EVCT", 1).End().Contents());
    LogCapture log;
    EXPECT_EQ(EventLoadGeneric::Load("art/events/none", "caller"), nullptr);
    EXPECT_TRUE(log.Has("EVENTS -- 'caller': Unable to load event 'art/events/none'!"));
    EXPECT_EQ(EventLoadGeneric::Load("art/events/broken", "caller"), nullptr);
    EXPECT_TRUE(log.Has("Read past the Chunk end!"));
    EXPECT_EQ(EventLoadGeneric::Load("art/events/garbage", "caller"), nullptr);
    EXPECT_TRUE(log.Has("Not a valid chunky file!"));
    EXPECT_EQ(EventLoadGeneric::Load("art/events/empty", "caller"), nullptr);
    EXPECT_TRUE(log.Has("The file holds no event"));
    EXPECT_EQ(log.Count("Unable to load event"), 4);
}

TEST(EventFileDatabase, LoadsOnceThroughTheInventoryAndRemembersFailures)
{
    generic_test::RegisteredLoaders loaders;
    Inventory inventory;
    DataFolder folder("DATA");
    folder.Write("art/events/jump.events",
                 OneEventFile("jump", Bytes().I32(1).Str("sound").Str("art/sound/jump")));
    EventFileDatabase::Create();
    {
        Inv::Reference<ra::EventData> jump = EventFileDatabase::i()->GetEvent("Art\\Events\\Jump.events");
        ASSERT_TRUE(jump.IsValid());
        EXPECT_STREQ(jump->FindParam(ra::MakeName("sound")), "art/sound/jump");
        // The same event by another spelling, without a second load.
        std::filesystem::remove(folder.Path() + "/art/events/jump.events");
        EXPECT_EQ(EventFileDatabase::i()->GetEvent("art/events/jump").Get(), jump.Get());
        EXPECT_EQ(Inv::Warehouse::Get()->GetCount(ra::EventData::GetTypeInfo()), 1u);

        LogCapture log;
        EXPECT_FALSE(EventFileDatabase::i()->GetEvent("art/events/missing").IsValid());
        EXPECT_FALSE(EventFileDatabase::i()->GetEvent("art/events/missing").IsValid());
        EXPECT_EQ(log.Count("Unable to load event"), 1);
        EXPECT_EQ(EventFileDatabase::i()->GetCount(), 2u);
        ASSERT_NE(MemoryPool::Find("EventFileDatabase"), nullptr);
        EXPECT_GT(MemoryPool::Find("EventFileDatabase")->GetLiveCount(), 0u);
    }
    {
        dbg::ScopedThrowOnAssert throwing;
        EXPECT_THROW(EventFileDatabase::Create(), std::runtime_error);
    }
    EventFileDatabase::Destroy();
    dbg::ScopedThrowOnAssert throwing;
    EXPECT_THROW(EventFileDatabase::Destroy(), std::runtime_error);
    EXPECT_THROW(EventFileDatabase::i(), std::runtime_error);
}
