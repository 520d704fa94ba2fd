// The exporter on a generated scene: skinned grid meshes of 60,000 triangles each, 80 bones and 300
// frames, made as scene file text and read through the scene reader. The whole export (walk,
// BuildRenderModel, save into a RamStream) and three stages apart, each at a scale argument of 1, 2
// and 4:
// - Export: 10, 20, 40 meshes of 60,000 triangles.
// - WeldCorners: Uniquer over the per-corner UVs and positions of one mesh of 60,000, 120,000,
//   240,000 triangles; one sort per list, so the n log n growth shows here.
// - Normals: BuildNormals on 10, 20, 40 meshes of 60,000 triangles, records set as the mesh stage
//   leaves them; and NormalsOneMesh on one mesh of 30,000, 60,000, 120,000 triangles (a mesh's
//   positions are 16-bit indices, so one mesh cannot grow to 240,000 triangles).
// - Sample: SampleAnimation of 80 bones, 2 cameras and 10 meshes over 300, 600, 1200 frames:
//   sampling does not read triangles, so its scale is the frame count.
#include "exporter/sgmerrors.h"
#include "exporter/sgmexport.h"
#include "exporter/uniquer.h"
#include "foundation/output.h"
#include "foundation/runoptions.h"
#include "host/scene.h"
#include "model/anim/animlist.h"
#include "model/file/generic/rendermodelloadgeneric.h"
#include "model/rendermodel.h"
#include "model/skeleton/skeleton.h"
#include "storage/bytestreamadapter.h"
#include "storage/chunky.h"
#include "storage/ramstream.h"

#include "benchquiet.h"

#include <benchmark/benchmark.h>

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

namespace
{
constexpr int BoneCount = 80;
constexpr int FrameCount = 300;
constexpr int MeshCount = 10;
// A grid of 200 by 150 quads: 60,000 triangles over 30,351 positions.
constexpr int GridColumns = 200;
constexpr int GridRows = 150;
constexpr const char* ExportName = "/tmp/tq7z_export_bench/units/bench/run.sgm";

// Scene text, appended number by number.
class SceneText
{
public:
    SceneText& operator<<(const char* text)
    {
        m_text += text;
        return *this;
    }
    SceneText& operator<<(int value)
    {
        char buffer[16];
        const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value);
        m_text.append(buffer, result.ptr);
        return *this;
    }
    SceneText& operator<<(float value)
    {
        char buffer[32];
        const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value);
        m_text.append(buffer, result.ptr);
        return *this;
    }
    void Reserve(size_t size) { m_text.reserve(size); }
    const std::string& Text() const { return m_text; }

private:
    std::string m_text;
};

// A world transform of bone b at frame f: a turn about z and a drift, different for every bone.
void BoneMatrix(SceneText& out, int b, int f)
{
    const float angle = 0.002f * float(f) * float(1 + b % 5) + 0.1f * float(b);
    const float c = std::cos(angle), s = std::sin(angle);
    out << "[[" << c << "," << s << ",0],[" << -s << "," << c << ",0],[0,0,1],[" << 0.5f * float(b) << ","
        << std::sin(float(f) * 0.01f) * float(b % 7) << "," << float(f) * 0.01f << "]]";
}

void Frames(SceneText& out, int frames, float (*value)(int))
{
    out << "{\"frames\": [";
    for (int f = 0; f < frames; ++f)
        out << (f ? "," : "") << value(f);
    out << "]}";
}

float GlowValue(int f)
{
    return 0.5f + 0.5f * std::sin(float(f) * 0.05f);
}

float FadeValue(int f)
{
    return f < 100 ? 1.0f : 0.5f;
}

float BlinkValue(int f)
{
    return (f / 20) % 2 ? 0.0f : 1.0f;
}

