// SGMExport: the scene exporter. One DoExport walks the host scene into node lists, builds meshes,
// shaders, skeleton and animation from them, assembles one RenderModel and saves it as a .sgm file.
#pragma once

#include "exporter/sgmexportoptions.h"
#include "host/host.h"
#include "host/plugin.h"
#include "inventory/inventory.h"
#include "math/matrix.h"
#include "model/anim/anim.h"
#include "model/mesh/mesh.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

class ExportUI;
class RenderModel;
class Shader;
class ShaderImp;
class Skeleton;
class Texture;

// One triangle of a mesh node while it is built.
struct FaceRecord
{
    uint16 iVertex[3] = {0, 0, 0};
    uint16 iNormal[3] = {0, 0, 0};
    uint16 iUV[3] = {0, 0, 0};
    uint32 smoothing = 0;
    // The material id on entry, the index into the mesh's shader table after remapping.
    uint16 iShader = 0;

    // A face whose three vertex indices are this is marked for removal.
    static constexpr uint16 Removed = 0xFFFF;
};

// A texture coordinate.
struct TexCoord
{
    float u = 0;
    float v = 0;
};
static_assert(sizeof(TexCoord) == 8);

// The stored skin weights of one vertex: the first three weights after scaling (the fourth is what
// remains to 1) and four bone numbers into m_BoneNodes, 0xFF for an empty place.
struct WeightRecord
{
    float weight[3] = {0, 0, 0};
    uint8 boneIndex[4] = {0xFF, 0xFF, 0xFF, 0xFF};
};
static_assert(sizeof(WeightRecord) == 16);

// A mesh node and the per-face data of its mesh while it is built.
struct MeshNode
{
    host::INode* pNode = nullptr;
    Inv::Reference<ra::Mesh> meshRef;
    std::vector<ra::Vec3> cVertex;
    std::vector<WeightRecord> cWeight;
    std::vector<ra::Vec3> cNormal;
    std::vector<TexCoord> cUV;
    std::vector<FaceRecord> cFace;
};

struct BoneNode
{
    host::INode* pNode = nullptr;
    // Unique within m_BoneNodes, compared without regard to case.
    std::string name;
    // Index into m_BoneNodes, or -1.
    int32 parent = -1;
    // False when the node carries "Stale" or "Inactive".
    bool active = true;
    // World transform at the export time, in game axes.
    ra::Matrix34 transform;
};

// One shader made from a host material (or from a node's wire colour when pMtl is null).
struct ShaderListEntry
{
    // Held by the inventory; shaderRef keeps it there.
    ShaderImp* pShader = nullptr;
    Inv::Reference<Shader> shaderRef;
    host::Mtl* pMtl = nullptr;
    // Rank in a mesh's shader table: 2 and up for names in m_ShaderOrder, else 0 opaque, 1 not.
    int32 sortKey = 0;
};

// A value sampled per frame for a control stream: an object and a time give a float.
using ControlValueFunction = std::function<float(void* pObject, host::TimeValue t)>;

class SGMExport : public host::SceneExport
{
public:
    SGMExport();
    ~SGMExport() override;

    int ExtCount() override;
    const char* Ext(int n) override;
    const char* LongDesc() override;
    const char* ShortDesc() override;
    const char* AuthorName() override;
    const char* CopyrightMessage() override;
    const char* OtherMessage1() override;
    const char* OtherMessage2() override;
    unsigned int Version() override;
    void ShowAbout(host::HWND hWnd) override;
    int DoExport(const char* name, host::ExpInterface* ei, host::Interface* i, int suppressPrompts = 0,
                 uint32 options = 0) override;

    // Where dialogs and listener output go; the console by default. Not owned.
    void SetUI(ExportUI* pUI);

    // The session.
    bool InitExport(SGMExportOptions& options, const char* name, host::Interface* pInterface,
                    bool suppressPrompts);
    bool RunExport(SGMExportOptions& options);
    void ShutdownExport();

    // Scene gathering.
    void WalkScene(SGMExportOptions& options, host::INode* pNode);
    void AddBoneNode(host::INode* pNode, host::TimeValue time);
    void AddMeshNode(host::INode* pNode, host::TimeValue time);
    void AddMarkerNode(host::INode* pNode, host::TimeValue time);
    void AddCameraNode(host::INode* pNode, host::TimeValue time);
    void AddLightNode(host::INode* pNode, host::TimeValue time);
    // The node's index in m_BoneNodes, or -1.
    int32 FindBoneIndex(host::INode* pNode) const;
    // The first of the node and its ancestors that is in m_BoneNodes, or -1.
    int32 FindParentBone(host::INode* pNode) const;

