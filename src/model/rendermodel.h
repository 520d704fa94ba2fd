// RenderModel: the resource that ties one model together: mesh group, skeleton, animation and
// motion lists, markers, cameras, reference pose, the motion tree's lists and selection volume. The exporter
// fills one and writes it, the burner reads it and writes the final form; once loaded it is read-only.
#pragma once

#include "foundation/types.h"
#include "inventory/inventory.h"
#include "math/matrix.h"
#include "model/anim/animlist.h"
#include "model/anim/animpose.h"
#include "model/event/eventlist.h"
#include "model/mesh/meshgroup.h"
#include "model/motiontree/action.h"
#include "model/motiontree/clause.h"
#include "model/motiontree/condition.h"
#include "model/motiontree/modifier.h"
#include "model/motiontree/motion.h"
#include "model/rendermodelcamera.h"
#include "model/rendermodelmarker.h"
#include "model/skeleton/skeleton.h"
#include "names/name.h"

#include <memory>
#include <string>
#include <vector>

class RenderModel : public Inv::NamedResource
{
public:
    static constexpr int32 InvalidIndex = -1;

    // The inventory type of models ("Render Model"), see rendermodeltypeinfo.h.
    static Inv::ResourceTypeInfo* GetTypeInfo();

    // The shared random source: a value below `count` (0 for a count of 0). Tests and replays
    // put in a generator of their own; null puts back the default one.
    using RandomSource = uint32 (*)(uint32 count);
    static void SetRandomSource(RandomSource source);
    static uint32 Random(uint32 count);

    RenderModel();
    explicit RenderModel(const char* name);
    ~RenderModel() override;
    RenderModel(const RenderModel&) = delete;
    RenderModel& operator=(const RenderModel&) = delete;

    // Takes the group (a null one is an assertion) and copies the selection box and volume from
    // its bound volume.
    void SetMeshGroup(std::unique_ptr<ra::MeshGroup> pMeshGroup);
    ra::MeshGroup* GetMeshGroup() { return m_pMeshGroup.get(); }
    const ra::MeshGroup* GetMeshGroup() const { return m_pMeshGroup.get(); }

    // Takes the skeleton, which may be null: a model without bones is legal. A new skeleton
    // resolves every marker's parent bone by name, and becomes the mesh group's when the group
    // followed the old one (or none); the group's skin transforms are not resolved again here.
    void SetSkeleton(std::unique_ptr<Skeleton> pSkeleton);
    Skeleton* GetSkeleton() { return m_pSkeleton.get(); }
    const Skeleton* GetSkeleton() const { return m_pSkeleton.get(); }

    // The animation list: an AnimList, or for the generic form an AnimListGeneric, made on this
    // model and set before a load starts.
    void SetAnimList(std::unique_ptr<AnimList> pAnimList);
    AnimList* GetAnimList() { return m_pAnimList.get(); }
    const AnimList* GetAnimList() const { return m_pAnimList.get(); }

    // The motion tree: motions, actions, and the clauses, conditions, events and modifiers they
    // use. All start empty.
    ra::MotionList& GetMotionList() { return *m_pMotionList; }
    const ra::MotionList& GetMotionList() const { return *m_pMotionList; }
    ra::ActionTree& GetActionTree() { return m_ActionTree; }
    const ra::ActionTree& GetActionTree() const { return m_ActionTree; }
    ra::ClauseList& GetClauseList() { return m_ClauseList; }
    const ra::ClauseList& GetClauseList() const { return m_ClauseList; }
    ra::ConditionList& GetConditionList() { return m_ConditionList; }
    const ra::ConditionList& GetConditionList() const { return m_ConditionList; }
    ra::EventList& GetEventList() { return m_EventList; }
    const ra::EventList& GetEventList() const { return m_EventList; }
    ra::ModifierList& GetModifierList() { return m_ModifierList; }
    const ra::ModifierList& GetModifierList() const { return m_ModifierList; }

