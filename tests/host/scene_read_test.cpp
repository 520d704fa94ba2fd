// Scene files read through the host interface: every kind of value, constant and per-frame
// values, class ids of each object family, the pipeline with its Skin modifier, materials and maps.
#include "host/scene.h"
#include "host/scene_materials.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace host;

namespace
{
// Frames 10 to 12 at 30 frames a second: 160 ticks a frame, frame 10 at tick 1600.
const char* const s_scene = R"({
  "format": "tq7z-scene", "version": 1,
  "frameRate": 30, "animationRange": [10, 12],
  "fileProperties": [
    {"name": "IgnoreShaders", "value": true},
    {"id": 7, "value": "by number"},
    {"name": "Count", "value": 3},
    {"name": "Ratio", "value": 0.5, "type": "float"},
    {"name": "Made", "value": "2004-03-01", "type": "date"},
    {"name": "Wide", "value": "wide text", "type": "wstring"}
  ],
  "textures": [
    {"name": "BodyMap", "class": "bitmap", "file": "textures/body.tga", "filter": "summedArea",
     "uvGen": {"mapChannel": 2, "uMode": "mirror", "vMode": "wrap", "uTiling": 2, "vOffset": 0.25,
               "uOffset": {"frames": [0, 0.5, 1]}}},
    {"name": "Chrome", "class": "bitmap", "file": "/abs/chrome.tga",
     "uvGen": {"mapping": "sphericalEnvironment"}},
    {"name": "NoGen", "class": "bitmap", "file": "c:\\maps\\x.tga", "uvGen": null},
    {"name": "Checks", "class": [512, 0], "className": "Checker"}
  ],
  "materials": [
    {"name": "Body", "class": "standard", "shading": 3, "twoSided": true, "faceMap": true,
     "transparencyType": "additive", "diffuse": [1, 0.5, 0.25],
     "opacity": {"frames": [1, 0.5, 0]}, "specularLevel": 0.05, "selfIllumColorOn": true,
     "selfIllumColor": [0.1, 0.2, 0.3],
     "maps": {"diffuse": {"texmap": "BodyMap", "amount": 0.75},
              "opacity": {"enabled": false, "texmap": 0},
              "reflection": {"texmap": "Chrome"},
              "bump": {"texmap": "Checks", "slotType": "environment"}}},
    {"name": "Body", "id": "body2", "class": "standard"},
    {"name": "Both", "class": "multi", "subMaterials": [0, null, "body2"]},
    {"name": "Odd", "class": [4660, 22136], "className": "Shellac"}
  ],
  "nodes": [
    {"name": "Pelvis", "object": {"class": "box"}, "userProperties": "Stale\r\nMeshMinDetail = High \r\n",
     "transform": {"frames": [
        [[1,0,0],[0,1,0],[0,0,1],[0,0,0]],
        [[1,0,0],[0,1,0],[0,0,1],[10,0,0]],
        [[1,0,0],[0,1,0],[0,0,1],[10,20,0]]]},
     "controller": "bipedBody"},
    {"name": "Arm", "parent": "Pelvis", "bone": true, "object": {"class": "dummy"},
     "transform": [[1,0,0],[0,1,0],[0,0,1],[0,0,5]], "controller": "bipedSlave"},
    {"name": "Arm", "id": "arm2", "parent": 0, "object": {"class": "bone"}, "renderable": false},
    {"name": "Body", "material": "Both", "wireColor": [255, 128, 1],
     "object": {"class": "editableMesh", "mesh": {
        "vertices": [[0,0,0],[1,0,0],[0,1,0],[1,1,0]],
        "faces": [[0,1,2], {"v": [1,3,2], "smoothing": 6, "materialId": 7, "edges": [true, false, true]}],
        "tverts": [[0,0],[1,0,0.5],[0,1],[1,1]],
        "tvFaces": [[0,1,2],[1,3,2]]}},
     "objectOffset": [[1,0,0],[0,1,0],[0,0,1],[0,0,1]],
     "transform": [[2,0,0],[0,2,0],[0,0,2],[5,0,0]],
     "visibility": {"frames": [1, 0, 1]},
     "modifiers": [
       {"class": [1, 2], "superClass": 2064, "className": "Bend"},
       {"class": "skin", "bones": ["Pelvis", "arm2"],
        "points": [[[0, 1]], [[0, 0.5], [1, 0.5]], [[-1, 0.3], [1, 0.7]], []]}]},
    {"name": "Cam", "object": {"class": "freeCamera", "fov": 1.2, "targetDistance": -4,
                               "manualClip": true, "nearClip": 0.01, "farClip": {"frames": [100, 200, 300]}}},
    {"name": "Look", "object": {"class": "targetCamera"}, "target": "Cam.Target",
     "transform": [[1,0,0],[0,1,0],[0,0,1],[0,0,0]]},
    {"name": "Cam.Target", "object": {"class": "target"}, "transform": [[1,0,0],[0,1,0],[0,0,1],[3,4,0]]},
    {"name": "Ref", "xref": {"file": "../other/ref.json"}, "object": {"class": "triObject"},
     "modifiers": [[{"class": "skin", "installed": false}], [{"class": "skin", "bones": [0]}]]},
    {"name": "Lamp", "object": {"class": "omniLight"}},
    {"name": "Marker", "parent": "arm2", "object": {"class": "point"}},
    {"name": "Empty"}
  ]
})";

