#include "logging/runoptionsfile.h"

#include "foundation/runoptions.h"
#include "storage/osfile.h"

#include <string>

namespace RunOptions
{
namespace
{
// A file of options is a few words; anything larger is not one.
constexpr uint32 MaxFileSize = 0x10000;
} // namespace

bool LoadFile(const char* name)
{
    SetFileText(nullptr);
    if (name == nullptr || *name == '\0' || (OSFile::FileAttr(name) & OSFile::F_ATTRIBUTE_FILE) == 0)
        return false;
    const OSFile::Handle file = OSFile::Open(name, OSFile::OM_Read, true);
    if (file == 0)
        return false;
    const uint32 length = OSFile::Length(file);
    const uint32 wanted = length < MaxFileSize ? length : MaxFileSize;
    std::string text(wanted, '\0');
    const uint32 got = wanted > 0 ? OSFile::Read(file, text.data(), wanted) : 0;
    OSFile::Close(file);
    text.resize(got);
    SetFileText(text.c_str());
    return true;
}

int Init(int argc, char** argv)
{
    const int left = SetCommandLine(argc, argv);
    LoadFile(FileName);
    return left;
}
} // namespace RunOptions
