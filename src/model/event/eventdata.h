// Event data: the shared, named bag of text parameters that a motion fires at a time in its play
// ("fx" = "art/fx/dust", "marker" = "foot_l"...). Held by the inventory and referenced by a
// model's event list and by the motions that fire it.
#pragma once

#include "inventory/namedresource.h"
#include "inventory/resourcetypeinfo.h"
#include "names/name.h"

#include <memory>
#include <string>
#include <vector>

namespace ra
{
class EventData : public Inv::NamedResource
{
public:
    struct Param
    {
        // The key compares; the text is kept as given, for writing it back.
        ra::Name key;
        std::string name;
        std::string value;
    };

    EventData() = default;
    explicit EventData(const char* name) : Inv::NamedResource(name) {}

    static Inv::ResourceTypeInfo* GetTypeInfo();

    // Where the files of events lie, under the data alias.
    static constexpr const char* EventFolder = "art/events/";
    // The name an event is known by. A name holding a separator, a colon or a full stop is a path:
    // the drive or alias goes, and a leading separator, separators become '/', the text is cut at
    // its first full stop, and it is put under "art/events/" unless it is there already. Every
    // name is lower case. "c:\\ART\\Events\\Foo.events" is "art/events/foo"; "foo" stays "foo".
    static std::string NormalizeName(const char* in);

    // Appends a parameter. An empty or null name, or a null value, is an assertion and adds nothing.
    void AddParam(const char* name, const char* value);
    int GetParamCount() const { return int(m_Params.size()); }
    // Null (an assertion) out of range.
    const char* GetParamName(int index) const;
    const char* GetParamValue(int index) const;
    ra::Name GetParamKey(int index) const;
    // The value of the first parameter of that name, or null.
    const char* FindParam(ra::Name key) const;
    void ClearParams() { m_Params.clear(); }

private:
    std::vector<Param> m_Params;
};
} // namespace ra

// The inventory's description of event data: a name is loaded from its event file by the reader
// that the model file library registers, and an event that cannot be loaded has no stand-in (the motion goes
// on without it).
class EventDataTypeInfo final : public Inv::ResourceTypeInfo
{
public:
    // Reads the event file of a name; null (logged by the reader with `caller`) when it cannot.
    using EventReader = std::unique_ptr<ra::EventData> (*)(const char* name, const char* caller);
    static void SetEventReader(EventReader reader);
    static EventReader GetEventReader();

    const char* GetTypeName() override { return "Event Data"; }
    bool CanReload() override { return true; }
    Inv::NamedResource* CreateDefault(const char*) override { return nullptr; }
    void Destroy(Inv::NamedResource* data) override;
    Inv::NamedResource* Load(const char* name) override;
};
