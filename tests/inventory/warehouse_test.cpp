// The warehouse: loads by translated name, frames, defaults, reloads, flushes, references, leak tracking.
#include "inventory/testtypes.h"
#include "support/logcapture.h"
#include "support/tempfolder.h"

#include "foundation/runoptions.h"
#include "inventory/inventory.h"
#include "inventory/leakreport.h"
#include "names/faststring.h"
#include "names/memorypool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace
{
class WarehouseTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        TestModel::s_type.Reset();
        TestMesh::s_type.Reset();
        TestTexture::s_type.Reset();
        ASSERT_TRUE(Inv::Warehouse::Create());
        m_pWarehouse = Inv::Warehouse::Get();
    }
    void TearDown() override
    {
        Inv::Warehouse::Destroy();
        RunOptions::Clear();
    }
    template <class T> Inv::Resource* Find(const char* name)
    {
        Inv::Resource* pResource = nullptr;
        return m_pWarehouse->Find(&pResource, name, T::GetTypeInfo()) ? pResource : nullptr;
    }
    template <class T> uint32 Count() { return m_pWarehouse->GetCount(T::GetTypeInfo()); }
    // New data of `T` named `name`, added to the inventory.
    template <class T> Inv::Reference<T> Add(const char* name)
    {
        T* pData = new T;
        pData->SetName(name);
        return m_pWarehouse->Add(pData);
    }
    Inv::Warehouse* m_pWarehouse = nullptr;
};

std::string Translate(const char* name, bool stripAlias = true, bool stripExtension = true)
{
    char out[Inv::MaxResourceName];
    InvTypeNameTranslate(out, name, stripAlias, stripExtension);
    return out;
}

// A model pulls in a mesh of its name, a mesh a texture: the chain of a real model load.
void LoadChain()
{
    TestModel::s_type.m_onLoad = [](TestData& data, const char* name)
    { data.m_cHeld.push_back(Inv::Load<TestMesh>((std::string(name) + "_mesh").c_str())); };
    TestMesh::s_type.m_onLoad = [](TestData& data, const char* name)
    { data.m_cHeld.push_back(Inv::Load<TestTexture>((std::string(name) + "_tex").c_str())); };
}
} // namespace

TEST_F(WarehouseTest, TwoSpellingsOfOneNameGiveOneResource)
{
    Inv::Reference<TestModel> a = Inv::Load<TestModel>("DATA:art/a.sgm");
    ASSERT_TRUE(a.IsValid());
    EXPECT_EQ(a, Inv::Load<TestModel>("art\\A"));
    // The type loads under the name it was asked for; the inventory keeps the translated one.
    EXPECT_EQ(TestModel::s_type.m_cLoadName, std::vector<std::string>{"DATA:art/a.sgm"});
    EXPECT_STREQ(a->GetName(), "art/a");
    EXPECT_TRUE(a->IsInInventory() && a.GetResource()->GetRefCount() == 1u && Count<TestModel>() == 1u);
    Inv::Load<TestTexture>("art/a"); // another type, another bin
    dbg::ScopedThrowOnAssert passed(false);
    Inv::Resource* pResource = nullptr;
    EXPECT_FALSE(m_pWarehouse->Load(&pResource, nullptr, TestTexture::GetTypeInfo()));
    EXPECT_FALSE(m_pWarehouse->Load(nullptr, "art/b", TestTexture::GetTypeInfo()));
    EXPECT_FALSE(m_pWarehouse->Load(&pResource, "art/b", nullptr));
    EXPECT_EQ(TestTexture::s_type.m_cLoadName, std::vector<std::string>{"art/a"})
        << "nothing more was loaded";
}

TEST_F(WarehouseTest, FramesScopeLookUpsAndFallBackToParents)
{
    m_pWarehouse->PopFrame();
    EXPECT_STREQ(m_pWarehouse->GetCurrentFrameName(), "_ROOT_FRAME_");
    m_pWarehouse->PushFrame("level");
    Inv::Reference<TestTexture> inLevel = Inv::Load<TestTexture>("art/sky");
    m_pWarehouse->PushFrame("child");
    EXPECT_EQ(Find<TestTexture>("art/sky"), inLevel.GetResource());
    m_pWarehouse->PopFrame();
    m_pWarehouse->PopFrame();
    EXPECT_EQ(Find<TestTexture>("art/sky"), nullptr);
    // A load at the root makes a second resource of the same name, found from the root only.
    Inv::Reference<TestTexture> atRoot = Inv::Load<TestTexture>("art/sky");
    EXPECT_NE(atRoot, inLevel);
    m_pWarehouse->PushFrame("LEVEL"); // the same frame, named in another case
    EXPECT_EQ(Find<TestTexture>("art/sky"), inLevel.GetResource());
    // Frame indices past 255 overlap in the key; the key is only a bucket.
    for (int i = 0; i < 300; ++i)
        m_pWarehouse->PushFrame(("f" + std::to_string(i)).c_str());
    Inv::Reference<TestTexture> deep = Inv::Load<TestTexture>("art/deep");
    EXPECT_EQ(Find<TestTexture>("art/deep"), deep.GetResource());
    m_pWarehouse->PopFrame();
    EXPECT_EQ(Find<TestTexture>("art/deep"), nullptr);
}