// `meshCount` skinned grids of `rows` by GridColumns quads (or single triangles when `rows` is 0),
// BoneCount bones over `frames` frames, three materials (one still, two animated) and two cameras.
std::string MakeScene(int meshCount, int rows, int frames)
{
    SceneText out;
    out.Reserve(size_t(meshCount) * size_t(rows > 0 ? rows : 1) * 30000 + size_t(frames) * 12000);
    out << R"({"frameRate": 30, "animationRange": [0, )" << frames - 1 << R"(], "materials": [)";
    out << R"({"name": "Body", "class": "standard", "diffuse": [0.6, 0.5, 0.4]}, )";
    out << R"({"name": "Glow", "class": "standard", "selfIllum": )";
    Frames(out, frames, GlowValue);
    out << R"(}, {"name": "Fade", "class": "standard", "opacity": )";
    Frames(out, frames, FadeValue);
    out << R"(}], "nodes": [)";

    for (int b = 0; b < BoneCount; ++b)
    {
        out << (b ? ", " : "") << R"({"name": "Bone)" << b
            << R"(", "bone": true, "object": {"class": "box"})";
        if (b > 0)
            out << R"(, "parent": )" << (b - 1) / 3;
        out << R"(, "transform": {"frames": [)";
        for (int f = 0; f < frames; ++f)
        {
            out << (f ? "," : "");
            BoneMatrix(out, b, f);
        }
        out << "]}}";
    }

    out << R"(, {"name": "Free", "object": {"class": "freeCamera"}, "transform": {"frames": [)";
    for (int f = 0; f < frames; ++f)
        out << (f ? "," : "") << "[[1,0,0],[0,0,1],[0,-1,0],[" << float(f) * 0.1f << ",-20,5]]";
    out << R"(]}}, {"name": "Look", "target": "Look.Target", "object": {"class": "targetCamera"},)"
        << R"( "transform": [[1,0,0],[0,0,1],[0,-1,0],[0,-20,5]]},)"
        << R"( {"name": "Look.Target", "object": {"class": "target"}, "transform": {"frames": [)";
    for (int f = 0; f < frames; ++f)
        out << (f ? "," : "") << "[[1,0,0],[0,1,0],[0,0,1],[" << float(f) * 0.05f << ",0,5]]";
    out << "]}}";

    const int columns = rows > 0 ? GridColumns : 1;
    const int stride = columns + 1;
    const int vertexRows = rows > 0 ? rows + 1 : 2;
    for (int m = 0; m < meshCount; ++m)
    {
        out << R"(, {"name": "Mesh)" << m << R"(", "material": )" << m % 3;
        if (m % 4 == 1)
        {
            out << R"(, "visibility": )";
            Frames(out, frames, BlinkValue);
        }
        out << R"(, "object": {"class": "editableMesh", "mesh": {"vertices": [)";
        for (int r = 0; r < vertexRows; ++r)
            for (int c = 0; c < stride; ++c)
                out << (r || c ? "," : "") << "[" << float(c) * 0.05f << "," << float(r) * 0.05f << ","
                    << float(m) + 0.01f * std::sin(float(c + r)) << "]";
        out << R"(], "faces": [)";
        std::string faces;
        {
            SceneText faceText;
            if (rows > 0)
            {
                for (int r = 0; r < rows; ++r)
                    for (int c = 0; c < columns; ++c)
                    {
                        const int v0 = r * stride + c, v1 = v0 + 1, v2 = v0 + stride, v3 = v2 + 1;
                        faceText << (r || c ? "," : "") << "[" << v0 << "," << v1 << "," << v3 << "],[" << v0
                                 << "," << v3 << "," << v2 << "]";
                    }
            }
            else
                faceText << "[0,1,2]";
            faces = faceText.Text();
        }
        out << faces.c_str() << R"(], "tverts": [)";
        for (int r = 0; r < vertexRows; ++r)
            for (int c = 0; c < stride; ++c)
                out << (r || c ? "," : "") << "[" << float(c) / float(columns) << ","
                    << float(r) / float(vertexRows - 1) << "]";
        out << R"(], "tvFaces": [)" << faces.c_str() << R"(]}}, "modifiers": [{"class": "skin", "bones": [)";
        for (int b = 0; b < BoneCount; ++b)
            out << (b ? "," : "") << b;
        out << R"(], "points": [)";
        for (int r = 0; r < vertexRows; ++r)
            for (int c = 0; c < stride; ++c)
            {
                const int first = (c / 10 + m * 3 + r / 30) % BoneCount;
                out << (r || c ? "," : "") << "[[" << first << ",0.75],[" << (first + 1) % BoneCount
                    << ",0.25]]";
            }
        out << "]}]}";
    }
    out << "]}";
    return out.Text();
}

// Scenes are read once per shape and kept for the run.
scene::Scene& GetScene(int meshCount, int rows, int frames)
{
    static std::map<std::tuple<int, int, int>, std::unique_ptr<scene::Scene>> s_cScene;
    std::unique_ptr<scene::Scene>& pScene = s_cScene[{meshCount, rows, frames}];
    if (pScene == nullptr)
    {
        pScene = scene::ReadSceneText(MakeScene(meshCount, rows, frames), "bench.json");
        if (pScene == nullptr)
            std::abort();
    }
    host::SetFrameRate(pScene->GetFrameRate());
    return *pScene;
}