struct SceneReadTest : ::testing::Test
{
    std::unique_ptr<scene::Scene> pScene = scene::ReadSceneText(s_scene, "test.json", "/work/scenes");
    INode* Node(const char* name) { return pScene->FindNode(name); }
    Object* Evaluated(const char* name) { return Node(name)->EvalWorldState(0).obj; }
};

std::string ClassName(Animatable* p)
{
    CStr s;
    p->GetClassName(s);
    return s.str();
}
} // namespace

TEST_F(SceneReadTest, RangeRateAndFileProperties)
{
    EXPECT_EQ(GetFrameRate(), 30);
    EXPECT_EQ(GetTicksPerFrame(), 160);
    EXPECT_EQ(pScene->GetAnimRange().Start(), 1600);
    EXPECT_EQ(pScene->GetAnimRange().End(), 1920);

    ASSERT_EQ(pScene->GetNumProperties(PROPSET_USERDEFINED), 6);
    EXPECT_EQ(pScene->GetNumProperties(PROPSET_SUMMARYINFO), 0);
    EXPECT_EQ(pScene->GetPropertySpec(PROPSET_USERDEFINED, 0)->ulKind, PRSPEC_LPWSTR);
    EXPECT_EQ(pScene->GetPropertySpec(PROPSET_USERDEFINED, 0)->lpwstr, u"IgnoreShaders");
    EXPECT_EQ(pScene->GetPropertyVariant(PROPSET_USERDEFINED, 0)->vt, VT_BOOL);
    EXPECT_TRUE(pScene->GetPropertyVariant(PROPSET_USERDEFINED, 0)->boolVal);
    EXPECT_EQ(pScene->GetPropertySpec(PROPSET_USERDEFINED, 1)->ulKind, PRSPEC_PROPID);
    EXPECT_EQ(pScene->GetPropertySpec(PROPSET_USERDEFINED, 1)->propid, 7u);
    EXPECT_EQ(pScene->GetPropertyVariant(PROPSET_USERDEFINED, 1)->pszVal, "by number");
    EXPECT_EQ(pScene->GetPropertyVariant(PROPSET_USERDEFINED, 2)->vt, VT_I4);
    EXPECT_EQ(pScene->GetPropertyVariant(PROPSET_USERDEFINED, 2)->lVal, 3);
    EXPECT_EQ(pScene->GetPropertyVariant(PROPSET_USERDEFINED, 3)->vt, VT_R4);
    EXPECT_FLOAT_EQ(pScene->GetPropertyVariant(PROPSET_USERDEFINED, 3)->fltVal, 0.5f);
    // 1 March 2004 is day 38047 of the host's calendar.
    EXPECT_EQ(pScene->GetPropertyVariant(PROPSET_USERDEFINED, 4)->vt, VT_DATE);
    EXPECT_DOUBLE_EQ(pScene->GetPropertyVariant(PROPSET_USERDEFINED, 4)->date, 38047.0);
    EXPECT_EQ(pScene->GetPropertyVariant(PROPSET_USERDEFINED, 5)->pwszVal, u"wide text");
    EXPECT_EQ(pScene->GetPropertySpec(PROPSET_USERDEFINED, 6), nullptr);
}

