#include "model/file/gltf/gltfwriter.h"

#include "image/image.h"
#include "model/anim/animlist.h"
#include "model/file/gltf/pngencode.h"
#include "model/mesh/vertexweight.h"
#include "model/rendermodel.h"
#include "model/shader/shader.h"
#include "model/shader/textureimages.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>

namespace gltf
{
namespace
{
using Json = nlohmann::ordered_json;

// Numbers of the format.
constexpr int Float = 5126;
constexpr int UnsignedByte = 5121;
constexpr int UnsignedShort = 5123;
constexpr int ArrayBuffer = 34962;
constexpr int ElementArrayBuffer = 34963;
constexpr int Triangles = 4;
constexpr uint32 GlbMagic = 0x46546C67;     // "glTF"
constexpr uint32 GlbJsonChunk = 0x4E4F534A; // "JSON"
constexpr uint32 GlbBinChunk = 0x004E4942;  // "BIN\0"

const char* Text(ra::Name name)
{
    const char* text = ra::GetNameText(name);
    return text ? text : "";
}

// Game axes to glTF axes: x is mirrored (see gltfwriter.h). Subtracted from 0 so that a 0 stays
// +0 and the text shows no "-0".
ra::Vec3 Point(const ra::Vec3& p)
{
    return {0.0f - p.x, p.y, p.z};
}

// Frames. A bone's, marker's or camera's own axes are its host node's: the exporter turns only the
// world side of a node's matrix into game axes, and x of the frame over to keep it a rotation. In
// glTF a frame is turned as the world is, so that a host node without rotation is a glTF node without
// one (as the import host reads it back): a model-space matrix M is written K * M * S, where K takes
// the frame's (x, y, z) to (-x, -z, y) and S is the mirror of Point.
ra::Matrix34 Frame(const ra::Matrix34& m)
{
    ra::Matrix34 out;
    out.r[0] = -m.r[0];
    out.r[1] = m.r[2];
    out.r[2] = -m.r[1];
    out.r[3] = m.r[3];
    for (ra::Vec3& row : out.r)
        row.x = 0.0f - row.x;
    return out;
}

// A bone's local position and rotation (or a key of them) as its node's. Below a parent both sides
// are frames: K * L * K^-1, whose rotation has the vector part (x, -z, y), improper K turning the
// axis over. A root's parent side is model space: K * L * S, the same rotation followed by the
// quarter turn about x that K * S is.
struct Local
{
    ra::Vec3 position;
    ra::Quat rotation;
};

Local BoneLocal(const ra::Vec3& position, const ra::Quat& rotation, bool root)
{
    const ra::Quat turned(rotation.x, 0.0f - rotation.z, rotation.y, rotation.w);
    if (!root)
        return {{0.0f - position.x, position.z, 0.0f - position.y}, ra::Normalize(turned)};
    static const ra::Quat s_quarterX = ra::QuatFromAxisAngle({1, 0, 0}, 1.5707963267948966f);
    return {Point(position), ra::Normalize(ra::Concatenate(turned, s_quarterX))};
}

Json Array(const ra::Vec3& v)
{
    return Json::array({v.x, v.y, v.z});
}

Json Array(const ra::Quat& q)
{
    return Json::array({q.x, q.y, q.z, q.w});
}

// A node's translation, rotation and scale from a matrix of rows that may carry scale.
void SetTransform(Json& node, const ra::Matrix34& m)
{
    const ra::Vec3 scale(m.r[0].Length(), m.r[1].Length(), m.r[2].Length());
    if (m.r[3] != ra::Vec3())
        node["translation"] = Array(m.r[3]);
    const ra::Quat q = ra::Normalize(ra::QuatFromMatrix(m));
    if (q != ra::Quat())
        node["rotation"] = Array(q);
    const auto near1 = [](float f) { return std::fabs(f - 1.0f) < 1e-5f; };
    if (!near1(scale.x) || !near1(scale.y) || !near1(scale.z))
        node["scale"] = Array(scale);
}

float ChannelByte(uint32 colour, int shift)
{
    return float((colour >> shift) & 0xFF) / 255.0f;
}

// The JSON and the one buffer as they grow.
class Builder
{
public:
    Json doc = Json::object();
    std::vector<uint8> bin;

