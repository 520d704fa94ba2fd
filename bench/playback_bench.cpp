// PlayBlender::BuildPose for a 60-bone chain model with two playing states (one fading out into
// the other), each animating every bone with rotation and position keys: microseconds per pose.
#include "model/anim/animlist.h"
#include "model/anim/animpose.h"
#include "model/mesh/mesh.h"
#include "model/motiontree/motion.h"
#include "model/rendermodel.h"
#include "model/skeleton/skeleton.h"
#include "playback/playblender.h"
#include "playback/playlist.h"
#include "render/device.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <string>

namespace
{
constexpr int BoneCount = 60;
constexpr uint32 KeyCount = 30;

std::unique_ptr<Anim> MakeAnim(const char* name, float turn)
{
    auto pAnim = std::make_unique<Anim>(name);
    pAnim->SetTime(1.0f);
    pAnim->SetFrameCount(int32(KeyCount));
    pAnim->SetBoneCount(BoneCount);
    for (int b = 0; b < BoneCount; ++b)
    {
        pAnim->SetBoneName(b, ra::MakeName(("bone" + std::to_string(b)).c_str()));
        auto pRotation = std::make_unique<BoneRotationStream>(KeyCount);
        auto pPosition = std::make_unique<BonePositionStream>(KeyCount);
        for (uint32 k = 0; k < KeyCount; ++k)
        {
            const float t = float(k) / float(KeyCount - 1);
            pRotation->SetTime(k, t);
            pRotation->SetValue(k, ra::QuatFromAxisAngle({0, 0, 1}, turn * t));
            pPosition->SetTime(k, t);
            pPosition->SetValue(k, {1.0f + t, 0, 0});
        }
        pAnim->SetRotationStream(b, std::move(pRotation));
        pAnim->SetPositionStream(b, std::move(pPosition));
        pAnim->SetBoneAnimated(b, true);
    }
    return pAnim;
}

void BM_BuildPose60BonesTwoStates(benchmark::State& bench)
{
    fr::Interface::CreateDevice({});
    Inv::Warehouse::Create();
    {
        RenderModel model("bench");
        auto pSkeleton = std::make_unique<Skeleton>(BoneCount);
        for (int b = 0; b < BoneCount; ++b)
        {
            pSkeleton->GetBone(b)->SetName(ra::MakeName(("bone" + std::to_string(b)).c_str()));
            pSkeleton->GetBone(b)->SetPosition({1, 0, 0});
            pSkeleton->SetBoneParent(b, b - 1);
        }
        pSkeleton->BuildRefPose();
        model.SetSkeleton(std::move(pSkeleton));
        model.SetMeshGroup(std::make_unique<ra::MeshGroup>());
        model.SetAnimList(std::make_unique<AnimListGeneric>(model));
        model.BuildRefPose();

        Motion* pMotions[2];
        const char* cName[2] = {"walk", "run"};
        for (int m = 0; m < 2; ++m)
        {
            auto pNode = std::make_unique<AnimListNode>(BoneCount, 0, 0);
            pNode->SetAnim(Anim::AddToInventory(MakeAnim(cName[m], 0.5f + float(m))));
            const int index = model.GetAnimList()->AddAnim(std::move(pNode), false);
            pMotions[m] = model.GetMotionList().AddMotion(ra::MakeName(cName[m]));
            pMotions[m]->AddAnimNode(model.GetAnimList()->GetAnimNode(index));
            pMotions[m]->SetType(Motion::TYPE_LOOPING);
            pMotions[m]->SetTransitionOutTime(1.0e9f);
        }

        PlayList playList;
        PlayBlender blender(model, &playList);
        AnimPose pose(model);
        PlayState& fading = *playList.GetState(playList.AddMotion(pMotions[0], 0));
        fading.Update(0.1f);
        fading.SetState(PlayState::STATE_EXIT_REQUEST);
        fading.Update(0.1f);
        PlayState& playing = *playList.GetState(playList.AddMotion(pMotions[1], 0));
        playing.SetTransitionInTime(0.0f);
        playing.Update(0.1f);

        for (auto _ : bench)
        {
            // A frame's step keeps the hints moving as in play; the long transition keeps both states.
            playList.Update(1.0f / 60.0f, 0);
            benchmark::DoNotOptimize(blender.BuildPose(pose));
            benchmark::DoNotOptimize(pose.GetBoneMatrix(BoneCount - 1));
        }
        bench.counters["bones"] = BoneCount;
        model.GetAnimList()->Clear();
    }
    Inv::Warehouse::Destroy();
    fr::Interface::DestroyDevice();
}
BENCHMARK(BM_BuildPose60BonesTwoStates)->Unit(benchmark::kMicrosecond);
} // namespace

BENCHMARK_MAIN();