// An export started on the scene, walked, with every part of the file asked for.
std::unique_ptr<SGMExport> StartExport(scene::Scene& scene, SGMExportOptions& options)
{
    auto pExport = std::make_unique<SGMExport>();
    if (!pExport->InitExport(options, ExportName, &scene, true))
        std::abort();
    options.exportMeshes = true;
    options.exportAnimation = true;
    options.exportShaders = true;
    return pExport;
}

void BM_Export(benchmark::State& state)
{
    Quiet();
    const int scale = int(state.range(0));
    scene::Scene& scene = GetScene(MeshCount * scale, GridRows, FrameCount);
    int64_t bytes = 0;
    int controls = 0;
    for (auto _ : state)
    {
        state.PauseTiming();
        SGMExportOptions options;
        std::unique_ptr<SGMExport> pExport = StartExport(scene, options);
        RamStream stream;
        stream.Create(uint32(scale) * (64u << 20), ByteStream::Mode_Write);
        state.ResumeTiming();

        pExport->WalkScene(options, scene.GetRootNode());
        std::unique_ptr<RenderModel> pModel = pExport->BuildRenderModel(options);
        if (pModel == nullptr)
        {
            state.SkipWithError("the export made no model");
            break;
        }
        {
            ByteStreamAdapter adapter(stream);
            Chunky chunky(adapter);
            RenderModelLoadGeneric::SaveFlags flags;
            RenderModelLoadGeneric::Save(chunky, adapter, *pModel, flags);
        }

        state.PauseTiming();
        // A run that lost meshes or animation, or reported an error, measures the wrong thing.
        const ra::MeshGroup* pGroup = pModel->GetMeshGroup();
        if (pGroup == nullptr || pGroup->GetMeshCount() != MeshCount * scale ||
            pModel->GetAnimList()->GetAnimCount() != 1 || SGMErrors::Get()->GetErrorCount() != 0)
        {
            state.SkipWithError("the export lost meshes or animation, or reported an error");
            break;
        }
        controls = pModel->GetAnimList()->GetAnim(0)->GetControlStreamCount();
        bytes = stream.GetLength();
        pModel.reset();
        pExport->ShutdownExport();
        state.ResumeTiming();
    }
    state.counters["triangles"] = double(MeshCount * scale) * 2.0 * GridRows * GridColumns;
    state.counters["file_bytes"] = double(bytes);
    state.counters["control_streams"] = controls;
}
BENCHMARK(BM_Export)->Arg(1)->Arg(2)->Arg(4)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

// Corner data of a grid of `rows` by GridColumns quads: each corner's UV and position, a position
// shared by up to six corners.
void GridCorners(int rows, std::vector<TexCoord>& cUV, std::vector<ra::Vec3>& cPosition)
{
    const int stride = GridColumns + 1;
    cUV.clear();
    cPosition.clear();
    auto corner = [&](int v)
    {
        const int r = v / stride, c = v % stride;
        cUV.push_back({float(c) / float(GridColumns), float(r) / float(rows)});
        cPosition.push_back({float(c) * 0.05f, float(r) * 0.05f, 0.01f * std::sin(float(c + r))});
    };
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < GridColumns; ++c)
        {
            const int v0 = r * stride + c, v1 = v0 + 1, v2 = v0 + stride, v3 = v2 + 1;
            for (int v : {v0, v1, v3, v0, v3, v2})
                corner(v);
        }
}

void BM_WeldCorners(benchmark::State& state)
{
    const int rows = GridRows * int(state.range(0));
    std::vector<TexCoord> cSourceUV;
    std::vector<ra::Vec3> cSourcePosition;
    GridCorners(rows, cSourceUV, cSourcePosition);
    std::vector<TexCoord> cUV;
    std::vector<ra::Vec3> cPosition;
    std::vector<uint32> cRemapUV, cRemapPosition;
    for (auto _ : state)
    {
        state.PauseTiming();
        cUV = cSourceUV;
        cPosition = cSourcePosition;
        state.ResumeTiming();
        Uniquer(cUV, cRemapUV);
        Uniquer(cPosition, cRemapPosition);
        benchmark::DoNotOptimize(cRemapUV.data());
        benchmark::DoNotOptimize(cRemapPosition.data());
    }
    state.counters["corners"] = double(cSourceUV.size());
    state.counters["welded"] = double(cPosition.size());
    state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(cSourceUV.size()));
}
BENCHMARK(BM_WeldCorners)->Arg(1)->Arg(2)->Arg(4)->Unit(benchmark::kMillisecond)->UseRealTime();

