#include "model/modeldiff.h"

#include "model/anim/anim.h"
#include "model/anim/animlist.h"
#include "model/event/eventdata.h"
#include "model/mesh/mesh.h"
#include "model/mesh/meshgroup.h"
#include "model/motiontree/action.h"
#include "model/motiontree/clause.h"
#include "model/motiontree/condition.h"
#include "model/motiontree/modifier.h"
#include "model/motiontree/motion.h"
#include "model/rendermodel.h"
#include "model/shader/shader.h"
#include "model/shader/texture.h"
#include "model/skeleton/skeleton.h"
#include "render/primset.h"
#include "render/texture.h"
#include "render/vertexset.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <set>

namespace ra
{
namespace
{
std::string NameText(Name name)
{
    const char* text = GetNameText(name);
    return text ? text : "";
}

std::string ResourceName(const Inv::NamedResource* pResource)
{
    const char* text = pResource ? pResource->GetName() : nullptr;
    return text ? text : "";
}

// The shortest text that reads back as the same float.
std::string FloatText(float value)
{
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value);
    return std::string(buffer, result.ptr);
}

std::string FloatsText(const float* pValues, size_t count)
{
    if (count == 1)
        return FloatText(pValues[0]);
    std::string text = "(";
    for (size_t i = 0; i < count; ++i)
        text += (i ? ", " : "") + FloatText(pValues[i]);
    return text + ")";
}

std::string HexText(uint32 value)
{
    char buffer[16];
    std::snprintf(buffer, sizeof(buffer), "0x%08X", value);
    return buffer;
}

const char* ComponentName(uint32 component)
{
    static const char* const s_names[fr::VC_Count] = {"position", "weights", "normal", "colour0", "colour1",
                                                      "uv0",      "uv1",     "uv2",    "uv3"};
    return component < fr::VC_Count ? s_names[component] : "?";
}

// A vertex component's words as text: floats, colours in hex, the bone slots of packed weights as
// four bytes.
std::string ComponentText(uint32 component, const uint32* pWords)
{
    if (component == fr::VC_Colour0 || component == fr::VC_Colour1)
        return HexText(pWords[0]);
    const uint32 count = GetStreamWordCount(component);
    const uint32 floatCount = component == fr::VC_Weights ? count - 1 : count;
    float values[4];
    std::memcpy(values, pWords, floatCount * 4);
    std::string text = FloatsText(values, floatCount);
    if (component == fr::VC_Weights)
    {
        const uint32 slots = pWords[count - 1];
        char buffer[48];
        std::snprintf(buffer, sizeof(buffer), " slots %u %u %u %u", slots & 0xFF, (slots >> 8) & 0xFF,
                      (slots >> 16) & 0xFF, slots >> 24);
        text += buffer;
    }
    return text;
}

// Shaders the model holds itself (those of its local entries), in the group's order.
std::vector<const Shader*> LocalShaders(const MeshGroup* pGroup)
{
    std::vector<const Shader*> cShader;
    for (int32 i = 0; pGroup && i < pGroup->GetShaderCount(); ++i)
        if (pGroup->IsShaderLocal(i))
            cShader.push_back(pGroup->GetShader(i).Get());
    return cShader;
}

// Their textures, each once, in the order of first use.
std::vector<const Texture*> LocalTextures(const std::vector<const Shader*>& cShader)
{
    std::vector<const Texture*> cTexture;
    std::set<const Texture*> cSeen;
    for (const Shader* pShader : cShader)
        for (uint32 n = 0; pShader && n < Shader::FileChannelCount; ++n)
        {
            const Texture* pTexture = pShader->GetTexture(n).Get();
            if (pTexture != nullptr && cSeen.insert(pTexture).second)
                cTexture.push_back(pTexture);
        }
    return cTexture;
}

std::vector<uint8> LevelBytes(const fr::Texture& texture, uint32 level)
{
    const uint32 pitch = texture.GetLevelPitch(level);
    std::vector<uint8> cByte(size_t(pitch) * texture.GetLevelRows(level));
    if (!texture.Read(level, 0, 0, texture.GetLevelWidth(level), texture.GetLevelHeight(level), cByte, pitch))
        cByte.clear();
    return cByte;
}

class Differ
{
public:
    explicit Differ(const ModelDiffOptions& options) : m_options(options) {}

    std::vector<ModelDifference> Take() { return std::move(m_cDifference); }

    bool Full() const
    {
        return m_options.maxDifferences != 0 && m_cDifference.size() >= m_options.maxDifferences;
    }

    // The part of the path that lasts as long as the scope.
    class Scope
    {
    public:
        Scope(Differ& differ, const std::string& part) : m_differ(differ), m_length(differ.m_path.size())
        {
            if (!part.empty())
                differ.m_path += (differ.m_path.empty() ? "" : "/") + part;
        }
        ~Scope() { m_differ.m_path.resize(m_length); }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        Differ& m_differ;
        size_t m_length;
    };

    void Add(const std::string& what, std::string a, std::string b)
    {
        if (Full())
            return;
        std::string path = m_path;
        if (!what.empty())
            path += (path.empty() ? "" : "/") + what;
        m_cDifference.push_back({std::move(path), std::move(a), std::move(b)});
    }

    bool SameFloat(float a, float b) const
    {
        if (a == b || std::memcmp(&a, &b, sizeof(float)) == 0)
            return true;
        return m_options.tolerance > 0.0f && std::fabs(a - b) <= m_options.tolerance;
    }

    bool SameFloats(const float* pA, const float* pB, size_t count) const
    {
        for (size_t i = 0; i < count; ++i)
            if (!SameFloat(pA[i], pB[i]))
                return false;
        return true;
    }

