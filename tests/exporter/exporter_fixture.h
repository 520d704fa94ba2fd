// What the exporter's stage tests share: scenes read from JSON text, the stack an export brings up
// (alias "TOOL", message collector, null device, inventory), and the built mesh read back.
#pragma once

#include "exporter/sgmerrors.h"
#include "exporter/sgmexport.h"
#include "host/scene.h"
#include "inventory/warehouse.h"
#include "model/mesh/mesh.h"
#include "model/rendermodel.h"
#include "render/device.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "support/logcapture.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <cstring>

namespace exporter_test
{
inline std::unique_ptr<scene::Scene> ReadScene(const std::string& json)
{
    try
    {
        return scene::ReadSceneText(json, "test.json", "");
    }
    catch (const scene::SceneError& e)
    {
        ADD_FAILURE() << e.what();
        return nullptr;
    }
}

// A project "Art" in the folder: source under art/source, data under art/final.
inline void WriteProject(TempFolder& folder)
{
    folder.Write("pipeline.ini",
                 "[project:Art]\r\nDescription=Art\r\nDataSource=art/source\r\n"
                 "DataSourceShared=art/shared\r\nDataBurn=art/burn\r\n"
                 "DataIntermediate=art/intermediate\r\nDataGeneric=art/generic\r\n"
                 "DataFinal=art/final\r\nDataPreview=art/preview\r\nLocaleFolder=art/locale\r\n"
                 "AttrLoc=attrib\r\nParent=\r\n");
}

inline const char* const s_Triangle = R"({"vertices": [[0,0,0],[1,0,0],[0,1,0]], "faces": [[0,1,2]]})";
inline const std::string s_MeshObject =
    std::string(R"("object": {"class": "editableMesh", "mesh": )") + s_Triangle + "}";

inline const std::vector<std::string>& Messages()
{
    return SGMErrors::Get()->GetMessages();
}
inline std::vector<std::string> Errors()
{
    std::vector<std::string> out;
    for (const std::string& message : Messages())
        if (message.rfind("Error", 0) == 0)
            out.push_back(message);
    return out;
}

struct Vertex
{
    ra::Vec3 position, normal;
    TexCoord uv;
    WeightRecord weight;
};

// The stack an export brings up, a walk of one scene and its meshes built and read back.
class ExporterFixture : public ::testing::Test
{
protected:
    void SetUp() override
    {
        FilePath::AddAlias("TOOL", "HD", 99, std::make_shared<FilePathHDRaw>());
        SGMErrors::Create(nullptr, nullptr, nullptr);
        ASSERT_NE(fr::Interface::CreateDevice(fr::DeviceDesc{}), nullptr);
        Inv::Warehouse::Create();
    }
    void TearDown() override
    {
        m_pExport.reset();
        Inv::Warehouse::Destroy();
        fr::Interface::DestroyDevice();
        SGMErrors::Destroy();
        FilePath::RemoveAlias("TOOL", "HD");
        m_pScene.reset();
    }
    void Rebuild() { TearDown(), SetUp(); }

    SGMExport& Walk(const std::string& json)
    {
        m_pScene = ReadScene(json);
        m_pExport = std::make_unique<SGMExport>();
        if (m_pScene != nullptr)
            m_pExport->WalkScene(m_options, m_pScene->GetRootNode());
        return *m_pExport;
    }
    host::INode* Node(const char* name) const { return m_pScene ? m_pScene->FindNode(name) : nullptr; }
    // Walks the scene and builds every mesh node; the result of BuildMeshes.
    bool Build(const std::string& json)
    {
        Walk(json);
        RenderModel model;
        return m_pExport->BuildMeshes(model, m_options);
    }
    const MeshNode& Record(size_t i = 0) const { return m_pExport->GetMeshNodes().at(i); }
    ra::Mesh* Mesh(size_t i = 0) const { return Record(i).meshRef.Get(); }

    // The final vertices, each component read through a lock; `pType` gets the set's type word.
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
    // The positions of the corners of shader s's primitive set, in order.
    std::vector<ra::Vec3> Corners(int32 s, size_t i = 0) const
    {
        fr::PrimSet* pSet = Mesh(i) ? Mesh(i)->GetPrimSet(s, ra::Mesh::Poly_High) : nullptr;
        std::vector<uint16> cIndex(pSet ? pSet->GetIndexCount() : 0);
        if (pSet)
            pSet->ReadIndices(0, uint32(cIndex.size()), cIndex);
        const std::vector<Vertex> cVertex = Vertices(i);
        std::vector<ra::Vec3> out;
        for (uint16 index : cIndex)
            out.push_back(cVertex.at(index).position);
        return out;
    }

    std::unique_ptr<scene::Scene> m_pScene;
    std::unique_ptr<SGMExport> m_pExport;
    SGMExportOptions m_options;
    LogCapture m_log;
};
} // namespace exporter_test