TEST_F(SceneReadTest, TreeNamesFlagsAndUserProperties)
{
    INode* pRoot = pScene->GetRootNode();
    EXPECT_TRUE(pRoot->IsRootNode());
    EXPECT_EQ(pRoot->EvalWorldState(0).obj, nullptr);
    ASSERT_EQ(pRoot->NumberOfChildren(), 8);
    EXPECT_STREQ(pRoot->GetChildNode(0)->GetName(), "Pelvis");
    EXPECT_EQ(pRoot->GetChildNode(8), nullptr);

    INode* pPelvis = Node("Pelvis");
    ASSERT_EQ(pPelvis->NumberOfChildren(), 2);
    EXPECT_STREQ(pPelvis->GetChildNode(0)->GetName(), "Arm");
    EXPECT_STREQ(pPelvis->GetChildNode(1)->GetName(), "Arm");
    EXPECT_NE(pPelvis->GetChildNode(0), pPelvis->GetChildNode(1));
    EXPECT_EQ(pPelvis->GetChildNode(1)->GetParentNode(), pPelvis);
    EXPECT_EQ(pPelvis->GetParentNode(), pRoot);
    EXPECT_FALSE(pPelvis->IsRootNode());
    EXPECT_STREQ(Node("Marker")->GetParentNode()->GetName(), "Arm");
    EXPECT_EQ(Node("Marker")->GetParentNode(), pPelvis->GetChildNode(1));

    EXPECT_FALSE(pPelvis->GetBoneNodeOnOff());
    EXPECT_TRUE(Node("Arm")->GetBoneNodeOnOff());
    EXPECT_TRUE(pPelvis->Renderable());
    EXPECT_FALSE(pPelvis->GetChildNode(1)->Renderable());
    EXPECT_EQ(Node("Body")->GetWireColor(), 0x000180FFu);

    EXPECT_TRUE(pPelvis->UserPropExists("stale"));
    EXPECT_TRUE(pPelvis->UserPropExists("MESHMINDETAIL"));
    EXPECT_FALSE(pPelvis->UserPropExists("Remove"));
    CStr value;
    EXPECT_TRUE(pPelvis->GetUserPropString("meshmindetail", value));
    EXPECT_EQ(value.str(), "High");
    EXPECT_TRUE(pPelvis->GetUserPropString("Stale", value));
    EXPECT_EQ(value.str(), "");
    EXPECT_FALSE(pPelvis->GetUserPropString("Inactive", value));
}

