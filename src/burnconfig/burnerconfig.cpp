#include "burnconfig/burnerconfig.h"

#include "foundation/debug.h"
#include "names/faststring.h"

#include <algorithm>

const BurnerConfig::TargetID BurnerConfig::TargetID::InvalidID{};

namespace
{
template <class T> auto FindNamed(T& cItems, const char* name)
{
    return std::find_if(cItems.begin(), cItems.end(),
                        [name](const auto& item)
                        { return FastString::EqualNoCase(item.name.c_str(), name); });
}

bool AnyOverride(const BurnerConfig::ParamList& cParams)
{
    return std::any_of(cParams.begin(), cParams.end(),
                       [](const BurnerConfig::Param& p) { return !p.isDefault; });
}
} // namespace

bool BurnerConfig::AddTargetGroup(const char* name, const char* wildcard)
{
    if (name == nullptr || wildcard == nullptr || FindNamed(m_cGroups, name) != m_cGroups.end())
        return false;
    m_cGroups.push_back(TargetGroup{name, wildcard, {}});
    return true;
}

bool BurnerConfig::AddTarget(const char* group, const char* name, const char* destination, const char* plugin)
{
    if (group == nullptr || name == nullptr || destination == nullptr || plugin == nullptr || *name == '\0')
        return false;
    auto pGroup = FindNamed(m_cGroups, group);
    if (pGroup == m_cGroups.end() || FindNamed(pGroup->cTargets, name) != pGroup->cTargets.end())
        return false;
    pGroup->cTargets.push_back(Target{name, destination, plugin, {}});
    return true;
}

const BurnerConfig::TargetGroup& BurnerConfig::GetTargetGroup(uint32 index) const
{
    static const TargetGroup s_none;
    if (!dbAssert(index < m_cGroups.size()))
        return s_none;
    return m_cGroups[index];
}

uint32 BurnerConfig::TargetCount(uint32 group) const
{
    return group < m_cGroups.size() ? uint32(m_cGroups[group].cTargets.size()) : 0;
}

BurnerConfig::TargetID BurnerConfig::GetTarget(uint32 group, uint32 index) const
{
    if (index >= TargetCount(group))
        return TargetID::InvalidID;
    return TargetID{group, index};
}

BurnerConfig::TargetID BurnerConfig::FindTarget(const char* group, const char* name) const
{
    if (group == nullptr || name == nullptr)
        return TargetID::InvalidID;
    auto pGroup = FindNamed(m_cGroups, group);
    if (pGroup == m_cGroups.end())
        return TargetID::InvalidID;
    auto pTarget = FindNamed(pGroup->cTargets, name);
    if (pTarget == pGroup->cTargets.end())
        return TargetID::InvalidID;
    return TargetID{uint32(pGroup - m_cGroups.begin()), uint32(pTarget - pGroup->cTargets.begin())};
}

const BurnerConfig::Target* BurnerConfig::GetTargetInfo(TargetID id) const
{
    if (id.target >= TargetCount(id.group))
        return nullptr;
    return &m_cGroups[id.group].cTargets[id.target];
}

BurnerConfig::Target* BurnerConfig::MutableTarget(TargetID id)
{
    return const_cast<Target*>(GetTargetInfo(id));
}

const BurnerConfig::ParamList* BurnerConfig::GetParams(TargetID id) const
{
    const Target* pTarget = GetTargetInfo(id);
    return pTarget != nullptr ? &pTarget->cParams : nullptr;
}

const BurnerConfig::Param* BurnerConfig::FindParam(TargetID id, const char* name) const
{
    const Target* pTarget = GetTargetInfo(id);
    if (pTarget == nullptr || name == nullptr)
        return nullptr;
    auto pParam = FindNamed(pTarget->cParams, name);
    return pParam != pTarget->cParams.end() ? &*pParam : nullptr;
}

bool BurnerConfig::SetParam(TargetID id, const Param& param)
{
    Target* pTarget = MutableTarget(id);
    if (pTarget == nullptr)
        return false;
    auto pParam = FindNamed(pTarget->cParams, param.name.c_str());
    if (pParam != pTarget->cParams.end())
        *pParam = param;
    else
        pTarget->cParams.push_back(param);
    return true;
}

bool BurnerConfig::RemoveParam(TargetID id, const char* name)
{
    Target* pTarget = MutableTarget(id);
    if (pTarget == nullptr || name == nullptr)
        return false;
    auto pParam = FindNamed(pTarget->cParams, name);
    if (pParam == pTarget->cParams.end())
        return false;
    pTarget->cParams.erase(pParam);
    return true;
}

void BurnerConfig::SetAllDefault()
{
    for (TargetGroup& group : m_cGroups)
        for (Target& target : group.cTargets)
            for (Param& param : target.cParams)
                param.isDefault = true;
}

bool BurnerConfig::HasOverrides() const
{
    for (uint32 g = 0; g < m_cGroups.size(); ++g)
    {
        if (HasOverrides(g))
            return true;
    }
    return false;
}

bool BurnerConfig::HasOverrides(uint32 group) const
{
    if (group >= m_cGroups.size())
        return false;
    const std::vector<Target>& cTargets = m_cGroups[group].cTargets;
    return std::any_of(cTargets.begin(), cTargets.end(),
                       [](const Target& t) { return AnyOverride(t.cParams); });
}

bool BurnerConfig::HasOverrides(TargetID id) const
{
    const ParamList* pParams = GetParams(id);
    return pParams != nullptr && AnyOverride(*pParams);
}