    void Floats(const std::string& what, const float* pA, const float* pB, size_t count)
    {
        if (!SameFloats(pA, pB, count))
            Add(what, FloatsText(pA, count), FloatsText(pB, count));
    }
    void Float(const std::string& what, float a, float b) { Floats(what, &a, &b, 1); }
    void Vector(const std::string& what, const Vec3& a, const Vec3& b) { Floats(what, &a.x, &b.x, 3); }
    void Rotation(const std::string& what, const Quat& a, const Quat& b) { Floats(what, &a.x, &b.x, 4); }
    void Matrix(const std::string& what, const Matrix34& a, const Matrix34& b)
    {
        Floats(what, a.Data(), b.Data(), 12);
    }
    void Matrix(const std::string& what, const fr::Matrix44& a, const fr::Matrix44& b)
    {
        Floats(what, &a.m[0][0], &b.m[0][0], 16);
    }

    template <class T> void Value(const std::string& what, const T& a, const T& b)
    {
        if (!(a == b))
            Add(what, std::to_string(a), std::to_string(b));
    }
    void Flag(const std::string& what, bool a, bool b)
    {
        if (a != b)
            Add(what, a ? "true" : "false", b ? "true" : "false");
    }
    void Text(const std::string& what, const std::string& a, const std::string& b)
    {
        if (a != b)
            Add(what, "'" + a + "'", "'" + b + "'");
    }
    void Hex(const std::string& what, uint32 a, uint32 b)
    {
        if (a != b)
            Add(what, HexText(a), HexText(b));
    }
    // A count that differs is one difference; the items both sides have are compared after it.
    void Count(const std::string& what, size_t a, size_t b)
    {
        if (a != b)
            Add(what, std::to_string(a), std::to_string(b));
    }

    // The path part of item `index`: its name when both sides give the same one, else "[index]".
    static std::string Label(size_t index, const std::string& a, const std::string& b)
    {
        if (!a.empty() && a == b)
            return a;
        return "[" + std::to_string(index) + "]";
    }

    void Model(const RenderModel& a, const RenderModel& b);

private:
    void SkeletonPart(const Skeleton* pA, const Skeleton* pB);
    void MeshGroupPart(const MeshGroup& a, const MeshGroup& b);
    void MeshPart(const Mesh& a, const Mesh& b);
    void VertexSetPart(const std::string& prefix, fr::VertexSet* pA, fr::VertexSet* pB);
    void PrimSetPart(const std::string& what, const fr::PrimSet* pA, const fr::PrimSet* pB);
    void BoundPart(const std::string& what, const BoundVolume& a, const BoundVolume& b);
    void ObbPart(const std::string& what, const OBB& a, const OBB& b);
    void ShaderPart(const Shader& a, const Shader& b);
    void TexturePart(const Texture& a, const Texture& b);
    void MarkersAndCameras(const RenderModel& a, const RenderModel& b);
    void AnimationPart(const AnimList* pA, const AnimList* pB);
    void AnimPart(const Anim& a, const Anim& b);
    template <class StreamT> void Keys(const std::string& what, const StreamT* pA, const StreamT* pB);
    void MotionPart(const MotionList& a, const MotionList& b);
    void ActionPart(const ActionTree& a, const ActionTree& b);
    void ClausePart(const Clause& a, const Clause& b);
    // A condition's clauses are the model's: there only their names are compared.
    void ClauseListPart(const std::string& what, const ClauseList& a, const ClauseList& b, bool content);
    void ModifierPart(const ModifierList& a, const ModifierList& b);
    void EventPart(const EventList& a, const EventList& b);