    int AddView(const void* data, size_t size, int target)
    {
        while (bin.size() % 4 != 0)
            bin.push_back(0);
        Json view = {{"buffer", 0}, {"byteOffset", bin.size()}, {"byteLength", size}};
        if (target != 0)
            view["target"] = target;
        const auto* bytes = static_cast<const uint8*>(data);
        bin.insert(bin.end(), bytes, bytes + size);
        return Append("bufferViews", std::move(view));
    }

    // `count` elements of `components` floats each, with min and max when asked.
    int AddFloats(const std::vector<float>& values, int components, const char* type, int target, bool bounds)
    {
        const size_t count = values.size() / size_t(components);
        Json accessor = {{"bufferView", AddView(values.data(), values.size() * sizeof(float), target)},
                         {"componentType", Float},
                         {"count", count},
                         {"type", type}};
        if (bounds)
        {
            Json minimum = Json::array(), maximum = Json::array();
            for (int c = 0; c < components; ++c)
            {
                float lo = std::numeric_limits<float>::max(), hi = std::numeric_limits<float>::lowest();
                for (size_t i = 0; i < count; ++i)
                {
                    lo = std::min(lo, values[i * size_t(components) + size_t(c)]);
                    hi = std::max(hi, values[i * size_t(components) + size_t(c)]);
                }
                minimum.push_back(lo);
                maximum.push_back(hi);
            }
            accessor["min"] = minimum;
            accessor["max"] = maximum;
        }
        return Append("accessors", std::move(accessor));
    }

    template <class T>
    int AddIntegers(const std::vector<T>& values, int componentType, const char* type, size_t count,
                    int target)
    {
        Json accessor = {{"bufferView", AddView(values.data(), values.size() * sizeof(T), target)},
                         {"componentType", componentType},
                         {"count", count},
                         {"type", type}};
        return Append("accessors", std::move(accessor));
    }

    int Append(const char* list, Json item)
    {
        Json& array = doc[list];
        if (!array.is_array())
            array = Json::array();
        array.push_back(std::move(item));
        return int(array.size()) - 1;
    }
};

class ModelWriter
{
public:
    ModelWriter(const RenderModel& model, Document& out) : m_model(model), m_out(out) {}

    bool Run(std::string& error)
    {
        m_b.doc["asset"] = {{"version", "2.0"}, {"generator", "tq7z model export-gltf"}};
        if (!WriteSkeleton(error))
            return false;
        if (const ra::MeshGroup* pGroup = m_model.GetMeshGroup())
            for (int32 i = 0; i < pGroup->GetMeshCount(); ++i)
                if (!WriteMesh(*pGroup, i, error))
                    return false;
        WriteMarkers();
        WriteCameras();
        WriteAnimations();
        for (size_t b = 0; b < m_cBoneChildren.size(); ++b)
            if (!m_cBoneChildren[b].empty())
                m_b.doc["nodes"][b]["children"] = m_cBoneChildren[b];
        const char* name = m_model.Inv::NamedResource::GetName();
        Json scene = {{"nodes", m_cRootNode}};
        if (name && *name)
            scene["name"] = name;
        m_b.doc["scene"] = 0;
        m_b.doc["scenes"] = Json::array({scene});
        return true;
    }

    Builder& GetBuilder() { return m_b; }

private:
    void Warn(std::string text) { m_out.cWarning.push_back(std::move(text)); }

    int AddNode(Json node, int parentBone)
    {
        const int index = m_b.Append("nodes", std::move(node));
        if (parentBone >= 0)
            m_cBoneChildren[size_t(parentBone)].push_back(index);
        else
            m_cRootNode.push_back(index);
        return index;
    }

    bool IsBone(int32 index) const { return index >= 0 && size_t(index) < m_cBoneWorld.size(); }