TEST_F(WarehouseTest, FailedLoadGivesTheDefaultAndReloadReplacesItUnderLiveReferences)
{
    LogCapture log;
    TestTexture::s_type.m_bFail = true;
    Inv::Reference<TestTexture> first = Inv::Load<TestTexture>("DATA:art/Missing.tga");
    ASSERT_TRUE(first.IsValid() && first->m_bDefault);
    EXPECT_EQ(log.Count("Unable to load 'Texture' resource 'DATA:art/Missing.tga', using default!"), 1);
    Inv::Reference<TestTexture> second = Inv::Load<TestTexture>("art/missing");
    EXPECT_TRUE(second == first && TestTexture::s_type.m_defaults == 1);
    m_pWarehouse->Reload("art/missing", TestTexture::GetTypeInfo());
    EXPECT_TRUE(first->m_bDefault) << "still failing: the default stays";
    EXPECT_EQ(log.Count("Unable to reload resource art/missing, using original copy!"), 1);
    TestTexture::s_type.m_bFail = false;
    m_pWarehouse->Reload("art/missing", TestTexture::GetTypeInfo());
    EXPECT_TRUE(!first->m_bDefault && first.Get() == second.Get() && second->IsInInventory());
    EXPECT_STREQ(second->GetName(), "art/missing");
    EXPECT_EQ(TestTexture::s_type.m_destroyed, 1); // the default
    m_pWarehouse->Reload("art/none", TestTexture::GetTypeInfo());
    EXPECT_EQ(log.Count("Unable to find resource art/none -- cannot reload!"), 1);
    TestTexture::s_type.m_bCanReload = false;
    m_pWarehouse->Reload("art/missing", TestTexture::GetTypeInfo());
    EXPECT_EQ(log.Count("Resource group Texture does not support reloads!"), 1);
    EXPECT_EQ(TestTexture::s_type.m_loads, 1);
    // Failing without a default gives nothing, quietly, and keeps no record.
    log.Clear();
    TestTexture::s_type.m_bFail = true;
    TestTexture::s_type.m_bHasDefault = false;
    const uint64 resourcesBefore = MemoryPool::Get("InvResources").GetLiveCount();
    Inv::Resource* pResource = reinterpret_cast<Inv::Resource*>(1);
    EXPECT_FALSE(m_pWarehouse->Load(&pResource, "art/none", TestTexture::GetTypeInfo()));
    EXPECT_TRUE(pResource == nullptr && Count<TestTexture>() == 1u && log.Lines().empty());
    EXPECT_EQ(MemoryPool::Get("InvResources").GetLiveCount(), resourcesBefore);
}

TEST_F(WarehouseTest, FlushTakesOnlyWhatNobodyHolds)
{
    LogCapture log;
    Inv::Reference<TestTexture> held = Inv::Load<TestTexture>("art/held");
    m_pWarehouse->Flush("art/held", TestTexture::GetTypeInfo());
    held = nullptr;
    EXPECT_TRUE(Count<TestTexture>() == 1u && log.Lines().empty()) << "let go, it stays until the flush";
    m_pWarehouse->Flush("DATA:Art\\Held.tga", TestTexture::GetTypeInfo());
    EXPECT_TRUE(Count<TestTexture>() == 0u && TestTexture::s_type.m_destroyed == 1);
    m_pWarehouse->Flush("art/held", TestTexture::GetTypeInfo());
    EXPECT_EQ(log.Count("Unable to find resource art/held -- cannot flush!"), 1);
    // A whole chain goes in one call, or one type at a time.
    LoadChain();
    Inv::Reference<TestModel> model = Inv::Load<TestModel>("art/walker");
    Inv::Reference<TestModel> other = Inv::Load<TestModel>("art/other");
    ASSERT_TRUE(Count<TestMesh>() == 2u && Find<TestTexture>("art/walker_mesh_tex"));
    m_pWarehouse->FlushUnreferenced();
    EXPECT_EQ(Count<TestTexture>(), 2u) << "held through the models";
    model = other = nullptr;
    m_pWarehouse->FlushUnreferenced(TestModel::GetTypeInfo());
    EXPECT_TRUE(Count<TestModel>() == 0u && Count<TestMesh>() == 2u) << "one type: the meshes are of another";
    m_pWarehouse->FlushUnreferenced();
    EXPECT_EQ(Count<TestModel>() + Count<TestMesh>() + Count<TestTexture>(), 0u);
    EXPECT_EQ(TestModel::s_type.m_destroyed + TestMesh::s_type.m_destroyed + TestTexture::s_type.m_destroyed,
              7);
}

