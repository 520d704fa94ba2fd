// A project in a temporary folder for the burner tests: pipeline.ini (project "art": generic data in
// "gen", final in "final", burn records under "burn"), a base "_default.burn" in the manner of the
// sample project's, and generic files to burn: models copied from the samples under names of
// their own, a team pattern, a text file, a broken model and a file of a plug-in no burner has.
#pragma once
#include "burnconfig/burnerresults.h"
#include "support/chunkmemory.h"
#include "support/tempfolder.h"
#include <gtest/gtest.h>
#include <algorithm>
#include <map>
inline const char* const s_baseBurn = R"(burn_version = 1
burn_targets = {
    { name = "models", wildcard = ".*\\.sgm$", targets = { { target = "final", destination = "DataFinal", plugin = "model" } } },
    { name = "patterns", wildcard = ".*\\.tqp$", targets = { { target = "final", destination = "DataFinal", plugin = "pattern" } } },
    { name = "copy", wildcard = ".*\\.txt$", targets = { { target = "copy", destination = "DataFinal", plugin = "copy" } } },
    { name = "smelt", wildcard = ".*\\.ore$", targets = { { target = "final", destination = "DataFinal", plugin = "smelter" } } },
}
burn_params = {
    { name = "models", targets = {
        { target = "final", params = { { "dxtc", "5" }, { "mips_to_skip", "0" }, { "write_all_mips", "yes" } } } } },
    { name = "patterns", targets = { { target = "final", params = { { "dxtc", "0" } } } } },
    { name = "copy", targets = { { target = "copy", params = { { "read_only", "yes" } } } } },
}
)";

class BurnProject
{
public:
    // `models` copies of the sample walker, "units/u<N>/u<N>.sgm" with its ".ebp".
    explicit BurnProject(int models = 3, bool extras = true, const std::string& port = "")
    {
        m_root.Write("pipeline.ini", "[p4]\r\nRevControlPort=" + port +
                                         "\r\n[project:art]\r\nDataSource=src\r\nDataSourceShared=\r\nDataBurn=burn\r\n"
                                         "DataIntermediate=\r\nDataGeneric=gen\r\nDataFinal=final\r\nDataPreview=\r\n"
                                         "LocaleFolder=\r\nAttrLoc=\r\nParent=\r\n");
        m_root.Write("gen/_default.burn", s_baseBurn);
        for (int i = 0; i < models; ++i)
            for (const char* extension : {".sgm", ".ebp"})
                m_root.Write("gen/units/u" + std::to_string(i) + "/u" + std::to_string(i) + extension,
                             TempFolder::Read(std::string(TQ7Z_SAMPLES) + "/models/walker" + extension));
        if (extras)
        {
            m_root.Write("gen/teams/red.tqp", PatternBytes());
            m_root.Write("gen/readme.txt", "read me\n");
            m_root.Write("gen/rock.ore", "ore");
            m_root.Write("gen/units/broken/broken.sgm", "this is no chunk file");
        }
    }

    // A team pattern file of 2 x 2 pixels with one layer, as the pattern export writes it.
    static std::string PatternBytes()
    {
        ChunkWriter file;
        file.m_pChunky->OpenFolderChunk(FourCC("TPAT"), 3, "red");
        file.m_pChunky->OpenDataChunk(FourCC("INFO"), 1, nullptr);
        file.m_adapter.WriteValue(uint32(2)), file.m_adapter.WriteValue(uint32(2));
        file.m_pChunky->CloseChunk();
        file.m_pChunky->OpenDataChunk(FourCC("PTLD"), 1, nullptr);
        file.m_adapter.WriteValue(int32(0)), file.m_adapter.WriteValue(uint32(4)), file.m_adapter.WriteValue(uint32(0x80FF40FF));
        file.m_pChunky->CloseChunk();
        file.m_pChunky->CloseChunk();
        return file.Bytes();
    }

    std::string Ini() const { return m_root / "pipeline.ini"; }
    std::string Gen(const std::string& relative = "") const { return m_root / ("gen/" + relative); }
    std::string Final(const std::string& relative) const { return m_root / ("final/" + relative); }
    std::string Write(const std::string& relative, const std::string& text) const { return m_root.Write(relative, text); }
    std::string Read(const std::string& relative) const { return TempFolder::Read(m_root / relative); }
    bool Exists(const std::string& relative) const { return std::filesystem::exists(m_root / relative); }
    const std::string& Root() const { return m_root.Path(); }
    // Every file under "final", relative, with its bytes.
    std::map<std::string, std::string> FinalFiles() const
    {
        std::map<std::string, std::string> cFile;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_root / "final"))
            if (entry.is_regular_file())
                cFile[std::filesystem::relative(entry.path(), m_root / "final").string()] = TempFolder::Read(entry.path().string());
        return cFile;
    }

private:
    TempFolder m_root;
};

// The texts of a results list, one a line.
inline std::string Texts(const BurnerResults& results)
{
    std::string text;
    for (const BurnerResults::Record& record : results)
        text += record.text + "\n";
    return text;
}

// The records of `level` that hold `holding`.
inline int CountLevel(const BurnerResults& results, uint32 level, const std::string& holding = "")
{
    return int(std::count_if(results.begin(), results.end(), [&](const BurnerResults::Record& record)
                             { return record.level == level && record.text.find(holding) != std::string::npos; }));
}