    // Bones are nodes 0 to n - 1 in skeleton order, each with its local position and rotation;
    // one skin holds them all, its inverse bind matrices from the reference pose.
    bool WriteSkeleton(std::string& error)
    {
        const Skeleton* pSkeleton = m_model.GetSkeleton();
        const int32 count = pSkeleton ? pSkeleton->GetBoneCount() : 0;
        m_cBoneWorld.resize(size_t(count));
        m_cBoneChildren.resize(size_t(count));
        if (count == 0)
            return true;
        std::vector<float> cInverse;
        for (int32 b = 0; b < count; ++b)
        {
            const Bone* pBone = pSkeleton->GetBone(b);
            const int32 parent = pBone->GetParentIndex();
            if (parent >= b)
            {
                error = std::string("bone '") + Text(pBone->GetName()) + "' comes before its parent '" +
                        Text(pSkeleton->GetBone(parent)->GetName()) + "'";
                return false;
            }
            // Built here as the skeleton's reference pose is, from the local values the nodes carry.
            ra::Matrix34 world = ra::MatrixFromQuatPos(pBone->GetRotation(), pBone->GetPosition());
            if (parent >= 0)
                world = world * m_cBoneWorld[size_t(parent)];
            m_cBoneWorld[size_t(b)] = world;
            Json node = {{"name", Text(pBone->GetName())}};
            const Local local = BoneLocal(pBone->GetPosition(), pBone->GetRotation(), parent < 0);
            if (local.position != ra::Vec3())
                node["translation"] = Array(local.position);
            if (local.rotation != ra::Quat())
                node["rotation"] = Array(local.rotation);
            m_b.Append("nodes", std::move(node));
            if (parent < 0)
                m_cRootNode.push_back(b);
            else
                m_cBoneChildren[size_t(parent)].push_back(b);
            // Column-major 4x4 of column vectors: the rows of the row-vector matrix, each closed by
            // 0 (or 1 for the translation).
            const ra::Matrix34 inverse = ra::Inverse(Frame(world));
            for (int r = 0; r < 4; ++r)
                cInverse.insert(cInverse.end(),
                                {inverse.r[r].x, inverse.r[r].y, inverse.r[r].z, r == 3 ? 1.0f : 0.0f});
        }
        Json joints = Json::array();
        for (int32 b = 0; b < count; ++b)
            joints.push_back(b);
        m_b.Append("skins", {{"inverseBindMatrices", m_b.AddFloats(cInverse, 16, "MAT4", 0, false)},
                             {"joints", joints}});
        return true;
    }

    // The material of a shader, made once: the diffuse channel's colour and texture, and the blend
    // as the alpha mode (blended, alpha-tested, opaque).
    int MaterialOf(const Shader* pShader)
    {
        auto found = m_cMaterial.find(pShader);
        if (found != m_cMaterial.end())
            return found->second;
        Json material = {{"name", Text(pShader->GetName())}};
        const int32 method = pShader->GetMethod(Shader::CN_Diffuse);
        const uint32 colour =
            method == Shader::Method_Texture ? 0xFFFFFFFF : pShader->GetColour(Shader::CN_Diffuse);
        const float opacity = ChannelByte(pShader->GetColour(Shader::CN_Opacity), 24);
        Json pbr = {
            {"baseColorFactor", Json::array({ChannelByte(colour, 0), ChannelByte(colour, 8),
                                             ChannelByte(colour, 16), ChannelByte(colour, 24) * opacity})},
            {"metallicFactor", 0.0},
            {"roughnessFactor", 1.0}};
        if (method != Shader::Method_Colour)
            if (const Texture* pTexture = pShader->GetTexture(Shader::CN_Diffuse).Get())
            {
                const int texture = TextureOf(*pTexture);
                if (texture >= 0)
                    pbr["baseColorTexture"] = {{"index", texture}};
            }
        material["pbrMetallicRoughness"] = pbr;
        int32 source = 0, destination = 0;
        pShader->GetBlend(source, destination);
        if (source == Shader::Blend_SrcAlpha && destination == Shader::Blend_InvSrcAlpha)
            material["alphaMode"] = "BLEND";
        else if (pShader->GetAlphaRef() > 1)
        {
            material["alphaMode"] = "MASK";
            material["alphaCutoff"] = float(pShader->GetAlphaRef()) / 255.0f;
        }
        const int index = m_b.Append("materials", std::move(material));
        m_cMaterial[pShader] = index;
        return index;
    }

