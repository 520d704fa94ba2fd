#include "model/anim/animlistnode_bv.h"

namespace
{
AnimListNodeBV::Builder s_builder = nullptr;
}

void AnimListNodeBV::SetBuilder(Builder builder)
{
    s_builder = builder;
}

AnimListNodeBV::Builder AnimListNodeBV::GetBuilder()
{
    return s_builder;
}

bool AnimListNodeBV::Build(const RenderModel& renderModel, AnimListNode& node)
{
    return s_builder != nullptr && s_builder(renderModel, node);
}
