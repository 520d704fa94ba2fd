#include "inventory/warehouse.h"

#include "inventory/leakreport.h"

#include "names/faststring.h"
#include "names/memorypool.h"

#include "foundation/output.h"
#include "foundation/runoptions.h"

#include <cstring>
#include <map>
#include <utility>

namespace Inv
{
Warehouse* Warehouse::s_pWarehouse = nullptr;

namespace
{
struct Node
{
    Resource* pResource;
    uint32 frame;
};

using NodeMap = std::multimap<uint32, Node, std::less<uint32>, PoolAllocator<std::pair<const uint32, Node>>>;

struct Bin
{
    explicit Bin(ResourceTypeInfo* pTypeInfo)
        : pInfo(pTypeInfo), map(PoolAllocator<std::pair<const uint32, Node>>(MemoryPool::Get("InvNodes")))
    {
    }

    ResourceTypeInfo* pInfo;
    NodeMap map;
};

MemoryPool& NamePool()
{
    static MemoryPool& s_pool = MemoryPool::Get("InvNames");
    return s_pool;
}

// The frame index spread over all four bytes of the key.
uint32 MakeKey(uint32 nameHash, uint32 frame)
{
    return nameHash ^ (frame | (frame << 8) | (frame << 16) | (frame << 24));
}

const char* DataName(const Resource* pResource)
{
    const NamedResource* pData = pResource->GetData();
    return pData ? pData->GetName() : nullptr;
}
} // namespace

struct Warehouse::Imp
{
    Imp() { m_Frames.emplace_back(NamePool().StrDup("_ROOT_FRAME_"), INVALID_FRAME_ID); }
    ~Imp() { ClearFrames(); }

    void ClearFrames()
    {
        for (auto& frame : m_Frames)
            NamePool().Free(frame.first);
        m_Frames.clear();
    }

    std::vector<Bin>::iterator FindBin(const ResourceTypeInfo* pInfo)
    {
        for (auto bi = m_Bins.begin(); bi != m_Bins.end(); ++bi)
            if (bi->pInfo == pInfo)
                return bi;
        return m_Bins.end();
    }

    const char* FrameName(uint32 frame) const { return frame < m_Frames.size() ? m_Frames[frame].first : ""; }

    // The node of a translated name, looked for from the current frame up through its parents.
    bool FindNode(const char* translated, const ResourceTypeInfo* pInfo, std::vector<Bin>::iterator& bi,
                  NodeMap::iterator& node)
    {
        bi = FindBin(pInfo);
        if (bi == m_Bins.end())
            return false;
        // The hash once; only the frame part of the key changes along the chain.
        const uint32 nameHash = FastString::HashStringLower(translated);
        for (uint32 frame = m_CurrentFrameIndex; frame < m_Frames.size(); frame = m_Frames[frame].second)
        {
            auto range = bi->map.equal_range(MakeKey(nameHash, frame));
            for (auto it = range.first; it != range.second; ++it)
            {
                const Resource* pResource = it->second.pResource;
                const char* name = DataName(pResource);
                if (!pResource->IsAnonymous() && it->second.frame == frame && name != nullptr &&
                    FastString::EqualNoCase(name, translated))
                {
                    node = it;
                    return true;
                }
            }
        }
        return false;
    }

    // Names of the resources of a bin that can be found by name, copied: reloading replaces the
    // data that holds them.
    std::vector<std::string> NamesOf(const ResourceTypeInfo* pInfo)
    {
        std::vector<std::string> cName;
        auto bi = FindBin(pInfo);
        if (bi == m_Bins.end())
            return cName;
        for (const auto& entry : bi->map)
        {
            const char* name = DataName(entry.second.pResource);
            if (name != nullptr && !entry.second.pResource->IsAnonymous())
                cName.emplace_back(name);
        }
        return cName;
    }