    // The texture of a model texture, its top level as a PNG image in the buffer; -1, with a
    // warning, when it has no pixels to give.
    int TextureOf(const Texture& texture)
    {
        auto found = m_cTexture.find(&texture);
        if (found != m_cTexture.end())
            return found->second;
        int index = -1;
        const char* name = texture.GetName() ? texture.GetName() : "";
        std::string reason = "it has no render texture";
        if (const fr::Texture* pRender = texture.GetTexture())
        {
            std::vector<std::unique_ptr<Image>> cImage = TextureImages::ConvertToImages(*pRender, name);
            std::vector<uint8> png;
            if (cImage.empty() || !cImage[0])
                reason = "its levels cannot be read";
            else if (EncodePng(*cImage[0], true, png, reason))
            {
                if (m_sampler < 0)
                    m_sampler = m_b.Append("samplers", {{"magFilter", 9729}, {"minFilter", 9987}});
                const int view = m_b.AddView(png.data(), png.size(), 0);
                const int image =
                    m_b.Append("images", {{"name", name}, {"bufferView", view}, {"mimeType", "image/png"}});
                index = m_b.Append("textures", {{"sampler", m_sampler}, {"source", image}});
            }
        }
        if (index < 0)
            Warn(std::string("texture '") + name + "' left out: " + reason);
        m_cTexture[&texture] = index;
        return index;
    }

    // The triangles of one primitive set, wound for glTF; false when an index lies past the vertices.
    bool ReadTriangles(const fr::PrimSet& primSet, uint32 vertexCount, std::vector<uint16>& cOut,
                       std::string& problem)
    {
        uint32 start = 0, count = 0;
        primSet.GetRange(start, count);
        std::vector<uint16> cIndex(count);
        if (count == 0 || !primSet.ReadIndices(start, count, cIndex))
            return true;
        for (uint16 index : cIndex)
            if (index >= vertexCount)
            {
                problem = "index " + std::to_string(index) + " out of range (the mesh has " +
                          std::to_string(vertexCount) + " vertices)";
                return false;
            }
        // The mirror of the axes turns the winding over: each triangle is written a, c, b.
        const auto add = [&cOut](uint16 a, uint16 b, uint16 c)
        {
            if (a != b && b != c && a != c)
                cOut.insert(cOut.end(), {a, c, b});
        };
        if (primSet.GetKind() == fr::PK_TriangleList)
            for (size_t i = 0; i + 2 < cIndex.size(); i += 3)
                add(cIndex[i], cIndex[i + 1], cIndex[i + 2]);
        else if (primSet.GetKind() == fr::PK_TriangleStrip)
            for (size_t i = 0; i + 2 < cIndex.size(); ++i)
                if (i % 2 == 0)
                    add(cIndex[i], cIndex[i + 1], cIndex[i + 2]);
                else
                    add(cIndex[i + 1], cIndex[i], cIndex[i + 2]);
        else
            problem = "a primitive set of points or lines is left out";
        return true;
    }

    std::vector<float> ReadFloats(fr::VertexSet& set, uint32 component)
    {
        std::vector<uint32> cWord;
        std::vector<float> cFloat;
        if (!ra::ReadStreamWords(set, component, cWord))
            return cFloat;
        cFloat.resize(cWord.size());
        std::memcpy(cFloat.data(), cWord.data(), cWord.size() * sizeof(float));
        return cFloat;
    }

