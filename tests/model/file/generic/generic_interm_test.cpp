// The intermediate form written, read and written again: a file of this writer comes back byte
// for byte, whether its animations were sampled from ordinary streams or are the exporter's raw
// matrices, and a model changed after the read writes its new data instead of what it read.
#include "model/anim/animinterm.h"
#include "model/file/generic/generic_model_fixture.h"
#include "model/file/generic/rendermodelloadgeneric.h"
#include "model/file/generic/skeletonloadinterm.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>

using namespace generic_test;

namespace
{
struct ModelEnv
{
    RegisteredLoaders loaders;
    model_test::Env env;
    MountedFolder generic{"GENERIC"};
};

std::string WriteInterm(const RenderModel& model)
{
    return WriteChunks([&](Chunky& c, ByteStreamAdapter& a)
                       { RenderModelLoadGeneric::SaveInterm(c, a, model, true, true, true); });
}

std::unique_ptr<RenderModel> ReadModel(const std::string& file)
{
    model_test::Reader r(file);
    return RenderModelLoadGeneric::Load(*r.m_pChunky, r.m_adapter, nullptr);
}

std::map<std::string, std::string> RootChunkBytes(const std::string& file)
{
    const auto c = RootChunks(file);
    return std::map<std::string, std::string>(c.begin(), c.end());
}

template <class T> std::string BytesOf(const T& value)
{
    return std::string(reinterpret_cast<const char*>(&value), sizeof(T));
}

const char* const s_parentMessage = "The bone pelvis's parent bone does not have animation keys";

// The exporter's raw sampling of "sway" on the walker: model-space matrices of every bone but the
// root (which stays unkeyed, so that its child keeps model space and logs), a colour of the glow
// with its base on, an offset that only wobbles about its base, the gun's visibility (the body has
// none), and camera rotations on the far hemisphere.
void AddSway(RenderModel& model)
{
    const Skeleton& skeleton = *model.GetSkeleton();
    const uint32 keyCount = 4;
    auto pSway = std::make_unique<AnimInterm>("sway");
    pSway->SetFrameCount(int32(keyCount));
    pSway->SetTime(0.4f);
    pSway->SetBoneCount(skeleton.GetBoneCount());
    std::vector<ra::Matrix34> cWorld(size_t(skeleton.GetBoneCount()));
    for (int32 b = 0; b < skeleton.GetBoneCount(); ++b)
    {
        pSway->SetBoneName(b, skeleton.GetBone(b)->GetName());
        if (b == 0)
            continue;
        pSway->SetBoneAnimated(b, true);
        pSway->SetBoneMatrixStream(b, std::make_unique<BoneMatrixStream>(keyCount));
    }
    for (uint32 k = 0; k < keyCount; ++k)
        for (int32 b = 1; b < skeleton.GetBoneCount(); ++b)
        {
            const Bone* pBone = skeleton.GetBone(b);
            const float angle = 0.37f * float(k + 1) + 0.11f * float(b);
            ra::Matrix34 world = ra::MatrixFromQuatPos(
                ra::QuatFromAxisAngle(ra::Normalize(ra::Vec3(0.3f, 1, 0.2f * float(b))), angle),
                pBone->GetPosition() + ra::Vec3(0.01f * float(k), 0, 0));
            if (b > 1)
                world = world * cWorld[size_t(pBone->GetParentIndex())];
            cWorld[size_t(b)] = world;
            BoneMatrixStream* pStream = pSway->GetBoneMatrixStream(b);
            pStream->SetTime(k, float(k) / float(keyCount - 1));
            pStream->SetValue(k, world);
        }

    const ra::MeshGroup& group = *model.GetMeshGroup();
    const Shader& glow = *group.GetShader(group.FindShader(ra::MakeName("walker_glow"))).Get();
    ControlInfo colour;
    colour.channel = Shader::CN_Diffuse;
    colour.parameter = ControlInfo::Parameter_Colour;
    const float colourBase = AnimInterm::ShaderBaseValue(glow, colour);
    pSway->AddControlStream(ra::MakeName("walker_glow"), colour,
                            Keys<ControlStream>({{0.0f, colourBase + 0.1f}, {1.0f, colourBase - 0.3f}}));
    ControlInfo offset = colour;
    offset.parameter = ControlInfo::Parameter_OffsetU;
    const float offsetBase = AnimInterm::ShaderBaseValue(glow, offset);
    pSway->AddControlStream(ra::MakeName("walker_glow"), offset,
                            Keys<ControlStream>({{0.0f, offsetBase + 0.001f}, {1.0f, offsetBase - 0.002f}}));
    ControlInfo visibility;
    visibility.targetType = ControlInfo::Target_Mesh;
    visibility.parameter = ControlInfo::Parameter_Visibility;
    pSway->AddControlStream(ra::MakeName("gun"), visibility,
                            Keys<ControlStream>({{0.0f, 0.0f}, {0.5f, 1.0f}}));
    pSway->AddCamera(ra::MakeName("portrait"), Keys<CameraPositionStream>({{0.0f, {0, 1, 3}}}),
                     Keys<CameraRotationStream>({{0.0f, {0, 0, 0, -1}}, {1.0f, {0, 0.1f, 0, -0.995f}}}));
    model.GetAnimList()->AddAnim(NodeFor(model, AddAnim(std::move(pSway))), false);
}

// The walker with its ordinary animations and the raw "sway", written in the intermediate form.
std::string WriteWalkerInterm()
{
    Inv::Warehouse::Get()->PushFrame("built");
    std::string file;
    {
        std::unique_ptr<RenderModel> pBuilt = BuildWalker();
        AddSway(*pBuilt);
        file = WriteInterm(*pBuilt);
    }
    Inv::Warehouse::Get()->PopFrame();
    return file;
}
} // namespace

