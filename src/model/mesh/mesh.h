// ra::Mesh: one piece of a model's geometry with up to two levels of detail, its vertices in one
// vertex set per level and its triangles split into primitive sets by shader. Meshes are shared
// through the inventory: a model may take a mesh from another model's file.
#pragma once

#include "foundation/types.h"
#include "inventory/inventory.h"
#include "math/matrix.h"
#include "model/shader/shader.h"
#include "names/name.h"
#include "render/primset.h"
#include "render/vertexset.h"

#include <memory>
#include <span>
#include <vector>

namespace ra
{
// A bone that influences a skinned mesh: its name, and the slot under which the mesh's vertices
// (the bone slots of their packed weights) reference it.
struct SkinnedTransform
{
    Name name;
    int32 index = -1;
};

// Stencil shadow data of final files; the shadow builder owns the content of the records.
struct ShadowEdge
{
    uint8 data[24];
};
struct ShadowFace
{
    uint8 data[40];
};
static_assert(sizeof(ShadowEdge) == 24 && sizeof(ShadowFace) == 40);

class Mesh : public Inv::NamedResource
{
public:
    // Levels of detail; every per-level array is indexed by these.
    enum PolyLevel : uint32
    {
        Poly_Low = 0,
        Poly_High = 1,
        Poly_Count = 2
    };
    static constexpr int32 InvalidIndex = -1;

    // The triangles of one shader, one primitive set per level (null where the level has none).
    struct PrimSetEntry
    {
        Inv::Reference<Shader> shader;
        std::unique_ptr<fr::PrimSet> pPrimSets[Poly_Count];
    };

    // The inventory type of meshes ("Mesh").
    static Inv::ResourceTypeInfo* GetTypeInfo();

    Mesh() = default;
    explicit Mesh(const char* name);
    ~Mesh() override;
    Mesh(const Mesh&) = delete;
    Mesh& operator=(const Mesh&) = delete;

    // Sets the inventory's name and the ra::Name that mirrors it; a null name is an assertion.
    void SetName(const char* name) override;
    // Hides the inventory's text name: a mesh is known by its ra::Name. The text stays at
    // Inv::NamedResource::GetName.
    Name GetName() const { return m_name; }

    void SetMeshType(int32 type) { m_meshType = type; }
    int32 GetMeshType() const { return m_meshType; }
    void SetRenderFlag(bool render) { m_render = render; }
    bool GetRenderFlag() const { return m_render; }
    // The lowest detail setting at which the mesh is still drawn: 0 always, 1 from medium, 2 from
    // high. The exporter takes it from the node; model files do not carry it.
    void SetMinDetail(int32 level) { m_minDetail = level; }
    int32 GetMinDetail() const { return m_minDetail; }
    // Whether picking a child of the model may select this mesh; 1 unless the node says otherwise.
    void SetChildSelection(int32 flag) { m_childSelection = flag; }
    int32 GetChildSelection() const { return m_childSelection; }

    // Faces per level, as the exporter reported them.
    void SetPolyCount(uint32 level, int32 n);
    int32 GetPolyCount(uint32 level) const;

    // Takes the set, deletes the previous one, and points every primitive set of that level at
    // the new one.
    void SetVertexSet(uint32 level, std::unique_ptr<fr::VertexSet> pSet);
    fr::VertexSet* GetVertexSet(uint32 level) const;

    // Bones of a skinned mesh; empty for a rigid one.
    void SetSkinnedTransformCount(int32 n);
    int32 GetSkinnedTransformCount() const { return int32(m_skinnedTransforms.size()); }
    void SetSkinnedTransformName(int32 index, Name name);
    Name GetSkinnedTransformName(int32 index) const;
    void SetSkinnedTransformIndex(int32 index, int32 value);
    int32 GetSkinnedTransformIndex(int32 index) const;

    // Primitive sets, one entry per shader.
    void SetPrimSetCount(int32 n);
    int32 GetPrimSetCount() const { return int32(m_PrimSets.size()); }
    void SetPrimSetShader(int32 index, const Inv::Reference<Shader>& shaderRef);
    // A null reference for a bad index.
    const Inv::Reference<Shader>& GetPrimSetShader(int32 index) const;
    // The entry whose shader has that name; InvalidIndex when absent.
    int32 FindPrimSet(Name shaderName) const;
    // Takes the set; when the level has a vertex set, the primitive set is pointed at it.
    void SetPrimSet(int32 shaderIndex, uint32 polyLevel, std::unique_ptr<fr::PrimSet> pSet);
    fr::PrimSet* GetPrimSet(int32 shaderIndex, uint32 polyLevel) const;

    // Stencil shadow data, carried by final files only.
    void SetShadowVertices(std::vector<Vec3> cVertex) { m_cShadowVertex = std::move(cVertex); }
    const std::vector<Vec3>& GetShadowVertices() const { return m_cShadowVertex; }
    void SetShadowEdges(std::vector<ShadowEdge> cEdge) { m_cShadowEdge = std::move(cEdge); }
    const std::vector<ShadowEdge>& GetShadowEdges() const { return m_cShadowEdge; }
    void SetShadowFaces(std::vector<ShadowFace> cFace) { m_cShadowFace = std::move(cFace); }
    const std::vector<ShadowFace>& GetShadowFaces() const { return m_cShadowFace; }

    // The optional oriented box. Setting an invalid volume, or reading one that is not set, is
    // an assertion.
    void SetBV(const BoundVolume& boundVolume);
    const BoundVolume& GetBV() const;
    bool HasBV() const { return m_bv.IsValid(); }

    // Draws every primitive set of the level with its shader, under the world matrix the caller
    // has set; a level without vertices falls back to Poly_High, and hidden shaders are passed
    // over. Returns the number of primitive sets drawn.
    uint32 Display(uint32 polyLevel) const;

private:
    bool IsSkinIndex(int32 index) const;

    Name m_name;
    int32 m_meshType = 0;
    bool m_render = true;
    int32 m_minDetail = 0;
    int32 m_childSelection = 1;
    std::vector<SkinnedTransform> m_skinnedTransforms;
    std::unique_ptr<fr::VertexSet> m_pVertexSets[Poly_Count];
    int32 m_polyCount[Poly_Count] = {0, 0};
    std::vector<PrimSetEntry> m_PrimSets;
    std::vector<Vec3> m_cShadowVertex;
    std::vector<ShadowEdge> m_cShadowEdge;
    std::vector<ShadowFace> m_cShadowFace;
    BoundVolume m_bv;
};

// A vertex set of the current render device for these components and this many vertices; null,
// with the reason logged, when there is no device or the device refuses the size.
std::unique_ptr<fr::VertexSet> CreateVertexSet(const fr::VertexType& type, uint32 vertexCount);

// 32-bit words of one vertex of a component (3 for positions, 4 for packed weights...).
uint32 GetStreamWordCount(uint32 component);
// Copies one component of every vertex out of, or into, a plain word array (vertex after vertex,
// GetStreamWordCount words each): the form in which model files carry a stream. False when the
// set lacks the component or the array's size is not the set's size times the words per vertex.
bool ReadStreamWords(fr::VertexSet& set, uint32 component, std::vector<uint32>& cOut);
bool WriteStreamWords(fr::VertexSet& set, uint32 component, std::span<const uint32> cWords);
} // namespace ra