    // Meshes.
    bool BuildMeshes(RenderModel& model, SGMExportOptions& options);
    bool BuildMesh(RenderModel& model, size_t meshIndex, SGMExportOptions& options);
    bool BuildNormals(size_t meshIndex);
    bool BuildVertices(size_t meshIndex, uint32 usage, std::vector<std::pair<uint32, uint32>>* pMap);
    bool BuildPrimSets(size_t meshIndex, uint32 usage);

    // Skin weights.
    bool BuildSkinData(size_t meshIndex, SGMExportOptions& options);
    // 0 bad weights, 1 no skin, 2 skinned.
    int ReadSkinWeights(size_t meshIndex);
    bool ForceSkinWeights(size_t meshIndex, SGMExportOptions& options);

    // Materials and shaders.
    void CollectShaders(host::INode* pNode, std::vector<ShaderListEntry*>& shaderList,
                        SGMExportOptions& options, const std::vector<bool>* usedShader);
    std::unique_ptr<ShaderListEntry> BuildShader(host::Mtl* pMtl, size_t shaderIndex,
                                                 SGMExportOptions& options);
    int32 FindShaderEntry(host::Mtl* pMtl) const;
    void SetTextureChannel(ShaderImp* pShader, int channel, host::Texmap* pTexmap, bool sharedUV,
                           SGMExportOptions& options);
    Inv::Reference<Texture> LoadTexture(const char* name, bool warn);

    // Animation.
    void SampleAnimation(SGMExportOptions& options, RenderModel& renderModel);
    void SampleBone(host::INode* pNode, BoneMatrixStream* pMatrixStream, float tick, float normalisedTime,
                    uint32 frame);
    void SampleCamera(host::INode* pNode, host::INode* pParent, CameraPositionStream& positionStream,
                      CameraRotationStream& rotationStream);
    bool AddControlStream(RenderModel& renderModel, const ControlInfo& ref,
                          const ControlValueFunction& valueFunction, void* pObject, bool keepConstant);
    // The mesh records to change in place, so that one stage can run again on records set by hand
    // (the export benchmark times the normals this way).
    std::vector<MeshNode>& EditMeshNodes() { return m_MeshNodes; }

    // Assembly.
    std::unique_ptr<RenderModel> BuildRenderModel(SGMExportOptions& options);
    void BuildSkeleton(RenderModel& renderModel);
    bool BuildMeshGroup(RenderModel& renderModel, SGMExportOptions& options);
    bool FixControlStreams(RenderModel& renderModel);
    void AddMarker(RenderModel& renderModel, host::INode* pNode, host::TimeValue time);
    void AddCamera(RenderModel& renderModel, host::INode* pNode, host::TimeValue time);

    // The lists, for the steps above and for tests.
    const std::vector<MeshNode>& GetMeshNodes() const { return m_MeshNodes; }
    const std::vector<BoneNode>& GetBoneNodes() const { return m_BoneNodes; }
    const std::vector<host::INode*>& GetMarkerNodes() const { return m_MarkerNodes; }
    const std::vector<host::INode*>& GetLightNodes() const { return m_LightNodes; }
    const std::vector<host::INode*>& GetCameraNodes() const { return m_CameraNodes; }
    const std::vector<std::unique_ptr<ShaderListEntry>>& GetShaderList() const { return m_ShaderList; }
    Skeleton* GetSkeletonUnderConstruction() const { return m_pSkeleton.get(); }

private:
    host::HINSTANCE m_hInstance = nullptr;
    host::Interface* m_pInterface = nullptr;
    std::vector<MeshNode> m_MeshNodes;
    std::vector<BoneNode> m_BoneNodes;
    std::unique_ptr<Skeleton> m_pSkeleton;
    std::vector<host::INode*> m_MarkerNodes;
    // Filled by the walk and read by nothing yet: the input of a later light export.
    std::vector<host::INode*> m_LightNodes;
    std::vector<host::INode*> m_CameraNodes;
    std::vector<std::unique_ptr<ShaderListEntry>> m_ShaderList;
    std::vector<std::string> m_ShaderOrder;
    ExportUI* m_pUI = nullptr;
};
