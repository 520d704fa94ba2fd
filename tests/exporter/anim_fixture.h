// What the sampling and assembly tests share: an export started on a scene read from JSON text (so
// that the exporter answers the scene's range), its lists walked, and a model with a skeleton of the
// walked bones and an empty animation list, as assembly hands it to sampling, or the assembled model.
#pragma once

#include "exporter/exporter_fixture.h"
#include "exporter/sgmerrors.h"
#include "exporter/sgmexport.h"
#include "host/scene.h"
#include "model/rendermodel.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace anim_test
{
class AnimFixture : public ::testing::Test
{
protected:
    void TearDown() override
    {
        m_pModel.reset();
        if (m_pExport != nullptr && m_started)
            m_pExport->ShutdownExport();
        m_pExport.reset();
        m_pScene.reset();
        host::SetFrameRate(30);
    }

    // Starts an export of "run.sgm" on the scene (ending one started before) and walks it. Meshes
    // and animation are exported, so material warnings show.
    SGMExport& Start(const std::string& json)
    {
        m_pModel.reset();
        if (m_started)
            m_pExport->ShutdownExport();
        m_pScene = exporter_test::ReadScene(json);
        m_pExport = std::make_unique<SGMExport>();
        m_started = m_pExport->InitExport(m_options, "/tmp/tq7z_anim_test/units/walker/run.sgm",
                                          m_pScene.get(), true);
        EXPECT_TRUE(m_started);
        m_options.exportMeshes = true;
        m_options.exportAnimation = true;
        if (m_pScene != nullptr)
            m_pExport->WalkScene(m_options, m_pScene->GetRootNode());
        return *m_pExport;
    }

    // A model named after the export, with one skeleton bone per walked bone (none: no skeleton)
    // and an empty animation list.
    RenderModel& Model()
    {
        m_pModel = std::make_unique<RenderModel>(m_options.modelName.c_str());
        m_pModel->SetAnimList(std::make_unique<AnimListGeneric>(*m_pModel));
        const std::vector<BoneNode>& cBone = m_pExport->GetBoneNodes();
        if (!cBone.empty())
        {
            auto pSkeleton = std::make_unique<Skeleton>(uint32(cBone.size()));
            for (size_t i = 0; i < cBone.size(); ++i)
            {
                pSkeleton->GetBone(int32(i))->SetName(ra::MakeName(cBone[i].name.c_str()));
                pSkeleton->SetBoneParent(int32(i), cBone[i].parent);
            }
            m_pModel->SetSkeleton(std::move(pSkeleton));
        }
        return *m_pModel;
    }

    // The model assembled from the walked lists, as an export makes it; null when none is made.
    RenderModel* Build()
    {
        m_pModel = m_pExport->BuildRenderModel(m_options);
        return m_pModel.get();
    }

    // Samples into a fresh model; the animation, or null when none was made.
    Anim* Sample()
    {
        RenderModel& model = Model();
        m_pExport->SampleAnimation(m_options, model);
        AnimList* pList = model.GetAnimList();
        return pList->GetAnimCount() > 0 ? pList->GetAnim(0) : nullptr;
    }

    static const std::vector<std::string>& Messages() { return SGMErrors::Get()->GetMessages(); }

    // The control stream with that target, or -1.
    static int FindControl(const Anim& anim, int32 targetType, int32 index, int32 channel, int32 parameter)
    {
        for (int i = 0; i < anim.GetControlStreamCount(); ++i)
        {
            const ControlInfo& info = anim.GetControlInfo(i);
            if (info.targetType == targetType && info.m_index == index && info.channel == channel &&
                info.parameter == parameter)
                return i;
        }
        return -1;
    }

    using Keys = std::vector<std::pair<float, float>>;
    static Keys KeysOf(const ControlStream* pStream)
    {
        Keys keys;
        if (pStream != nullptr)
            for (uint32 k = 0; k < pStream->GetKeyCount(); ++k)
                keys.emplace_back(pStream->GetKeyTime(k), pStream->GetKeyValue(k));
        return keys;
    }

    std::unique_ptr<scene::Scene> m_pScene;
    std::unique_ptr<SGMExport> m_pExport;
    std::unique_ptr<RenderModel> m_pModel;
    SGMExportOptions m_options;
    bool m_started = false;
};
} // namespace anim_test
