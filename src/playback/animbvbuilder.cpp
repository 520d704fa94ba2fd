#include "playback/animbvbuilder.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "model/anim/animlist.h"
#include "model/anim/animlistnode_bv.h"
#include "model/anim/animpose.h"
#include "model/motiontree/motion.h"
#include "model/rendermodel.h"
#include "playback/playblender.h"
#include "playback/playlist.h"

#include <bit>
#include <cfloat>

namespace
{
void BoxCorners(const ra::OBB& box, ra::Vec3 (&corners)[8])
{
    for (int i = 0; i < 8; ++i)
    {
        const float sx = (i & 1) ? 1.0f : -1.0f;
        const float sy = (i & 2) ? 1.0f : -1.0f;
        const float sz = (i & 4) ? 1.0f : -1.0f;
        corners[i] = box.centre + box.rotation[0] * (box.scale.x * sx) +
                     box.rotation[1] * (box.scale.y * sy) + box.rotation[2] * (box.scale.z * sz);
    }
}
} // namespace

void AnimBVBuilder::Register()
{
    AnimListNodeBV::SetBuilder(&AnimBVBuilder::Build);
}

bool AnimBVBuilder::Build(const RenderModel& renderModel, AnimListNode& node)
{
    // A file of animation alone (an export without meshes) has nothing to bound.
    const ra::MeshGroup* pMeshGroup = renderModel.GetMeshGroup();
    if (pMeshGroup == nullptr)
        return false;
    const Anim* pAnim = node.GetAnim().Get();
    if (pAnim == nullptr)
        return false;
    if (renderModel.GetRefPose() == nullptr)
    {
        dbTagf(FourCC("ANIM"), "%s: Animation %s - no reference pose to build its bounds from!",
               renderModel.Inv::NamedResource::GetName() ? renderModel.Inv::NamedResource::GetName() : "",
               ra::GetNameText(pAnim->GetName()) ? ra::GetNameText(pAnim->GetName()) : "");
        return false;
    }

    // The largest float and its negative, so that any point replaces them.
    const float start = std::bit_cast<float>(0x7F7FFFFFu);
    ra::Vec3 minimum(start, start, start);
    ra::Vec3 maximum(-start, -start, -start);

    Motion motion(pAnim->GetName());
    motion.AddAnimNode(&node);
    PlayList playList;
    PlayBlender blender(renderModel, &playList);
    AnimPose pose(renderModel);
    const int index = playList.AddMotion(&motion, 0);
    PlayState* pState = index != PlayList::InvalidIndex ? playList.GetState(index) : nullptr;
    if (pState == nullptr)
        return false;
    pState->SetAbsolute(true);

    const int32 frameCount = pAnim->GetFrameCount();
    const float length = pState->GetLength();
    for (int32 f = 0; f < frameCount; ++f)
    {
        // Frame count + 1: the last frame sampled stops short of the end.
        pState->SetPosition(float(f) / float(frameCount + 1) * length);
        playList.Update(0.0f, 0);
        blender.BuildPose(pose);

        for (int32 m = 0; m < pMeshGroup->GetMeshCount(); ++m)
        {
            if (!pose.IsMeshVisible(m))
                continue;
            const ra::Mesh* pMesh = pMeshGroup->GetMesh(m);
            if (pMesh == nullptr || !pMesh->HasBV())
                continue;
            ra::Vec3 corners[8];
            BoxCorners(pMesh->GetBV().GetOBB(), corners);
            const int32 boneIndex = pMeshGroup->GetMeshBone(m);
            const Skeleton* pSkeleton = renderModel.GetSkeleton();
            const bool followsBone = boneIndex != Bone::InvalidIndex && pSkeleton != nullptr &&
                                     boneIndex < pSkeleton->GetBoneCount();
            const ra::Matrix34 move = followsBone ? pSkeleton->GetBone(boneIndex)->GetInvWorldMatrix() *
                                                        pose.GetBoneMatrix(boneIndex)
                                                  : ra::Matrix34();
            for (ra::Vec3& corner : corners)
            {
                const ra::Vec3 point = followsBone ? ra::TransformPoint(corner, move) : corner;
                minimum = ra::Min(minimum, point);
                maximum = ra::Max(maximum, point);
            }
        }
    }

    const bool minUntouched = minimum.x == start && minimum.y == start && minimum.z == start;
    const bool maxUntouched = maximum.x == -start && maximum.y == -start && maximum.z == -start;
    if (minUntouched || maxUntouched)
        node.SetBV(ra::Vec3(), ra::Vec3());
    else
        node.SetBV(minimum, maximum);
    return true;
}
