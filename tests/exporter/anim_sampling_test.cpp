// Sampling of bones, cameras and mesh visibility from small scenes, with values worked out by hand.
// Host (x, y, z) is game (-x, z, -y): the host's identity becomes the rows (1,0,0), (0,0,-1), (0,1,0).
#include "anim_fixture.h"

#include "foundation/debug.h"
#include "model/anim/animinterm.h"

#include <cmath>
#include <stdexcept>

namespace
{
using anim_test::AnimFixture;

void ExpectRows(const ra::Matrix34& expected, const ra::Matrix34& actual)
{
    exporter_test::ExpectMatrix(actual, expected);
}

ra::Matrix34 Rows(ra::Vec3 r0, ra::Vec3 r1, ra::Vec3 r2, ra::Vec3 r3)
{
    return ra::Matrix34{{r0, r1, r2, r3}};
}

const char* const s_Mesh =
    R"("object": {"class": "editableMesh", "mesh": {"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]}})";

// Two bones, the second "Inactive", rising along host z; a mesh whose visibility dips; a hidden
// mesh; a mesh that is always visible.
std::string BoneScene(const char* range)
{
    return std::string(R"({"frameRate": 30, "animationRange": )") + range + R"(,
      "nodes": [
        {"name": "Root", "bone": true, "object": {"class": "box"},
         "transform": {"frames": [[[1,0,0],[0,1,0],[0,0,1],[0,0,0]],
                                  [[1,0,0],[0,1,0],[0,0,1],[0,0,1]],
                                  [[1,0,0],[0,1,0],[0,0,1],[0,0,2]]]}},
        {"name": "Arm", "parent": "Root", "bone": true, "object": {"class": "box"}, "userProperties": "Inactive",
         "transform": [[1,0,0],[0,1,0],[0,0,1],[-3,0,0]]},
        {"name": "Blink", "visibility": {"frames": [1, 0, 1]}, )" +
           s_Mesh + R"(},
        {"name": "Hidden", "userProperties": "ForceInvisible", "visibility": {"frames": [1, 0, 1]}, )" +
           s_Mesh + R"(},
        {"name": "Plain", )" +
           s_Mesh + R"(}
      ]})";
}

TEST_F(AnimFixture, BonesAreSampledEveryFrameIntoOneAnimationNamedAfterTheModelAndEveryMeshGetsVisibility)
{
    Start(BoneScene("[0, 2]"));
    ASSERT_EQ(2u, m_pExport->GetBoneNodes().size());
    ASSERT_EQ(3u, m_pExport->GetMeshNodes().size());
    Anim* pAnim = Sample();
    ASSERT_NE(nullptr, pAnim);
    EXPECT_EQ(1, m_pModel->GetAnimList()->GetAnimCount());
    EXPECT_STREQ("run", ra::GetNameText(pAnim->GetName()));
    EXPECT_EQ(3, pAnim->GetFrameCount());
    EXPECT_FLOAT_EQ(3.0f / 30.0f, pAnim->GetTime());

    auto* pInterm = dynamic_cast<AnimInterm*>(pAnim);
    ASSERT_NE(nullptr, pInterm);
    ASSERT_EQ(2, pInterm->GetBoneCount());
    EXPECT_EQ(ra::MakeName("Root"), pInterm->GetBoneName(0));
    EXPECT_EQ(ra::MakeName("Arm"), pInterm->GetBoneName(1));
    EXPECT_TRUE(pInterm->IsBoneAnimated(0));
    // "Inactive" only flags the bone: its keys are there all the same.
    EXPECT_FALSE(pInterm->IsBoneAnimated(1));

    const BoneMatrixStream* pRoot = pInterm->GetBoneMatrixStream(0);
    const BoneMatrixStream* pArm = pInterm->GetBoneMatrixStream(1);
    ASSERT_EQ(3u, pRoot->GetKeyCount());
    ASSERT_EQ(3u, pArm->GetKeyCount());
    const float times[3] = {0.0f, 0.5f, 1.0f};
    for (uint32 k = 0; k < 3; ++k)
    {
        EXPECT_FLOAT_EQ(times[k], pRoot->GetKeyTime(k));
        EXPECT_FLOAT_EQ(times[k], pArm->GetKeyTime(k));
        ExpectRows(Rows({1, 0, 0}, {0, 0, -1}, {0, 1, 0}, {0, float(k), 0}), pRoot->GetKeyValue(k));
        ExpectRows(Rows({1, 0, 0}, {0, 0, -1}, {0, 1, 0}, {3, 0, 0}), pArm->GetKeyValue(k));
    }

    ASSERT_EQ(3, pAnim->GetControlStreamCount());
    for (int i = 0; i < 3; ++i)
    {
        const ControlInfo& info = pAnim->GetControlInfo(i);
        EXPECT_EQ(ControlInfo::Target_Mesh, info.targetType);
        EXPECT_EQ(i, info.m_index);
        EXPECT_EQ(0, info.channel);
        EXPECT_EQ(ControlInfo::Parameter_Visibility, info.parameter);
        // Assembly names the streams once the mesh group is made.
        EXPECT_STREQ("<uninitialized>", ra::GetNameText(pAnim->GetControlName(i)));
    }
    // The dip survives reduction; "ForceInvisible" is a constant 0; a visible mesh keeps one key.
    EXPECT_EQ((Keys{{0.0f, 1.0f}, {0.5f, 0.0f}, {1.0f, 1.0f}}), KeysOf(pAnim->GetControlStream(0)));
    EXPECT_EQ((Keys{{0.0f, 0.0f}}), KeysOf(pAnim->GetControlStream(1)));
    EXPECT_EQ((Keys{{0.0f, 1.0f}}), KeysOf(pAnim->GetControlStream(2)));
    // The node's control mappings follow the streams.
    EXPECT_EQ(3, m_pModel->GetAnimList()->GetAnimNode(0)->GetNumControlMappings());
}