    const ModelDiffOptions& m_options;
    std::string m_path;
    std::vector<ModelDifference> m_cDifference;
};

void Differ::Model(const RenderModel& a, const RenderModel& b)
{
    Text("name", ResourceName(&a), ResourceName(&b));
    SkeletonPart(a.GetSkeleton(), b.GetSkeleton());
    static const MeshGroup s_emptyGroup;
    const MeshGroup& groupA = a.GetMeshGroup() ? *a.GetMeshGroup() : s_emptyGroup;
    const MeshGroup& groupB = b.GetMeshGroup() ? *b.GetMeshGroup() : s_emptyGroup;
    MeshGroupPart(groupA, groupB);

    const std::vector<const Shader*> cShaderA = LocalShaders(&groupA);
    const std::vector<const Shader*> cShaderB = LocalShaders(&groupB);
    {
        Scope scope(*this, "shaders");
        Count("", cShaderA.size(), cShaderB.size());
        for (size_t i = 0; i < std::min(cShaderA.size(), cShaderB.size()) && !Full(); ++i)
        {
            const std::string nameA = cShaderA[i] ? NameText(cShaderA[i]->GetName()) : "";
            const std::string nameB = cShaderB[i] ? NameText(cShaderB[i]->GetName()) : "";
            Scope item(*this, Label(i, nameA, nameB));
            Text("name", nameA, nameB);
            if (cShaderA[i] && cShaderB[i])
                ShaderPart(*cShaderA[i], *cShaderB[i]);
        }
    }
    if (!m_options.ignoreTextures)
    {
        const std::vector<const Texture*> cTextureA = LocalTextures(cShaderA);
        const std::vector<const Texture*> cTextureB = LocalTextures(cShaderB);
        Scope scope(*this, "textures");
        Count("", cTextureA.size(), cTextureB.size());
        for (size_t i = 0; i < std::min(cTextureA.size(), cTextureB.size()) && !Full(); ++i)
        {
            const std::string nameA = ResourceName(cTextureA[i]);
            const std::string nameB = ResourceName(cTextureB[i]);
            Scope item(*this, Label(i, nameA, nameB));
            Text("name", nameA, nameB);
            TexturePart(*cTextureA[i], *cTextureB[i]);
        }
    }
    MarkersAndCameras(a, b);
    AnimationPart(a.GetAnimList(), b.GetAnimList());
    MotionPart(a.GetMotionList(), b.GetMotionList());
    ActionPart(a.GetActionTree(), b.GetActionTree());
    ClauseListPart("clauses", a.GetClauseList(), b.GetClauseList(), true);
    {
        Scope scope(*this, "conditions");
        const ConditionList& listA = a.GetConditionList();
        const ConditionList& listB = b.GetConditionList();
        Count("", size_t(listA.GetConditionCount()), size_t(listB.GetConditionCount()));
        for (int i = 0; i < std::min(listA.GetConditionCount(), listB.GetConditionCount()) && !Full(); ++i)
        {
            const Condition* pA = listA.GetCondition(i);
            const Condition* pB = listB.GetCondition(i);
            const std::string nameA = NameText(pA->GetName()), nameB = NameText(pB->GetName());
            Scope item(*this, Label(size_t(i), nameA, nameB));
            Text("name", nameA, nameB);
            ClauseListPart("clauses", *pA, *pB, false);
        }
    }
    ModifierPart(a.GetModifierList(), b.GetModifierList());
    EventPart(a.GetEventList(), b.GetEventList());

    Scope scope(*this, "selection");
    Value("type", a.GetSelectionType(), b.GetSelectionType());
    float boxA[4], boxB[4];
    a.GetSelectionBox(boxA, boxA + 2);
    b.GetSelectionBox(boxB, boxB + 2);
    Floats("box", boxA, boxB, 4);
    ObbPart("volume", a.GetSelectionVolume(), b.GetSelectionVolume());
}

void Differ::SkeletonPart(const Skeleton* pA, const Skeleton* pB)
{
    Scope scope(*this, "skeleton");
    if ((pA == nullptr) != (pB == nullptr))
    {
        Add("", pA ? "present" : "none", pB ? "present" : "none");
        return;
    }
    if (pA == nullptr)
        return;
    Count("bones", size_t(pA->GetBoneCount()), size_t(pB->GetBoneCount()));
    for (int32 i = 0; i < std::min(pA->GetBoneCount(), pB->GetBoneCount()) && !Full(); ++i)
    {
        const Bone* pBoneA = pA->GetBone(i);
        const Bone* pBoneB = pB->GetBone(i);
        const std::string nameA = NameText(pBoneA->GetName()), nameB = NameText(pBoneB->GetName());
        Scope item(*this, "bones/" + Label(size_t(i), nameA, nameB));
        Text("name", nameA, nameB);
        Value("parent", pBoneA->GetParentIndex(), pBoneB->GetParentIndex());
        Vector("position", pBoneA->GetPosition(), pBoneB->GetPosition());
        Rotation("rotation", pBoneA->GetRotation(), pBoneB->GetRotation());
    }
}

void Differ::MeshGroupPart(const MeshGroup& a, const MeshGroup& b)
{
    {
        Scope scope(*this, "meshes");
        Count("", size_t(a.GetMeshCount()), size_t(b.GetMeshCount()));
        for (int32 i = 0; i < std::min(a.GetMeshCount(), b.GetMeshCount()) && !Full(); ++i)
        {
            const MeshRef& refA = a.GetMeshRef(i);
            const MeshRef& refB = b.GetMeshRef(i);
            const std::string nameA = NameText(refA.name), nameB = NameText(refB.name);
            Scope item(*this, Label(size_t(i), nameA, nameB));
            Text("name", nameA, nameB);
            Text("xref", NameText(refA.xrefName), NameText(refB.xrefName));
            Value("bone", refA.boneIndex, refB.boneIndex);
            Count("skin_bones", refA.skinnedTransforms.size(), refB.skinnedTransforms.size());
            for (size_t s = 0; s < std::min(refA.skinnedTransforms.size(), refB.skinnedTransforms.size());
                 ++s)
            {
                const auto& [slotA, boneA] = refA.skinnedTransforms[s];
                const auto& [slotB, boneB] = refB.skinnedTransforms[s];
                if (slotA != slotB || boneA != boneB)
                    Add("skin_bones[" + std::to_string(s) + "]",
                        "slot " + std::to_string(slotA) + " bone " + std::to_string(boneA),
                        "slot " + std::to_string(slotB) + " bone " + std::to_string(boneB));
            }
            const Mesh* pMeshA = refA.mesh.Get();
            const Mesh* pMeshB = refB.mesh.Get();
            if ((pMeshA == nullptr) != (pMeshB == nullptr))
                Add("mesh", pMeshA ? "present" : "none", pMeshB ? "present" : "none");
            else if (pMeshA != nullptr)
                MeshPart(*pMeshA, *pMeshB);
        }
    }
    Scope scope(*this, "group");
    BoundPart("bounds", a.GetBV(), b.GetBV());
}

void Differ::MeshPart(const Mesh& a, const Mesh& b)
{
    Text("mesh_name", NameText(a.GetName()), NameText(b.GetName()));
    Value("type", a.GetMeshType(), b.GetMeshType());
    Flag("render", a.GetRenderFlag(), b.GetRenderFlag());
    Value("polygons", a.GetPolyCount(Mesh::Poly_High), b.GetPolyCount(Mesh::Poly_High));
    Value("low/polygons", a.GetPolyCount(Mesh::Poly_Low), b.GetPolyCount(Mesh::Poly_Low));
    Count("skin", size_t(a.GetSkinnedTransformCount()), size_t(b.GetSkinnedTransformCount()));
    for (int32 s = 0; s < std::min(a.GetSkinnedTransformCount(), b.GetSkinnedTransformCount()); ++s)
    {
        const std::string what = "skin[" + std::to_string(s) + "]";
        Text(what + "/bone", NameText(a.GetSkinnedTransformName(s)), NameText(b.GetSkinnedTransformName(s)));
        Value(what + "/slot", a.GetSkinnedTransformIndex(s), b.GetSkinnedTransformIndex(s));
    }
    VertexSetPart("", a.GetVertexSet(Mesh::Poly_High), b.GetVertexSet(Mesh::Poly_High));
    VertexSetPart("low/", a.GetVertexSet(Mesh::Poly_Low), b.GetVertexSet(Mesh::Poly_Low));

    Count("primsets", size_t(a.GetPrimSetCount()), size_t(b.GetPrimSetCount()));
    for (int32 p = 0; p < std::min(a.GetPrimSetCount(), b.GetPrimSetCount()) && !Full(); ++p)
    {
        const Shader* pShaderA = a.GetPrimSetShader(p).Get();
        const Shader* pShaderB = b.GetPrimSetShader(p).Get();
        const std::string nameA = pShaderA ? NameText(pShaderA->GetName()) : "";
        const std::string nameB = pShaderB ? NameText(pShaderB->GetName()) : "";
        Scope item(*this, "primsets/" + Label(size_t(p), nameA, nameB));
        Text("shader", nameA, nameB);
        PrimSetPart("indices", a.GetPrimSet(p, Mesh::Poly_High), b.GetPrimSet(p, Mesh::Poly_High));
        PrimSetPart("low/indices", a.GetPrimSet(p, Mesh::Poly_Low), b.GetPrimSet(p, Mesh::Poly_Low));
    }

    const std::vector<Vec3>& cShadowA = a.GetShadowVertices();
    const std::vector<Vec3>& cShadowB = b.GetShadowVertices();
    Count("shadow/vertices", cShadowA.size(), cShadowB.size());
    for (size_t i = 0; i < std::min(cShadowA.size(), cShadowB.size()) && !Full(); ++i)
        Vector("shadow/vertices[" + std::to_string(i) + "]", cShadowA[i], cShadowB[i]);
    auto records = [this](const std::string& what, const auto& cA, const auto& cB)
    {
        Count(what, cA.size(), cB.size());
        for (size_t i = 0; i < std::min(cA.size(), cB.size()) && !Full(); ++i)
            if (std::memcmp(cA[i].data, cB[i].data, sizeof(cA[i].data)) != 0)
                Add(what + "[" + std::to_string(i) + "]", "other bytes", "other bytes");
    };
    records("shadow/edges", a.GetShadowEdges(), b.GetShadowEdges());
    records("shadow/faces", a.GetShadowFaces(), b.GetShadowFaces());

    if (a.HasBV() != b.HasBV())
        Add("bounds", a.HasBV() ? "present" : "none", b.HasBV() ? "present" : "none");
    else if (a.HasBV())
        BoundPart("bounds", a.GetBV(), b.GetBV());
}

void Differ::VertexSetPart(const std::string& prefix, fr::VertexSet* pA, fr::VertexSet* pB)
{
    const uint32 sizeA = pA ? pA->GetSize() : 0;
    const uint32 sizeB = pB ? pB->GetSize() : 0;
    Count(prefix + "vertices", sizeA, sizeB);
    if (pA == nullptr || pB == nullptr)
        return;
    const fr::VertexType typeA = pA->GetType(), typeB = pB->GetType();
    Hex(prefix + "vertex_type", uint32(typeA.to_ulong()), uint32(typeB.to_ulong()));
    if (sizeA != sizeB)
        return;
    // Vertex after vertex, so that the first differences reported are those of the first vertices.
    std::vector<std::vector<uint32>> cWordA(fr::VC_Count), cWordB(fr::VC_Count);
    std::vector<uint32> cComponent;
    for (uint32 c = 0; c < fr::VC_Count; ++c)
        if (typeA.test(c) && typeB.test(c) && ReadStreamWords(*pA, c, cWordA[c]) &&
            ReadStreamWords(*pB, c, cWordB[c]))
            cComponent.push_back(c);
    for (uint32 v = 0; v < sizeA && !Full(); ++v)
        for (uint32 c : cComponent)
        {
            const uint32 words = GetStreamWordCount(c);
            const uint32* pWordA = &cWordA[c][size_t(v) * words];
            const uint32* pWordB = &cWordB[c][size_t(v) * words];
            bool same = true;
            if (c == fr::VC_Colour0 || c == fr::VC_Colour1)
                same = pWordA[0] == pWordB[0];
            else
            {
                const uint32 floatCount = c == fr::VC_Weights ? words - 1 : words;
                float valuesA[4], valuesB[4];
                std::memcpy(valuesA, pWordA, floatCount * 4);
                std::memcpy(valuesB, pWordB, floatCount * 4);
                same = SameFloats(valuesA, valuesB, floatCount) &&
                       (c != fr::VC_Weights || pWordA[words - 1] == pWordB[words - 1]);
            }
            if (!same)
                Add(prefix + "vertices[" + std::to_string(v) + "]/" + ComponentName(c),
                    ComponentText(c, pWordA), ComponentText(c, pWordB));
        }
}

void Differ::PrimSetPart(const std::string& what, const fr::PrimSet* pA, const fr::PrimSet* pB)
{
    const uint32 countA = pA ? pA->GetIndexCount() : 0;
    const uint32 countB = pB ? pB->GetIndexCount() : 0;
    Count(what, countA, countB);
    if (pA == nullptr || pB == nullptr)
        return;
    Value(what + "/kind", uint32(pA->GetKind()), uint32(pB->GetKind()));
    std::vector<uint16> cIndexA(countA), cIndexB(countB);
    if (!pA->ReadIndices(0, countA, cIndexA) || !pB->ReadIndices(0, countB, cIndexB))
        return;
    for (size_t i = 0; i < std::min(cIndexA.size(), cIndexB.size()) && !Full(); ++i)
        Value(what + "[" + std::to_string(i) + "]", cIndexA[i], cIndexB[i]);
}

void Differ::ObbPart(const std::string& what, const OBB& a, const OBB& b)
{
    Vector(what + "/centre", a.centre, b.centre);
    Vector(what + "/scale", a.scale, b.scale);
    Floats(what + "/axes", &a.rotation[0].x, &b.rotation[0].x, 9);
}

void Differ::BoundPart(const std::string& what, const BoundVolume& a, const BoundVolume& b)
{
    if (a.IsValid() != b.IsValid())
        Add(what, a.IsValid() ? "valid" : "none", b.IsValid() ? "valid" : "none");
    else if (a.IsValid())
        ObbPart(what, a.GetOBB(), b.GetOBB());
}

void Differ::ShaderPart(const Shader& a, const Shader& b)
{
    Flag("shared", a.IsShared(), b.IsShared());
    int32 sourceA = 0, destinationA = 0, sourceB = 0, destinationB = 0;
    a.GetBlend(sourceA, destinationA);
    b.GetBlend(sourceB, destinationB);
    if (sourceA != sourceB || destinationA != destinationB)
        Add("blend", std::to_string(sourceA) + " " + std::to_string(destinationA),
            std::to_string(sourceB) + " " + std::to_string(destinationB));
    Float("float", a.GetFloat(), b.GetFloat());
    Value("int", a.GetInt(), b.GetInt());
    Value("byte", uint32(a.GetByte()), uint32(b.GetByte()));
    for (uint32 n = 0; n < Shader::FileChannelCount && !Full(); ++n)
    {
        Scope channel(*this, "channels[" + std::to_string(n) + "]");
        Value("method", a.GetMethod(n), b.GetMethod(n));
        Hex("colour", a.GetColour(n), b.GetColour(n));
        Text("texture", ResourceName(a.GetTexture(n).Get()), ResourceName(b.GetTexture(n).Get()));
        Value("address_mode", a.GetAddressMode(n), b.GetAddressMode(n));
        Value("filter_mode", a.GetFilterMode(n), b.GetFilterMode(n));
        Value("coord_mode", a.GetCoordMode(n), b.GetCoordMode(n));
        Matrix("transform", a.GetTransform(n), b.GetTransform(n));
        Matrix("transform2", a.GetTransform2(n), b.GetTransform2(n));
    }
}

void Differ::TexturePart(const Texture& a, const Texture& b)
{
    const fr::Texture* pA = a.GetTexture();
    const fr::Texture* pB = b.GetTexture();
    if ((pA == nullptr) != (pB == nullptr))
    {
        Add("image", pA ? "present" : "none", pB ? "present" : "none");
        return;
    }
    if (pA == nullptr)
        return;
    Value("width", pA->GetWidth(), pB->GetWidth());
    Value("height", pA->GetHeight(), pB->GetHeight());
    // A compressed side keeps only an approximation of the other's pixels: the size is all that
    // can be held against it.
    if ((fr::IsCompressed(pA->GetFormat()) || fr::IsCompressed(pB->GetFormat())) &&
        pA->GetFormat() != pB->GetFormat())
        return;
    Value("format", uint32(pA->GetFormat()), uint32(pB->GetFormat()));
    // Levels that the device makes from the top one (a final file may carry the top alone) are
    // not the file's: then the top is all there is to compare.
    const bool autoMip = pA->IsAutoMip() || pB->IsAutoMip();
    if (!autoMip)
        Value("mips", pA->GetMipCount(), pB->GetMipCount());
    if (pA->GetFormat() != pB->GetFormat() || pA->GetWidth() != pB->GetWidth() ||
        pA->GetHeight() != pB->GetHeight())
        return;
    const uint32 levelCount = autoMip ? 1 : std::min(pA->GetMipCount(), pB->GetMipCount());
    const bool compressed = fr::IsCompressed(pA->GetFormat());
    const uint32 bytesPerItem = compressed ? fr::GetBitsPerPixel(pA->GetFormat()) * 2 // a 4 by 4 block
                                           : std::max(1u, fr::GetBitsPerPixel(pA->GetFormat()) / 8);
    for (uint32 level = 0; level < levelCount && !Full(); ++level)
    {
        const std::vector<uint8> cByteA = LevelBytes(*pA, level);
        const std::vector<uint8> cByteB = LevelBytes(*pB, level);
        const auto [itA, itB] = std::mismatch(cByteA.begin(), cByteA.end(), cByteB.begin(), cByteB.end());
        if (itA == cByteA.end() && itB == cByteB.end())
            continue;
        // The first pixel (or block) that differs, with its bytes.
        const size_t offset = size_t(itA - cByteA.begin());
        const uint32 pitch = pA->GetLevelPitch(level);
        const size_t first = offset - offset % bytesPerItem;
        auto bytes = [&](const std::vector<uint8>& cByte)
        {
            std::string text;
            for (size_t i = first; i < std::min(first + bytesPerItem, cByte.size()); ++i)
            {
                char buffer[4];
                std::snprintf(buffer, sizeof(buffer), "%02X", cByte[i]);
                text += buffer;
            }
            return text;
        };
        const size_t column = (offset % pitch) / bytesPerItem, row = offset / pitch;
        Add("levels[" + std::to_string(level) + "]/" + (compressed ? "block" : "pixel") + "(" +
                std::to_string(column) + ", " + std::to_string(row) + ")",
            bytes(cByteA), bytes(cByteB));
    }
}

void Differ::MarkersAndCameras(const RenderModel& a, const RenderModel& b)
{
    {
        Scope scope(*this, "markers");
        Count("", size_t(a.GetCMarkerCount()), size_t(b.GetCMarkerCount()));
        for (int32 i = 0; i < std::min(a.GetCMarkerCount(), b.GetCMarkerCount()) && !Full(); ++i)
        {
            const Marker& markerA = a.GetCMarker(i);
            const Marker& markerB = b.GetCMarker(i);
            const std::string nameA = NameText(markerA.name), nameB = NameText(markerB.name);
            Scope item(*this, Label(size_t(i), nameA, nameB));
            Text("name", nameA, nameB);
            Text("parent", NameText(markerA.parentName), NameText(markerB.parentName));
            Matrix("transform", markerA.transform, markerB.transform);
        }
    }
    Scope scope(*this, "cameras");
    Count("", size_t(a.GetCCameraCount()), size_t(b.GetCCameraCount()));
    for (int32 i = 0; i < std::min(a.GetCCameraCount(), b.GetCCameraCount()) && !Full(); ++i)
    {
        const RenderModelCamera& cameraA = a.GetCCamera(i);
        const RenderModelCamera& cameraB = b.GetCCamera(i);
        const std::string nameA = NameText(cameraA.name), nameB = NameText(cameraB.name);
        Scope item(*this, Label(size_t(i), nameA, nameB));
        Text("name", nameA, nameB);
        Vector("position", cameraA.position, cameraB.position);
        Vector("target", cameraA.target, cameraB.target);
        Rotation("orientation", cameraA.orientation, cameraB.orientation);
        Float("fov", cameraA.fov, cameraB.fov);
        Float("near", cameraA.nearClip, cameraB.nearClip);
        Float("far", cameraA.farClip, cameraB.farClip);
    }
}

void Differ::AnimationPart(const AnimList* pA, const AnimList* pB)
{
    Scope scope(*this, "animations");
    const int countA = pA ? pA->GetAnimCount() : 0;
    const int countB = pB ? pB->GetAnimCount() : 0;
    Count("", size_t(countA), size_t(countB));
    for (int i = 0; i < std::min(countA, countB) && !Full(); ++i)
    {
        const AnimListNode* pNodeA = pA->GetAnimNode(i);
        const AnimListNode* pNodeB = pB->GetAnimNode(i);
        const Anim* pAnimA = pNodeA->GetAnim().Get();
        const Anim* pAnimB = pNodeB->GetAnim().Get();
        const std::string nameA = pAnimA ? NameText(pAnimA->GetName()) : "";
        const std::string nameB = pAnimB ? NameText(pAnimB->GetName()) : "";
        Scope item(*this, Label(size_t(i), nameA, nameB));
        Text("name", nameA, nameB);
        Text("xref", NameText(pNodeA->GetXRefName()), NameText(pNodeB->GetXRefName()));
        Vec3 minA, maxA, minB, maxB;
        const bool boundsA = pNodeA->GetBV(minA, maxA), boundsB = pNodeB->GetBV(minB, maxB);
        if (boundsA != boundsB)
            Add("bounds", boundsA ? "present" : "none", boundsB ? "present" : "none");
        else if (boundsA)
        {
            Vector("bounds/min", minA, minB);
            Vector("bounds/max", maxA, maxB);
        }
        if ((pAnimA == nullptr) != (pAnimB == nullptr))
            Add("data", pAnimA ? "present" : "none", pAnimB ? "present" : "none");
        else if (pAnimA != nullptr)
            AnimPart(*pAnimA, *pAnimB);
    }
}

template <class StreamT> void Differ::Keys(const std::string& what, const StreamT* pA, const StreamT* pB)
{
    const uint32 countA = pA ? pA->GetKeyCount() : 0;
    const uint32 countB = pB ? pB->GetKeyCount() : 0;
    Count(what, countA, countB);
    // A key is its time and its value, all floats.
    constexpr size_t floatCount = StreamT::KeySize / sizeof(float);
    for (uint32 k = 0; k < std::min(countA, countB) && !Full(); ++k)
    {
        float keyA[floatCount], keyB[floatCount];
        std::memcpy(keyA, pA->GetKeyData() + size_t(k) * StreamT::KeySize, StreamT::KeySize);
        std::memcpy(keyB, pB->GetKeyData() + size_t(k) * StreamT::KeySize, StreamT::KeySize);
        Floats(what + "[" + std::to_string(k) + "]", keyA, keyB, floatCount);
    }
}

void Differ::AnimPart(const Anim& a, const Anim& b)
{
    Value("frames", a.GetFrameCount(), b.GetFrameCount());
    Float("time", a.GetTime(), b.GetTime());
    Count("bones", size_t(a.GetBoneCount()), size_t(b.GetBoneCount()));
    for (int i = 0; i < std::min(a.GetBoneCount(), b.GetBoneCount()) && !Full(); ++i)
    {
        const std::string nameA = NameText(a.GetBoneName(i)), nameB = NameText(b.GetBoneName(i));
        Scope item(*this, "bones/" + Label(size_t(i), nameA, nameB));
        Text("name", nameA, nameB);
        Flag("animated", a.IsBoneAnimated(i), b.IsBoneAnimated(i));
        Keys("position_keys", a.GetPositionStream(i), b.GetPositionStream(i));
        Keys("rotation_keys", a.GetRotationStream(i), b.GetRotationStream(i));
    }
    Count("controls", size_t(a.GetControlStreamCount()), size_t(b.GetControlStreamCount()));
    for (int i = 0; i < std::min(a.GetControlStreamCount(), b.GetControlStreamCount()) && !Full(); ++i)
    {
        const std::string nameA = NameText(a.GetControlName(i)), nameB = NameText(b.GetControlName(i));
        Scope item(*this, "controls/" + Label(size_t(i), nameA, nameB));
        Text("name", nameA, nameB);
        const ControlInfo& infoA = a.GetControlInfo(i);
        const ControlInfo& infoB = b.GetControlInfo(i);
        Value("target_type", infoA.targetType, infoB.targetType);
        Value("channel", infoA.channel, infoB.channel);
        Value("parameter", infoA.parameter, infoB.parameter);
        Keys("keys", a.GetControlStream(i), b.GetControlStream(i));
    }
    Count("cameras", size_t(a.GetCameraCount()), size_t(b.GetCameraCount()));
    for (int i = 0; i < std::min(a.GetCameraCount(), b.GetCameraCount()) && !Full(); ++i)
    {
        const std::string nameA = NameText(a.GetCameraName(i)), nameB = NameText(b.GetCameraName(i));
        Scope item(*this, "cameras/" + Label(size_t(i), nameA, nameB));
        Text("name", nameA, nameB);
        Keys("position_keys", a.GetCameraPositionStream(i), b.GetCameraPositionStream(i));
        Keys("rotation_keys", a.GetCameraRotationStream(i), b.GetCameraRotationStream(i));
    }
}

std::string AnimNodeName(const AnimListNode* pNode)
{
    const Anim* pAnim = pNode ? pNode->GetAnim().Get() : nullptr;
    return pAnim ? NameText(pAnim->GetName()) : "";
}

void Differ::MotionPart(const MotionList& a, const MotionList& b)
{
    Scope scope(*this, "motions");
    Count("", size_t(a.GetMotionCount()), size_t(b.GetMotionCount()));
    for (int i = 0; i < std::min(a.GetMotionCount(), b.GetMotionCount()) && !Full(); ++i)
    {
        const Motion& motionA = *a.GetMotion(i);
        const Motion& motionB = *b.GetMotion(i);
        const std::string nameA = NameText(motionA.GetName()), nameB = NameText(motionB.GetName());
        Scope item(*this, Label(size_t(i), nameA, nameB));
        Text("name", nameA, nameB);
        Value("type", motionA.GetType(), motionB.GetType());
        Count("animations", size_t(motionA.GetAnimNodeCount()), size_t(motionB.GetAnimNodeCount()));
        for (int n = 0; n < std::min(motionA.GetAnimNodeCount(), motionB.GetAnimNodeCount()); ++n)
            Text("animations[" + std::to_string(n) + "]", AnimNodeName(motionA.GetAnimNode(n)),
                 AnimNodeName(motionB.GetAnimNode(n)));
        auto range = [this](const char* what, float minA, float maxA, float minB, float maxB)
        {
            const float valuesA[2] = {minA, maxA}, valuesB[2] = {minB, maxB};
            Floats(what, valuesA, valuesB, 2);
        };
        range("start_delay", motionA.GetStartDelayMin(), motionA.GetStartDelayMax(),
              motionB.GetStartDelayMin(), motionB.GetStartDelayMax());
        range("loop_delay", motionA.GetLoopDelayMin(), motionA.GetLoopDelayMax(), motionB.GetLoopDelayMin(),
              motionB.GetLoopDelayMax());
        range("start_position", motionA.GetStartPositionMin(), motionA.GetStartPositionMax(),
              motionB.GetStartPositionMin(), motionB.GetStartPositionMax());
        range("exit_delay", motionA.GetExitDelayMin(), motionA.GetExitDelayMax(), motionB.GetExitDelayMin(),
              motionB.GetExitDelayMax());
        Float("transition_out", motionA.GetTransitionOutTime(), motionB.GetTransitionOutTime());
        Flag("ignore_delays", motionA.GetIgnoreDelays(), motionB.GetIgnoreDelays());
        Flag("ignore_transitions", motionA.GetIgnoreTransitions(), motionB.GetIgnoreTransitions());
        Flag("random_repeat", motionA.GetRandomRepeat(), motionB.GetRandomRepeat());
        Count("random", size_t(motionA.GetRandMotionCount()), size_t(motionB.GetRandMotionCount()));
        for (int n = 0; n < std::min(motionA.GetRandMotionCount(), motionB.GetRandMotionCount()); ++n)
        {
            const RandomMotion& randomA = motionA.GetRandMotion(n);
            const RandomMotion& randomB = motionB.GetRandMotion(n);
            Text("random[" + std::to_string(n) + "]/name", NameText(randomA.name), NameText(randomB.name));
            Float("random[" + std::to_string(n) + "]/weight", randomA.weight, randomB.weight);
        }
        Count("events", size_t(motionA.GetEventCount()), size_t(motionB.GetEventCount()));
        for (int n = 0; n < std::min(motionA.GetEventCount(), motionB.GetEventCount()); ++n)
        {
            const MotionEvent& eventA = motionA.GetEvent(n);
            const MotionEvent& eventB = motionB.GetEvent(n);
            Text("events[" + std::to_string(n) + "]/name", ResourceName(eventA.eventRef.Get()),
                 ResourceName(eventB.eventRef.Get()));
            Float("events[" + std::to_string(n) + "]/time", eventA.time, eventB.time);
        }
        const Modifier* pModifierA = motionA.GetTimingModifier();
        const Modifier* pModifierB = motionB.GetTimingModifier();
        Text("modifier", pModifierA ? NameText(pModifierA->GetName()) : "",
             pModifierB ? NameText(pModifierB->GetName()) : "");
    }
}

std::string ConditionName(const Condition* pCondition)
{
    return pCondition ? NameText(pCondition->GetName()) : "";
}

void Differ::ActionPart(const ActionTree& a, const ActionTree& b)
{
    Scope scope(*this, "actions");
    Count("", size_t(a.GetActionCount()), size_t(b.GetActionCount()));
    for (int i = 0; i < std::min(a.GetActionCount(), b.GetActionCount()) && !Full(); ++i)
    {
        const Action& actionA = *a.GetAction(i);
        const Action& actionB = *b.GetAction(i);
        const std::string nameA = NameText(actionA.GetName()), nameB = NameText(actionB.GetName());
        Scope item(*this, Label(size_t(i), nameA, nameB));
        Text("name", nameA, nameB);
        Count("motions", size_t(actionA.GetMotionCount()), size_t(actionB.GetMotionCount()));
        for (int n = 0; n < std::min(actionA.GetMotionCount(), actionB.GetMotionCount()); ++n)
        {
            const Action::MotionEntry& entryA = actionA.GetMotion(n);
            const Action::MotionEntry& entryB = actionB.GetMotion(n);
            const std::string what = "motions[" + std::to_string(n) + "]";
            Text(what + "/motion", entryA.pMotion ? NameText(entryA.pMotion->GetName()) : "",
                 entryB.pMotion ? NameText(entryB.pMotion->GetName()) : "");
            Value(what + "/condition_type", entryA.conditionType, entryB.conditionType);
            Text(what + "/condition", ConditionName(entryA.pCondition), ConditionName(entryB.pCondition));
        }
        Count("sub_actions", size_t(actionA.GetSubActionCount()), size_t(actionB.GetSubActionCount()));
        for (int n = 0; n < std::min(actionA.GetSubActionCount(), actionB.GetSubActionCount()); ++n)
        {
            const Action::SubActionEntry& entryA = actionA.GetSubAction(n);
            const Action::SubActionEntry& entryB = actionB.GetSubAction(n);
            const std::string what = "sub_actions[" + std::to_string(n) + "]";
            Text(what + "/action", NameText(entryA.name), NameText(entryB.name));
            Value(what + "/condition_type", entryA.conditionType, entryB.conditionType);
            Text(what + "/condition", ConditionName(entryA.pCondition), ConditionName(entryB.pCondition));
        }
    }
}

void Differ::ClausePart(const Clause& a, const Clause& b)
{
    Value("type", a.GetType(), b.GetType());
    Text("variable", NameText(a.GetVariableName()), NameText(b.GetVariableName()));
    Value("comparison", a.GetComparison(), b.GetComparison());
    if (a.GetType() != b.GetType())
        return;
    switch (a.GetType())
    {
    case Clause::VARIABLE_FLOAT:
    {
        float valueA = 0, valueB = 0, defaultA = 0, defaultB = 0;
        a.GetValue(valueA), b.GetValue(valueB), a.GetDefault(defaultA), b.GetDefault(defaultB);
        Float("value", valueA, valueB);
        Float("default", defaultA, defaultB);
        break;
    }
    case Clause::VARIABLE_BOOL:
    {
        bool valueA = false, valueB = false, defaultA = false, defaultB = false;
        a.GetValue(valueA), b.GetValue(valueB), a.GetDefault(defaultA), b.GetDefault(defaultB);
        Flag("value", valueA, valueB);
        Flag("default", defaultA, defaultB);
        break;
    }
    default:
    {
        Name valueA, valueB, defaultA, defaultB;
        a.GetValue(valueA), b.GetValue(valueB), a.GetDefault(defaultA), b.GetDefault(defaultB);
        Text("value", NameText(valueA), NameText(valueB));
        Text("default", NameText(defaultA), NameText(defaultB));
        break;
    }
    }
}

void Differ::ClauseListPart(const std::string& what, const ClauseList& a, const ClauseList& b, bool content)
{
    Scope scope(*this, what);
    Count("", size_t(a.GetClauseCount()), size_t(b.GetClauseCount()));
    for (int i = 0; i < std::min(a.GetClauseCount(), b.GetClauseCount()) && !Full(); ++i)
    {
        const Clause* pA = a.GetClause(i);
        const Clause* pB = b.GetClause(i);
        const std::string nameA = pA ? NameText(pA->GetName()) : "",
                          nameB = pB ? NameText(pB->GetName()) : "";
        Scope item(*this, Label(size_t(i), nameA, nameB));
        Text("name", nameA, nameB);
        if (content && pA && pB)
            ClausePart(*pA, *pB);
    }
}

void Differ::ModifierPart(const ModifierList& a, const ModifierList& b)
{
    Scope scope(*this, "modifiers");
    Count("", size_t(a.GetModifierCount()), size_t(b.GetModifierCount()));
    for (int i = 0; i < std::min(a.GetModifierCount(), b.GetModifierCount()) && !Full(); ++i)
    {
        const Modifier& modifierA = *a.GetModifier(i);
        const Modifier& modifierB = *b.GetModifier(i);
        const std::string nameA = NameText(modifierA.GetName()), nameB = NameText(modifierB.GetName());
        Scope item(*this, Label(size_t(i), nameA, nameB));
        Text("name", nameA, nameB);
        Text("variable", NameText(modifierA.GetVariableName()), NameText(modifierB.GetVariableName()));
        Value("type", modifierA.GetType(), modifierB.GetType());
        Float("reference", modifierA.GetRefValue(), modifierB.GetRefValue());
        Float("clamp", modifierA.GetClampValue(), modifierB.GetClampValue());
    }
}

void Differ::EventPart(const EventList& a, const EventList& b)
{
    Scope scope(*this, "events");
    Count("", size_t(a.GetEventCount()), size_t(b.GetEventCount()));
    for (int i = 0; i < std::min(a.GetEventCount(), b.GetEventCount()) && !Full(); ++i)
    {
        const Inv::Reference<EventData> refA = a.GetEvent(i);
        const Inv::Reference<EventData> refB = b.GetEvent(i);
        const std::string nameA = ResourceName(refA.Get()), nameB = ResourceName(refB.Get());
        Scope item(*this, Label(size_t(i), nameA, nameB));
        Text("name", nameA, nameB);
        const int countA = refA.Get() ? refA->GetParamCount() : 0;
        const int countB = refB.Get() ? refB->GetParamCount() : 0;
        Count("params", size_t(countA), size_t(countB));
        for (int p = 0; p < std::min(countA, countB); ++p)
            Text("params[" + std::to_string(p) + "]",
                 std::string(refA->GetParamName(p)) + " = " + refA->GetParamValue(p),
                 std::string(refB->GetParamName(p)) + " = " + refB->GetParamValue(p));
    }
}
} // namespace

std::vector<ModelDifference> DiffModels(const RenderModel& a, const RenderModel& b,
                                        const ModelDiffOptions& options)
{
    Differ differ(options);
    differ.Model(a, b);
    return differ.Take();
}

std::string FormatDifference(const ModelDifference& difference)
{
    return difference.path + ": " + difference.a + " vs " + difference.b;
}
} // namespace ra
