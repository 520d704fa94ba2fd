// BurnerConfig: what the burner makes of the files of a generic folder, merged from the ".burn"
// files down the tree. Target groups, in load order, each match file names by a regular
// expression and hold targets; a target names its destination and the burner plug-in that makes
// it, with text parameters. Names of groups, targets and parameters compare without regard to case.
#pragma once

#include "foundation/types.h"

#include <string>
#include <vector>

class BurnerConfig
{
public:
    struct Param
    {
        std::string name;
        std::string value;
        // The value equals the one of the level above this configuration's own file.
        bool isDefault = false;
    };
    using ParamList = std::vector<Param>;

    struct Target
    {
        std::string name;
        std::string destination;
        std::string plugin;
        ParamList cParams;
    };

    struct TargetGroup
    {
        std::string name;
        std::string wildcard;
        std::vector<Target> cTargets;
    };

    // A target within this configuration: the index of its group and its index there.
    struct TargetID
    {
        uint32 group = ~0u;
        uint32 target = ~0u;

        static const TargetID InvalidID;
        bool operator==(const TargetID& other) const = default;
    };

    double GetVersion() const { return m_version; }
    void SetVersion(double version) { m_version = version; }

    // False when either is null or a group of the name exists.
    bool AddTargetGroup(const char* name, const char* wildcard);
    // False for a null argument, an empty name, an unknown group or a name already in the group.
    bool AddTarget(const char* group, const char* name, const char* destination, const char* plugin);

    uint32 TargetGroupCount() const { return uint32(m_cGroups.size()); }
    // An index out of range asserts and gives an empty group.
    const TargetGroup& GetTargetGroup(uint32 index) const;
    uint32 TargetCount(uint32 group) const;
    // The target by index; InvalidID out of range.
    TargetID GetTarget(uint32 group, uint32 index) const;
    // The target by group and target name; InvalidID when there is none.
    TargetID FindTarget(const char* group, const char* name) const;
    // Null for InvalidID or an ID of another configuration's shape.
    const Target* GetTargetInfo(TargetID id) const;

    // The parameters of a target, in the order they were added; null for an invalid ID.
    const ParamList* GetParams(TargetID id) const;
    // Null when the target has no parameter of that name.
    const Param* FindParam(TargetID id, const char* name) const;
    // Replaces the parameter of the same name, or adds it at the end. False for an invalid ID.
    bool SetParam(TargetID id, const Param& param);
    // False when there was no such parameter.
    bool RemoveParam(TargetID id, const char* name);
    // Marks every parameter as equal to the level above.
    void SetAllDefault();

    // Whether any parameter differs from the level above: what a file of its own must hold.
    bool HasOverrides() const;
    bool HasOverrides(uint32 group) const;
    bool HasOverrides(TargetID id) const;

private:
    Target* MutableTarget(TargetID id);

    double m_version = 0;
    std::vector<TargetGroup> m_cGroups;
};
