// What the mesh tests share: a fixture that walks a scene and builds its meshes, and readers of the
// finished vertex set and primitive sets, so tests look at what the mesh holds.
#pragma once

#include "exporter/exporter_fixture.h"
#include "model/mesh.h"
#include "model/rendermodel.h"
#include "render/logcapture.h"

#include <cstring>
#include <string>
#include <vector>

namespace mesh_test
{
struct Vertex
{
    ra::Vec3 position;
    ra::Vec3 normal;
    TexCoord uv;
    WeightRecord weight;
};

// The vertices of a set, with the components it declares.
struct VertexSetData
{
    bool hasWeights = false;
    bool hasNormals = false;
    bool hasUV = false;
    std::vector<Vertex> cVertex;
};

inline VertexSetData ReadVertexSet(fr::VertexSet& set)
{
    VertexSetData out;
    out.hasWeights = set.IsStreamEnabled(fr::VC_Weights);
    out.hasNormals = set.IsStreamEnabled(fr::VC_Normal);
    out.hasUV = set.IsStreamEnabled(fr::VC_TexCoord0);
    out.cVertex.resize(set.GetSize());
    auto read = [&](uint32 component, size_t bytes, auto member)
    {
        uint32 stride = 0;
        auto* p = static_cast<const uint8*>(set.LockArray(component, stride));
        if (p == nullptr)
            return;
        for (size_t i = 0; i < out.cVertex.size(); ++i)
            std::memcpy(&(out.cVertex[i].*member), p + i * stride, bytes);
        set.UnlockArray(component);
    };
    read(fr::VC_Position, sizeof(ra::Vec3), &Vertex::position);
    if (out.hasWeights)
        read(fr::VC_Weights, sizeof(WeightRecord), &Vertex::weight);
    if (out.hasNormals)
        read(fr::VC_Normal, sizeof(ra::Vec3), &Vertex::normal);
    if (out.hasUV)
        read(fr::VC_TexCoord0, sizeof(TexCoord), &Vertex::uv);
    return out;
}

inline std::vector<uint16> ReadIndices(const fr::PrimSet& set)
{
    std::vector<uint16> out(set.GetIndexCount());
    set.ReadIndices(0, uint32(out.size()), out);
    return out;
}

inline bool SameBits(const ra::Vec3& a, const ra::Vec3& b)
{
    return std::memcmp(&a, &b, sizeof(a)) == 0;
}

class MeshFixture : public exporter_test::ExporterFixture
{
protected:
    // Walks the scene and builds every mesh node; the result of BuildMeshes.
    bool Build(const std::string& json)
    {
        Walk(json);
        if (m_pExport == nullptr)
            return false;
        RenderModel model;
        return m_pExport->BuildMeshes(model, m_options);
    }

    const MeshNode& Record(size_t i = 0) const { return m_pExport->GetMeshNodes().at(i); }
    ra::Mesh* Mesh(size_t i = 0) const { return Record(i).meshRef.Get(); }

    VertexSetData Vertices(size_t i = 0) const
    {
        fr::VertexSet* pSet = Mesh(i) ? Mesh(i)->GetVertexSet(ra::Mesh::Poly_High) : nullptr;
        return pSet ? ReadVertexSet(*pSet) : VertexSetData{};
    }

    // The indices of the mesh's primitive set for shader s; empty when it has none.
    std::vector<uint16> Indices(int32 s, size_t i = 0) const
    {
        fr::PrimSet* pSet = Mesh(i) ? Mesh(i)->GetPrimSet(s, ra::Mesh::Poly_High) : nullptr;
        return pSet ? ReadIndices(*pSet) : std::vector<uint16>{};
    }

    // The positions of the primitive set's triangles, corner by corner.
    std::vector<ra::Vec3> Corners(int32 s, size_t i = 0) const
    {
        const VertexSetData data = Vertices(i);
        std::vector<ra::Vec3> out;
        for (uint16 index : Indices(s, i))
            out.push_back(index < data.cVertex.size() ? data.cVertex[index].position : ra::Vec3(1e30f, 0, 0));
        return out;
    }

    bool HasMessage(const std::string& text) const
    {
        for (const std::string& message : Messages())
            if (message.find(text) != std::string::npos)
                return true;
        return false;
    }
    int ErrorCount() const { return SGMErrors::Get()->GetErrorCount(); }
    static std::vector<std::string> Errors()
    {
        std::vector<std::string> out;
        for (const std::string& message : Messages())
            if (message.rfind("Error", 0) == 0)
                out.push_back(message);
        return out;
    }

    testing_log::LogCapture m_log;
};

// A scene of one editable mesh node "M" with this mesh text (the value of "mesh") and these extra
// node keys (",\"material\": 0" and the like), under these materials and textures.
inline std::string OneMeshScene(const std::string& mesh, const std::string& nodeExtra = "",
                                const std::string& materials = "[]", const std::string& textures = "[]")
{
    return R"({"textures": )" + textures + R"(, "materials": )" + materials +
           R"(, "nodes": [{"name": "M", "object": {"class": "editableMesh", "mesh": )" + mesh + "}" +
           nodeExtra + "}]}";
}
} // namespace mesh_test