    // JOINTS_0 and WEIGHTS_0 from the packed weights: each slot through the mesh's skin to its
    // bone, the fourth weight the rest of 1. Slots without weight point at joint 0.
    bool WriteSkin(const ra::MeshRef& ref, fr::VertexSet& set, Json& attributes, std::string& problem)
    {
        std::array<int32, 256> cBoneOfSlot;
        cBoneOfSlot.fill(-1);
        for (const auto& [slot, bone] : ref.skinnedTransforms)
            if (slot >= 0 && slot < 256 && IsBone(bone))
                cBoneOfSlot[size_t(slot)] = bone;
        std::vector<uint32> cWord;
        if (!ra::ReadStreamWords(set, fr::VC_Weights, cWord))
            return true;
        const size_t count = cWord.size() / 4;
        std::vector<uint16> cJoint(count * 4, 0);
        std::vector<float> cWeight(count * 4, 0.0f);
        for (size_t v = 0; v < count; ++v)
        {
            float weight[4];
            std::memcpy(weight, &cWord[v * 4], 3 * sizeof(float));
            weight[3] = 1.0f - (weight[0] + weight[1] + weight[2]);
            uint8 slot[4];
            std::memcpy(slot, &cWord[v * 4 + 3], 4);
            float sum = 0.0f;
            for (size_t k = 0; k < 4; ++k)
            {
                if (!(weight[k] > 1e-6f) || slot[k] == VertexWeight::NoBone)
                    continue;
                const int32 bone = cBoneOfSlot[slot[k]];
                if (bone < 0)
                {
                    problem = "vertex " + std::to_string(v) + " is weighted to skin slot " +
                              std::to_string(slot[k]) + ", which names no bone of the skeleton";
                    return false;
                }
                cJoint[v * 4 + k] = uint16(bone);
                cWeight[v * 4 + k] = std::min(weight[k], 1.0f);
                sum += cWeight[v * 4 + k];
            }
            if (sum <= 0.0f)
            {
                // A vertex that nothing moves stays with the first bone of the mesh's skin.
                cWeight[v * 4] = 1.0f;
                cJoint[v * 4] =
                    uint16(std::max(ref.skinnedTransforms.empty() ? 0 : ref.skinnedTransforms[0].second, 0));
                continue;
            }
            for (size_t k = 0; k < 4; ++k)
                cWeight[v * 4 + k] /= sum;
        }
        if (m_cBoneWorld.size() <= 256)
        {
            std::vector<uint8> cByte(cJoint.begin(), cJoint.end());
            attributes["JOINTS_0"] = m_b.AddIntegers(cByte, UnsignedByte, "VEC4", count, ArrayBuffer);
        }
        else
            attributes["JOINTS_0"] = m_b.AddIntegers(cJoint, UnsignedShort, "VEC4", count, ArrayBuffer);
        attributes["WEIGHTS_0"] = m_b.AddFloats(cWeight, 4, "VEC4", ArrayBuffer, false);
        return true;
    }