TEST(GenericInterm, AFileOfTheWriterReadsAndWritesAgainByteForByte)
{
    ModelEnv e;
    const std::string file = WriteWalkerInterm();
    ASSERT_EQ(RootChunkBytes(file).count("ANIM:sway"), 1u);

    Inv::Warehouse::Get()->PushFrame("read");
    LogCapture log;
    std::unique_ptr<RenderModel> pRead = ReadModel(file);
    ASSERT_TRUE(pRead);
    EXPECT_EQ(log.Count(s_parentMessage), 1);

    // What the model holds cannot give the file back by itself: the reference pose is built again
    // from local values, the flat offset is gone, the body got a visibility stream, the camera's
    // first key turned to the near hemisphere.
    const Skeleton& skeleton = *pRead->GetSkeleton();
    ASSERT_EQ(skeleton.GetIntermWorldMatrices().size(), size_t(skeleton.GetBoneCount()));
    int rebuiltPoses = 0;
    for (int32 b = 0; b < skeleton.GetBoneCount(); ++b)
        rebuiltPoses += BytesOf(skeleton.GetBone(b)->GetWorldMatrix()) !=
                                BytesOf(skeleton.GetIntermWorldMatrices()[size_t(b)])
                            ? 1
                            : 0;
    EXPECT_GT(rebuiltPoses, 0);
    const AnimList& list = *pRead->GetAnimList();
    const Anim& sway = *list.GetAnim(list.FindAnim(ra::MakeName("sway")));
    EXPECT_EQ(sway.GetControlInfo(0).parameter, ControlInfo::Parameter_Colour);
    EXPECT_EQ(sway.GetControlName(1), ra::MakeName("gun"));
    EXPECT_NE(sway.FindControlStream(ra::MakeName("body")), Anim::InvalidIndex);
    EXPECT_EQ(sway.GetCameraRotationStream(0)->GetKeyValue(0).w, 1.0f);
    // The rest of the library sees an ordinary animation, not the exporter's working form.
    EXPECT_EQ(dynamic_cast<const AnimInterm*>(&sway), nullptr);

    log.Clear();
    const std::string again = WriteInterm(*pRead);
    // Checking that the kept animation still holds converts it once more, without a word.
    EXPECT_EQ(log.Count(s_parentMessage), 0);
    EXPECT_EQ(again.size(), file.size());
    EXPECT_TRUE(again == file);
    pRead.reset();
    Inv::Warehouse::Get()->PopFrame();
}