    std::vector<std::pair<char*, uint32>> m_Frames;
    uint32 m_CurrentFrameIndex = 0;
    std::vector<Bin> m_Bins;
};

bool Warehouse::Create()
{
    if (!dbAssert(!s_pWarehouse))
        return false;
    s_pWarehouse = new Warehouse;
    SetLeakTracking(RunOptions::Has("invleaks"));
    if (IsLeakTrackingOn())
        dbTracef("--- Inventory Leak Tracking Enabled ---");
    return true;
}

void Warehouse::Destroy()
{
    if (s_pWarehouse == nullptr)
        return;
    delete s_pWarehouse;
    s_pWarehouse = nullptr;
    SetLeakTracking(false);
    CloseLeakReport();
}

Warehouse* Warehouse::Get()
{
    dbAssert(s_pWarehouse);
    return s_pWarehouse;
}

Warehouse::Warehouse() : m_pImp(std::make_unique<Imp>()) {}

Warehouse::~Warehouse()
{
    FlushUnreferenced();
    // The purge: what is still referenced loses its record but keeps its data, which somebody
    // holds.
    for (Bin& bin : m_pImp->m_Bins)
    {
        for (auto& entry : bin.map)
        {
            Resource* pResource = entry.second.pResource;
            if (pResource->m_RefCount == 0)
            {
                DestroyResource(pResource, bin.pInfo);
                continue;
            }
            const char* name = pResource->m_pDebugName;
            dbWarningf("Purging: Resource [%s]-[%s] still referenced!", bin.pInfo->GetTypeName(),
                       name ? name : "");
            if (pResource->m_pData)
                pResource->m_pData->SetInInventory(false);
            pResource->m_pData = nullptr;
            delete pResource;
        }
        bin.map.clear();
    }
    m_pImp->m_Bins.clear();
    m_pImp->ClearFrames();
    m_pImp->m_CurrentFrameIndex = 0;
}

bool Warehouse::Find(Resource** ppResource, const char* untranslatedName, ResourceTypeInfo* pInfo)
{
    if (!dbAssert(ppResource))
        return false;
    *ppResource = nullptr;
    if (!dbAssert(untranslatedName))
        return false;
    if (!dbAssert(pInfo))
        return false;
    char name[MaxResourceName];
    pInfo->TranslateName(name, untranslatedName);
    std::vector<Bin>::iterator bi;
    NodeMap::iterator node;
    if (!m_pImp->FindNode(name, pInfo, bi, node))
        return false;
    *ppResource = node->second.pResource;
    return true;
}

bool Warehouse::Load(Resource** ppResource, const char* untranslatedName, ResourceTypeInfo* pInfo)
{
    if (Find(ppResource, untranslatedName, pInfo))
        return true;
    if (ppResource == nullptr || untranslatedName == nullptr || pInfo == nullptr)
        return false;

    auto* pResource = new Resource;
    NamedResource* pData = pInfo->Load(untranslatedName);
    if (pData == nullptr)
    {
        pData = pInfo->CreateDefault(untranslatedName);
        if (pData == nullptr)
        {
            delete pResource;
            return false;
        }
        dbWarningf("Unable to load '%s' resource '%s', using default!", pInfo->GetTypeName(),
                   untranslatedName);
    }
    pResource->m_pData = pData;
    pData->SetName(untranslatedName);
    if (!AddResource(pResource, pInfo, false))
    {
        pData->SetInInventory(false);
        pInfo->Destroy(pData);
        pResource->m_pData = nullptr;
        delete pResource;
        return false;
    }
    *ppResource = pResource;
    return true;
}

bool Warehouse::Add(Resource* pResource, ResourceTypeInfo* pInfo)
{
    return AddResource(pResource, pInfo, false);
}

bool Warehouse::AddAnonymous(Resource* pResource, ResourceTypeInfo* pInfo)
{
    return AddResource(pResource, pInfo, true);
}

bool Warehouse::AddResource(Resource* pResource, ResourceTypeInfo* pInfo, bool anonymous)
{
    if (!dbAssert(pResource))
        return false;
    if (!dbAssert(pInfo))
        return false;
    if (!dbAssert(pResource->m_pData))
        return false;
    NamedResource* pData = pResource->m_pData;
    const char* untranslatedName = pData->GetName();

    // A resource already held is refused before anything about it changes.
    auto bi = m_pImp->FindBin(pInfo);
    if (bi != m_pImp->m_Bins.end())
    {
        for (const auto& entry : bi->map)
        {
            if (entry.second.pResource != pResource)
                continue;
            if (untranslatedName)
                dbWarningf("Inventory -- '%s': Attempted addition of duplicate resource pointer!",
                           untranslatedName);
            else
                dbWarningf("Inventory -- Attempted addition of duplicate resource pointer!");
            dbAssert(entry.second.pResource != pResource);
            return false;
        }
    }

    if (!dbAssert(untranslatedName))
        return false;
    char name[MaxResourceName];
    pInfo->TranslateName(name, untranslatedName);
    pResource->m_bAnonymous = anonymous;
    pData->SetName(name);
    pResource->m_pDebugName = pData->GetName();

    const uint32 frame = m_pImp->m_CurrentFrameIndex;
    const uint32 key = MakeKey(FastString::HashStringLower(name), frame);
    if (bi == m_pImp->m_Bins.end())
    {
        m_pImp->m_Bins.emplace_back(pInfo);
        bi = m_pImp->m_Bins.end() - 1;
    }
    else if (!anonymous)
    {
        auto range = bi->map.equal_range(key);
        if (range.first != range.second)
        {
            const char* frameName = m_pImp->FrameName(frame);
            const Resource* pDuplicate = nullptr;
            for (auto it = range.first; it != range.second; ++it)
            {
                const Resource* pOther = it->second.pResource;
                const char* otherName = DataName(pOther);
                if (!pOther->IsAnonymous() && otherName != nullptr &&
                    FastString::EqualNoCase(m_pImp->FrameName(it->second.frame), frameName) &&
                    FastString::EqualNoCase(otherName, name))
                {
                    pDuplicate = pOther;
                    break;
                }
            }
            if (pDuplicate != nullptr)
                dbTagf(
                    Tag3("INV"),
                    "Frame '%s': Duplicate %s resource '%s' added to inventory - please check the resource!",
                    frameName, pInfo->GetTypeName(), name);
            else
            {
                const char* otherName = DataName(range.first->second.pResource);
                dbTagf(Tag3("INV"), "Frame '%s': '%s' Key collision with '%s' added to inventory.", frameName,
                       name, otherName ? otherName : "");
            }
        }
    }

    if (!dbAssert(bi != m_pImp->m_Bins.end()))
        return false;
    bi->map.emplace(key, Node{pResource, frame});
    pData->SetInInventory(true);
    return true;
}

void Warehouse::DestroyResource(Resource* pResource, ResourceTypeInfo* pInfo)
{
    if (NamedResource* pData = pResource->m_pData)
    {
        pData->SetInInventory(false);
        pInfo->Destroy(pData);
    }
    pResource->m_pData = nullptr;
    pResource->m_pDebugName = nullptr;
    delete pResource;
}

void Warehouse::Flush(const char* name, ResourceTypeInfo* pInfo)
{
    Resource* pResource = nullptr;
    if (!Find(&pResource, name, pInfo))
    {
        if (name != nullptr)
            dbWarningf("Unable to find resource %s -- cannot flush!", name);
        return;
    }
    char translated[MaxResourceName];
    pInfo->TranslateName(translated, name);
    std::vector<Bin>::iterator bi;
    NodeMap::iterator thisResource;
    if (!dbAssert(m_pImp->FindNode(translated, pInfo, bi, thisResource)))
        return;
    if (!dbAssert(thisResource->second.pResource == pResource))
        return;
    if (pResource->m_RefCount != 0)
        return;
    DestroyResource(pResource, pInfo);
    bi->map.erase(thisResource);
}

uint32 Warehouse::FlushPass(size_t first, size_t last)
{
    uint32 removed = 0;
    for (size_t i = first; i < last && i < m_pImp->m_Bins.size(); ++i)
    {
        Bin& bin = m_pImp->m_Bins[i];
        for (auto it = bin.map.begin(); it != bin.map.end();)
        {
            Resource* pResource = it->second.pResource;
            if (pResource->m_RefCount != 0)
            {
                ++it;
                continue;
            }
            DestroyResource(pResource, bin.pInfo);
            it = bin.map.erase(it);
            ++removed;
        }
    }
    return removed;
}

void Warehouse::FlushUnreferenced()
{
    while (FlushPass(0, m_pImp->m_Bins.size()) != 0)
    {
    }
}

void Warehouse::FlushUnreferenced(ResourceTypeInfo* pInfo)
{
    if (!dbAssert(pInfo))
        return;
    auto bi = m_pImp->FindBin(pInfo);
    if (bi == m_pImp->m_Bins.end())
        return;
    const size_t index = size_t(bi - m_pImp->m_Bins.begin());
    while (FlushPass(index, index + 1) != 0)
    {
    }
}

void Warehouse::Reload(const char* name, ResourceTypeInfo* pInfo)
{
    if (!dbAssert(pInfo))
        return;
    if (!pInfo->CanReload())
    {
        dbWarningf("Resource group %s does not support reloads!", pInfo->GetTypeName());
        return;
    }
    Resource* pResource = nullptr;
    if (!Find(&pResource, name, pInfo))
    {
        if (name != nullptr)
            dbWarningf("Unable to find resource %s -- cannot reload!", name);
        return;
    }
    NamedResource* pNew = pInfo->Load(name);
    if (pNew == nullptr)
    {
        dbWarningf("Unable to reload resource %s, using original copy!", name);
        return;
    }
    char translated[MaxResourceName];
    pInfo->TranslateName(translated, name);
    if (NamedResource* pOld = pResource->m_pData)
    {
        pOld->SetInInventory(false);
        pInfo->Destroy(pOld);
    }
    pResource->m_pData = pNew;
    pNew->SetName(translated);
    pNew->SetInInventory(true);
    pResource->m_pDebugName = pNew->GetName();
}

void Warehouse::ReloadAll(ResourceTypeInfo* pInfo)
{
    if (!dbAssert(pInfo))
        return;
    if (!pInfo->CanReload())
    {
        dbWarningf("Resource group %s does not support reloads!", pInfo->GetTypeName());
        return;
    }
    for (const std::string& name : m_pImp->NamesOf(pInfo))
        Reload(name.c_str(), pInfo);
}

void Warehouse::Preload(const char* name, ResourceTypeInfo* pInfo)
{
    Resource* pResource = nullptr;
    if (!Find(&pResource, name, pInfo))
    {
        if (name != nullptr)
            dbWarningf("Unable to find resource %s -- cannot preload!", name);
        return;
    }
    NamedResource* pData = pInfo->Load(name);
    if (pData == nullptr)
    {
        pData = pInfo->CreateDefault(name);
        dbWarningf("Unable to preload resource %s, using default!", name);
    }
    if (!dbAssert(pData))
        return;
    char translated[MaxResourceName];
    pInfo->TranslateName(translated, name);
    // The old data, if any, is no longer the inventory's; it is not destroyed here.
    if (pResource->m_pData)
        pResource->m_pData->SetInInventory(false);
    pData->SetName(translated);
    pResource->m_pData = pData;
    pData->SetInInventory(true);
    pResource->m_pDebugName = pData->GetName();
}

void Warehouse::PreloadAll(ResourceTypeInfo* pInfo)
{
    if (!dbAssert(pInfo))
        return;
    for (const std::string& name : m_pImp->NamesOf(pInfo))
        Preload(name.c_str(), pInfo);
}

void Warehouse::PushFrame(const char* frameName)
{
    if (!dbAssert(frameName))
        return;
    if (!dbAssert(m_pImp->m_CurrentFrameIndex != INVALID_FRAME_ID))
        return;
    auto& cFrame = m_pImp->m_Frames;
    for (uint32 i = 0; i < cFrame.size(); ++i)
    {
        if (cFrame[i].second == m_pImp->m_CurrentFrameIndex &&
            FastString::EqualNoCase(cFrame[i].first, frameName))
        {
            m_pImp->m_CurrentFrameIndex = i;
            return;
        }
    }
    // A new index must never reach the value that ends a parent chain.
    if (!dbAssert(cFrame.size() < INVALID_FRAME_ID))
        return;
    cFrame.emplace_back(NamePool().StrDup(frameName), m_pImp->m_CurrentFrameIndex);
    m_pImp->m_CurrentFrameIndex = uint32(cFrame.size() - 1);
}

void Warehouse::PopFrame()
{
    if (m_pImp->m_CurrentFrameIndex != 0 && m_pImp->m_CurrentFrameIndex < m_pImp->m_Frames.size())
        m_pImp->m_CurrentFrameIndex = m_pImp->m_Frames[m_pImp->m_CurrentFrameIndex].second;
}

const char* Warehouse::GetCurrentFrameName() const
{
    return m_pImp->FrameName(m_pImp->m_CurrentFrameIndex);
}

uint32 Warehouse::GetCount(ResourceTypeInfo* pInfo) const
{
    auto bi = m_pImp->FindBin(pInfo);
    return bi == m_pImp->m_Bins.end() ? 0 : uint32(bi->map.size());
}

std::vector<Warehouse::BinReport> Warehouse::GetReport() const
{
    std::vector<BinReport> cBin;
    for (const Bin& bin : m_pImp->m_Bins)
    {
        BinReport report{bin.pInfo->GetTypeName(), {}};
        for (const auto& entry : bin.map)
        {
            const char* name = DataName(entry.second.pResource);
            report.cResource.push_back({name ? name : "", entry.second.pResource->GetRefCount(),
                                        m_pImp->FrameName(entry.second.frame)});
        }
        cBin.push_back(std::move(report));
    }
    return cBin;
}
} // namespace Inv
