// Reading and writing a generic model file of 20 skinned meshes of 10,000 vertices, 60 bones and 20
// animations of 300 frames, through DiskFileStream, each beside a plain read or write of the same
// bytes (fread/fwrite of the file) in the same run; and reading the same model from a final file
// (.tqm) beside a plain read of that file. Rates are bytes of the file per second.
#include "foundation/output.h"
#include "foundation/runoptions.h"
#include "inventory/warehouse.h"
#include "model/anim/animlist.h"
#include "model/file/final/rendermodelloadfinal.h"
#include "model/file/generic/rendermodelloadgeneric.h"
#include "model/rendermodel.h"
#include "model/shader/shaderimp.h"
#include "render/device.h"
#include "storage/chunky.h"
#include "storage/diskfilestream.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{
constexpr uint32 MeshCount = 20;
constexpr uint32 VertexCount = 10000;
constexpr uint32 BoneCount = 60;
constexpr uint32 AnimCount = 20;
constexpr uint32 FrameCount = 300;

std::string TempFolder()
{
    static const std::string s_folder = []
    {
        char pattern[] = "/tmp/tq7z_model_bench_XXXXXX";
        if (::mkdtemp(pattern) == nullptr)
            std::abort();
        return std::string(pattern);
    }();
    return s_folder;
}

// The device and the inventory for the whole run; assertions and log lines are dropped.
void Setup()
{
    static const bool s_done = []
    {
        static dbg::DebugSpewDispatcher s_quiet;
        dbg::SetDispatcher(&s_quiet);
        RunOptions::SetFileText("notrace");
        fr::Interface::CreateDevice({});
        Inv::Warehouse::Create();
        RenderModelLoadGeneric::Register();
        return true;
    }();
    (void)s_done;
}

std::unique_ptr<fr::PrimSet> Triangles(uint32 vertexCount)
{
    std::vector<uint16> cIndex;
    for (uint32 v = 0; v + 2 < vertexCount; v += 3)
        cIndex.insert(cIndex.end(), {uint16(v), uint16(v + 1), uint16(v + 2)});
    std::unique_ptr<fr::PrimSet> pSet = fr::Interface::GetDevice()->CreatePrimSet();
    pSet->Initialise(nullptr, nullptr, 2);
    pSet->SetKind(fr::PK_TriangleList);
    pSet->SetIndexCount(uint32(cIndex.size()));
    pSet->WriteIndices(0, uint32(cIndex.size()), cIndex);
    return pSet;
}

Inv::Reference<ra::Mesh> BuildMesh(uint32 index, const Inv::Reference<Shader>& shader)
{
    char name[32];
    std::snprintf(name, sizeof(name), "mesh_%02u", index);
    auto pMesh = std::make_unique<ra::Mesh>(name);
    fr::VertexType type;
    for (uint32 component : {fr::VC_Position, fr::VC_Weights, fr::VC_Normal, fr::VC_TexCoord0})
        type.set(component);
    std::unique_ptr<fr::VertexSet> pSet = ra::CreateVertexSet(type, VertexCount);
    for (uint32 component : {fr::VC_Position, fr::VC_Weights, fr::VC_Normal, fr::VC_TexCoord0})
    {
        std::vector<uint32> cWord(size_t(VertexCount) * ra::GetStreamWordCount(component));
        for (size_t i = 0; i < cWord.size(); ++i)
            cWord[i] = uint32(i * 2654435761u + index);
        ra::WriteStreamWords(*pSet, component, cWord);
    }
    pMesh->SetVertexSet(ra::Mesh::Poly_High, std::move(pSet));
    pMesh->SetPrimSetCount(1);
    pMesh->SetPrimSetShader(0, shader);
    pMesh->SetPrimSet(0, ra::Mesh::Poly_High, Triangles(VertexCount));
    pMesh->SetPolyCount(ra::Mesh::Poly_High, int32(VertexCount / 3));
    pMesh->SetSkinnedTransformCount(4);
    for (int32 s = 0; s < 4; ++s)
    {
        char bone[32];
        std::snprintf(bone, sizeof(bone), "bone_%02u", (index + uint32(s)) % BoneCount);
        pMesh->SetSkinnedTransformName(s, ra::MakeName(bone));
        pMesh->SetSkinnedTransformIndex(s, s);
    }
    ra::OBB box;
    box.scale = {1, 1, 1};
    ra::BoundVolume bv;
    bv.SetOBB(box);
    pMesh->SetBV(bv);
    auto* pResource = new Inv::Resource(pMesh.release());
    Inv::Warehouse::Get()->AddAnonymous(pResource, ra::Mesh::GetTypeInfo());
    return Inv::Reference<ra::Mesh>(pResource);
}

