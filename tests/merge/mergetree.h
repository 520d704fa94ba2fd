// What the merge tests run on: a copy of the sample project in a temporary folder, its burner path
// pointed at `burnerFolder`, with the scout's scenes exported by the built tq7z into `exportFolder`
// below the root (reference/ref.sgm, walk.sgm, idle.sgm), by default the intermediate folder.
#pragma once
#include "support/runtool.h"
#include "support/tempfolder.h"
#include <gtest/gtest.h>
namespace merge_test
{
class MergeTree
{
public:
    explicit MergeTree(const std::string& burnerFolder = "tools", const std::string& exportFolder = "art/intermediate/units/scout")
        : m_export(exportFolder)
    {
        std::filesystem::copy(std::string(TQ7Z_SAMPLES) + "/project", m_temp.Path(), std::filesystem::copy_options::recursive);
        std::string ini = TempFolder::Read(Path("pipeline.ini"));
        const std::string key = "burnerPath=tools/BurnerImp";
        const size_t at = ini.find(key);
        m_ready = at != std::string::npos;
        m_temp.Write("pipeline.ini", m_ready ? ini.replace(at, key.size(), "burnerPath=" + burnerFolder) : ini);
        for (const char* scene : {"reference/ref", "walk", "idle"})
        {
            const ToolRun run = RunTool({"export", Path(std::string("art/source/units/scout/") + scene + ".json"), Intermediate(scene),
                                         "--suppress-prompts"});
            EXPECT_EQ(run.status, 0) << scene << ": " << run.err;
            m_ready = m_ready && run.status == 0;
        }
    }
    bool IsReady() const { return m_ready; }
    const std::string& Root() const { return m_temp.Path(); }
    // A name below the project's root, made full.
    std::string Path(const std::string& name) const { return m_temp / name; }
    // The exported file of a scene ("walk", "reference/ref").
    std::string Intermediate(const std::string& scene) const { return Path(m_export + "/" + scene + ".sgm"); }
    bool Exists(const std::string& name) const { return std::filesystem::exists(Path(name)); }
private:
    TempFolder m_temp;
    std::string m_export;
    bool m_ready = false;
};
} // namespace merge_test