TEST_F(SceneReadTest, ClassIdsOfEveryFamily)
{
    EXPECT_EQ(Evaluated("Pelvis")->ClassID(), BOXOBJ_CLASS_ID);
    EXPECT_EQ(Evaluated("Pelvis")->SuperClassID(), GEOMOBJECT_CLASS_ID);
    EXPECT_EQ(Evaluated("Arm")->ClassID(), DUMMY_CLASS_ID);
    EXPECT_EQ(Evaluated("Arm")->SuperClassID(), HELPER_CLASS_ID);
    EXPECT_EQ(Node("Pelvis")->GetChildNode(1)->EvalWorldState(0).obj->ClassID(), BONE_OBJ_CLASSID);
    EXPECT_EQ(Evaluated("Body")->ClassID(), EDITTRIOBJ_CLASS_ID);
    EXPECT_EQ(ClassName(Evaluated("Body")), "Editable Mesh");
    EXPECT_EQ(Evaluated("Cam")->ClassID(), SIMPLE_CAM_CLASS_ID);
    EXPECT_EQ(Evaluated("Cam")->SuperClassID(), CAMERA_CLASS_ID);
    EXPECT_EQ(Evaluated("Look")->ClassID(), LOOKAT_CAM_CLASS_ID);
    EXPECT_EQ(Evaluated("Lamp")->ClassID(), OMNI_LIGHT_CLASS_ID);
    EXPECT_EQ(Evaluated("Lamp")->SuperClassID(), LIGHT_CLASS_ID);
    EXPECT_EQ(Evaluated("Marker")->ClassID(), POINTHELP_CLASS_ID);
    EXPECT_EQ(Evaluated("Ref")->ClassID(), TRIOBJ_CLASS_ID);
    EXPECT_EQ(Evaluated("Empty"), nullptr);
    EXPECT_EQ(Node("Empty")->GetObjectRef(), nullptr);

    EXPECT_EQ(Node("Pelvis")->GetTMController()->ClassID(), BIPBODY_CONTROL_CLASS_ID);
    EXPECT_EQ(Node("Arm")->GetTMController()->ClassID(), BIPSLAVE_CONTROL_CLASS_ID);
    EXPECT_EQ(Node("Lamp")->GetTMController()->ClassID(), PRS_CONTROL_CLASS_ID);
    // Without modifiers the object at the bottom is the evaluated one.
    EXPECT_EQ(Node("Pelvis")->GetObjectRef(), Evaluated("Pelvis"));
}

TEST_F(SceneReadTest, TransformsConstantPerFrameAndBetweenFrames)
{
    INode* pPelvis = Node("Pelvis");
    EXPECT_EQ(pPelvis->GetNodeTM(1600).GetTrans(), Point3(0, 0, 0));
    EXPECT_EQ(pPelvis->GetNodeTM(1760).GetTrans(), Point3(10, 0, 0));
    EXPECT_EQ(pPelvis->GetNodeTM(1920).GetTrans(), Point3(10, 20, 0));
    // Half way between frames 11 and 12; before the range and after it the ends hold.
    EXPECT_EQ(pPelvis->GetNodeTM(1840).GetTrans(), Point3(10, 10, 0));
    EXPECT_EQ(pPelvis->GetNodeTM(0).GetTrans(), Point3(0, 0, 0));
    EXPECT_EQ(pPelvis->GetNodeTM(99999).GetTrans(), Point3(10, 20, 0));

    EXPECT_EQ(Node("Arm")->GetNodeTM(1700).GetTrans(), Point3(0, 0, 5));
    // A node without a transform stands at the origin.
    EXPECT_EQ(Node("Lamp")->GetNodeTM(0), Matrix3());

    // The object matrix puts the offset first, then the node's transform.
    INode* pBody = Node("Body");
    EXPECT_EQ(pBody->GetObjectTM(0).GetTrans(), Point3(5, 0, 2));
    EXPECT_EQ(pBody->GetObjTMAfterWSM(0), pBody->GetObjectTM(0));
    EXPECT_EQ(pBody->GetNodeTM(0).GetTrans(), Point3(5, 0, 0));

    EXPECT_FLOAT_EQ(pBody->GetVisibility(1600), 1.0f);
    EXPECT_FLOAT_EQ(pBody->GetVisibility(1760), 0.0f);
    EXPECT_FLOAT_EQ(pBody->GetVisibility(1680), 0.5f);
    EXPECT_FLOAT_EQ(Node("Lamp")->GetVisibility(1760), 1.0f);
}

