// The import host beside the scene file, and the exporter's welding and normals beside the import
// library's, each pair in the same run:
// - Gltf* / Json*: a generated glTF of 10 skinned meshes of 60,000 triangles (grids of 200 by 150
//   quads), 80 bones and 300 frames, and the scene file the import host makes of it (written once,
//   before the runs). *Read is the scene alone (import host, or scene reader); *Export is that and
//   the whole export after it (walk, BuildRenderModel, save into a RamStream).
// - Soup*: a triangle soup of 1,000,000 triangles (three corners of their own each: 20 grids of 250
//   by 100 quads). SoupExporter welds each grid's corner positions with Uniquer and rebuilds their
//   normals with BuildNormals (one smoothing group), as the export does; SoupAssimp runs the import
//   library's JoinIdenticalVertices and GenSmoothNormals steps on the same soup, read from a PLY
//   file in memory before each run.
#include "exporter/sgmerrors.h"
#include "exporter/sgmexport.h"
#include "exporter/uniquer.h"
#include "foundation/output.h"
#include "foundation/runoptions.h"
#include "host/scene.h"
#include "importhost/importhost.h"
#include "model/anim/animlist.h"
#include "model/file/generic/rendermodelloadgeneric.h"
#include "model/mesh/meshgroup.h"
#include "model/rendermodel.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"
#include "storage/ramstream.h"

#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include "benchquiet.h"

#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

namespace
{
using json = nlohmann::json;

constexpr int BoneCount = 80;
constexpr int FrameCount = 300;
constexpr int MeshCount = 10;
constexpr int GridColumns = 200;
constexpr int GridRows = 150;
constexpr const char* Folder = "/tmp/tq7z_import_bench";
constexpr const char* ExportName = "/tmp/tq7z_import_bench/units/bench/run.sgm";

// glTF buffer data, appended accessor by accessor.
class Buffer
{
public:
    explicit Buffer(json& doc) : m_doc(doc) {}
    template <class T>
    int Add(const std::vector<T>& values, int componentType, const char* type, size_t components)
    {
        m_bytes.resize((m_bytes.size() + 3) / 4 * 4, '\0');
        const size_t offset = m_bytes.size();
        m_bytes.append(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T));
        m_doc["bufferViews"].push_back(
            {{"buffer", 0}, {"byteOffset", offset}, {"byteLength", values.size() * sizeof(T)}});
        m_doc["accessors"].push_back({{"bufferView", m_doc["bufferViews"].size() - 1},
                                      {"componentType", componentType},
                                      {"count", values.size() / components},
                                      {"type", type}});
        return int(m_doc["accessors"].size() - 1);
    }
    const std::string& Bytes() const { return m_bytes; }

private:
    json& m_doc;
    std::string m_bytes;
};

// The glTF file and the scene file of the same scene; made once.
struct Files
{
    std::string gltf;
    std::string scene;
};