std::unique_ptr<Anim> BuildAnim(uint32 index, const Skeleton& skeleton)
{
    char name[32];
    std::snprintf(name, sizeof(name), "anim_%02u", index);
    auto pAnim = std::make_unique<Anim>(name);
    pAnim->SetFrameCount(int32(FrameCount));
    pAnim->SetTime(float(FrameCount) / 30.0f);
    pAnim->SetBoneCount(int(BoneCount));
    for (int b = 0; b < int(BoneCount); ++b)
    {
        pAnim->SetBoneName(b, skeleton.GetBone(b)->GetName());
        pAnim->SetBoneAnimated(b, true);
        auto pPositions = std::make_unique<BonePositionStream>(FrameCount);
        auto pRotations = std::make_unique<BoneRotationStream>(FrameCount);
        for (uint32 f = 0; f < FrameCount; ++f)
        {
            const float t = float(f) / float(FrameCount - 1);
            pPositions->SetTime(f, t);
            pPositions->SetValue(f, {t, float(b), float(index)});
            pRotations->SetTime(f, t);
            pRotations->SetValue(f, {0, std::sin(t), 0, std::cos(t)});
        }
        pAnim->SetPositionStream(b, std::move(pPositions));
        pAnim->SetRotationStream(b, std::move(pRotations));
    }
    return pAnim;
}

// The model, made once in a frame of its own.
const RenderModel& Model()
{
    static const std::unique_ptr<RenderModel> s_pModel = []
    {
        Setup();
        Inv::Warehouse::Get()->PushFrame("bench source");
        auto pModel = std::make_unique<RenderModel>("bench");
        pModel->SetAnimList(std::make_unique<AnimListGeneric>(*pModel));
        auto pSkeleton = std::make_unique<Skeleton>(BoneCount);
        for (int32 b = 0; b < int32(BoneCount); ++b)
        {
            char bone[32];
            std::snprintf(bone, sizeof(bone), "bone_%02d", b);
            pSkeleton->GetBone(b)->SetName(ra::MakeName(bone));
            pSkeleton->GetBone(b)->SetPosition({0, 0.1f, 0});
            pSkeleton->SetBoneParent(b, b - 1);
        }
        pSkeleton->BuildRefPose();
        pModel->SetSkeleton(std::move(pSkeleton));
        auto pShader = std::make_unique<ShaderImp>("bench_shader");
        Inv::Reference<Shader> shader = Inv::Warehouse::Get()->Add<Shader>(pShader.get());
        pShader.release();
        auto pGroup = std::make_unique<ra::MeshGroup>();
        pGroup->SetSkeleton(pModel->GetSkeleton());
        pGroup->SetMeshCount(int32(MeshCount));
        for (uint32 m = 0; m < MeshCount; ++m)
        {
            char name[32];
            std::snprintf(name, sizeof(name), "mesh_%02u", m);
            pGroup->SetMesh(int32(m),
                            ra::MeshRef{BuildMesh(m, shader), ra::MakeName(name), ra::Name::INVALID, -1, {}});
        }
        pGroup->ResolveSkinnedTransforms();
        pModel->SetMeshGroup(std::move(pGroup));
        for (uint32 a = 0; a < AnimCount; ++a)
        {
            Inv::Reference<Anim> animRef = Anim::AddToInventory(BuildAnim(a, *pModel->GetSkeleton()));
            auto pNode = std::make_unique<AnimListNode>(int(BoneCount), 0, 0);
            pNode->SetAnim(animRef);
            pModel->GetAnimList()->AddAnim(std::move(pNode), false);
        }
        Inv::Warehouse::Get()->PopFrame();
        return pModel;
    }();
    return *s_pModel;
}

// The model's file, written once.
const std::string& ModelFile()
{
    static const std::string s_path = []
    {
        const std::string path = TempFolder() + "/bench.sgm";
        std::unique_ptr<DiskFileStream> pStream =
            DiskFileStream::New(path.c_str(), ByteStream::Mode_Write, false);
        ByteStreamAdapter adapter(*pStream);
        Chunky chunky(adapter);
        RenderModelLoadGeneric::Save(chunky, adapter, Model());
        return path;
    }();
    return s_path;
}

int64_t FileSize(const std::string& path)
{
    std::FILE* pFile = std::fopen(path.c_str(), "rb");
    if (pFile == nullptr)
        return 0;
    std::fseek(pFile, 0, SEEK_END);
    const long size = std::ftell(pFile);
    std::fclose(pFile);
    return size;
}