    bool WriteMesh(const ra::MeshGroup& group, int32 index, std::string& error)
    {
        const ra::MeshRef& ref = group.GetMeshRef(index);
        const ra::Mesh* pMesh = ref.mesh.Get();
        const std::string name = Text(ref.name);
        fr::VertexSet* pSet = pMesh ? pMesh->GetVertexSet(ra::Mesh::Poly_High) : nullptr;
        if (pSet == nullptr || pSet->GetSize() == 0)
        {
            Warn("mesh '" + name + "' left out: it has no vertices");
            return true;
        }
        const uint32 vertexCount = pSet->GetSize();
        Json attributes = Json::object();
        std::vector<float> cPosition = ReadFloats(*pSet, fr::VC_Position);
        if (cPosition.size() != size_t(vertexCount) * 3)
        {
            Warn("mesh '" + name + "' left out: it has no positions");
            return true;
        }
        for (size_t v = 0; v < vertexCount; ++v)
            cPosition[v * 3] = 0.0f - cPosition[v * 3];
        attributes["POSITION"] = m_b.AddFloats(cPosition, 3, "VEC3", ArrayBuffer, true);
        std::vector<float> cNormal = ReadFloats(*pSet, fr::VC_Normal);
        if (cNormal.size() == size_t(vertexCount) * 3)
        {
            for (size_t v = 0; v < vertexCount; ++v)
            {
                ra::Vec3 n(0.0f - cNormal[v * 3], cNormal[v * 3 + 1], cNormal[v * 3 + 2]);
                n = n.LengthSquared() > 1e-12f ? ra::Normalize(n) : ra::Vec3(0, 1, 0);
                cNormal[v * 3] = n.x, cNormal[v * 3 + 1] = n.y, cNormal[v * 3 + 2] = n.z;
            }
            attributes["NORMAL"] = m_b.AddFloats(cNormal, 3, "VEC3", ArrayBuffer, false);
        }
        for (uint32 set = 0; set < 4; ++set)
        {
            std::vector<float> cUV = ReadFloats(*pSet, fr::VC_TexCoord0 + set);
            if (cUV.size() != size_t(vertexCount) * 2)
                continue;
            for (size_t v = 0; v < vertexCount; ++v)
                cUV[v * 2 + 1] = 1.0f - cUV[v * 2 + 1];
            attributes["TEXCOORD_" + std::to_string(set)] = m_b.AddFloats(cUV, 2, "VEC2", ArrayBuffer, false);
        }
        const bool skinned = pMesh->GetSkinnedTransformCount() > 0 && pSet->IsStreamEnabled(fr::VC_Weights) &&
                             !m_cBoneWorld.empty();
        std::string problem;
        if (skinned && !WriteSkin(ref, *pSet, attributes, problem))
        {
            error = "mesh '" + name + "': " + problem;
            return false;
        }

        Json primitives = Json::array();
        for (int32 p = 0; p < pMesh->GetPrimSetCount(); ++p)
        {
            const fr::PrimSet* pPrimSet = pMesh->GetPrimSet(p, ra::Mesh::Poly_High);
            if (pPrimSet == nullptr)
                continue;
            std::vector<uint16> cTriangle;
            problem.clear();
            if (!ReadTriangles(*pPrimSet, vertexCount, cTriangle, problem))
            {
                error = "mesh '" + name + "': " + problem;
                return false;
            }
            if (!problem.empty())
                Warn("mesh '" + name + "': " + problem);
            if (cTriangle.empty())
                continue;
            Json primitive = {{"attributes", attributes},
                              {"indices", m_b.AddIntegers(cTriangle, UnsignedShort, "SCALAR",
                                                          cTriangle.size(), ElementArrayBuffer)},
                              {"mode", Triangles}};
            if (const Shader* pShader = pMesh->GetPrimSetShader(p).Get())
                primitive["material"] = MaterialOf(pShader);
            primitives.push_back(std::move(primitive));
        }
        if (primitives.empty())
        {
            Warn("mesh '" + name + "' left out: it has no triangles");
            return true;
        }
        const int mesh = m_b.Append("meshes", {{"name", name}, {"primitives", primitives}});
        Json node = {{"name", name}, {"mesh", mesh}};
        if (skinned && attributes.contains("JOINTS_0"))
        {
            // A skinned mesh's node is a root: its vertices go through the joints alone.
            node["skin"] = 0;
            AddNode(std::move(node), -1);
        }
        else if (IsBone(ref.boneIndex))
        {
            // A rigid mesh follows its bone: stored in the model's space of the reference pose, it
            // hangs under the bone by the bone's inverse reference matrix.
            SetTransform(node, ra::Inverse(Frame(m_cBoneWorld[size_t(ref.boneIndex)])));
            AddNode(std::move(node), ref.boneIndex);
        }
        else
            AddNode(std::move(node), -1);
        return true;
    }

    void WriteMarkers()
    {
        for (int32 i = 0; i < m_model.GetCMarkerCount(); ++i)
        {
            const Marker& marker = m_model.GetCMarker(i);
            Json node = {{"name", Text(marker.name)}};
            if (IsBone(marker.parentIndex))
            {
                const ra::Matrix34& bone = m_cBoneWorld[size_t(marker.parentIndex)];
                SetTransform(node, Frame(marker.transform * bone) * ra::Inverse(Frame(bone)));
                AddNode(std::move(node), marker.parentIndex);
            }
            else
            {
                SetTransform(node, Frame(marker.transform));
                AddNode(std::move(node), -1);
            }
        }
    }