TEST_F(SceneReadTest, MeshFacesAndTextureFaces)
{
    auto* pGeom = static_cast<GeomObject*>(Evaluated("Body"));
    struct : View
    {
        Point2 ViewToScreen(Point3 p) override { return {p.x, p.y}; }
    } view;
    int needDelete = -1;
    Mesh* pMesh = pGeom->GetRenderMesh(0, Node("Body"), view, needDelete);
    ASSERT_NE(pMesh, nullptr);
    EXPECT_EQ(needDelete, 0);
    ASSERT_EQ(pMesh->numVerts, 4);
    ASSERT_EQ(pMesh->numFaces, 2);
    ASSERT_EQ(pMesh->numTVerts, 4);
    EXPECT_EQ(pMesh->verts[3], Point3(1, 1, 0));

    // The short form: smoothing group 1, material 0, all edges seen.
    EXPECT_EQ(pMesh->faces[0].v[2], 2u);
    EXPECT_EQ(pMesh->faces[0].smGroup, 1u);
    EXPECT_EQ(pMesh->faces[0].getMatID(), 0);
    EXPECT_EQ(pMesh->faces[0].flags & EDGE_ALL, EDGE_ALL);
    EXPECT_EQ(pMesh->faces[1].v[0], 1u);
    EXPECT_EQ(pMesh->faces[1].v[1], 3u);
    EXPECT_EQ(pMesh->faces[1].smGroup, 6u);
    EXPECT_EQ(pMesh->faces[1].getMatID(), 7);
    EXPECT_EQ(pMesh->faces[1].flags & EDGE_ALL, EDGE_A | EDGE_C);

    EXPECT_EQ(pMesh->tVerts[1], Point3(1, 0, 0.5f));
    EXPECT_EQ(pMesh->tVerts[2], Point3(0, 1, 0));
    EXPECT_EQ(pMesh->tvFace[1].t[1], 3u);

    // Geometry without a mesh gives none.
    EXPECT_EQ(
        static_cast<GeomObject*>(Evaluated("Pelvis"))->GetRenderMesh(0, Node("Pelvis"), view, needDelete),
        nullptr);
}

TEST_F(SceneReadTest, SkinModifierBonesWeightsAndContexts)
{
    INode* pBody = Node("Body");
    Object* pRef = pBody->GetObjectRef();
    ASSERT_EQ(pRef->SuperClassID(), GEN_DERIVOB_CLASS_ID);
    auto* pDerived = static_cast<IDerivedObject*>(pRef);
    ASSERT_EQ(pDerived->NumModifiers(), 2);
    EXPECT_EQ(pDerived->GetObjRef(), Evaluated("Body"));
    EXPECT_EQ(pDerived->GetModifier(0)->ClassID(), Class_ID(1, 2));
    EXPECT_EQ(pDerived->GetModifier(0)->SuperClassID(), OSM_CLASS_ID);
    EXPECT_EQ(pDerived->GetModifier(0)->GetInterface(I_SKIN), nullptr);

    Modifier* pMod = pDerived->GetModifier(1);
    EXPECT_EQ(pMod->ClassID(), SKIN_CLASSID);
    auto* pSkin = static_cast<ISkin*>(pMod->GetInterface(I_SKIN));
    ASSERT_NE(pSkin, nullptr);
    ASSERT_EQ(pSkin->GetNumBones(), 2);
    EXPECT_EQ(pSkin->GetBone(0), Node("Pelvis"));
    EXPECT_EQ(pSkin->GetBone(1), Node("Pelvis")->GetChildNode(1));
    EXPECT_EQ(pSkin->GetBone(2), nullptr);
    Matrix3 init;
    EXPECT_TRUE(pSkin->GetBoneInitTM(Node("Pelvis"), init));
    EXPECT_EQ(init, Node("Pelvis")->GetNodeTM(0));
    EXPECT_FALSE(pSkin->GetBoneInitTM(Node("Lamp"), init));

    EXPECT_EQ(pSkin->GetContextInterface(Node("Lamp")), nullptr);
    ISkinContextData* pContext = pSkin->GetContextInterface(pBody);
    ASSERT_NE(pContext, nullptr);
    ASSERT_EQ(pContext->GetNumPoints(), 4);
    EXPECT_EQ(pContext->GetNumAssignedBones(0), 1);
    EXPECT_EQ(pContext->GetNumAssignedBones(1), 2);
    EXPECT_EQ(pContext->GetAssignedBone(1, 1), 1);
    EXPECT_FLOAT_EQ(pContext->GetBoneWeight(1, 1), 0.5f);
    EXPECT_EQ(pContext->GetAssignedBone(2, 0), -1);
    EXPECT_FLOAT_EQ(pContext->GetBoneWeight(2, 1), 0.7f);
    EXPECT_EQ(pContext->GetNumAssignedBones(3), 0);
    EXPECT_EQ(pContext->GetNumAssignedBones(4), 0);
}

