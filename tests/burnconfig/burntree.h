// A project tree in a temporary folder for the burn configuration tests: a pipeline.ini whose
// project "art" has its generic data in "gen", the base "_default.burn" of that folder, and
// helpers to write files and read parameters back.
#pragma once

#include "burnconfig/configload.h"
#include "pipeline/pipeline.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <cctype>
#include <string>

// A test name from the case's label: its letters and digits, runs of others as one '_'.
template <class Case> std::string CaseName(const ::testing::TestParamInfo<Case>& info)
{
    std::string name;
    for (const char c : std::string(info.param.label))
    {
        if (std::isalnum(static_cast<unsigned char>(c)))
            name += c;
        else if (!name.empty() && name.back() != '_')
            name += '_';
    }
    return name;
}

// The system's form of a path: '\\' for every separator.
inline std::string Win(std::string path)
{
    for (char& c : path)
        c = c == '/' ? '\\' : c;
    return path;
}

// Two groups, three targets, and the parameters that the overrides of the tests change.
inline const char* const s_baseBurn = R"(burn_version = 2
burn_targets =
{
    { name = "models", wildcard = ".*\\.sgm$", targets =
        {
            { target = "final", destination = "DataFinal", plugin = "model" },
            { target = "preview", destination = "DataPreview", plugin = "model" },
        }
    },
    { name = "copy", targets = { { target = "copy", destination = "DataFinal", plugin = "copy" } } },
}
burn_params =
{
    { name = "models", targets =
        {
            { target = "final", params = { { "dxtc", "5" }, { "mips_to_skip", "0" }, { "write_all_mips", "yes" } } },
            { target = "preview", params = { { "dxtc", "1" } } },
        }
    },
    { name = "copy", targets = { { target = "copy", params = { { "read_only", "yes" } } } } },
}
)";

// An override file of one parameter.
inline std::string Override(const std::string& group, const std::string& target, const std::string& param,
                            const std::string& value)
{
    return "burn_params = { { name = \"" + group + "\", targets = { { target = \"" + target +
           "\", params = { { \"" + param + "\", \"" + value + "\" } } } } } }\n";
}

class BurnTree : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ConfigLoad::ClearBaseCache();
        m_root.Write("pipeline.ini",
                     "[p4]\r\nRevControlPort=\r\n"
                     "[project:art]\r\nDataSource=src\r\nDataSourceShared=\r\nDataBurn=\r\n"
                     "DataIntermediate=\r\nDataGeneric=gen\r\nDataFinal=final\r\nDataPreview=\r\n"
                     "LocaleFolder=\r\nAttrLoc=\r\nParent=\r\n");
        m_root.Write("gen/units/tank/tank.sgm", "model");
        m_root.Write("src/tank.max", "scene");
        ASSERT_EQ(Pipeline::InitOk, Pipeline::Initialize(Path("pipeline.ini").c_str()));
    }
    void TearDown() override
    {
        if (Pipeline::IsInitialized())
            Pipeline::Shutdown();
    }

    std::string Path(const std::string& relative) const { return Win(m_root / relative); }
    std::string Write(const std::string& relative, const std::string& text) const
    {
        m_root.Write(relative, text);
        return Path(relative);
    }
    std::string Read(const std::string& relative) const { return TempFolder::Read(m_root / relative); }

    TempFolder m_root;
};

// A parameter as "value" with " (default)" behind it when it equals the level above; "-" when the
// target or parameter is missing.
inline std::string Param(const BurnerConfig& config, const char* group, const char* target, const char* name)
{
    const BurnerConfig::Param* pParam = config.FindParam(config.FindTarget(group, target), name);
    if (pParam == nullptr)
        return "-";
    return pParam->value + (pParam->isDefault ? " (default)" : "");
}

// The texts of a results list, one a line.
inline std::string Texts(const BurnerResults& results)
{
    std::string text;
    for (const BurnerResults::Record& record : results)
        text += record.text + "\n";
    return text;
}