const Files& GetFiles()
{
    static const Files s_files = []
    {
        std::filesystem::create_directories(Folder);
        json doc = {{"asset", {{"version", "2.0"}}}, {"scene", 0}, {"scenes", {{{"nodes", json::array()}}}}};
        Buffer buffer(doc);
        // Bones: node b, parent (b - 1) / 3, turning and drifting, each its own way.
        std::vector<float> times, bind;
        for (int f = 0; f < FrameCount; ++f)
            times.push_back(float(f) / 30.0f);
        const int input = buffer.Add(times, 5126, "SCALAR", 1);
        doc["accessors"][input]["min"] = {times.front()};
        doc["accessors"][input]["max"] = {times.back()};
        json samplers = json::array(), channels = json::array();
        for (int b = 0; b < BoneCount; ++b)
        {
            json node = {{"name", "Bone" + std::to_string(b)}, {"translation", {0.5, 0, 0}}};
            doc["nodes"].push_back(node);
            if (b == 0)
                doc["scenes"][0]["nodes"].push_back(0);
            else
                doc["nodes"][(b - 1) / 3]["children"].push_back(b);
            std::vector<float> turns, moves;
            for (int f = 0; f < FrameCount; ++f)
            {
                const float angle = 0.002f * float(f) * float(1 + b % 5) + 0.1f * float(b);
                turns.insert(turns.end(), {0, std::sin(angle / 2), 0, std::cos(angle / 2)});
                moves.insert(moves.end(),
                             {0.5f, std::sin(float(f) * 0.01f) * float(b % 7) * 0.1f, float(f) * 0.001f});
            }
            samplers.push_back({{"input", input}, {"output", buffer.Add(turns, 5126, "VEC4", 4)}});
            channels.push_back(
                {{"sampler", samplers.size() - 1}, {"target", {{"node", b}, {"path", "rotation"}}}});
            samplers.push_back({{"input", input}, {"output", buffer.Add(moves, 5126, "VEC3", 3)}});
            channels.push_back(
                {{"sampler", samplers.size() - 1}, {"target", {{"node", b}, {"path", "translation"}}}});
            bind.insert(bind.end(), {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
        }
        doc["animations"] = {{{"name", "Run"}, {"samplers", samplers}, {"channels", channels}}};
        json joints = json::array();
        for (int b = 0; b < BoneCount; ++b)
            joints.push_back(b);
        doc["skins"] = {{{"joints", joints}, {"inverseBindMatrices", buffer.Add(bind, 5126, "MAT4", 16)}}};
        doc["materials"] = {
            {{"name", "Body"}, {"pbrMetallicRoughness", {{"baseColorFactor", {0.6, 0.5, 0.4, 1}}}}}};

        const int stride = GridColumns + 1;
        std::vector<uint16_t> index;
        for (int r = 0; r < GridRows; ++r)
            for (int c = 0; c < GridColumns; ++c)
            {
                const int v0 = r * stride + c, v1 = v0 + 1, v2 = v0 + stride, v3 = v2 + 1;
                index.insert(index.end(), {uint16_t(v0), uint16_t(v1), uint16_t(v3), uint16_t(v0),
                                           uint16_t(v3), uint16_t(v2)});
            }
        for (int m = 0; m < MeshCount; ++m)
        {
            std::vector<float> pos, nrm, uv, weights;
            std::vector<uint16_t> jointIndex;
            for (int r = 0; r <= GridRows; ++r)
                for (int c = 0; c < stride; ++c)
                {
                    pos.insert(pos.end(), {float(c) * 0.05f, float(r) * 0.05f,
                                           float(m) + 0.01f * std::sin(float(c + r))});
                    nrm.insert(nrm.end(), {0, 0, 1});
                    uv.insert(uv.end(), {float(c) / GridColumns, float(r) / GridRows});
                    const int first = (c / 10 + m * 3 + r / 30) % BoneCount;
                    jointIndex.insert(jointIndex.end(),
                                      {uint16_t(first), uint16_t((first + 1) % BoneCount), 0, 0});
                    weights.insert(weights.end(), {0.75f, 0.25f, 0, 0});
                }
            doc["meshes"].push_back({{"primitives",
                                      {{{"attributes",
                                         {{"POSITION", buffer.Add(pos, 5126, "VEC3", 3)},
                                          {"NORMAL", buffer.Add(nrm, 5126, "VEC3", 3)},
                                          {"TEXCOORD_0", buffer.Add(uv, 5126, "VEC2", 2)},
                                          {"JOINTS_0", buffer.Add(jointIndex, 5123, "VEC4", 4)},
                                          {"WEIGHTS_0", buffer.Add(weights, 5126, "VEC4", 4)}}},
                                        {"indices", buffer.Add(index, 5123, "SCALAR", 1)},
                                        {"material", 0}}}}});
            doc["nodes"].push_back({{"name", "Mesh" + std::to_string(m)}, {"mesh", m}, {"skin", 0}});
            doc["scenes"][0]["nodes"].push_back(doc["nodes"].size() - 1);
        }
        doc["buffers"] = {{{"byteLength", buffer.Bytes().size()}, {"uri", "bench.bin"}}};
        Files files{std::string(Folder) + "/bench.gltf", std::string(Folder) + "/bench.json"};
        std::ofstream(std::string(Folder) + "/bench.bin", std::ios::binary) << buffer.Bytes();
        std::ofstream(files.gltf, std::ios::binary) << doc.dump();
        const importhost::ImportResult result = importhost::ImportDocument(files.gltf);
        std::ofstream(files.scene, std::ios::binary) << importhost::SceneText(result.document);
        return files;
    }();
    return s_files;
}

std::unique_ptr<scene::Scene> ReadBenchScene(bool gltf)
{
    const Files& files = GetFiles();
    return gltf ? importhost::ImportScene(files.gltf) : scene::ReadScene(files.scene);
}

void RunRead(benchmark::State& state, bool gltf)
{
    Quiet();
    GetFiles();
    for (auto _ : state)
    {
        std::unique_ptr<scene::Scene> pScene = ReadBenchScene(gltf);
        benchmark::DoNotOptimize(pScene.get());
    }
    state.counters["triangles"] = double(MeshCount) * 2.0 * GridRows * GridColumns;
}

void RunExport(benchmark::State& state, bool gltf)
{
    Quiet();
    GetFiles();
    int controls = 0;
    for (auto _ : state)
    {
        std::unique_ptr<scene::Scene> pScene = ReadBenchScene(gltf);
        host::SetFrameRate(pScene->GetFrameRate());
        SGMExportOptions options;
        SGMExport exporter;
        if (!exporter.InitExport(options, ExportName, pScene.get(), true))
        {
            state.SkipWithError("InitExport failed");
            break;
        }
        options.exportMeshes = options.exportAnimation = options.exportShaders = true;
        exporter.WalkScene(options, pScene->GetRootNode());
        std::unique_ptr<RenderModel> pModel = exporter.BuildRenderModel(options);
        RamStream stream;
        stream.Create(64u << 20, ByteStream::Mode_Write);
        if (pModel != nullptr)
        {
            ByteStreamAdapter adapter(stream);
            Chunky chunky(adapter);
            RenderModelLoadGeneric::SaveFlags flags;
            RenderModelLoadGeneric::Save(chunky, adapter, *pModel, flags);
        }
        // A run that lost meshes or animation, or reported an error, measures the wrong thing.
        const ra::MeshGroup* pGroup = pModel ? pModel->GetMeshGroup() : nullptr;
        if (pGroup == nullptr || pGroup->GetMeshCount() != MeshCount ||
            pModel->GetAnimList()->GetAnimCount() != 1 || SGMErrors::Get()->GetErrorCount() != 0)
        {
            state.SkipWithError("the export lost meshes or animation, or reported an error");
            break;
        }
        controls = int(pModel->GetAnimList()->GetAnim(0)->GetBoneCount());
        pModel.reset();
        exporter.ShutdownExport();
    }
    state.counters["triangles"] = double(MeshCount) * 2.0 * GridRows * GridColumns;
    state.counters["animated_bones"] = controls;
}

void BM_GltfRead(benchmark::State& state)
{
    RunRead(state, true);
}
void BM_JsonRead(benchmark::State& state)
{
    RunRead(state, false);
}
void BM_GltfExport(benchmark::State& state)
{
    RunExport(state, true);
}
void BM_JsonExport(benchmark::State& state)
{
    RunExport(state, false);
}
BENCHMARK(BM_GltfRead)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(BM_JsonRead)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(BM_GltfExport)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(BM_JsonExport)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

// The soup: grid g of SoupColumns by SoupRows quads at height g, every triangle's corners its own.
constexpr int SoupGrids = 20;
constexpr int SoupColumns = 250;
constexpr int SoupRows = 100;

ra::Vec3 SoupPoint(int g, int r, int c)
{
    return {float(c) * 0.05f, float(r) * 0.05f, float(g) + 0.01f * std::sin(float(c + r))};
}

// Corner positions of grid g, three a triangle.
std::vector<ra::Vec3> SoupCorners(int g)
{
    std::vector<ra::Vec3> cCorner;
    cCorner.reserve(size_t(SoupRows) * SoupColumns * 6);
    for (int r = 0; r < SoupRows; ++r)
        for (int c = 0; c < SoupColumns; ++c)
        {
            const ra::Vec3 p0 = SoupPoint(g, r, c), p1 = SoupPoint(g, r, c + 1), p2 = SoupPoint(g, r + 1, c),
                           p3 = SoupPoint(g, r + 1, c + 1);
            cCorner.insert(cCorner.end(), {p0, p1, p3, p0, p3, p2});
        }
    return cCorner;
}

void BM_SoupExporter(benchmark::State& state)
{
    Quiet();
    std::vector<std::vector<ra::Vec3>> cSource;
    for (int g = 0; g < SoupGrids; ++g)
        cSource.push_back(SoupCorners(g));
    SGMExport exporter;
    std::vector<uint32> cRemap;
    size_t welded = 0;
    for (auto _ : state)
    {
        state.PauseTiming();
        std::vector<MeshNode>& cNode = exporter.EditMeshNodes();
        cNode.assign(cSource.size(), MeshNode());
        for (size_t g = 0; g < cSource.size(); ++g)
            cNode[g].cVertex = cSource[g];
        state.ResumeTiming();
        welded = 0;
        for (size_t g = 0; g < cNode.size(); ++g)
        {
            MeshNode& node = cNode[g];
            Uniquer(node.cVertex, cRemap);
            node.cFace.resize(cRemap.size() / 3);
            for (size_t f = 0; f < node.cFace.size(); ++f)
            {
                FaceRecord& face = node.cFace[f];
                for (size_t k = 0; k < 3; ++k)
                    face.iVertex[k] = uint16(cRemap[f * 3 + k]);
                face.smoothing = 1;
            }
            if (!exporter.BuildNormals(g))
            {
                state.SkipWithError("BuildNormals failed");
                return;
            }
            welded += node.cVertex.size();
        }
    }
    state.counters["triangles"] = double(SoupGrids) * SoupRows * SoupColumns * 2;
    state.counters["positions"] = double(welded);
    state.SetItemsProcessed(int64_t(state.iterations()) * SoupGrids * SoupRows * SoupColumns * 2);
}
BENCHMARK(BM_SoupExporter)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

// The soup as a binary PLY file: a vertex per corner, a face per triangle.
const std::string& SoupPly()
{
    static const std::string s_ply = []
    {
        std::string body;
        size_t vertices = 0;
        for (int g = 0; g < SoupGrids; ++g)
        {
            const std::vector<ra::Vec3> cCorner = SoupCorners(g);
            body.append(reinterpret_cast<const char*>(cCorner.data()), cCorner.size() * sizeof(ra::Vec3));
            vertices += cCorner.size();
        }
        for (uint32_t f = 0; f < vertices / 3; ++f)
        {
            const uint8_t count = 3;
            const uint32_t index[3] = {f * 3, f * 3 + 1, f * 3 + 2};
            body.append(reinterpret_cast<const char*>(&count), 1);
            body.append(reinterpret_cast<const char*>(index), sizeof(index));
        }
        return "ply\nformat binary_little_endian 1.0\nelement vertex " + std::to_string(vertices) +
               "\nproperty float x\nproperty float y\nproperty float z\nelement face " +
               std::to_string(vertices / 3) + "\nproperty list uchar uint vertex_indices\nend_header\n" +
               body;
    }();
    return s_ply;
}

void BM_SoupAssimp(benchmark::State& state)
{
    const std::string& ply = SoupPly();
    size_t welded = 0;
    for (auto _ : state)
    {
        state.PauseTiming();
        Assimp::Importer importer;
        const aiScene* pScene = importer.ReadFileFromMemory(ply.data(), ply.size(), 0, "ply");
        if (pScene == nullptr || pScene->mNumMeshes == 0)
        {
            state.SkipWithError("the import library did not read the soup");
            return;
        }
        state.ResumeTiming();
        pScene = importer.ApplyPostProcessing(aiProcess_JoinIdenticalVertices | aiProcess_GenSmoothNormals);
        state.PauseTiming();
        welded = 0;
        for (unsigned m = 0; pScene && m < pScene->mNumMeshes; ++m)
            welded += pScene->mMeshes[m]->mNumVertices;
        state.ResumeTiming();
    }
    state.counters["triangles"] = double(SoupGrids) * SoupRows * SoupColumns * 2;
    state.counters["positions"] = double(welded);
    state.SetItemsProcessed(int64_t(state.iterations()) * SoupGrids * SoupRows * SoupColumns * 2);
}
BENCHMARK(BM_SoupAssimp)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
} // namespace

BENCHMARK_MAIN();
