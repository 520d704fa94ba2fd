// The import host: the file is read by the import library, its node tree sampled frame by frame,
// and every node written into the scene description in the order of the tree, parents first.
#include "importhost/importer.h"

#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <strings.h>

namespace importhost
{
namespace
{
// The node user properties the exporter knows: taken from any file's metadata. Other metadata
// keys are taken from every file but FBX, whose metadata also lists the package's own node
// settings.
const char* const s_knownProperties[] = {
    "Remove",         "Stale",         "Inactive",      "ForceLocal",
    "ForceInvisible", "ForceSkinning", "MeshMinDetail", "No_Child_Selection"};

// Frames past this are taken for a broken time scale, not an animation.
constexpr double MostFrames = 1000000.0;

const char* const s_extensions[] = {".fbx", ".gltf", ".glb", ".dae", ".obj"};

std::string Extension(const std::string& fileName)
{
    return std::filesystem::path(fileName).extension().string();
}

// The value of a channel's keys at `tick`: the end values outside them, `mix` between two.
template <class Key, class Value, class Mix>
Value Sample(const Key* pKey, unsigned count, double tick, const Value& fallback, Mix mix)
{
    if (count == 0 || pKey == nullptr)
        return fallback;
    if (tick <= pKey[0].mTime)
        return pKey[0].mValue;
    if (tick >= pKey[count - 1].mTime)
        return pKey[count - 1].mValue;
    const Key* pNext =
        std::upper_bound(pKey, pKey + count, tick, [](double t, const Key& k) { return t < k.mTime; });
    const Key* pPrev = pNext - 1;
    const double span = pNext->mTime - pPrev->mTime;
    return mix(pPrev->mValue, pNext->mValue, span > 0 ? float((tick - pPrev->mTime) / span) : 0.0f);
}

aiVector3D Lerp(const aiVector3D& a, const aiVector3D& b, float f)
{
    return a + (b - a) * f;
}

aiQuaternion Slerp(const aiQuaternion& a, const aiQuaternion& b, float f)
{
    aiQuaternion q;
    aiQuaternion::Interpolate(q, a, b, f);
    return q.Normalize();
}

// The camera's or light's own frame in its node: the host's look down -z with y up, as the
// import library's default.
aiMatrix4x4 ViewFrame(const aiVector3D& position, aiVector3D look, aiVector3D up)
{
    if (look.SquareLength() == 0.0f)
        look = aiVector3D(0, 0, -1);
    const aiVector3D z = -look.Normalize();
    aiVector3D y = up - z * (up * z);
    if (y.SquareLength() == 0.0f)
        y = std::fabs(z.y) < 0.9f ? aiVector3D(0, 1, 0) : aiVector3D(1, 0, 0);
    y.Normalize();
    const aiVector3D x = y ^ z;
    return aiMatrix4x4(x.x, y.x, z.x, position.x, x.y, y.y, z.y, position.y, x.z, y.z, z.z, position.z, 0, 0,
                       0, 1);
}

bool SameMatrix(const aiMatrix4x4& a, const aiMatrix4x4& b)
{
    return std::memcmp(&a, &b, sizeof(aiMatrix4x4)) == 0;
}
} // namespace

json Number(float value)
{
    if (value == std::trunc(value) && std::fabs(value) < 1e9f)
        return json(int64_t(value));
    char text[32];
    const auto written = std::to_chars(text, text + sizeof(text), value);
    double d = 0;
    std::from_chars(text, written.ptr, d);
    return json(d);
}

json HostRows(const aiMatrix4x4& m)
{
    return json::array({json::array({Number(m.a1), Number(m.b1), Number(m.c1)}),
                        json::array({Number(m.a2), Number(m.b2), Number(m.c2)}),
                        json::array({Number(m.a3), Number(m.b3), Number(m.c3)}),
                        json::array({Number(m.a4), Number(m.b4), Number(m.c4)})});
}

Importer::Importer(const aiScene& scene, const std::string& fileName, const ImportOptions& options,
                   ImportResult& result)
    : m_scene(scene), m_fileName(fileName), m_options(options), m_result(result)
{
    m_fileFolder = std::filesystem::absolute(fileName).parent_path().lexically_normal().string();
    m_documentFolder = options.documentFolder.empty()
                           ? m_fileFolder
                           : std::filesystem::absolute(options.documentFolder).lexically_normal().string();
    const std::string extension = Extension(fileName);
    m_fbx = strcasecmp(extension.c_str(), ".fbx") == 0;
    m_gltf = strcasecmp(extension.c_str(), ".gltf") == 0 || strcasecmp(extension.c_str(), ".glb") == 0;
}

void Importer::Fail(const std::string& what) const
{
    throw scene::SceneError(m_fileName + ": " + what);
}

void Importer::Warn(const std::string& what)
{
    m_result.cWarning.push_back(m_fileName + ": " + what);
}

json Importer::CheckedNumber(float value, const std::string& where) const
{
    if (!std::isfinite(value))
        Fail(where + ": not a finite number");
    return Number(value);
}

// Host = axis * file. The file names the axis that points right, up and to the front; the host's
// right is +x, its up +z and its front -y. Without those, the file is y up (glTF, OBJ; the import
// library brings COLLADA to y up itself).
void Importer::ReadAxes()
{
    int axis[3] = {0, 1, 2};
    int sign[3] = {1, 1, 1};
    if (const aiMetadata* pMeta = m_scene.mMetaData)
    {
        const char* const keys[3][2] = {
            {"CoordAxis", "CoordAxisSign"}, {"UpAxis", "UpAxisSign"}, {"FrontAxis", "FrontAxisSign"}};
        int read[3] = {0, 1, 2};
        int readSign[3] = {1, 1, 1};
        bool complete = true;
        for (int i = 0; i < 3; ++i)
        {
            int32_t a = 0, s = 0;
            complete = complete && pMeta->Get(keys[i][0], a) && pMeta->Get(keys[i][1], s);
            read[i] = a;
            readSign[i] = s < 0 ? -1 : 1;
        }
        const bool distinct = read[0] != read[1] && read[1] != read[2] && read[0] != read[2];
        const bool inRange = std::all_of(read, read + 3, [](int a) { return a >= 0 && a <= 2; });
        if (complete && distinct && inRange)
        {
            std::copy(read, read + 3, axis);
            std::copy(readSign, readSign + 3, sign);
        }
        else if (complete)
            Warn("the file's axes are not three distinct axes; taken as y up");
    }
    const aiVector3D hostAxis[3] = {aiVector3D(1, 0, 0), aiVector3D(0, 0, 1), aiVector3D(0, -1, 0)};
    aiMatrix3x3 c(0, 0, 0, 0, 0, 0, 0, 0, 0);
    for (int i = 0; i < 3; ++i)
    {
        const aiVector3D column = hostAxis[i] * float(sign[i]);
        c[0][axis[i]] = column.x;
        c[1][axis[i]] = column.y;
        c[2][axis[i]] = column.z;
    }
    m_axis = c;
    m_axis4 = aiMatrix4x4(c);
    m_axisInverse4 = aiMatrix4x4(aiMatrix3x3(c).Transpose());
}

void Importer::ChooseAnimation()
{
    if (m_scene.mNumAnimations == 0)
        return;
    const int chosen = m_options.animation;
    if (chosen < 0 || unsigned(chosen) >= m_scene.mNumAnimations)
        Fail("there is no animation " + std::to_string(chosen) + " (the file has " +
             std::to_string(m_scene.mNumAnimations) + ")");
    if (m_scene.mNumAnimations > 1)
        Warn("the file has " + std::to_string(m_scene.mNumAnimations) + " animations; animation " +
             std::to_string(chosen) + " ('" + m_scene.mAnimations[chosen]->mName.C_Str() +
             "') is the scene's");
    m_pAnimation = m_scene.mAnimations[chosen];
    for (unsigned i = 0; i < m_pAnimation->mNumChannels; ++i)
        if (const aiNodeAnim* pChannel = m_pAnimation->mChannels[i])
            m_cChannel.emplace(pChannel->mNodeName.C_Str(), pChannel);
    double ticksPerSecond = m_pAnimation->mTicksPerSecond;
    if (!(ticksPerSecond > 0))
    {
        ticksPerSecond = 25.0;
        Warn("the animation gives no time scale; taken as 25 ticks a second");
    }
    const double frames = m_pAnimation->mDuration / ticksPerSecond * m_options.frameRate;
    if (!(frames >= 0 && frames <= MostFrames))
        Fail("the animation's length of " + std::to_string(m_pAnimation->mDuration) + " ticks at " +
             std::to_string(ticksPerSecond) + " a second is out of range");
    // A last key a rounding error past a frame does not add a frame.
    m_lastFrame = int(std::ceil(frames - 1e-4));
}

// World transforms of the node, per frame when it or a node above it moves.
void Importer::SampleNode(const aiNode& node, const Track* pParent)
{
    Track& track = m_cTrack[&node];
    m_cNodeByName.emplace(node.mName.C_Str(), &node);
    auto found = m_cChannel.find(node.mName.C_Str());
    const aiNodeAnim* pChannel = found != m_cChannel.end() ? found->second : nullptr;
    track.animated = pChannel != nullptr || (pParent != nullptr && pParent->animated);
    if (!track.animated)
        track.cWorld.push_back(pParent ? pParent->cWorld[0] * node.mTransformation : node.mTransformation);
    else
    {
        aiVector3D scaling, position;
        aiQuaternion rotation;
        node.mTransformation.Decompose(scaling, rotation, position);
        double ticksPerSecond = m_pAnimation->mTicksPerSecond > 0 ? m_pAnimation->mTicksPerSecond : 25.0;
        track.cWorld.reserve(size_t(m_lastFrame) + 1);
        for (int f = 0; f <= m_lastFrame; ++f)
        {
            aiMatrix4x4 local = node.mTransformation;
            if (pChannel)
            {
                const double tick = double(f) / m_options.frameRate * ticksPerSecond;
                local = aiMatrix4x4(
                    Sample(pChannel->mScalingKeys, pChannel->mNumScalingKeys, tick, scaling, Lerp),
                    Sample(pChannel->mRotationKeys, pChannel->mNumRotationKeys, tick, rotation, Slerp),
                    Sample(pChannel->mPositionKeys, pChannel->mNumPositionKeys, tick, position, Lerp));
            }
            const aiMatrix4x4& parent =
                pParent ? pParent->cWorld[pParent->animated ? size_t(f) : 0] : aiMatrix4x4();
            track.cWorld.push_back(pParent ? parent * local : local);
        }
    }
    for (unsigned i = 0; i < node.mNumChildren; ++i)
        if (node.mChildren[i])
            SampleNode(*node.mChildren[i], &track);
}

void Importer::NumberNodes(const aiNode& node, int& count)
{
    if (&node != m_scene.mRootNode || KeepRoot())
        m_cTrack[&node].hostIndex = count++;
    for (unsigned i = 0; i < node.mNumChildren; ++i)
        if (node.mChildren[i])
            NumberNodes(*node.mChildren[i], count);
}

// The file's root is the host's scene root unless it carries something of its own. The import
// library makes a root of its own for OBJ, COLLADA and FBX files, and for glTF files with more than
// one top node (named "ROOT"); the one top node of a glTF file is the root itself.
bool Importer::KeepRoot() const
{
    const aiNode& root = *m_scene.mRootNode;
    const std::string name = root.mName.C_Str();
    return root.mNumMeshes > 0 || m_cBoneName.count(name) || m_cCamera.count(name) || m_cLight.count(name) ||
           m_cChannel.count(name) || !UserProperties(root).empty() || (m_gltf && name != "ROOT");
}

std::string Importer::UserProperties(const aiNode& node) const
{
    const aiMetadata* pMeta = node.mMetaData;
    if (pMeta == nullptr)
        return "";
    std::string text;
    auto addLine = [&text](const std::string& line)
    {
        if (!text.empty() && text.back() != '\n')
            text += '\n';
        text += line;
    };
    for (unsigned i = 0; i < pMeta->mNumProperties; ++i)
    {
        const std::string key = pMeta->mKeys[i].C_Str();
        const aiMetadataEntry& entry = pMeta->mValues[i];
        if (key.empty() || entry.mData == nullptr)
            continue;
        // An FBX node's user-defined property text, as the package wrote it.
        if (key == "UserProperties" && entry.mType == AI_AISTRING)
        {
            addLine(static_cast<const aiString*>(entry.mData)->C_Str());
            continue;
        }
        const bool known = std::any_of(std::begin(s_knownProperties), std::end(s_knownProperties),
                                       [&key](const char* p) { return strcasecmp(p, key.c_str()) == 0; });
        if (m_fbx && !known)
            continue;
        switch (entry.mType)
        {
        case AI_BOOL:
            // A property set false is not there: the exporter asks whether a key exists.
            if (*static_cast<const bool*>(entry.mData))
                addLine(key);
            break;
        case AI_INT32:
            addLine(key + " = " + std::to_string(*static_cast<const int32_t*>(entry.mData)));
            break;
        case AI_UINT64:
            addLine(key + " = " + std::to_string(*static_cast<const uint64_t*>(entry.mData)));
            break;
        case AI_FLOAT:
            addLine(key + " = " + Number(*static_cast<const float*>(entry.mData)).dump());
            break;
        case AI_DOUBLE:
            addLine(key + " = " + json(*static_cast<const double*>(entry.mData)).dump());
            break;
        case AI_AISTRING:
            addLine(key + " = " + static_cast<const aiString*>(entry.mData)->C_Str());
            break;
        default:
            break;
        }
    }
    return text;
}

json Importer::Transform(const Track& track, const aiMatrix4x4* pLocalFrame) const
{
    auto host = [&](const aiMatrix4x4& world)
    { return pLocalFrame ? aiMatrix4x4(m_axis4 * world * *pLocalFrame) : ToHost(world); };
    const bool still = std::all_of(track.cWorld.begin(), track.cWorld.end(),
                                   [&](const aiMatrix4x4& m) { return SameMatrix(m, track.cWorld[0]); });
    if (still)
        return HostRows(host(track.cWorld[0]));
    json frames = json::array();
    for (const aiMatrix4x4& world : track.cWorld)
        frames.push_back(HostRows(host(world)));
    return json{{"frames", std::move(frames)}};
}

void Importer::EmitNode(const aiNode& node, int parentIndex, json& cNode)
{
    Track& track = m_cTrack[&node];
    const int index = track.hostIndex >= 0 ? track.hostIndex : parentIndex;
    if (track.hostIndex >= 0)
    {
        std::string name = node.mName.C_Str();
        if (name.empty())
            name = "Node " + std::to_string(index);
        json jNode = {{"name", name}};
        if (parentIndex >= 0)
            jNode["parent"] = parentIndex;
        if (m_cBoneName.count(name))
            jNode["bone"] = true;
        const std::string properties = UserProperties(node);
        if (!properties.empty())
            jNode["userProperties"] = properties;

        const auto camera = m_cCamera.find(name);
        const auto light = m_cLight.find(name);
        if (node.mNumMeshes > 0)
        {
            jNode["transform"] = Transform(track, nullptr);
            EmitMesh(node, jNode);
        }
        else if (camera != m_cCamera.end())
        {
            const aiCamera& c = *camera->second;
            // The import library's glTF reader copies the node's translation into the camera, and
            // gives the vertical angle times the aspect for the horizontal one.
            const aiMatrix4x4 frame = ViewFrame(m_gltf ? aiVector3D() : c.mPosition, c.mLookAt, c.mUp);
            float fov = c.mHorizontalFOV;
            if (m_gltf && c.mAspect > 0)
                fov = 2.0f * std::atan(std::tan(fov / c.mAspect * 0.5f) * c.mAspect);
            jNode["transform"] = Transform(track, &frame);
            jNode["object"] = {{"class", "freeCamera"},
                               {"fov", CheckedNumber(fov, "camera '" + name + "'")},
                               {"manualClip", true},
                               {"nearClip", CheckedNumber(c.mClipPlaneNear, "camera '" + name + "'")},
                               {"farClip", CheckedNumber(c.mClipPlaneFar, "camera '" + name + "'")}};
        }
        else if (light != m_cLight.end())
        {
            const aiLight& l = *light->second;
            const aiMatrix4x4 frame = ViewFrame(l.mPosition, l.mDirection, l.mUp);
            jNode["transform"] = Transform(track, &frame);
            const char* lightClass = l.mType == aiLightSource_DIRECTIONAL ? "directionalLight"
                                     : l.mType == aiLightSource_SPOT      ? "freeSpotLight"
                                                                          : "omniLight";
            jNode["object"] = {{"class", lightClass}};
        }
        else
        {
            jNode["transform"] = Transform(track, nullptr);
            // A bone is drawn as a bone; an empty leaf is a point (a marker to the exporter); an empty
            // node with children groups them.
            const char* objectClass = m_cBoneName.count(name)  ? "bone"
                                      : node.mNumChildren == 0 ? "point"
                                                               : "dummy";
            jNode["object"] = {{"class", objectClass}};
        }
        cNode.push_back(std::move(jNode));
    }
    for (unsigned i = 0; i < node.mNumChildren; ++i)
        if (node.mChildren[i])
            EmitNode(*node.mChildren[i], index, cNode);
}

void Importer::Run()
{
    if (m_options.frameRate < 1 || m_options.frameRate > 4800)
        Fail("frame rate " + std::to_string(m_options.frameRate) + " out of range (1 to 4800)");
    ReadAxes();
    ChooseAnimation();

    for (unsigned m = 0; m < m_scene.mNumMeshes; ++m)
        if (const aiMesh* pMesh = m_scene.mMeshes[m])
            for (unsigned b = 0; b < pMesh->mNumBones; ++b)
                if (pMesh->mBones[b])
                    m_cBoneName[pMesh->mBones[b]->mName.C_Str()] = true;
    for (unsigned i = 0; i < m_scene.mNumCameras; ++i)
        if (m_scene.mCameras[i])
            m_cCamera.emplace(m_scene.mCameras[i]->mName.C_Str(), m_scene.mCameras[i]);
    for (unsigned i = 0; i < m_scene.mNumLights; ++i)
        if (m_scene.mLights[i])
            m_cLight.emplace(m_scene.mLights[i]->mName.C_Str(), m_scene.mLights[i]);

    SampleNode(*m_scene.mRootNode, nullptr);
    // Host indices first: a skin may name bones that come after its mesh.
    int count = 0;
    NumberNodes(*m_scene.mRootNode, count);
    EmitMaterials();
    json cNode = json::array();
    EmitNode(*m_scene.mRootNode, -1, cNode);

    json& document = m_result.document;
    document = {{"format", "tq7z-scene"},
                {"version", 1},
                {"frameRate", m_options.frameRate},
                {"animationRange", {0, m_lastFrame}}};
    if (!m_cTexture.empty())
        document["textures"] = std::move(m_cTexture);
    if (!m_cMaterial.empty())
        document["materials"] = std::move(m_cMaterial);
    document["nodes"] = std::move(cNode);
}

namespace
{
// Arrays of numbers (points, faces, matrix rows) and arrays of those stay on one line.
bool OnOneLine(const json& j)
{
    if (!j.is_array())
        return !j.is_object();
    return std::all_of(
        j.begin(), j.end(),
        [](const json& e)
        {
            return e.is_primitive() ||
                   (e.is_array() &&
                    std::all_of(e.begin(), e.end(), [](const json& x) { return x.is_primitive(); }));
        });
}

void WriteText(const json& j, std::string& text, int depth)
{
    if (OnOneLine(j))
    {
        text += j.dump();
        return;
    }
    const bool object = j.is_object();
    text.push_back(object ? '{' : '[');
    bool first = true;
    for (auto it = j.begin(); it != j.end(); ++it)
    {
        if (!first)
            text.push_back(',');
        first = false;
        text.push_back('\n');
        text.append(size_t(depth + 1) * 2, ' ');
        if (object)
        {
            text.append(json(it.key()).dump());
            text.append(": ");
        }
        WriteText(it.value(), text, depth + 1);
    }
    text.push_back('\n');
    text.append(size_t(depth) * 2, ' ');
    text.push_back(object ? '}' : ']');
}
} // namespace

std::string SceneText(const json& document)
{
    std::string text;
    WriteText(document, text, 0);
    return text + "\n";
}

bool IsImportFile(const std::string& fileName)
{
    const std::string extension = Extension(fileName);
    return std::any_of(std::begin(s_extensions), std::end(s_extensions),
                       [&](const char* e) { return strcasecmp(e, extension.c_str()) == 0; });
}

namespace
{
// The glTF JSON of a .gltf or .glb file, or null when it is neither or cannot be parsed (the import
// library then says why).
json GltfJson(const std::string& fileName)
{
    const std::string extension = Extension(fileName);
    const bool text = strcasecmp(extension.c_str(), ".gltf") == 0;
    if (!text && strcasecmp(extension.c_str(), ".glb") != 0)
        return nullptr;
    std::ifstream in(fileName, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (!text)
    {
        // Header of 12 bytes, then the JSON chunk: its length and type.
        uint32_t length = 0;
        if (bytes.size() < 20)
            return nullptr;
        std::memcpy(&length, bytes.data() + 12, 4);
        if (length > bytes.size() - 20)
            return nullptr;
        bytes = bytes.substr(20, length);
    }
    return json::parse(bytes, nullptr, false);
}
} // namespace

ImportResult ImportDocument(const std::string& fileName, const ImportOptions& options)
{
    // The import library's glTF reader of this version crashes on a skin without bind matrices,
    // which glTF allows; such a file is refused before it is read.
    const json gltf = GltfJson(fileName);
    if (gltf.is_object() && gltf.contains("skins") && gltf["skins"].is_array())
        for (size_t i = 0; i < gltf["skins"].size(); ++i)
            if (!gltf["skins"][i].is_object() || !gltf["skins"][i].contains("inverseBindMatrices"))
                throw scene::SceneError(fileName + ": /skins/" + std::to_string(i) +
                                        ": a skin without \"inverseBindMatrices\" is not read by the import "
                                        "library; give the skin its bind matrices");

    Assimp::Importer importer;
    // Points and lines are no part of a host mesh.
    importer.SetPropertyInteger(AI_CONFIG_PP_SBP_REMOVE, aiPrimitiveType_POINT | aiPrimitiveType_LINE);
    // The file's own normals are kept: smooth normals are made only for meshes that have none.
    const unsigned flags = aiProcess_Triangulate | aiProcess_SortByPType | aiProcess_GenSmoothNormals |
                           aiProcess_ValidateDataStructure;
    const aiScene* pScene = importer.ReadFile(fileName, flags);
    if (pScene == nullptr)
        throw scene::SceneError(fileName +
                                ": the import library refused the file: " + importer.GetErrorString());
    // A file without meshes is one the import library calls incomplete; its nodes are still a scene.
    if (pScene->mRootNode == nullptr)
        throw scene::SceneError(fileName + ": the import library read no node from the file");
    ImportResult result;
    Importer(*pScene, fileName, options, result).Run();
    return result;
}

std::unique_ptr<scene::Scene> ImportScene(const std::string& fileName, const ImportOptions& options,
                                          std::vector<std::string>* pWarnings)
{
    ImportResult result = ImportDocument(fileName, options);
    if (pWarnings)
        pWarnings->insert(pWarnings->end(), result.cWarning.begin(), result.cWarning.end());
    const std::string folder =
        options.documentFolder.empty()
            ? std::filesystem::absolute(fileName).parent_path().lexically_normal().string()
            : options.documentFolder;
    return scene::ReadSceneDocument(result.document, fileName, folder);
}
} // namespace importhost