// The records of a grid mesh as the mesh stage hands them to the normals: positions and faces with
// smoothing group 1.
MeshNode GridRecords(int rows, int columns, float height)
{
    MeshNode node;
    const int stride = columns + 1;
    for (int r = 0; r <= rows; ++r)
        for (int c = 0; c < stride; ++c)
            node.cVertex.push_back(
                {float(c) * 0.05f, float(r) * 0.05f, height + 0.01f * std::sin(float(c + r))});
    for (int r = 0; r < rows; ++r)
        for (int c = 0; c < columns; ++c)
        {
            const uint16 v0 = uint16(r * stride + c), v1 = uint16(v0 + 1), v2 = uint16(v0 + stride),
                         v3 = uint16(v2 + 1);
            FaceRecord a, b;
            a.iVertex[0] = v0;
            a.iVertex[1] = v1;
            a.iVertex[2] = v3;
            b.iVertex[0] = v0;
            b.iVertex[1] = v3;
            b.iVertex[2] = v2;
            a.smoothing = b.smoothing = 1;
            node.cFace.push_back(a);
            node.cFace.push_back(b);
        }
    return node;
}

void RunNormals(benchmark::State& state, int meshCount, int rows, int columns)
{
    Quiet();
    std::vector<MeshNode> cSource;
    for (int m = 0; m < meshCount; ++m)
        cSource.push_back(GridRecords(rows, columns, float(m)));
    SGMExport exporter;
    for (auto _ : state)
    {
        state.PauseTiming();
        exporter.EditMeshNodes() = cSource;
        state.ResumeTiming();
        for (size_t m = 0; m < cSource.size(); ++m)
            if (!exporter.BuildNormals(m))
            {
                state.SkipWithError("BuildNormals failed");
                return;
            }
    }
    state.counters["triangles"] = double(meshCount) * 2.0 * rows * columns;
    state.counters["normals"] = double(exporter.GetMeshNodes().front().cNormal.size());
}

void BM_Normals(benchmark::State& state)
{
    RunNormals(state, MeshCount * int(state.range(0)), GridRows, GridColumns);
}
BENCHMARK(BM_Normals)->Arg(1)->Arg(2)->Arg(4)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_NormalsOneMesh(benchmark::State& state)
{
    // 75 rows of 200 quads at scale 1: 30,000 triangles.
    RunNormals(state, 1, GridRows / 2 * int(state.range(0)), GridColumns);
}
BENCHMARK(BM_NormalsOneMesh)->Arg(1)->Arg(2)->Arg(4)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Sample(benchmark::State& state)
{
    Quiet();
    scene::Scene& scene = GetScene(MeshCount, 0, FrameCount * int(state.range(0)));
    SGMExportOptions options;
    std::unique_ptr<SGMExport> pExport = StartExport(scene, options);
    pExport->WalkScene(options, scene.GetRootNode());
    const std::vector<BoneNode>& cBone = pExport->GetBoneNodes();
    const double boneCount = double(cBone.size());
    for (auto _ : state)
    {
        state.PauseTiming();
        auto pModel = std::make_unique<RenderModel>(options.modelName.c_str());
        pModel->SetAnimList(std::make_unique<AnimListGeneric>(*pModel));
        auto pSkeleton = std::make_unique<Skeleton>(uint32(cBone.size()));
        for (size_t i = 0; i < cBone.size(); ++i)
        {
            pSkeleton->GetBone(int32(i))->SetName(ra::MakeName(cBone[i].name.c_str()));
            pSkeleton->SetBoneParent(int32(i), cBone[i].parent);
        }
        pModel->SetSkeleton(std::move(pSkeleton));
        state.ResumeTiming();

        pExport->SampleAnimation(options, *pModel);

        state.PauseTiming();
        benchmark::DoNotOptimize(pModel->GetAnimList()->GetAnim(0));
        pModel.reset();
        state.ResumeTiming();
    }
    pExport->ShutdownExport();
    state.counters["frames"] = double(FrameCount * state.range(0));
    state.counters["bone_keys"] = boneCount * double(FrameCount * state.range(0));
}
BENCHMARK(BM_Sample)->Arg(1)->Arg(2)->Arg(4)->Unit(benchmark::kMillisecond)->UseRealTime();
} // namespace

BENCHMARK_MAIN();
