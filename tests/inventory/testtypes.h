// Small resource types for the inventory tests: a model holds a mesh, a mesh holds a texture, and
// each type counts its loads and destroys and can be told to fail.
#pragma once

#include "inventory/inventory.h"

#include <functional>
#include <string>
#include <vector>

class TestData : public Inv::NamedResource
{
public:
    bool m_bDefault = false;
    int m_generation = 0;
    std::vector<Inv::Reference<TestData>> m_cHeld;
};

class TestType : public Inv::ResourceTypeInfo
{
public:
    explicit TestType(const char* typeName) : m_typeName(typeName) {}

    const char* GetTypeName() override { return m_typeName; }
    bool CanReload() override { return m_bCanReload; }
    Inv::NamedResource* CreateDefault(const char* name) override
    {
        if (!m_bHasDefault)
            return nullptr;
        ++m_defaults;
        TestData* pData = NewData();
        pData->m_bDefault = true;
        return pData;
    }
    void Destroy(Inv::NamedResource* data) override
    {
        ++m_destroyed;
        delete data;
    }
    Inv::NamedResource* Load(const char* name) override
    {
        m_cLoadName.emplace_back(name);
        if (m_bFail)
            return nullptr;
        TestData* pData = NewData();
        pData->m_generation = ++m_loads;
        if (m_onLoad)
            m_onLoad(*pData, name);
        return pData;
    }

    // Data of the type's own class.
    virtual TestData* NewData() = 0;

    void Reset()
    {
        m_bCanReload = true;
        m_bHasDefault = true;
        m_bFail = false;
        m_loads = 0;
        m_defaults = 0;
        m_destroyed = 0;
        m_cLoadName.clear();
        m_onLoad = nullptr;
    }

    const char* m_typeName;
    bool m_bCanReload = true;
    bool m_bHasDefault = true;
    bool m_bFail = false;
    int m_loads = 0;
    int m_defaults = 0;
    int m_destroyed = 0;
    std::vector<std::string> m_cLoadName;
    // Runs inside a successful load: what the data pulls in.
    std::function<void(TestData&, const char*)> m_onLoad;
};

template <class T> class TestTypeFor : public TestType
{
public:
    using TestType::TestType;
    TestData* NewData() override { return new T; }
};

class TestModel : public TestData
{
public:
    static Inv::ResourceTypeInfo* GetTypeInfo() { return &s_type; }
    static TestTypeFor<TestModel> s_type;
};
inline TestTypeFor<TestModel> TestModel::s_type{"Render Model"};

class TestMesh : public TestData
{
public:
    static Inv::ResourceTypeInfo* GetTypeInfo() { return &s_type; }
    static TestTypeFor<TestMesh> s_type;
};
inline TestTypeFor<TestMesh> TestMesh::s_type{"Mesh"};

class TestTexture : public TestData
{
public:
    static Inv::ResourceTypeInfo* GetTypeInfo() { return &s_type; }
    static TestTypeFor<TestTexture> s_type;
};
inline TestTypeFor<TestTexture> TestTexture::s_type{"Texture"};