TEST_F(SceneReadTest, XRefUnderAChainOfDerivedObjects)
{
    INode* pRef = Node("Ref");
    auto* pTop = static_cast<IDerivedObject*>(pRef->GetObjectRef());
    ASSERT_EQ(pTop->SuperClassID(), GEN_DERIVOB_CLASS_ID);
    // The upper skin is not installed; the lower one is, without weights for this node.
    EXPECT_EQ(pTop->GetModifier(0)->GetInterface(I_SKIN), nullptr);
    Object* pNext = pTop->GetObjRef();
    ASSERT_EQ(pNext->SuperClassID(), GEN_DERIVOB_CLASS_ID);
    auto* pLower = static_cast<IDerivedObject*>(pNext);
    auto* pSkin = static_cast<ISkin*>(pLower->GetModifier(0)->GetInterface(I_SKIN));
    ASSERT_NE(pSkin, nullptr);
    EXPECT_EQ(pSkin->GetContextInterface(pRef), nullptr);
    Object* pBase = pLower->GetObjRef();
    ASSERT_EQ(pBase->ClassID(), XREFOBJ_CLASS_ID);
    EXPECT_EQ(pBase->SuperClassID(), SYSTEM_CLASS_ID);
    // Relative names are taken from the scene's folder.
    EXPECT_EQ(static_cast<IXRefObject*>(pBase)->GetFileName().str(), "/work/scenes/../other/ref.json");
}

TEST_F(SceneReadTest, Cameras)
{
    auto* pFree = static_cast<CameraObject*>(Evaluated("Cam"));
    EXPECT_FLOAT_EQ(pFree->GetFOV(0), 1.2f);
    EXPECT_TRUE(pFree->GetManualClip());
    EXPECT_FLOAT_EQ(pFree->GetClipDist(0, CAM_HITHER_CLIP), 0.01f);
    EXPECT_FLOAT_EQ(pFree->GetClipDist(1760, CAM_YON_CLIP), 200.0f);
    // No target: the stated distance stays, negative as given.
    pFree->UpdateTargDistance(0, Node("Cam"));
    EXPECT_FLOAT_EQ(pFree->GetTDist(0), -4.0f);
    EXPECT_EQ(Node("Cam")->GetTarget(), nullptr);
    Matrix3 tm;
    EXPECT_EQ(Node("Cam")->GetTargetTM(0, tm), 0);

    INode* pLook = Node("Look");
    auto* pTarget = static_cast<CameraObject*>(Evaluated("Look"));
    EXPECT_FALSE(pTarget->GetManualClip());
    EXPECT_FLOAT_EQ(pTarget->GetClipDist(0, CAM_HITHER_CLIP), 1.0f);
    EXPECT_FLOAT_EQ(pTarget->GetClipDist(0, CAM_YON_CLIP), 1000.0f);
    ASSERT_EQ(pLook->GetTarget(), Node("Cam.Target"));
    EXPECT_EQ(pLook->GetTargetTM(0, tm), 1);
    EXPECT_EQ(tm.GetTrans(), Point3(3, 4, 0));
    pTarget->UpdateTargDistance(0, pLook);
    EXPECT_FLOAT_EQ(pTarget->GetTDist(0), 5.0f);
}