    // A glTF camera looks along its -z with y up: built from the position and the target.
    void WriteCameras()
    {
        for (int32 i = 0; i < m_model.GetCCameraCount(); ++i)
        {
            const RenderModelCamera& camera = m_model.GetCCamera(i);
            const float zNear = std::max(camera.nearClip, 1e-4f);
            const float zFar = std::max(camera.farClip, zNear * 2.0f);
            const int index = m_b.Append(
                "cameras",
                {{"name", Text(camera.name)},
                 {"type", "perspective"},
                 {"perspective",
                  {{"yfov", camera.fov > 0.0f ? camera.fov : 1.0f}, {"znear", zNear}, {"zfar", zFar}}}});
            const ra::Vec3 position = Point(camera.position);
            ra::Vec3 back = position - Point(camera.target);
            Json node = {{"name", Text(camera.name)}, {"camera", index}};
            if (back.LengthSquared() > 1e-12f)
            {
                ra::Matrix34 frame;
                frame.r[2] = ra::Normalize(back);
                ra::Vec3 side = ra::Cross(ra::Vec3(0, 1, 0), frame.r[2]);
                if (side.LengthSquared() < 1e-8f)
                    side = ra::Cross(ra::Vec3(0, 0, -1), frame.r[2]);
                frame.r[0] = ra::Normalize(side);
                frame.r[1] = ra::Cross(frame.r[2], frame.r[0]);
                frame.r[3] = position;
                SetTransform(node, frame);
            }
            else if (position != ra::Vec3())
                node["translation"] = Array(position);
            AddNode(std::move(node), -1);
        }
    }

    // One sampler of a stream: times in seconds, strictly rising as glTF wants (a key at the time
    // of the one before it is dropped). `length` is the time from the first frame to the last.
    template <class StreamT, class Convert>
    void AddChannel(Json& animation, const StreamT& stream, float length, int node, const char* path,
                    int components, const char* type, const Convert& convert)
    {
        std::vector<float> cTime, cValue;
        for (uint32 k = 0; k < stream.GetKeyCount(); ++k)
        {
            const float time = std::clamp(stream.GetKeyTime(k), 0.0f, 1.0f) * length;
            if (!cTime.empty() && !(time > cTime.back()))
                continue;
            cTime.push_back(time);
            convert(stream.GetKeyValue(k), cValue);
        }
        if (cTime.empty() || cValue.size() != cTime.size() * size_t(components))
            return;
        Json& samplers = animation["samplers"];
        samplers.push_back({{"input", m_b.AddFloats(cTime, 1, "SCALAR", 0, true)},
                            {"output", m_b.AddFloats(cValue, components, type, 0, false)},
                            {"interpolation", "LINEAR"}});
        animation["channels"].push_back(
            {{"sampler", samplers.size() - 1}, {"target", {{"node", node}, {"path", path}}}});
    }

    void WriteAnimations()
    {
        const AnimList* pList = m_model.GetAnimList();
        for (int i = 0; pList && i < pList->GetAnimCount(); ++i)
        {
            const AnimListNode* pNode = pList->GetAnimNode(i);
            const Anim* pAnim = pNode ? pNode->GetAnim().Get() : nullptr;
            if (pAnim == nullptr)
                continue;
            const std::string name = Text(pAnim->GetName());
            Json animation = {{"name", name}, {"samplers", Json::array()}, {"channels", Json::array()}};
            // Key times run from the first frame (0) to the last (1), and an animation's length holds
            // one frame more: the last frame's own. Frame k of the source comes at k / frame rate.
            const int32 frames = pAnim->GetFrameCount();
            const float length =
                frames > 1 ? pAnim->GetTime() * float(frames - 1) / float(frames) : pAnim->GetTime();
            for (size_t b = 0; length > 0.0f && b < m_cBoneWorld.size() && b < pNode->GetBoneMappingCount();
                 ++b)
            {
                const int32 stream = pNode->GetBoneMapping(int(b));
                if (stream < 0 || stream >= pAnim->GetBoneCount())
                    continue;
                const bool root = m_model.GetSkeleton()->GetBone(int32(b))->GetParentIndex() < 0;
                if (const BonePositionStream* pPosition = pAnim->GetPositionStream(stream))
                    AddChannel(animation, *pPosition, length, int(b), "translation", 3, "VEC3",
                               [root](const ra::Vec3& p, std::vector<float>& c)
                               {
                                   const ra::Vec3 g = BoneLocal(p, ra::Quat(), root).position;
                                   c.insert(c.end(), {g.x, g.y, g.z});
                               });
                if (const BoneRotationStream* pRotation = pAnim->GetRotationStream(stream))
                    AddChannel(animation, *pRotation, length, int(b), "rotation", 4, "VEC4",
                               [root](const ra::Quat& q, std::vector<float>& c)
                               {
                                   const ra::Quat g = BoneLocal(ra::Vec3(), q, root).rotation;
                                   c.insert(c.end(), {g.x, g.y, g.z, g.w});
                               });
            }
            if (animation["channels"].empty())
                Warn("animation '" + name + "' left out: it moves no bone");
            else
                m_b.Append("animations", std::move(animation));
        }
    }