TEST_F(WarehouseTest, DuplicatesCollisionsAndAnonymousResources)
{
    Inv::Reference<TestMesh> ref = Add<TestMesh>("Art\\Rock.sgm");
    EXPECT_TRUE(ref->IsInInventory() && std::string(ref->GetName()) == "art/rock");
    LogCapture log;
    {
        dbg::ScopedThrowOnAssert passed(false);
        EXPECT_FALSE(m_pWarehouse->Add(ref.GetResource(), TestMesh::GetTypeInfo()));
    }
    EXPECT_EQ(log.Count("Inventory -- 'art/rock': Attempted addition of duplicate resource pointer!"), 1);
    EXPECT_EQ(Count<TestMesh>(), 1u);
    // Names whose keys collide (equal hashes) and names given twice both stay; the earlier is found first.
    ASSERT_EQ(FastString::HashStringLower("mesh_39051"), FastString::HashStringLower("mesh_92940"));
    Inv::Reference<TestMesh> a = Inv::Load<TestMesh>("mesh_39051"), b = Inv::Load<TestMesh>("mesh_92940");
    EXPECT_TRUE(Find<TestMesh>("mesh_39051") == a.GetResource() &&
                Find<TestMesh>("mesh_92940") == b.GetResource());
    Inv::Reference<TestTexture> first = Add<TestTexture>("art/dup");
    Inv::Reference<TestTexture> second = Add<TestTexture>("DATA:Art/Dup.tga");
    EXPECT_TRUE(Count<TestTexture>() == 2u && Find<TestTexture>("art/dup") == first.GetResource());
    for (const char* message :
         {"Frame '_ROOT_FRAME_': 'mesh_92940' Key collision with 'mesh_39051' added to inventory.",
          "Frame '_ROOT_FRAME_': Duplicate Texture resource 'art/dup' added to inventory - please check the "
          "resource!"})
        EXPECT_TRUE(log.FindLine(message) && log.FindLine(message)->channel == Tag3("INV")) << message;
    // An anonymous resource cannot be found, and a load of its name is no duplicate.
    auto* pSecret = new TestTexture;
    pSecret->SetName("DATA:art/Secret.tga");
    auto* pResource = new Inv::Resource(pSecret);
    ASSERT_TRUE(m_pWarehouse->AddAnonymous(pResource, TestTexture::GetTypeInfo()));
    EXPECT_TRUE(pResource->IsAnonymous() && std::string(pSecret->GetName()) == "art/secret");
    EXPECT_TRUE(!Find<TestTexture>("art/secret") &&
                Inv::Load<TestTexture>("art/secret").GetResource() != pResource);
    EXPECT_EQ(log.Count("resource 'art/secret'"), 0);
    m_pWarehouse->FlushUnreferenced();
    EXPECT_EQ(TestTexture::s_type.m_destroyed, 2) << "unreferenced, both go at the flush";
}

TEST_F(WarehouseTest, ReferencesCountCopiesAndAssignments)
{
    Inv::Reference<TestTexture> a = Inv::Load<TestTexture>("art/a"), b(a), c;
    c = b;
    c = static_cast<Inv::Reference<TestTexture>&>(c); // self-assignment keeps the count
    EXPECT_EQ(a.GetResource()->GetRefCount(), 3u);
    b = c = Inv::Load<TestTexture>("art/b");
    EXPECT_EQ(a.GetResource()->GetRefCount(), 1u);
    b = c = nullptr;
    dbg::ScopedThrowOnAssert throwing;
    EXPECT_THROW(Find<TestTexture>("art/b")->Release(&a), std::runtime_error) << "below 0";
    EXPECT_THROW(a->SetName("art/d"), std::runtime_error) << "data held by the inventory keeps its name";
    EXPECT_STREQ(a->GetName(), "art/a");
}