TEST_F(AnimFixture, RangeGivesFramesLengthAndKeyTimes)
{
    // A frame's key at its time from the range start over the whole range; the length counts the last
    // frame whole. The root rises one unit a frame along host z from where the range starts.
    auto rising = [](int from, int count)
    {
        std::string frames;
        for (int f = from; f < from + count; ++f)
            frames += (f > from ? ",[[1,0,0],[0,1,0],[0,0,1],[0,0," : "[[1,0,0],[0,1,0],[0,0,1],[0,0,") +
                      std::to_string(f) + "]]";
        return R"({"frames": [)" + frames + "]}";
    };
    struct Case
    {
        int rate, from, to;
        std::string transform, visibility;
        float length;
        Keys visibilityKeys;
    };
    // clang-format off
    const Case cases[] = {
        {30, 0, 30, rising(0, 31), "1", 31.0f / 30, {{0, 1}}},
        {25, 0, 0, "[[1,0,0],[0,1,0],[0,0,1],[1,2,3]]", "0.25", 1.0f / 25, {{0, 0.25f}}},
        {30, 10, 12, rising(10, 3), R"({"frames": [0, 1, 1]})", 3.0f / 30, {{0, 0}, {0.5f, 1}, {1, 1}}},
    };
    // clang-format on
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.from);
        Start(R"({"frameRate": )" + std::to_string(c.rate) + R"(, "animationRange": [)" +
              std::to_string(c.from) + "," + std::to_string(c.to) +
              R"(], "nodes": [{"name": "Root", "bone": true, "object": {"class": "box"},
              "transform": )" +
              c.transform + R"(}, {"name": "Mesh", "visibility": )" + c.visibility + ", " + s_Mesh + "}]}");
        Anim* pAnim = Sample();
        ASSERT_NE(nullptr, pAnim);
        const uint32 frames = uint32(c.to - c.from + 1);
        EXPECT_EQ(int32(frames), pAnim->GetFrameCount());
        EXPECT_NEAR(c.length, pAnim->GetTime(), 1e-6f);
        const BoneMatrixStream* pBone = dynamic_cast<AnimInterm*>(pAnim)->GetBoneMatrixStream(0);
        ASSERT_EQ(frames, pBone->GetKeyCount());
        for (uint32 k = 0; k < frames; ++k)
            EXPECT_NEAR(frames > 1 ? float(k) / float(frames - 1) : 0.0f, pBone->GetKeyTime(k), 1e-5f) << k;
        const ra::Vec3 last = pBone->GetKeyValue(frames - 1).r[3];
        exporter_test::ExpectNear(last, frames > 1 ? ra::Vec3(0, float(c.to), 0) : ra::Vec3(-1, 3, -2));
        EXPECT_EQ(c.visibilityKeys, KeysOf(pAnim->GetControlStream(0)));
    }
}

