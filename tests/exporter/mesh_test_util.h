// What the mesh tests share: a fixture that walks a scene and builds its meshes, and a reader of
// the finished vertex set and primitive sets, so that tests look at what the mesh holds.
#pragma once

#include "exporter/exporter_fixture.h"
#include "model/mesh/mesh.h"
#include "model/rendermodel.h"
#include "support/logcapture.h"

#include <cstring>
#include <string>
#include <vector>

namespace mesh_test
{
struct Vertex
{
    ra::Vec3 position, normal;
    TexCoord uv;
    WeightRecord weight;
};

class MeshFixture : public exporter_test::ExporterFixture
{
protected:
    // Walks the scene and builds every mesh node; the result of BuildMeshes.
    bool Build(const std::string& json)
    {
        Walk(json);
        RenderModel model;
        return m_pExport != nullptr && m_pExport->BuildMeshes(model, m_options);
    }

    const MeshNode& Record(size_t i = 0) const { return m_pExport->GetMeshNodes().at(i); }
    ra::Mesh* Mesh(size_t i = 0) const { return Record(i).meshRef.Get(); }

    // The final vertices, each component read through a lock; `type` gets the set's type word.
    std::vector<Vertex> Vertices(size_t i = 0, fr::VertexType* pType = nullptr) const
    {
        fr::VertexSet* pSet = Mesh(i) ? Mesh(i)->GetVertexSet(ra::Mesh::Poly_High) : nullptr;
        if (pSet == nullptr)
            return {};
        if (pType)
            *pType = pSet->GetType();
        std::vector<Vertex> out(pSet->GetSize());
        auto read = [&](uint32 component, size_t bytes, auto member)
        {
            uint32 stride = 0;
            if (auto* p = static_cast<const uint8*>(pSet->LockArray(component, stride)))
            {
                for (size_t n = 0; n < out.size(); ++n)
                    std::memcpy(&(out[n].*member), p + n * stride, bytes);
                pSet->UnlockArray(component);
            }
        };
        read(fr::VC_Position, sizeof(ra::Vec3), &Vertex::position);
        read(fr::VC_Weights, sizeof(WeightRecord), &Vertex::weight);
        read(fr::VC_Normal, sizeof(ra::Vec3), &Vertex::normal);
        read(fr::VC_TexCoord0, sizeof(TexCoord), &Vertex::uv);
        return out;
    }

    // The indices of the primitive set of shader s; empty when it has none.
    std::vector<uint16> Indices(int32 s, size_t i = 0) const
    {
        fr::PrimSet* pSet = Mesh(i) ? Mesh(i)->GetPrimSet(s, ra::Mesh::Poly_High) : nullptr;
        std::vector<uint16> out(pSet ? pSet->GetIndexCount() : 0);
        if (pSet)
            pSet->ReadIndices(0, uint32(out.size()), out);
        return out;
    }

    // The positions of the primitive set's corners, in order.
    std::vector<ra::Vec3> Corners(int32 s, size_t i = 0) const
    {
        const std::vector<Vertex> cVertex = Vertices(i);
        std::vector<ra::Vec3> out;
        for (uint16 index : Indices(s, i))
            out.push_back(cVertex.at(index).position);
        return out;
    }

    static std::vector<std::string> Errors()
    {
        std::vector<std::string> out;
        for (const std::string& message : Messages())
            if (message.rfind("Error", 0) == 0)
                out.push_back(message);
        return out;
    }

    LogCapture m_log;
};

// One editable mesh node "M" with this mesh (the value of "mesh") and these extra node keys, under
// these materials and textures.
inline std::string OneMeshScene(const std::string& mesh, const std::string& nodeExtra = "",
                                const std::string& materials = "[]", const std::string& textures = "[]")
{
    return R"({"textures": )" + textures + R"(, "materials": )" + materials +
           R"(, "nodes": [{"name": "M", "object": {"class": "editableMesh", "mesh": )" + mesh + "}" +
           nodeExtra + "}]}";
}

// The text with every "$" replaced.
inline std::string Fill(std::string text, const std::string& value)
{
    for (size_t at; (at = text.find('$')) != std::string::npos;)
        text.replace(at, 1, value);
    return text;
}
} // namespace mesh_test
