#include "pipeline/mapper.h"

#include "foundation/debug.h"
#include "pipeline/fullpath.h"
#include "pipeline/pipeline.h"
#include "storage/bytestream.h"
#include "storage/filepath.h"
#include "storage/filepath_hd.h"
#include "storage/filepathutil.h"

#include <set>

namespace
{
constexpr int TopPriority = 200;
const std::vector<Mapper::Mapping> s_noMappings;
} // namespace

Mapper::Shared::~Shared()
{
    if (mapped)
        Unmount();
}

void Mapper::Shared::Unmount()
{
    for (size_t i = 0; i < mappings.size(); ++i)
    {
        if (cMounted[i])
            FilePath::RemoveAlias(alias.c_str(), mappings[i].sourceId.c_str());
        cMounted[i] = false;
    }
    mapped = false;
}

bool Mapper::Map(bool readOnly, const char* alias)
{
    if (!dbAssert(m_shared.get() != NULL && !m_shared->mapped && !m_shared->mappings.empty()))
        return false;
    if (alias != nullptr)
        m_shared->alias = alias;

    int priority = TopPriority;
    for (size_t i = 0; i < m_shared->mappings.size(); ++i, --priority)
    {
        const Mapping& mapping = m_shared->mappings[i];
        const int mode = mapping.extra || readOnly ? ByteStream::Mode_Read : ByteStream::Mode_Both;
        // The folder is kept as pipeline.ini wrote it; the source takes it expanded.
        std::string root = FullPath::Expand(mapping.folder.c_str());
        std::shared_ptr<FilePathHD> pSource = root.empty() || root.size() >= FilePath::MAXPATH
                                                  ? nullptr
                                                  : FilePathHD::Create(root.c_str(), mode, false, false);
        // A read-only folder that does not exist is no failure: it is passed over.
        if (pSource == nullptr)
            continue;
        m_shared->cMounted[i] = FilePath::AddAlias(m_shared->alias.c_str(), mapping.sourceId.c_str(),
                                                   priority, std::move(pSource));
    }
    m_shared->mapped = true;
    return true;
}

bool Mapper::Unmap()
{
    if (!dbAssert(m_shared != nullptr && m_shared->mapped && !m_shared->mappings.empty()))
        return false;
    m_shared->Unmount();
    return true;
}

bool Mapper::IsMapped() const
{
    return m_shared != nullptr && m_shared->mapped;
}

bool Mapper::IsProject(const char* name) const
{
    if (name == nullptr)
        return IsEmpty();
    return !IsEmpty() && FilePathUtil::Equal(name, m_shared->project.c_str());
}

bool Mapper::IsDerivedFrom(const char* name) const
{
    if (name == nullptr || IsEmpty())
        return false;
    std::set<std::string> cSeen;
    const char* current = m_shared->project.c_str();
    while (Pipeline::HasProject(current))
    {
        const char* parent = Pipeline::ProjectParent(current);
        if (parent == nullptr || *parent == '\0')
            return false;
        if (FilePathUtil::Equal(parent, name))
            return true;
        // A parent chain that comes back on itself ends the walk.
        if (!cSeen.insert(parent).second)
            return false;
        current = parent;
    }
    return false;
}

bool Mapper::IsEmpty() const
{
    return m_shared == nullptr || m_shared->project.empty();
}

const char* Mapper::Project() const
{
    return IsEmpty() ? nullptr : m_shared->project.c_str();
}

const char* Mapper::Alias() const
{
    return m_shared != nullptr ? m_shared->alias.c_str() : "";
}

const std::vector<Mapper::Mapping>& Mapper::Mappings() const
{
    return m_shared != nullptr ? m_shared->mappings : s_noMappings;
}