TEST_F(AnimFixture, SlowVisibilityChangeIsReducedToItsEnds)
{
    // Down by 0.004 a frame: each step is below the tolerance, but it is still a change.
    Start(R"({"frameRate": 30, "animationRange": [0, 5],
              "nodes": [{"name": "Root", "bone": true, "object": {"class": "box"}},
                        {"name": "Fade", "visibility": {"frames": [1, 0.996, 0.992, 0.988, 0.984, 0.98]}, )" +
          std::string(s_Mesh) + R"(}]})");
    Anim* pAnim = Sample();
    ASSERT_NE(nullptr, pAnim);
    const Keys keys = KeysOf(pAnim->GetControlStream(0));
    ASSERT_EQ(2u, keys.size());
    EXPECT_EQ(0.0f, keys[0].first);
    EXPECT_FLOAT_EQ(1.0f, keys[0].second);
    EXPECT_NEAR(1.0f, keys[1].first, 1e-6f);
    EXPECT_FLOAT_EQ(0.98f, keys[1].second);
}

TEST_F(AnimFixture, TargetedBoneLooksAtItsTarget)
{
    // Aim stands at the origin; its target at host (-10, 0, 0) is game (10, 0, 0). The up vector
    // is the converted row 1, (0, 0, -1).
    Start(R"({"frameRate": 30, "animationRange": [0, 1],
              "nodes": [{"name": "Aim", "bone": true, "object": {"class": "box"}, "target": "Goal"},
                        {"name": "Goal", "object": {"class": "dummy"},
                         "transform": [[1,0,0],[0,1,0],[0,0,1],[-10,0,0]]}]})");
    Anim* pAnim = Sample();
    ASSERT_NE(nullptr, pAnim);
    const BoneMatrixStream* pBone = dynamic_cast<AnimInterm*>(pAnim)->GetBoneMatrixStream(0);
    ASSERT_EQ(2u, pBone->GetKeyCount());
    ExpectRows(Rows({0, -1, 0}, {0, 0, -1}, {1, 0, 0}, {0, 0, 0}), pBone->GetKeyValue(1));
}

TEST_F(AnimFixture, SkeletonIsRequiredAndAControlStreamNeedsAnAnimation)
{
    Start(R"({"frameRate": 30, "animationRange": [0, 2],
              "nodes": [{"name": "Plain", )" +
          std::string(s_Mesh) + R"(}]})");
    RenderModel& model = Model();
    ASSERT_EQ(nullptr, model.GetSkeleton());
    {
        dbg::ScopedThrowOnAssert throwing;
        EXPECT_THROW(m_pExport->SampleAnimation(m_options, model), std::runtime_error);
    }
    {
        dbg::ScopedThrowOnAssert quiet(false);
        m_pExport->SampleAnimation(m_options, model);
    }
    EXPECT_EQ(0, model.GetAnimList()->GetAnimCount());

    ControlInfo ref;
    ref.targetType = ControlInfo::Target_Mesh;
    ref.m_index = 0;
    int calls = 0;
    auto count = [&calls](void*, host::TimeValue)
    {
        ++calls;
        return 1.0f;
    };
    EXPECT_FALSE(m_pExport->AddControlStream(model, ref, count, nullptr, true));
    EXPECT_EQ(0, calls);
}

// Cameras: the free one at host (0, -20, 5) looking along host +y converts to the identity's rotation
// at game (0, 5, 20); the target one sits there too and looks at host (-10, -20, 5), game (10, 5, 20).
const char* const s_CameraScene = R"({"frameRate": 30, "animationRange": [0, 1],
  "nodes": [
    {"name": "Root", "bone": true, "object": {"class": "box"}, "transform": [[1,0,0],[0,1,0],[0,0,1],[0,0,2]]},
    {"name": "Free", "object": {"class": "freeCamera"}, "transform": [[1,0,0],[0,0,1],[0,-1,0],[0,-20,5]]},
    {"name": "Look", "target": "Look.Target", "object": {"class": "targetCamera"},
     "transform": [[1,0,0],[0,0,1],[0,-1,0],[0,-20,5]]},
    {"name": "Look.Target", "object": {"class": "target"}, "transform": [[1,0,0],[0,1,0],[0,0,1],[-10,-20,5]]}
  ]})";

ra::Matrix34 CameraKey(const Anim& anim, int camera, uint32 key)
{
    const CameraPositionStream* pPosition = anim.GetCameraPositionStream(camera);
    const CameraRotationStream* pRotation = anim.GetCameraRotationStream(camera);
    if (pPosition == nullptr || pRotation == nullptr || key >= pPosition->GetKeyCount() ||
        key >= pRotation->GetKeyCount())
    {
        ADD_FAILURE() << "camera " << camera << " has no key " << key;
        return {};
    }
    return ra::MatrixFromQuatPos(pRotation->GetKeyValue(key), pPosition->GetKeyValue(key));
}

