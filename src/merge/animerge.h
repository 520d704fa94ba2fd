// Ani-merge: the exporter writes a model and each of its animations to separate intermediate
// ".sgm" files; the merge loads the model, adds the first animation of each animation file, and
// writes one merged model file named after the merge file, then exports the model's team colour
// patterns and shared shaders. All files are reached through "TOOL:", the plain disk.
//
// A merge brackets a whole set-up and tear-down: the tool log (the model file's name cut at its
// first point, ".log" behind it), the aliases "TOOL" and "DATA", the pipeline of the model file,
// the render device and the inventory. A failed set-up or merge returns false and leaves all of
// them as far as they came, so the next merge in the same process finds its log and aliases taken;
// the script commands' resets clear that state. Only an exception of the standard base is caught:
// its text goes to the listener and everything is torn down, with the log ending in error code -1.
// The bare text that a failed burn throws passes through to the caller.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace AniMerge
{
// What a merge writes: the merged model (with its animations), and the shared textures' patterns
// and shaders. Both on by default.
struct Flags
{
    bool exportModel = true;
    bool exportTextures = true;
};

// Where the merge's messages go: the script's listener.
using Listener = std::function<void(const std::string& text)>;

struct Arguments
{
    // How many arguments the command had: fewer than three gets the usage text after set-up.
    size_t count = 0;
    std::string mergeFile;
    // Full path of a file in a project's intermediate folder; the set-up starts from it.
    std::string modelFile;
    // The animation files, in merge order.
    std::vector<std::string> cAnimFile;
};

// The listener texts.
extern const char* const UsageText;
extern const char* const LoadFailedText; // "%s": the model file
extern const char* const BuildFailedText;
extern const char* const SaveFailedText; // "%s": the merged model's name

// Set-up, merge and, on success, tear-down. True when the merge was done.
bool Run(const Arguments& arguments, const Flags& flags, const Listener& listener);
} // namespace AniMerge
