// A project tree in a temporary folder for the burn configuration tests: a pipeline.ini whose
// project "art" keeps its generic data in "gen", a base "_default.burn", and helpers to write
// files and read parameters back.
#pragma once
#include "burnconfig/configload.h"
#include "pipeline/pipeline.h"
#include "support/tempfolder.h"
#include <gtest/gtest.h>
#include <algorithm>
// Two groups, three targets, and the parameters that the tests override.
inline const char* const s_baseBurn = R"(burn_version = 2
burn_targets = {
    { name = "models", wildcard = ".*\\.sgm$", targets = {
        { target = "final", destination = "DataFinal", plugin = "model" },
        { target = "preview", destination = "DataPreview", plugin = "model" } } },
    { name = "copy", targets = { { target = "copy", destination = "DataFinal", plugin = "copy" } } },
}
burn_params = {
    { name = "models", targets = {
        { target = "final", params = { { "dxtc", "5" }, { "mips_to_skip", "0" }, { "write_all_mips", "yes" } } },
        { target = "preview", params = { { "dxtc", "1" } } } } },
    { name = "copy", targets = { { target = "copy", params = { { "read_only", "yes" } } } } },
}
)";

// An override file of one parameter of models/final.
inline std::string Override(const std::string& param, const std::string& value)
{
    return "burn_params = { { name = 'models', targets = { { target = 'final', params = { { '" + param + "', '" + value + "' } } } } } }\n";
}

class BurnTree : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ConfigLoad::ClearBaseCache();
        m_root.Write("pipeline.ini", "[project:art]\r\nDataSource=src\r\nDataSourceShared=\r\nDataBurn=\r\nDataIntermediate=\r\n"
                                     "DataGeneric=gen\r\nDataFinal=final\r\nDataPreview=\r\nLocaleFolder=\r\nAttrLoc=\r\nParent=\r\n");
        m_root.Write("gen/units/tank/tank.sgm", "model");
        m_root.Write("src/tank.max", "scene");
        ASSERT_EQ(Pipeline::InitOk, Pipeline::Initialize(Path("pipeline.ini").c_str()));
    }
    void TearDown() override { Pipeline::Shutdown(); }

    // The system's form of a path in the tree: '\\' for every separator.
    std::string Path(const std::string& relative) const
    {
        std::string path = m_root / relative;
        return std::replace(path.begin(), path.end(), '/', '\\'), path;
    }
    std::string Write(const std::string& relative, const std::string& text) const { return m_root.Write(relative, text), Path(relative); }
    std::string Read(const std::string& relative) const { return TempFolder::Read(m_root / relative); }

    TempFolder m_root;
};

// models/final's parameter `name` as "value", with " (default)" when it equals the level above.
inline std::string Param(const BurnerConfig& config, const char* name, const char* target = "final")
{
    const BurnerConfig::Param* pParam = config.FindParam(config.FindTarget("models", target), name);
    return pParam == nullptr ? "-" : pParam->value + (pParam->isDefault ? " (default)" : "");
}

// The texts of a results list, one a line.
inline std::string Texts(const BurnerResults& results)
{
    std::string text;
    for (const BurnerResults::Record& record : results)
        text += record.text + "\n";
    return text;
}
