#include "model/rendermodeltypeinfo.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "foundation/runoptions.h"
#include "inventory/warehouse.h"
#include "model/rendermodel.h"

#include <exception>

namespace
{
RenderModelTypeInfo::GenericLoader s_genericLoader = nullptr;
RenderModelTypeInfo::FinalLoader s_finalLoader = nullptr;
RenderModelTypeInfo::LoadPath s_loadPath = RenderModelTypeInfo::Path_Generic;

std::unique_ptr<RenderModel> LoadModel(const char* name)
{
    try
    {
        if (s_loadPath == RenderModelTypeInfo::Path_Final)
        {
            if (s_finalLoader == nullptr)
            {
                dbWarningf("MODELS -- '%s': no reader of final model files is registered!", name);
                return nullptr;
            }
            return s_finalLoader(name);
        }
        if (s_genericLoader == nullptr)
        {
            dbWarningf("MODELS -- '%s': no reader of generic model files is registered!", name);
            return nullptr;
        }
        return s_genericLoader(name, true);
    }
    catch (const std::exception& e)
    {
        dbWarningf("MODELS -- '%s': %s", name, e.what());
        return nullptr;
    }
}
} // namespace

void RenderModelTypeInfo::SetGenericLoader(GenericLoader loader)
{
    s_genericLoader = loader;
}
void RenderModelTypeInfo::SetFinalLoader(FinalLoader loader)
{
    s_finalLoader = loader;
}
void RenderModelTypeInfo::SetLoadPath(LoadPath path)
{
    s_loadPath = path;
}
RenderModelTypeInfo::LoadPath RenderModelTypeInfo::GetLoadPath()
{
    return s_loadPath;
}

std::unique_ptr<RenderModel> RenderModelTypeInfo::LoadOrSubstitute(const char* name)
{
    if (RunOptions::Has("nomodels"))
        if (std::unique_ptr<RenderModel> pSubstitute = LoadModel(MissingModelName))
            return pSubstitute;
    return LoadModel(name);
}

void RenderModelTypeInfo::Destroy(Inv::NamedResource* data)
{
    delete static_cast<RenderModel*>(data);
}

Inv::NamedResource* RenderModelTypeInfo::Load(const char* name)
{
    if (!dbAssert(name))
        return nullptr;
    char frameName[Inv::MaxResourceName];
    TranslateName(frameName, name);
    // What the model pulls in is scoped to a frame of its own name.
    Inv::Warehouse* pWarehouse = Inv::Warehouse::Get();
    if (pWarehouse)
        pWarehouse->PushFrame(frameName);
    std::unique_ptr<RenderModel> pRenderModel = LoadOrSubstitute(name);
    if (pWarehouse)
        pWarehouse->PopFrame();
    dbAssert(pRenderModel);
    return pRenderModel.release();
}
