// The render model resource type: loading by name through the registered reader inside a frame
// of the model's name, the "nomodels" substitute, and failures that give no model.
#include "model/rendermodeltypeinfo.h"

#include "foundation/debug.h"
#include "foundation/runoptions.h"
#include "model/rendermodel.h"
#include "model/shader/shader_test_env.h"
#include "storage/chunky.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
// A stand-in reader: it records what it was asked for and in which inventory frame, and makes a
// model for every name not in its list of missing ones.
struct Reader
{
    struct Call
    {
        std::string name;
        std::string frame;
        bool loadEbp;
    };
    static inline std::vector<Call> s_cCall;
    static inline std::vector<std::string> s_cMissing;
    static inline bool s_throw = false;

    static std::unique_ptr<RenderModel> Generic(const char* name, bool loadEbp)
    {
        s_cCall.push_back({name, Inv::Warehouse::Get()->GetCurrentFrameName(), loadEbp});
        if (s_throw)
            throw Chunky::Exception(2, "Missing Chunk Type!");
        for (const std::string& missing : s_cMissing)
            if (missing == name)
                return nullptr;
        auto pModel = std::make_unique<RenderModel>(name);
        pModel->SetCCameraCount(1);
        return pModel;
    }
    static std::unique_ptr<RenderModel> Final(const char* name)
    {
        s_cCall.push_back({name, Inv::Warehouse::Get()->GetCurrentFrameName(), false});
        return std::make_unique<RenderModel>(name);
    }
};

struct RenderModelTypeInfoTest : ::testing::Test
{
    model_test::Env env;

    RenderModelTypeInfoTest()
    {
        Reader::s_cCall.clear();
        Reader::s_cMissing.clear();
        Reader::s_throw = false;
        RenderModelTypeInfo::SetGenericLoader(Reader::Generic);
        RenderModelTypeInfo::SetFinalLoader(Reader::Final);
    }
    ~RenderModelTypeInfoTest() override
    {
        RenderModelTypeInfo::SetGenericLoader(nullptr);
        RenderModelTypeInfo::SetFinalLoader(nullptr);
        RenderModelTypeInfo::SetLoadPath(RenderModelTypeInfo::Path_Generic);
        RunOptions::Clear();
    }
};
} // namespace

TEST_F(RenderModelTypeInfoTest, LoadsThroughTheGenericReaderInAFrameOfItsName)
{
    EXPECT_STREQ(RenderModel::GetTypeInfo()->GetTypeName(), "Render Model");
    Inv::Reference<RenderModel> modelRef = Inv::Load<RenderModel>("DATA:Art\\Models\\Tank.sgm");
    ASSERT_TRUE(modelRef.IsValid());
    ASSERT_NE(modelRef.Get(), nullptr);
    EXPECT_EQ(modelRef->GetCCameraCount(), 1);

    ASSERT_EQ(Reader::s_cCall.size(), 1u);
    EXPECT_EQ(Reader::s_cCall[0].name, "DATA:Art\\Models\\Tank.sgm");
    EXPECT_EQ(Reader::s_cCall[0].frame, "art/models/tank");
    EXPECT_TRUE(Reader::s_cCall[0].loadEbp);
    EXPECT_STREQ(Inv::Warehouse::Get()->GetCurrentFrameName(), "_ROOT_FRAME_");

    // The same model under another spelling is the one already loaded.
    Inv::Reference<RenderModel> again = Inv::Load<RenderModel>("art/models/TANK");
    EXPECT_EQ(again, modelRef);
    EXPECT_EQ(Reader::s_cCall.size(), 1u);
}

TEST_F(RenderModelTypeInfoTest, NoModelsLoadsTheSubstituteInstead)
{
    RunOptions::SetFileText("nomodels");
    std::unique_ptr<RenderModel> pModel = RenderModelTypeInfo::LoadOrSubstitute("art/models/tank");
    ASSERT_NE(pModel, nullptr);
    ASSERT_EQ(Reader::s_cCall.size(), 1u);
    EXPECT_EQ(Reader::s_cCall[0].name, "art/ebps/missingmodel");
}

TEST_F(RenderModelTypeInfoTest, AReaderThatFailsOrThrowsGivesNoModel)
{
    dbg::ScopedThrowOnAssert quiet(false);
    LogCapture log;
    Reader::s_cMissing = {"art/models/ghost"};
    EXPECT_FALSE(Inv::Load<RenderModel>("art/models/ghost").IsValid());
    EXPECT_TRUE(log.Has("pRenderModel"));

    Reader::s_throw = true;
    EXPECT_FALSE(Inv::Load<RenderModel>("art/models/broken").IsValid());
    EXPECT_TRUE(log.Has("MODELS -- 'art/models/broken': Missing Chunk Type!"));
    EXPECT_STREQ(Inv::Warehouse::Get()->GetCurrentFrameName(), "_ROOT_FRAME_");
    EXPECT_EQ(Inv::Warehouse::Get()->GetCount(RenderModel::GetTypeInfo()), 0u);
}
