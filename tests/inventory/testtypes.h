// Resource types for the inventory tests: each counts its loads and destroys and can be told to fail.
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

// What a test tells a type to do, and what the type counts.
struct TestBehaviour
{
    bool m_bCanReload = true, m_bHasDefault = true, m_bFail = false;
    int m_loads = 0, m_defaults = 0, m_destroyed = 0;
    std::vector<std::string> m_cLoadName;
    // Runs inside a successful load: what the data pulls in.
    std::function<void(TestData&, const char*)> m_onLoad;
};

template <class T> class TestType : public Inv::ResourceTypeInfo, public TestBehaviour
{
public:
    explicit TestType(const char* typeName) : m_typeName(typeName) {}
    void Reset() { static_cast<TestBehaviour&>(*this) = TestBehaviour(); }
    const char* GetTypeName() override { return m_typeName; }
    bool CanReload() override { return m_bCanReload; }
    Inv::NamedResource* CreateDefault(const char*) override
    {
        if (!m_bHasDefault)
            return nullptr;
        ++m_defaults;
        T* pData = new T;
        pData->m_bDefault = true;
        return pData;
    }
    void Destroy(Inv::NamedResource* data) override { ++m_destroyed, delete data; }
    Inv::NamedResource* Load(const char* name) override
    {
        m_cLoadName.emplace_back(name);
        if (m_bFail)
            return nullptr;
        T* pData = new T;
        pData->m_generation = ++m_loads;
        if (m_onLoad)
            m_onLoad(*pData, name);
        return pData;
    }
    const char* m_typeName;
};

template <int Kind> class TestKind : public TestData
{
public:
    static Inv::ResourceTypeInfo* GetTypeInfo() { return &s_type; }
    static TestType<TestKind> s_type;
};
template <> inline TestType<TestKind<0>> TestKind<0>::s_type{"Render Model"};
template <> inline TestType<TestKind<1>> TestKind<1>::s_type{"Mesh"};
template <> inline TestType<TestKind<2>> TestKind<2>::s_type{"Texture"};
using TestModel = TestKind<0>;
using TestMesh = TestKind<1>;
using TestTexture = TestKind<2>;
