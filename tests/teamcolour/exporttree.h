// What the export tests run in: a project tree in a temporary folder with its pipeline.ini (project
// "art": sources in src/, generic data in gen/), the plain disk under "TOOL", images written as TGA
// files, and revision control and burn steps that only record what they are asked.
#pragma once

#include "image/imageload.h"
#include "image/imagetypes.h"
#include "pipeline/pipeline.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "support/tempfolder.h"
#include "teamcolour/burnsteps.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace teamcolour_test
{
// A pixel as blue, green, red, alpha.
struct Pixel
{
    uint8 b = 0, g = 0, r = 0, a = 255;
};

// The runtime error's text, or "" when the call returns.
template <class F> std::string ErrorOf(F&& call)
{
    try
    {
        call();
    }
    catch (const std::runtime_error& e)
    {
        return e.what();
    }
    return "";
}

// The bare text thrown (not a std::exception, so that the script commands' handlers let it pass).
template <class F> std::string BareTextOf(F&& call)
{
    try
    {
        call();
    }
    catch (const std::string& text)
    {
        return text;
    }
    return "";
}

class ExportTree
{
public:
    // With `projectCopy`, a copy of that tree with its own pipeline.ini instead.
    explicit ExportTree(const std::string& projectCopy = "")
    {
        if (!projectCopy.empty())
            std::filesystem::copy(projectCopy, m_temp.Path(), std::filesystem::copy_options::recursive);
        else
            m_temp.Write("pipeline.ini",
                         "[p4]\r\nRevControlPort=\r\n[project:art]\r\nDataSource=src\r\n"
                         "DataSourceShared=\r\nDataBurn=\r\nDataIntermediate=\r\nDataGeneric=gen\r\n"
                         "DataFinal=final\r\nDataPreview=\r\nLocaleFolder=\r\nAttrLoc=\r\nParent=\r\n");
        std::filesystem::create_directories(m_temp / "src");
        std::filesystem::create_directories(m_temp / "gen");
        FilePath::AddAlias("TOOL", "HD", 99, std::make_shared<FilePathHDRaw>());
        m_initialized = Pipeline::Initialize((m_temp / "pipeline.ini").c_str()) == Pipeline::InitOk;
        m_pSteps = std::make_unique<TeamColour::ScopedBurnSteps>(TeamColour::BurnSteps{
            [this](uint32& changelist, const char* filename)
            {
                m_cCalls.push_back("open " + Relative(filename));
                changelist = 42;
                return m_openResult;
            },
            [this](const std::string& path, uint32 changelist)
            {
                m_cCalls.push_back("burn " + Relative(path) + " " + std::to_string(changelist));
                return m_burnResult;
            }});
    }
    ~ExportTree()
    {
        m_pSteps.reset();
        if (m_initialized)
            Pipeline::Shutdown();
        FilePath::RemoveAlias("TOOL", "HD");
    }
    ExportTree(const ExportTree&) = delete;
    ExportTree& operator=(const ExportTree&) = delete;

    bool IsReady() const { return m_initialized; }
    const std::string& Root() const { return m_temp.Path(); }
    std::string Path(const std::string& name) const { return m_temp / name; }
    std::string Tool(const std::string& name) const { return "TOOL:" + (m_temp / name); }
    // A name as the path layer gives it back in messages: every separator a '\\'.
    static std::string Backslashed(std::string name)
    {
        for (char& c : name)
            c = c == '/' ? '\\' : c;
        return name;
    }
    bool Exists(const std::string& name) const { return std::filesystem::exists(m_temp / name); }

    // A TGA file of w by h pixels, each from `pixel(x, y)`.
    void WriteImage(const std::string& name, uint32 w, uint32 h,
                    const std::function<Pixel(uint32, uint32)>& pixel)
    {
        Image_RGBA32 image;
        image.Allocate(w, h);
        for (uint32 y = 0; y < h; ++y)
            for (uint32 x = 0; x < w; ++x)
            {
                const Pixel p = pixel(x, y);
                uint8* pData = image.GetData() + (y * w + x) * 4;
                pData[0] = p.b;
                pData[1] = p.g;
                pData[2] = p.r;
                pData[3] = p.a;
            }
        std::filesystem::create_directories(std::filesystem::path(m_temp / name).parent_path());
        ASSERT_TRUE(ImageLoad::Save(Tool(name).c_str(), image)) << name;
    }
    // A plain image whose alpha is `alpha`.
    void WriteMask(const std::string& name, uint32 side, uint8 alpha)
    {
        WriteImage(name, side, side, [alpha](uint32, uint32) { return Pixel{10, 20, 30, alpha}; });
    }

    // What the steps were asked, in order: "open gen/x.tqp", "burn gen/x.tqp 42".
    std::vector<std::string> m_cCalls;
    bool m_openResult = true;
    bool m_burnResult = true;

private:
    std::string Relative(const std::string& name) const
    {
        std::string text = name;
        for (char& c : text)
            c = c == '\\' ? '/' : c;
        const std::string root = m_temp.Path() + "/";
        return text.compare(0, root.size(), root) == 0 ? text.substr(root.size()) : text;
    }

    TempFolder m_temp;
    bool m_initialized = false;
    std::unique_ptr<TeamColour::ScopedBurnSteps> m_pSteps;
};
} // namespace teamcolour_test