TEST_F(WarehouseTest, DestroyPurgesWhatIsStillReferenced)
{
    Inv::Load<TestTexture>("art/a");
    Inv::Resource* pHeld = nullptr;
    ASSERT_TRUE(m_pWarehouse->Load(&pHeld, "art/held", TestTexture::GetTypeInfo()));
    // A count taken by hand: a Reference object would outlive its resource here.
    int holder = 0;
    pHeld->AddRef(&holder);
    TestData* pData = static_cast<TestData*>(pHeld->GetData());
    LogCapture log;
    {
        dbg::ScopedThrowOnAssert passed(false);
        Inv::Warehouse::Destroy();
    }
    EXPECT_EQ(log.Count("WARNING: Purging: Resource [Texture]-[art/held] still referenced!"), 1);
    // Without leak tracking a record that dies referenced is an assertion; the held data is its holder's.
    EXPECT_EQ(log.Count("Assertion of (m_RefCount == 0) failed."), 1);
    EXPECT_EQ(TestTexture::s_type.m_destroyed, 1);
    EXPECT_TRUE(!pData->IsInInventory() && std::string(pData->GetName()) == "art/held");
    delete pData;
}

TEST(InvTypeNameTranslate, AliasSeparatorsExtensionCaseAndLength)
{
    const char* name = "DATA:Art\\Models\\Foo.sgm";
    EXPECT_EQ(Translate(name) + " " + Translate(name, false, true) + " " + Translate(name, true, false),
              "art/models/foo data:art/models/foo art/models/foo.sgm");
    // The last ':' and the last '.' count, wherever they are; long names are cut.
    EXPECT_EQ(Translate("TOOL:C:\\Work\\a.b\\Walker"), "/work/a");
    EXPECT_EQ(Translate("art/a.tar.gz"), "art/a.tar");
    const std::string longest(Inv::MaxResourceName - 1, 'A'), lower(Inv::MaxResourceName - 1, 'a');
    EXPECT_TRUE(Translate(longest.c_str()) == lower && Translate((longest + "B").c_str()) == lower);
    char out[Inv::MaxResourceName] = "old";
    dbg::ScopedThrowOnAssert passed(false);
    InvTypeNameTranslate(out, nullptr, true, true);
    EXPECT_STREQ(out, "");
}

// Leak tracking ("invleaks"): a record per live reference, and the report of what died referenced.
TEST(InventoryLeakTracking, RecordsEveryLiveReferenceAndReportsWhatDiesReferenced)
{
    RunOptions::Clear();
    RunOptions::SetFileText("invleaks");
    TestTexture::s_type.Reset();
    LogCapture log;
    ASSERT_TRUE(Inv::Warehouse::Create());
    EXPECT_EQ(log.Count("--- Inventory Leak Tracking Enabled ---"), 1);
    {
        Inv::Reference<TestTexture> a = Inv::Load<TestTexture>("art/a");
        Inv::Reference<TestTexture> b = a;
        const auto& cRecord = a.GetResource()->GetLeakRecords();
        ASSERT_EQ(cRecord.size(), 2u);
        EXPECT_TRUE(cRecord[0].tag == &a && cRecord[1].tag == &b && !cRecord[0].cFrame.empty());
        a = nullptr;
        EXPECT_TRUE(cRecord.size() == 1u && cRecord[0].tag == &b);
    }
    Inv::Resource* pHeld = nullptr;
    ASSERT_TRUE(Inv::Warehouse::Get()->Load(&pHeld, "art/held", TestTexture::GetTypeInfo()));
    // Counts taken by hand: Reference objects would outlive their resource here.
    int holderA = 0, holderB = 0;
    pHeld->AddRef(&holderA);
    pHeld->AddRef(&holderB);
    TestData* pData = static_cast<TestData*>(pHeld->GetData());
    {
        dbg::ScopedThrowOnAssert throwing; // with tracking on, the leak is reported, not asserted
        Inv::Warehouse::Destroy();
    }
    EXPECT_EQ(log.Count("Purging: Resource [Texture]-[art/held] still referenced!"), 1);
    delete pData;
    RunOptions::Clear();
    const std::string fileName = Inv::GetLeakReportName();
    ASSERT_TRUE(fileName.find("InventoryLeaks.") != std::string::npos && fileName.ends_with(".csv"))
        << fileName;
    const std::string text = TempFolder::Read(fileName);
    std::remove(fileName.c_str());
    EXPECT_TRUE(text.starts_with("Inventory Item,Stack0, Stack1, ") &&
                text.find("Stack31, \r\nart/held,") != std::string::npos)
        << text;
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 3);
    // A line: the name, then each frame with its line.
    const Inv::Resource::LeakRecord record{
        nullptr, {{nullptr, "LoadLevel", 42, "tq7z"}, {nullptr, "main", 0, "tq7z"}}};
    EXPECT_EQ(Inv::FormatLeakLine("art/walker", record), "art/walker,LoadLevel : Line 42, main : Line 0, ");
}