TEST(GenericInterm, AModelChangedAfterTheReadWritesItsNewData)
{
    ModelEnv e;
    const std::string file = WriteWalkerInterm();
    const std::map<std::string, std::string> cBefore = RootChunkBytes(file);

    Inv::Warehouse::Get()->PushFrame("read");
    std::unique_ptr<RenderModel> pRead = ReadModel(file);
    ASSERT_TRUE(pRead);
    Skeleton& skeleton = *pRead->GetSkeleton();
    EXPECT_TRUE(SkeletonLoadInterm::IntermWorldMatricesHold(skeleton));
    // The spine moves up; the idle turns its pelvis further at the end; the rest stays as read.
    const int32 spine = skeleton.FindBone(ra::MakeName("spine"));
    const ra::Vec3 spineAt = skeleton.GetBone(spine)->GetPosition() + ra::Vec3(0, 0.25f, 0);
    skeleton.GetBone(spine)->SetPosition(spineAt);
    skeleton.BuildRefPose();
    EXPECT_FALSE(SkeletonLoadInterm::IntermWorldMatricesHold(skeleton));
    AnimList& list = *pRead->GetAnimList();
    Anim& idle = *list.GetAnim(list.FindAnim(ra::MakeName("idle")));
    const int32 pelvis = idle.FindBone(ra::MakeName("pelvis"));
    BoneRotationStream* pTurn = idle.GetRotationStream(pelvis);
    ASSERT_NE(pTurn, nullptr);
    const uint32 lastKey = pTurn->GetKeyCount() - 1;
    const ra::Quat turned = ra::QuatFromAxisAngle({0, 0, 1}, 0.6f);
    pTurn->SetValue(lastKey, turned);
    const ra::Vec3 pelvisAt = idle.GetPositionStream(pelvis)->GetKeyValue(lastKey);
    const std::string changed = WriteInterm(*pRead);
    pRead.reset();
    Inv::Warehouse::Get()->PopFrame();

    const std::map<std::string, std::string> cAfter = RootChunkBytes(changed);
    ASSERT_EQ(cAfter.size(), cBefore.size());
    EXPECT_TRUE(cAfter.at("SKEL:") != cBefore.at("SKEL:"));
    EXPECT_TRUE(cAfter.at("ANIM:idle") != cBefore.at("ANIM:idle"));
    // Animations left alone still write what was read: their conversion doesn't depend on where
    // the spine sits.
    EXPECT_TRUE(cAfter.at("ANIM:walk") == cBefore.at("ANIM:walk"));
    EXPECT_TRUE(cAfter.at("ANIM:sway") == cBefore.at("ANIM:sway"));

    Inv::Warehouse::Get()->PushFrame("read changed");
    std::unique_ptr<RenderModel> pChanged = ReadModel(changed);
    ASSERT_TRUE(pChanged);
    EXPECT_TRUE(model_test::MatrixNear(
        pChanged->GetSkeleton()->GetBone(spine)->GetLocalMatrix(),
        ra::MatrixFromQuatPos(pChanged->GetSkeleton()->GetBone(spine)->GetRotation(), spineAt)));
    EXPECT_NEAR(pChanged->GetSkeleton()->GetBone(spine)->GetPosition().y, spineAt.y, 1e-5f);
    const AnimList& changedList = *pChanged->GetAnimList();
    const Anim& changedIdle = *changedList.GetAnim(changedList.FindAnim(ra::MakeName("idle")));
    EXPECT_TRUE(model_test::MatrixNear(
        ra::MatrixFromQuatPos(changedIdle.GetRotationStream(pelvis)->GetKeyValue(lastKey), pelvisAt),
        ra::MatrixFromQuatPos(turned, pelvisAt)));
    pChanged.reset();
    Inv::Warehouse::Get()->PopFrame();
}
