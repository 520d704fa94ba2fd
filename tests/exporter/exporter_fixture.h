// What an export brings up around its stages: the raw disk alias "TOOL", the message collector, the
// null render device and the inventory, taken down in reverse order. Stage tests read their scene
// from JSON text and run one SGMExport against it.
#pragma once

#include "exporter/sgmerrors.h"
#include "exporter/sgmexport.h"
#include "host/scene.h"
#include "inventory/warehouse.h"
#include "math/matrix.h"
#include "render/device.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace exporter_test
{
// Reads a scene from JSON text; a scene error fails the test with the reader's message.
inline std::unique_ptr<scene::Scene> ReadScene(const std::string& json, const std::string& folder = "")
{
    try
    {
        return scene::ReadSceneText(json, "test.json", folder);
    }
    catch (const scene::SceneError& e)
    {
        ADD_FAILURE() << e.what();
        return nullptr;
    }
}

// A project "Art" in the folder: its pipeline.ini, source under art/source, data under art/final.
inline void WriteProject(TempFolder& folder)
{
    folder.Write("pipeline.ini",
                 "[project:Art]\r\nDescription=Art\r\nDataSource=art/source\r\n"
                 "DataSourceShared=art/shared\r\nDataBurn=art/burn\r\n"
                 "DataIntermediate=art/intermediate\r\nDataGeneric=art/generic\r\n"
                 "DataFinal=art/final\r\nDataPreview=art/preview\r\nLocaleFolder=art/locale\r\n"
                 "AttrLoc=attrib\r\nParent=\r\n");
}

inline void ExpectNear(const ra::Vec3& actual, const ra::Vec3& expected, float tolerance = 1e-4f)
{
    EXPECT_NEAR(actual.x, expected.x, tolerance);
    EXPECT_NEAR(actual.y, expected.y, tolerance);
    EXPECT_NEAR(actual.z, expected.z, tolerance);
}

inline void ExpectMatrix(const ra::Matrix34& actual, const ra::Matrix34& expected)
{
    for (int r = 0; r < 4; ++r)
    {
        SCOPED_TRACE("row " + std::to_string(r));
        ExpectNear(actual.r[r], expected.r[r], 1e-5f);
    }
}

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
        if (fr::Interface::GetDevice() != nullptr)
            fr::Interface::DestroyDevice();
        if (SGMErrors::Exists())
            SGMErrors::Destroy();
        FilePath::RemoveAlias("TOOL", "HD");
        m_pScene.reset();
    }

    // Reads the scene, makes a fresh exporter and walks the scene into its lists.
    SGMExport& Walk(const std::string& json)
    {
        m_pScene = ReadScene(json);
        m_pExport = std::make_unique<SGMExport>();
        if (m_pScene != nullptr)
            m_pExport->WalkScene(m_options, m_pScene->GetRootNode());
        return *m_pExport;
    }

    host::INode* Node(const char* name) const
    {
        return m_pScene != nullptr ? m_pScene->FindNode(name) : nullptr;
    }

    static const std::vector<std::string>& Messages() { return SGMErrors::Get()->GetMessages(); }

    std::unique_ptr<scene::Scene> m_pScene;
    std::unique_ptr<SGMExport> m_pExport;
    SGMExportOptions m_options;
};
} // namespace exporter_test
