// A project tree in a temporary folder for the burn configuration tests: a pipeline.ini whose
// project "art" keeps its generic data in "gen", a base "_default.burn", and helpers to write
// files and read parameters back.
#pragma once

#include "burnconfig/configload.h"
#include "pipeline/pipeline.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <cctype>
#include <string>

// A test name from a case's label: its letters and digits, other runs as one '_'.
template <class Case> std::string CaseName(const ::testing::TestParamInfo<Case>& info)
{
    std::string name;
    for (const char c : std::string(info.param.label))
        if (std::isalnum(static_cast<unsigned char>(c)))
            name += c;
        else if (!name.empty() && name.back() != '_')
            name += '_';
    return name;
}

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
    return "burn_params = { { name = 'models', targets = { { target = 'final', params = { { '" + param +
           "', '" + value + "' } } } } } }\n";
}

class BurnTree : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ConfigLoad::ClearBaseCache();
        m_root.Write("pipeline.ini",
                     "[project:art]\r\nDataSource=src\r\nDataSourceShared=\r\nDataBurn=\r\n"
                     "DataIntermediate=\r\nDataGeneric=gen\r\nDataFinal=final\r\nDataPreview=\r\n"
                     "LocaleFolder=\r\nAttrLoc=\r\nParent=\r\n");
        m_root.Write("gen/units/tank/tank.sgm", "model");
        m_root.Write("src/tank.max", "scene");
        ASSERT_EQ(Pipeline::InitOk, Pipeline::Initialize(Path("pipeline.ini").c_str()));
    }
    void TearDown() override { Pipeline::Shutdown(); }

    // The system's form of a path in the tree: '\\' for every separator.
    std::string Path(const std::string& relative) const
    {
        std::string path = m_root / relative;
        for (char& c : path)
            c = c == '/' ? '\\' : c;
        return path;
    }
    std::string Write(const std::string& relative, const std::string& text) const
    {
        m_root.Write(relative, text);
        return Path(relative);
    }
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