    const RenderModel& m_model;
    Document& m_out;
    Builder m_b;
    std::vector<ra::Matrix34> m_cBoneWorld;
    std::vector<std::vector<int>> m_cBoneChildren;
    std::vector<int> m_cRootNode;
    std::map<const Shader*, int> m_cMaterial;
    std::map<const Texture*, int> m_cTexture;
    int m_sampler = -1;
};

void AppendWord(std::vector<uint8>& out, uint32 word)
{
    for (int shift = 0; shift < 32; shift += 8)
        out.push_back(uint8(word >> shift));
}
} // namespace

std::string Base64(const uint8* data, size_t size)
{
    static const char s_digit[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((size + 2) / 3 * 4);
    for (size_t i = 0; i < size; i += 3)
    {
        const size_t left = size - i;
        const uint32 group = uint32(data[i]) << 16 | (left > 1 ? uint32(data[i + 1]) << 8 : 0) |
                             (left > 2 ? uint32(data[i + 2]) : 0);
        text += s_digit[(group >> 18) & 63];
        text += s_digit[(group >> 12) & 63];
        text += left > 1 ? s_digit[(group >> 6) & 63] : '=';
        text += left > 2 ? s_digit[group & 63] : '=';
    }
    return text;
}

bool Write(const RenderModel& model, const WriteOptions& options, Document& out, std::string& error)
{
    out = Document();
    ModelWriter writer(model, out);
    if (!writer.Run(error))
        return false;
    Builder& b = writer.GetBuilder();
    while (b.bin.size() % 4 != 0)
        b.bin.push_back(0);
    if (!b.bin.empty())
    {
        Json buffer = {{"byteLength", b.bin.size()}};
        if (!options.binary)
            buffer["uri"] = options.bufferUri.empty()
                                ? "data:application/octet-stream;base64," + Base64(b.bin.data(), b.bin.size())
                                : options.bufferUri;
        b.doc["buffers"] = Json::array({buffer});
    }
    std::string json = b.doc.dump(options.binary ? -1 : 1);
    if (!options.binary)
    {
        json += '\n';
        out.file.assign(json.begin(), json.end());
        if (!options.bufferUri.empty())
            out.buffer = std::move(b.bin);
        return true;
    }
    // Header, the JSON chunk padded with spaces, the buffer chunk (already a multiple of 4).
    while (json.size() % 4 != 0)
        json += ' ';
    const size_t total = 12 + 8 + json.size() + (b.bin.empty() ? 0 : 8 + b.bin.size());
    if (total > std::numeric_limits<uint32>::max())
    {
        error = "the model is too large for a .glb file (" + std::to_string(total) + " bytes)";
        return false;
    }
    out.file.reserve(total);
    AppendWord(out.file, GlbMagic);
    AppendWord(out.file, 2);
    AppendWord(out.file, uint32(total));
    AppendWord(out.file, uint32(json.size()));
    AppendWord(out.file, GlbJsonChunk);
    out.file.insert(out.file.end(), json.begin(), json.end());
    if (!b.bin.empty())
    {
        AppendWord(out.file, uint32(b.bin.size()));
        AppendWord(out.file, GlbBinChunk);
        out.file.insert(out.file.end(), b.bin.begin(), b.bin.end());
    }
    return true;
}
} // namespace gltf
