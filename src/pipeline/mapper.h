// A counted handle that mounts a project's data folders of one kind, and those of its ancestors,
// into the file path aliases: the child at priority 200, each further folder one lower. Copies
// share one mount, which is taken down when the last handle goes.
#pragma once

#include "pipeline/pipelinedata.h"

#include "foundation/types.h"

#include <memory>
#include <string>
#include <vector>

class Mapper
{
public:
    // One folder to mount: the id of its source in the alias, and whether it is an extra
    // (read-only) final folder.
    struct Mapping
    {
        std::string sourceId;
        std::string folder;
        bool extra = false;
    };

    // An empty handle: no project, nothing to mount.
    Mapper() = default;

    // Mounts every folder, read-only when `readOnly` (extra folders always are). A non-null
    // `alias` replaces the alias of the kind. A folder that cannot be mounted is passed over.
    bool Map(bool readOnly = false, const char* alias = nullptr);
    bool Unmap();
    bool IsMapped() const;

    // With a name, whether it is this mapper's project (any case); with null, whether the mapper
    // has no project.
    bool IsProject(const char* name) const;
    // Whether `name` is a strict ancestor of this mapper's project.
    bool IsDerivedFrom(const char* name) const;
    bool IsEmpty() const;
    // Null for an empty handle.
    const char* Project() const;
    const char* Alias() const;
    const std::vector<Mapping>& Mappings() const;

private:
    friend class Pipeline;

    struct Shared
    {
        std::vector<Mapping> mappings;
        // Which mappings have a source in the alias now.
        std::vector<bool> cMounted;
        std::string project;
        bool mapped = false;
        int kind = DataFinal;
        std::string alias;

        ~Shared();
        void Unmount();
    };

    std::shared_ptr<Shared> m_shared;
};