    // Draws the mesh group (see ra::MeshGroup::Display); asserts that there is one.
    uint32 Display(const AnimPose& pose, uint32 polyLevel, fr::MatrixStack& worldStack,
                   ra::MatrixPalette& palette, ra::ShadowManager* pShadowManager, bool skipDraw) const;

    // Markers in the wide sense: the marker records first, then every bone of the skeleton.
    int32 GetMarkerCount() const;
    ra::Name GetMarkerName(int32 index) const;
    // A free marker's transform; a parented one's transform times its bone's world matrix; a
    // bone's world matrix. False for a bad index, with `out` untouched.
    bool GetMarkerWorldTransform(int32 index, ra::Matrix34& out) const;
    // A marker's transform; identity for a bone.
    bool GetMarkerLocalTransform(int32 index, ra::Matrix34& out) const;
    // "root" is bone 0 (or marker 0 without a skeleton), "random" any marker or bone; both win
    // over a marker of that name. Otherwise markers, then bones, by name. InvalidIndex when
    // there is nothing to find.
    int32 FindMarker(ra::Name name) const;
    // Appends "root", "random", then every marker record's name; bones are not listed.
    void GetMarkerNames(std::vector<std::string>& cOut) const;

    // The marker records. A record stored while there is a skeleton has its parent resolved at
    // once, as SetSkeleton does for those stored before.
    void SetCMarkerCount(int32 n);
    int32 GetCMarkerCount() const { return int32(m_cMarkers.size()); }
    void SetCMarker(int32 index, const Marker& marker);
    const Marker& GetCMarker(int32 index) const;

    // The cameras.
    void SetCCameraCount(int32 n);
    int32 GetCCameraCount() const { return int32(m_cCameras.size()); }
    void SetCCamera(int32 index, const RenderModelCamera& camera);
    const RenderModelCamera& GetCCamera(int32 index) const;
    int32 GetCameraCount() const { return GetCCameraCount(); }
    int32 FindCamera(ra::Name name) const;

    // Makes the reference pose once: the neutral shader values of every shader of the mesh
    // group (colour multiplier from the channel colour) and every bone's world matrix. A second
    // call keeps the first pose.
    void BuildRefPose();
    // Null until BuildRefPose.
    const AnimPose* GetRefPose() const { return m_pRefPose.get(); }

    // Selection, as the game's interface uses it: a type, the box's extents and centre on the
    // ground plane (x, z), and the whole oriented box.
    void SetSelectionType(int32 type) { m_selectionType = type; }
    int32 GetSelectionType() const { return m_selectionType; }
    void SetSelectionBox(const float extents[2], const float centre[2]);
    void GetSelectionBox(float extents[2], float centre[2]) const;
    void SetSelectionVolume(const ra::OBB& volume) { m_selectionVolume = volume; }
    const ra::OBB& GetSelectionVolume() const { return m_selectionVolume; }

private:
    // Asserts that the index addresses a marker record or a bone.
    bool IsMarkerIndex(int32 index) const;
    // The bone behind a marker index past the records.
    const Bone* GetMarkerBone(int32 index) const;
    // The parent's index in the skeleton, which must exist.
    void ResolveParent(Marker& marker) const;

    std::unique_ptr<ra::MeshGroup> m_pMeshGroup;
    std::unique_ptr<Skeleton> m_pSkeleton;
    std::unique_ptr<AnimList> m_pAnimList;
    std::unique_ptr<ra::MotionList> m_pMotionList;
    std::unique_ptr<AnimPose> m_pRefPose;
    std::vector<Marker> m_cMarkers;
    std::vector<RenderModelCamera> m_cCameras;
    ra::ActionTree m_ActionTree;
    ra::ClauseList m_ClauseList;
    ra::ConditionList m_ConditionList;
    ra::EventList m_EventList;
    ra::ModifierList m_ModifierList;
    int32 m_selectionType = 1;
    float m_selectionExtents[2] = {0, 0};
    float m_selectionCentre[2] = {0, 0};
    ra::OBB m_selectionVolume;
};