TEST_F(SceneReadTest, StandardMaterialValuesAndMaps)
{
    Mtl* pMulti = Node("Body")->GetMtl();
    ASSERT_NE(pMulti, nullptr);
    EXPECT_EQ(pMulti->ClassID(), MULTI_CLASS_ID);
    EXPECT_STREQ(pMulti->GetName(), "Both");
    ASSERT_EQ(pMulti->NumSubMtls(), 3);
    EXPECT_EQ(pMulti->GetSubMtl(1), nullptr);
    EXPECT_EQ(pMulti->GetSubMtl(3), nullptr);
    EXPECT_NE(pMulti->GetSubMtl(0), pMulti->GetSubMtl(2));
    EXPECT_STREQ(pMulti->GetSubMtl(2)->GetName(), "Body");
    // Requirements of all sub-materials together, or of one.
    EXPECT_EQ(pMulti->Requirements(-1), MTLREQ_2SIDE | MTLREQ_FACEMAP);
    EXPECT_EQ(pMulti->Requirements(2), 0u);

    auto* pStd = static_cast<StdMat*>(pMulti->GetSubMtl(0));
    EXPECT_EQ(pStd->ClassID(), DMTL_CLASS_ID);
    EXPECT_EQ(pStd->SuperClassID(), MATERIAL_CLASS_ID);
    EXPECT_EQ(pStd->NumSubMtls(), 0);
    EXPECT_EQ(pStd->GetShading(), 3);
    EXPECT_TRUE(pStd->GetTwoSided());
    EXPECT_EQ(pStd->GetTransparencyType(), TRANSP_ADDITIVE);
    EXPECT_EQ(pStd->GetDiffuse(0), (Color{1, 0.5f, 0.25f}));
    EXPECT_FLOAT_EQ(pStd->GetOpacity(1600), 1.0f);
    EXPECT_FLOAT_EQ(pStd->GetOpacity(1760), 0.5f);
    EXPECT_FLOAT_EQ(pStd->GetOpacity(1920), 0.0f);
    EXPECT_FLOAT_EQ(pStd->GetShinStr(0), 0.05f);
    EXPECT_TRUE(pStd->GetSelfIllumColorOn());
    EXPECT_EQ(pStd->GetSelfIllumColor(0), (Color{0.1f, 0.2f, 0.3f}));

    EXPECT_TRUE(pStd->MapEnabled(ID_DI));
    EXPECT_FALSE(pStd->MapEnabled(ID_OP));
    EXPECT_FALSE(pStd->MapEnabled(ID_SP));
    EXPECT_NE(pStd->GetSubTexmap(ID_OP), nullptr);
    EXPECT_EQ(pStd->GetSubTexmap(ID_SP), nullptr);
    EXPECT_FLOAT_EQ(pStd->GetTexmapAmt(ID_DI, 0), 0.75f);
    EXPECT_FLOAT_EQ(pStd->GetTexmapAmt(ID_SI, 0), 1.0f);
    EXPECT_EQ(pStd->MapSlotType(ID_DI), MAPSLOT_TEXTURE);
    EXPECT_EQ(pStd->MapSlotType(ID_RL), MAPSLOT_ENVIRONMENT);
    EXPECT_EQ(pStd->MapSlotType(ID_BU), MAPSLOT_ENVIRONMENT);

    // The second "Body", found by its id, keeps every default.
    auto* pPlain = static_cast<StdMat*>(pMulti->GetSubMtl(2));
    EXPECT_FALSE(pPlain->GetTwoSided());
    EXPECT_EQ(pPlain->GetTransparencyType(), TRANSP_FILTER);
    EXPECT_FLOAT_EQ(pPlain->GetOpacity(0), 1.0f);
}