void BM_ModelWrite(benchmark::State& state)
{
    const RenderModel& model = Model();
    const std::string path = TempFolder() + "/written.sgm";
    for (auto _ : state)
    {
        std::unique_ptr<DiskFileStream> pStream =
            DiskFileStream::New(path.c_str(), ByteStream::Mode_Write, false);
        ByteStreamAdapter adapter(*pStream);
        Chunky chunky(adapter);
        RenderModelLoadGeneric::Save(chunky, adapter, model);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * FileSize(path));
}
BENCHMARK(BM_ModelWrite)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_PlainWrite(benchmark::State& state)
{
    const std::string& source = ModelFile();
    std::vector<char> bytes(size_t(FileSize(source)));
    std::FILE* pIn = std::fopen(source.c_str(), "rb");
    const size_t got = std::fread(bytes.data(), 1, bytes.size(), pIn);
    std::fclose(pIn);
    const std::string path = TempFolder() + "/plain.sgm";
    for (auto _ : state)
    {
        std::FILE* pOut = std::fopen(path.c_str(), "wb");
        benchmark::DoNotOptimize(std::fwrite(bytes.data(), 1, got, pOut));
        std::fclose(pOut);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(got));
}
BENCHMARK(BM_PlainWrite)->Unit(benchmark::kMillisecond)->UseRealTime();

// The same model in the final form, written once.
const std::string& FinalFile()
{
    static const std::string s_path = []
    {
        const std::string path = TempFolder() + "/bench.tqm";
        std::unique_ptr<DiskFileStream> pStream =
            DiskFileStream::New(path.c_str(), ByteStream::Mode_Write, false);
        ByteStreamAdapter adapter(*pStream);
        Chunky chunky(adapter);
        if (!RenderModelLoadFinal::Save(chunky, adapter, Model()))
            std::abort();
        return path;
    }();
    return s_path;
}

std::unique_ptr<RenderModel> LoadGeneric(Chunky& chunky, ByteStreamAdapter& adapter)
{
    return RenderModelLoadGeneric::Load(chunky, adapter, nullptr);
}

std::unique_ptr<RenderModel> LoadFinal(Chunky& chunky, ByteStreamAdapter& adapter)
{
    return RenderModelLoadFinal::Load(chunky, adapter);
}

// A read of the file into a new model, which is let go (with what it brought into the inventory)
// outside the timing: the final reader would otherwise find its meshes by name and skip them.
template <class LoadFn> void ModelRead(benchmark::State& state, const std::string& path, LoadFn load)
{
    for (auto _ : state)
    {
        Inv::Warehouse::Get()->PushFrame("bench read");
        {
            std::unique_ptr<DiskFileStream> pStream =
                DiskFileStream::New(path.c_str(), ByteStream::Mode_Read, false);
            ByteStreamAdapter adapter(*pStream);
            Chunky chunky(adapter);
            std::unique_ptr<RenderModel> pModel = load(chunky, adapter);
            if (!pModel)
                state.SkipWithError("the model did not load");
            benchmark::DoNotOptimize(pModel.get());
            state.PauseTiming();
            pModel.reset();
        }
        Inv::Warehouse::Get()->PopFrame();
        Inv::Warehouse::Get()->FlushUnreferenced();
        state.ResumeTiming();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * FileSize(path));
}

void BM_ModelRead(benchmark::State& state)
{
    ModelRead(state, ModelFile(), LoadGeneric);
}
BENCHMARK(BM_ModelRead)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_FinalRead(benchmark::State& state)
{
    ModelRead(state, FinalFile(), LoadFinal);
}
BENCHMARK(BM_FinalRead)->Unit(benchmark::kMillisecond)->UseRealTime();

void PlainRead(benchmark::State& state, const std::string& path)
{
    std::vector<char> block(1 << 18);
    int64_t total = 0;
    for (auto _ : state)
    {
        std::FILE* pFile = std::fopen(path.c_str(), "rb");
        size_t got;
        while ((got = std::fread(block.data(), 1, block.size(), pFile)) > 0)
            total += int64_t(got);
        std::fclose(pFile);
        benchmark::DoNotOptimize(block.data());
    }
    state.SetBytesProcessed(total);
}

void BM_PlainRead(benchmark::State& state)
{
    PlainRead(state, ModelFile());
}
BENCHMARK(BM_PlainRead)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_FinalPlainRead(benchmark::State& state)
{
    PlainRead(state, FinalFile());
}
BENCHMARK(BM_FinalPlainRead)->Unit(benchmark::kMillisecond)->UseRealTime();
} // namespace

BENCHMARK_MAIN();
