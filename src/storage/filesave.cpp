#include "storage/filesave.h"

#include "foundation/output.h"
#include "storage/filepath.h"
#include "storage/osfile.h"

#include <cstring>
#include <limits>

namespace
{
const char* ResultText(OSFile::Result result)
{
    switch (result)
    {
    case OSFile::R_FileNotFound:
        return "no such folder";
    case OSFile::R_AccessDenied:
        return "access denied";
    default:
        return "the disk refused it";
    }
}
} // namespace

FileSave::FileSave(const char* name) : m_target(name ? name : "")
{
    SetName(m_target.c_str());
    SetStreamMode(Mode_Write);
}

uint32 FileSave::Write(const void* src, uint32 count)
{
    // Positions are 32-bit, as in every stream.
    if (count > std::numeric_limits<uint32>::max() - m_position)
        return 0;
    const size_t end = size_t(m_position) + count;
    if (end > m_data.size())
        m_data.resize(end);
    if (count != 0)
        std::memcpy(m_data.data() + m_position, src, count);
    m_position = uint32(end);
    return count;
}

bool FileSave::Seek(uint32 absolutePosition)
{
    if (absolutePosition > m_data.size())
        return false;
    m_position = absolutePosition;
    return true;
}

bool FileSave::Commit()
{
    char path[FilePath::MAXPATH];
    if (m_target.empty() || m_target.size() >= sizeof(path))
    {
        dbWarningf("'%s': Unable to write the file: the name is empty or too long!", m_target.c_str());
        return false;
    }
    std::strcpy(path, m_target.c_str());
    if (FilePath::BuildPath(path, Mode_Write))
    {
        const OSFile::Result result = OSFile::WriteWhole(path, m_data.data(), m_data.size());
        if (result == OSFile::R_Success)
            return true;
        dbWarningf("'%s': Unable to write the file (%s)!", m_target.c_str(), ResultText(result));
        return false;
    }
    // A source that names no disk file takes the bytes through its own stream.
    std::shared_ptr<ByteStream> pStream = FilePath::Open(m_target.c_str(), Mode_Write);
    if (!pStream || pStream->Write(m_data.data(), uint32(m_data.size())) != m_data.size())
    {
        dbWarningf("'%s': Unable to write the file!", m_target.c_str());
        return false;
    }
    pStream->Flush();
    return true;
}
