#include "teamcolour/exporttext.h"

#include "storage/filepathutil.h"

#include <cstring>

namespace TeamColour
{
std::string NormalizedPath(std::string path)
{
    FilePathUtil::Normalize(path.data());
    path.resize(std::strlen(path.c_str()));
    return path;
}
} // namespace TeamColour
