#include "foundation/debug.h"
#include "storage/filepath.h"
#include "storage/filepathutil.h"

#include <algorithm>
#include <cstring>

FilePath::FileSet::FileSet() : m_pFiles(std::make_shared<FoundFiles>()) {}

FilePath::FileSet::FileSet(const char* basePath) : FileSet()
{
    if (dbAssert(basePath && std::strlen(basePath) <= size_t(MAXPATH)))
        m_pFiles->basePath = basePath;
}

void FilePath::FileSet::Add(const char* filename)
{
    if (!dbAssert(filename && *filename != '\0' && strlen(filename) <= MAXPATH))
        return;
    char full[MAXPATH];
    if (!FilePathUtil::Join(full, m_pFiles->basePath.c_str(), filename))
        return;
    FilePathUtil::Normalize(full);
    // Kept sorted by the caseless order, so a name found in two sources meets its twin here.
    std::vector<FixedString<MAXPATH>>& cName = m_pFiles->cName;
    auto place = std::lower_bound(cName.begin(), cName.end(), full,
                                  [](const FixedString<MAXPATH>& a, const char* b)
                                  { return FilePathUtil::Compare(a.c_str(), b) < 0; });
    if (place != cName.end() && FilePathUtil::Equal(place->c_str(), full))
        return;
    cName.insert(place, FixedString<MAXPATH>(full));
}

uint32 FilePath::FileSet::GetCount() const
{
    return uint32(m_pFiles->cName.size());
}

const char* FilePath::FileSet::Get(uint32 index) const
{
    if (!dbAssert(index < GetCount()))
        return nullptr;
    return m_pFiles->cName[index].c_str();
}

const char* FilePath::FileSet::GetBasePath() const
{
    return m_pFiles->basePath.c_str();
}
