// AnimList: a model's ordered animations. Each sits in an AnimListNode that maps the model's bones,
// cameras and shaders or meshes to the animation's streams, so that one animation (possibly taken
// from another model's file) plays on this model. AnimListGeneric is the list of generic model
// files.
#pragma once

#include "foundation/types.h"
#include "inventory/inventory.h"
#include "math/vector.h"
#include "model/anim/anim.h"
#include "names/name.h"

#include <memory>
#include <vector>

class RenderModel;

class AnimListNode
{
public:
    // The model's bones and cameras size their mappings; the control mappings follow the
    // animation's control streams.
    AnimListNode() = default;
    AnimListNode(int boneCount, int cameraCount, int controlCount = 0);
    AnimListNode(const AnimListNode&) = delete;
    AnimListNode& operator=(const AnimListNode&) = delete;

    // From the pool "AnimListNode".
    static void* operator new(size_t size);
    static void operator delete(void* p);

    void SetAnim(const Inv::Reference<Anim>& animRef) { m_AnimRef = animRef; }
    const Inv::Reference<Anim>& GetAnim() const { return m_AnimRef; }

    // The model file that supplied the animation; ra::Name::INVALID for one held in this model.
    void SetXRefName(ra::Name xrefName) { m_XRefName = xrefName; }
    ra::Name GetXRefName() const { return m_XRefName; }
    bool HasXRefName() const { return m_XRefName != ra::Name::INVALID; }

    // Per bone of the model, the index of its stream in the animation, or -1.
    void SetBoneMappingCount(size_t count) { m_BoneMappings.assign(count, -1); }
    size_t GetBoneMappingCount() const { return m_BoneMappings.size(); }
    int32 GetBoneMapping(int boneIndex) const;
    void SetBoneMapping(int boneIndex, int32 streamIndex);
    // Per camera of the model, the index of its stream in the animation, or -1.
    void SetCameraMappingCount(int count);
    int GetCameraMappingCount() const { return int(m_CameraMappings.size()); }
    int32 GetCameraMapping(int cameraIndex) const;
    void SetCameraMapping(int cameraIndex, int32 streamIndex);
    // Per control stream of the animation, the index of the shader or mesh it drives, or -1.
    void SetNumControlMappings(int count);
    int GetNumControlMappings() const { return int(m_ControlMappings.size()); }
    int32 GetControlMapping(int controlIndex) const;
    void SetControlMapping(int controlIndex, int32 resourceIndex);

    // The box that the animation sweeps, when one is held.
    bool HasBV() const { return m_bHasBV; }
    void SetBV(const ra::Vec3& minimum, const ra::Vec3& maximum);
    // False, with the outputs untouched, when no box is held.
    bool GetBV(ra::Vec3& minimum, ra::Vec3& maximum) const;
    void ClearBV() { m_bHasBV = false; }

private:
    Inv::Reference<Anim> m_AnimRef;
    ra::Name m_XRefName = ra::Name::INVALID;
    std::vector<int32> m_BoneMappings;
    std::vector<int32> m_CameraMappings;
    std::vector<int32> m_ControlMappings;
    bool m_bHasBV = false;
    ra::Vec3 m_BVMin;
    ra::Vec3 m_BVMax;
};

class AnimList
{
public:
    static constexpr int InvalidIndex = -1;

    explicit AnimList(RenderModel& renderModel) : m_RenderModel(renderModel) {}
    virtual ~AnimList();
    AnimList(const AnimList&) = delete;
    AnimList& operator=(const AnimList&) = delete;

    // Fills the node's three mappings against the model and appends it; the new index, or
    // InvalidIndex for a null node. A node read with its bound volume keeps it; `buildBV` asks
    // for one to be made for a node without, which takes the playback layer.
    int AddAnim(std::unique_ptr<AnimListNode> pAnimNode, bool buildBV);
    // Adds an empty animation of that name, with a bone entry per bone of the model, and a node
    // for it: the stand-in for an animation that is missing. InvalidIndex without a warehouse.
    int AddAnim(ra::Name name, ra::Name xrefName);

    int GetAnimCount() const { return int(m_pAnimNodes.size()); }
    // Bad indices are assertions and give null.
    Anim* GetAnim(int index) const;
    AnimListNode* GetAnimNode(int index) const;
    // Linear by key; InvalidIndex when absent.
    int FindAnim(ra::Name name) const;
    // The nodes that have a cross-reference name.
    int GetXRefCount() const;

    // Removing drops the node's reference; the shader flags are made again.
    void RemoveAnim(int index);
    void Clear();

    // Whether any animation drives the shader of that index in the mesh group.
    bool IsShaderAnimated(int index) const;
    // One flag per shader of the mesh group, set for each shader that a control stream of any
    // node maps to.
    void BuildShaderAnimated();

    RenderModel& GetRenderModel() const { return m_RenderModel; }

protected:
    void BuildMappings(AnimListNode& node) const;

    RenderModel& m_RenderModel;
    std::vector<std::unique_ptr<AnimListNode>> m_pAnimNodes;
    std::vector<bool> m_bShaderAnimated;
};

// The list that generic model files load into; nothing in memory beyond its model.
class AnimListGeneric final : public AnimList
{
public:
    explicit AnimListGeneric(RenderModel& renderModel) : AnimList(renderModel) {}
};
