// The burn of a folder of 64 models (copies of the sample walker under names of their own, each
// with its .ebp, beside a base _default.burn that burns them with DXT5 textures): on one core
// (engine and texture coding pinned to one CPU), on all cores, and a second burn of the same
// folder with nothing changed, which finds every record up to date.
#include "burnerimp/burnengine.h"

#include <benchmark/benchmark.h>

#include <sched.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace fs = std::filesystem;

namespace
{
constexpr int s_modelCount = 64;

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

void WriteFile(const fs::path& path, const std::string& text)
{
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

// The project tree, made once per run in a temporary folder and removed at exit.
class BenchProject
{
public:
    BenchProject()
    {
        std::string pattern = (fs::temp_directory_path() / "tq7z-burn-bench-XXXXXX").string();
        m_root = mkdtemp(pattern.data());
        WriteFile(m_root / "pipeline.ini",
                  "[p4]\r\nRevControlPort=\r\n[project:art]\r\nDataSource=src\r\nDataSourceShared=\r\n"
                  "DataBurn=burn\r\nDataIntermediate=\r\nDataGeneric=gen\r\nDataFinal=final\r\n"
                  "DataPreview=\r\nLocaleFolder=\r\nAttrLoc=\r\nParent=\r\n");
        WriteFile(
            m_root / "gen/_default.burn",
            "burn_version = 1\nburn_targets = { { name = 'models', wildcard = '.*\\\\.sgm$', targets = {\n"
            "  { target = 'final', destination = 'DataFinal', plugin = 'model' } } } }\n"
            "burn_params = { { name = 'models', targets = { { target = 'final', params = {\n"
            "  { 'dxtc', '5' }, { 'mips_to_skip', '0' }, { 'write_all_mips', 'yes' } } } } } }\n");
        const std::string sgm = ReadFile(std::string(TQ7Z_SAMPLES) + "/models/walker.sgm");
        const std::string ebp = ReadFile(std::string(TQ7Z_SAMPLES) + "/models/walker.ebp");
        for (int i = 0; i < s_modelCount; ++i)
        {
            const std::string name = "units/m" + std::to_string(i) + "/m" + std::to_string(i);
            WriteFile(m_root / "gen" / (name + ".sgm"), sgm);
            WriteFile(m_root / "gen" / (name + ".ebp"), ebp);
        }
    }
    ~BenchProject() { fs::remove_all(m_root); }

    std::string Ini() const { return (m_root / "pipeline.ini").string(); }
    std::string Gen() const { return (m_root / "gen").string(); }

private:
    fs::path m_root;
};

BenchProject& Project()
{
    static BenchProject s_project;
    return s_project;
}

// Pins the process to its first CPU for a scope, so that the texture coder's threads share it too.
class OneCore
{
public:
    explicit OneCore(bool pin) : m_pin(pin)
    {
        if (!m_pin)
            return;
        sched_getaffinity(0, sizeof(m_old), &m_old);
        cpu_set_t one;
        CPU_ZERO(&one);
        for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu)
            if (CPU_ISSET(cpu, &m_old))
            {
                CPU_SET(cpu, &one);
                break;
            }
        sched_setaffinity(0, sizeof(one), &one);
    }
    ~OneCore()
    {
        if (m_pin)
            sched_setaffinity(0, sizeof(m_old), &m_old);
    }

private:
    bool m_pin;
    cpu_set_t m_old;
};

BurnRequest Request(bool force)
{
    BurnRequest request;
    request.folder = Project().Gen();
    request.pattern = ".*$";
    request.force = force;
    return request;
}

// A full burn of the 64 models each iteration; range(0) 1 burns on one core, 0 on all.
void BM_BurnFull(benchmark::State& state)
{
    const bool oneCore = state.range(0) == 1;
    OneCore pin(oneCore);
    BurnEngine engine(oneCore ? 1 : 0);
    BurnerResults results;
    if (!engine.Setup(Project().Ini().c_str(), results))
    {
        state.SkipWithError("the burner could not be set up");
        return;
    }
    for (auto _ : state)
    {
        BurnerResults burn;
        const BurnSummary summary = engine.Burn(Request(true), burn);
        if (summary.filesBurned != s_modelCount)
            state.SkipWithError("not every model burned");
    }
    state.counters["threads"] = engine.ThreadCount();
    state.counters["files/s"] =
        benchmark::Counter(double(s_modelCount), benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_BurnFull)->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond)->UseRealTime();

// The second burn with nothing changed: every record found, every output still there.
void BM_BurnIncremental(benchmark::State& state)
{
    BurnEngine engine;
    BurnerResults results;
    if (!engine.Setup(Project().Ini().c_str(), results))
    {
        state.SkipWithError("the burner could not be set up");
        return;
    }
    engine.Burn(Request(true), results);
    for (auto _ : state)
    {
        BurnerResults burn;
        const BurnSummary summary = engine.Burn(Request(false), burn);
        if (summary.filesSkipped != s_modelCount)
            state.SkipWithError("a model was burned again");
    }
    state.counters["files/s"] =
        benchmark::Counter(double(s_modelCount), benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_BurnIncremental)->Unit(benchmark::kMillisecond)->UseRealTime();
} // namespace

BENCHMARK_MAIN();
