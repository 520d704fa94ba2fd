// Builds pipeline.ini trees in a temporary folder for the pipeline tests.
#pragma once
#include "support/tempfolder.h"
#include <algorithm>
#include <initializer_list>
#include <string>

// The system's form of a path: '\\' for every separator.
inline std::string Win(std::string path) { return std::replace(path.begin(), path.end(), '/', '\\'), path; }

// Lines joined with "\r\n", the line end of pipeline.ini.
inline std::string IniText(std::initializer_list<std::string> lines)
{
    std::string text;
    for (const std::string& line : lines)
        text += line + "\r\n";
    return text;
}

// A project section whose folders are "<prefix>/source", "<prefix>/final" and so on.
inline std::string ProjectSection(const std::string& header, const std::string& prefix, const std::string& parent,
                                  const std::string& extra = std::string())
{
    const std::string p = "=" + prefix + "/";
    return IniText({"[" + header + "]", "Description=Art of " + prefix, "DataSource" + p + "source",
                    "DataSourceShared" + p + "shared", "DataBurn" + p + "burn", "DataIntermediate" + p + "interm",
                    "DataGeneric" + p + "generic", "DataFinal" + p + "final", "DataPreview" + p + "preview",
                    "LocaleFolder" + p + "locale", "AttrLoc=attrib\\" + prefix, "Parent=" + parent}) +
           (extra.empty() ? "" : "DataExtra=" + extra + "\r\n");
}

// The folder of the tree's pipeline.ini, as relative folders are put behind it.
inline std::string Front(const TempFolder& root) { return Win(root.Path()) + "\\"; }