TEST_F(SceneReadTest, BitmapsUVGeneratorsAndOtherMaps)
{
    auto* pStd = static_cast<StdMat*>(Node("Body")->GetMtl()->GetSubMtl(0));
    Texmap* pMap = pStd->GetSubTexmap(ID_DI);
    ASSERT_EQ(pMap->ClassID(), BMTEX_CLASS_ID);
    auto* pBitmap = static_cast<BitmapTex*>(pMap);
    EXPECT_STREQ(pBitmap->GetName(), "BodyMap");
    EXPECT_STREQ(pBitmap->GetMapName(), "/work/scenes/textures/body.tga");
    EXPECT_EQ(pBitmap->GetFilterType(), FILTER_SAT);
    StdUVGen* pGen = pBitmap->GetUVGen();
    ASSERT_NE(pGen, nullptr);
    EXPECT_EQ(pGen->GetMapChannel(), 2);
    EXPECT_EQ(pGen->GetTextureTiling(), U_MIRROR | V_WRAP);
    EXPECT_EQ(pGen->GetCoordMapping(0), UVMAP_EXPLICIT);
    EXPECT_EQ(pGen->Requirements(0), MTLREQ_UV);
    EXPECT_FLOAT_EQ(pGen->GetUScl(0), 2.0f);
    EXPECT_FLOAT_EQ(pGen->GetVScl(0), 1.0f);
    EXPECT_FLOAT_EQ(pGen->GetVOffs(0), 0.25f);
    EXPECT_FLOAT_EQ(pGen->GetUOffs(1760), 0.5f);
    // Tiling 2 about the centre, then the offset at time 0 (u 0, v 0.25): u' = 2u - 0.5, v' = v - 0.25.
    Matrix3 uv;
    pGen->GetUVTransform(uv);
    const Point3 p = Point3(0.75f, 0.5f, 0) * uv;
    EXPECT_NEAR(p.x, 1.0f, 1e-6f);
    EXPECT_NEAR(p.y, 0.25f, 1e-6f);

    auto* pChrome = static_cast<BitmapTex*>(pStd->GetSubTexmap(ID_RL));
    EXPECT_STREQ(pChrome->GetMapName(), "/abs/chrome.tga");
    EXPECT_EQ(pChrome->GetUVGen()->GetCoordMapping(0), UVMAP_SPHERE_ENV);
    EXPECT_EQ(pChrome->GetUVGen()->Requirements(0), MTLREQ_VIEW_DEP);
    EXPECT_EQ(pChrome->GetUVGen()->GetTextureTiling(), U_WRAP | V_WRAP);
    EXPECT_EQ(pChrome->GetFilterType(), FILTER_PYR);
    Matrix3 identity;
    pChrome->GetUVGen()->GetUVTransform(identity);
    EXPECT_EQ(identity.GetRow(3), Point3(0, 0, 0));

    Texmap* pChecks = pStd->GetSubTexmap(ID_BU);
    EXPECT_EQ(pChecks->ClassID(), Class_ID(512, 0));
    EXPECT_EQ(pChecks->SuperClassID(), TEXMAP_CLASS_ID);
    EXPECT_EQ(ClassName(pChecks), "Checker");
}

TEST(SceneRead, BitmapWithoutGeneratorAndWindowsNames)
{
    const auto pScene = scene::ReadSceneText(R"({"textures": [
        {"name": "NoGen", "class": "bitmap", "file": "c:\\maps\\x.tga", "uvGen": null}],
        "materials": [{"name": "M", "class": "standard", "maps": {"diffuse": {"texmap": "NoGen"}}},
                      {"name": "Odd", "class": [4660, 22136], "className": "Shellac"}],
        "nodes": [{"name": "a", "material": "M"}, {"name": "b", "material": 1}]})",
                                             "t.json", "/scenes");
    auto* pMtl = static_cast<StdMat*>(pScene->FindNode("a")->GetMtl());
    auto* pBitmap = static_cast<BitmapTex*>(pMtl->GetSubTexmap(ID_DI));
    // A name with a drive letter is already whole.
    EXPECT_STREQ(pBitmap->GetMapName(), "c:\\maps\\x.tga");
    EXPECT_EQ(pBitmap->GetUVGen(), nullptr);
    Mtl* pOdd = pScene->FindNode("b")->GetMtl();
    EXPECT_EQ(pOdd->ClassID(), Class_ID(0x1234, 0x5678));
    EXPECT_EQ(ClassName(pOdd), "Shellac");
    EXPECT_EQ(pOdd->NumSubMtls(), 0);
}

TEST(SceneRead, DefaultsOfAMinimalFile)
{
    const auto pScene = scene::ReadSceneText(R"({"frameRate": 25, "nodes": []})", "min.json");
    EXPECT_EQ(GetTicksPerFrame(), 192);
    EXPECT_EQ(pScene->GetAnimRange().Start(), 0);
    EXPECT_EQ(pScene->GetAnimRange().End(), 0);
    EXPECT_EQ(pScene->GetRootNode()->NumberOfChildren(), 0);
    EXPECT_EQ(pScene->GetNumProperties(PROPSET_USERDEFINED), 0);
    scene::ReadSceneText(R"({"nodes": []})", "min.json");
    EXPECT_EQ(GetTicksPerFrame(), 160);
}
