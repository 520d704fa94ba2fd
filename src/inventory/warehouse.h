// The inventory's warehouse: every loadable object is held once per type, name and frame, and
// reached through counted references. Frames scope what a load brings in; a look-up falls back
// from the current frame to its parents. A resource whose count is 0 stays until a flush.
#pragma once

#include "inventory/namedresource.h"
#include "inventory/reference.h"
#include "inventory/resource.h"
#include "inventory/resourcetypeinfo.h"

#include "foundation/debug.h"
#include "foundation/types.h"

#include <memory>
#include <string>
#include <vector>

namespace Inv
{
constexpr uint32 INVALID_FRAME_ID = 0xFF4B;

class Warehouse
{
public:
    // Makes the one warehouse; reads the run option "invleaks". A second Create is an assertion.
    static bool Create();
    // Flushes, purges what is still referenced, and takes the warehouse down.
    static void Destroy();
    // The warehouse; null (an assertion) when none was created.
    static Warehouse* Get();

    // Looks the name up in the current frame and then its parents. *ppResource is null on failure.
    bool Find(Resource** ppResource, const char* untranslatedName, ResourceTypeInfo* pInfo);
    // Finds, or loads into the current frame; a type with a default never fails. The count is not
    // changed: the reference the caller assigns does that.
    bool Load(Resource** ppResource, const char* untranslatedName, ResourceTypeInfo* pInfo);
    // Puts a resource made elsewhere into the current frame, under its data's name.
    bool Add(Resource* pResource, ResourceTypeInfo* pInfo);
    // The same, but the resource cannot be found by name.
    bool AddAnonymous(Resource* pResource, ResourceTypeInfo* pInfo);
    // Makes the resource for an object in hand and adds it under the object's type.
    template <class T> Reference<T> Add(T* pObject);

    // Destroys the resource of that name when nothing references it; otherwise does nothing.
    void Flush(const char* name, ResourceTypeInfo* pInfo);
    // Destroys every unreferenced resource (of all types, or of one), pass after pass, until a
    // pass finds none: destroying a model lets go of its meshes and textures. A type's Destroy
    // must not flush or add.
    void FlushUnreferenced();
    void FlushUnreferenced(ResourceTypeInfo* pInfo);

    // Loads the data again and swaps it in under the live references; keeps the old data when the
    // load fails.
    void Reload(const char* name, ResourceTypeInfo* pInfo);
    void ReloadAll(ResourceTypeInfo* pInfo);
    // Loads data for a resource registered without it.
    void Preload(const char* name, ResourceTypeInfo* pInfo);
    void PreloadAll(ResourceTypeInfo* pInfo);

    // Enters the child frame of that name under the current one, made when new. A frame is known
    // by its name and its parent.
    void PushFrame(const char* frameName);
    // Back to the parent frame; at the root nothing happens.
    void PopFrame();
    const char* GetCurrentFrameName() const;

    // Resources in the type's bin; 0 when the type has none.
    uint32 GetCount(ResourceTypeInfo* pInfo) const;

    // A copy of the contents, for a debug screen.
    struct ResourceReport
    {
        std::string name;
        uint32 refCount;
        std::string frameName;
    };
    struct BinReport
    {
        std::string typeName;
        std::vector<ResourceReport> cResource;
    };
    std::vector<BinReport> GetReport() const;

    Warehouse(const Warehouse&) = delete;
    Warehouse& operator=(const Warehouse&) = delete;

private:
    Warehouse();
    ~Warehouse();

    struct Imp;
    bool AddResource(Resource* pResource, ResourceTypeInfo* pInfo, bool anonymous);
    // Removes every node whose resource is unreferenced from the bins [first, last); the count.
    uint32 FlushPass(size_t first, size_t last);
    void DestroyResource(Resource* pResource, ResourceTypeInfo* pInfo);

    std::unique_ptr<Imp> m_pImp;

    static Warehouse* s_pWarehouse;
};

template <class T> Reference<T> Warehouse::Add(T* pObject)
{
    // The inventory's name, also where T has a name of its own that hides it.
    const NamedResource* pData = pObject;
    if (!dbAssert(pData))
        return Reference<T>();
    if (!dbAssert(pData->GetName()))
        return Reference<T>();
    auto* pResource = new Resource(pObject);
    if (!Add(pResource, T::GetTypeInfo()))
    {
        // The object stays the caller's.
        pResource->m_pData = nullptr;
        delete pResource;
        return Reference<T>();
    }
    return Reference<T>(pResource);
}

// Loads a resource of type T by name: T::GetTypeInfo() gives the type's ResourceTypeInfo. A null
// reference when there is no warehouse, or when the load failed and T has no default.
template <class T> Reference<T> Load(const char* name)
{
    if (!dbAssert(name))
        return Reference<T>();
    Warehouse* pWarehouse = Warehouse::Get();
    if (pWarehouse == nullptr)
        return Reference<T>();
    Resource* pResource = nullptr;
    pWarehouse->Load(&pResource, name, T::GetTypeInfo());
    return Reference<T>(pResource);
}
} // namespace Inv