TEST_F(AnimFixture, CamerasGetPositionAndRotationKeys)
{
    Start(s_CameraScene);
    ASSERT_EQ(2u, m_pExport->GetCameraNodes().size());
    Anim* pAnim = Sample();
    ASSERT_NE(nullptr, pAnim);
    ASSERT_EQ(2, pAnim->GetCameraCount());
    EXPECT_EQ(ra::MakeName("Free"), pAnim->GetCameraName(0));
    EXPECT_EQ(ra::MakeName("Look"), pAnim->GetCameraName(1));
    for (int c = 0; c < 2; ++c)
    {
        ASSERT_EQ(2u, pAnim->GetCameraPositionStream(c)->GetKeyCount());
        ASSERT_EQ(2u, pAnim->GetCameraRotationStream(c)->GetKeyCount());
        EXPECT_EQ(0.0f, pAnim->GetCameraRotationStream(c)->GetKeyTime(0));
        EXPECT_EQ(1.0f, pAnim->GetCameraPositionStream(c)->GetKeyTime(1));
    }
    // Free: rows 0 and 2 negated.
    ExpectRows(Rows({-1, 0, 0}, {0, 1, 0}, {0, 0, -1}, {0, 5, 20}), CameraKey(*pAnim, 0, 1));
    // Look: the look-at frame towards +x with up (0, 1, 0), not negated.
    ExpectRows(Rows({0, 0, -1}, {0, 1, 0}, {1, 0, 0}, {0, 5, 20}), CameraKey(*pAnim, 1, 0));
}

TEST_F(AnimFixture, CameraUnderAParentIsLocalAndFullStreamsAreLeftAlone)
{
    Start(s_CameraScene);
    host::INode* pFree = m_pScene->FindNode("Free");
    host::INode* pRoot = m_pScene->FindNode("Root");
    CameraPositionStream position;
    CameraRotationStream rotation;
    m_pExport->SampleCamera(pFree, pRoot, position, rotation);
    ASSERT_EQ(2u, position.GetKeyCount());
    // Root stands at game (0, 2, 0) with the rows (1,0,0), (0,0,-1), (0,1,0): in its frame the
    // camera's offset (0, 3, 20) is (0, -20, 3) and its axes are (1,0,0), (0,0,1), (0,-1,0), of
    // which rows 0 and 2 are then negated.
    ExpectRows(Rows({-1, 0, 0}, {0, 0, 1}, {0, 1, 0}, {0, -20, 3}),
               ra::MatrixFromQuatPos(rotation.GetKeyValue(0), position.GetKeyValue(0)));

    // Streams that hold keys are not sampled again.
    CameraPositionStream held(1);
    held.SetValue(0, ra::Vec3{7, 7, 7});
    CameraRotationStream empty;
    m_pExport->SampleCamera(pFree, nullptr, held, empty);
    EXPECT_EQ(1u, held.GetKeyCount());
    EXPECT_EQ((ra::Vec3{7, 7, 7}), held.GetKeyValue(0));
    EXPECT_TRUE(empty.IsEmpty());
}

TEST_F(AnimFixture, ControlStreamSamplesWholeTicksFromTheRangeStart)
{
    // 7 frames a second: 685 ticks a frame (4800 / 7 truncated); the range 14 to 16 starts at tick
    // 9590.
    Start(R"({"frameRate": 7, "animationRange": [14, 16],
              "nodes": [{"name": "Root", "bone": true, "object": {"class": "box"}}]})");
    RenderModel& model = Model();
    m_pExport->SampleAnimation(m_options, model);
    ASSERT_EQ(1, model.GetAnimList()->GetAnimCount());

    std::vector<host::TimeValue> ticks;
    auto ramp = [&ticks](void*, host::TimeValue t)
    {
        ticks.push_back(t);
        return float(ticks.size() - 1) * 0.5f;
    };
    ControlInfo ref;
    ref.targetType = ControlInfo::Target_Shader;
    ref.m_index = 4;
    ref.channel = 2;
    ref.parameter = ControlInfo::Parameter_OffsetV;
    EXPECT_TRUE(m_pExport->AddControlStream(model, ref, ramp, nullptr, false));
    EXPECT_EQ((std::vector<host::TimeValue>{9590, 10275, 10960}), ticks);

    Anim* pAnim = model.GetAnimList()->GetAnim(0);
    ASSERT_EQ(1, pAnim->GetControlStreamCount());
    EXPECT_EQ(ref, pAnim->GetControlInfo(0));
    // A straight ramp keeps its ends.
    EXPECT_EQ((Keys{{0.0f, 0.0f}, {1.0f, 1.0f}}), KeysOf(pAnim->GetControlStream(0)));

    // A constant value adds nothing unless asked to keep it.
    auto constant = [](void*, host::TimeValue) { return 0.5f; };
    EXPECT_FALSE(m_pExport->AddControlStream(model, ref, constant, nullptr, false));
    EXPECT_EQ(1, pAnim->GetControlStreamCount());
    EXPECT_TRUE(m_pExport->AddControlStream(model, ref, constant, nullptr, true));
    ASSERT_EQ(2, pAnim->GetControlStreamCount());
    EXPECT_EQ((Keys{{0.0f, 0.5f}}), KeysOf(pAnim->GetControlStream(1)));
}
} // namespace
