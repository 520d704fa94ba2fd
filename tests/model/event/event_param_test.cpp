#include "model/event/event.h"
#include "model/event/eventdata.h"
#include "model/event/eventlist.h"
#include "model/event/eventnames.h"

#include "foundation/debug.h"
#include "inventory/inventory.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace
{
// An inventory for the event data, and a sink that only counts what reaches it.
struct EventEnv
{
    EventEnv() { Inv::Warehouse::Create(); }
    ~EventEnv() { Inv::Warehouse::Destroy(); }
    EventEnv(const EventEnv&) = delete;
    EventEnv& operator=(const EventEnv&) = delete;
};

struct CountingSink final : ra::EventSink
{
    CountingSink() { SetOwnerName("units/marine"); }
    bool Trigger(const ra::Event&) override { return ++triggers, true; }
    void PrecacheFX(const ra::EventData&) override {}
    void PrecacheSound(const ra::EventData&) override {}
    void Update(float) override {}
    int triggers = 0;
};

Inv::Reference<ra::EventData> MakeEvent(const char* name,
                                        std::initializer_list<std::pair<const char*, const char*>> params)
{
    auto* pData = new ra::EventData(name);
    for (const auto& param : params)
        pData->AddParam(param.first, param.second);
    return Inv::Warehouse::Get()->Add(pData);
}

ra::Name Key(int index)
{
    return ra::EventNames::GetParamKey(index);
}
} // namespace

TEST(EventParams, ExpansionReplacesTheFirstVariable)
{
    EventEnv env;
    CountingSink sink;
    auto ref = MakeEvent("hit", {{"fx", "art/fx/%race%_blood"},
                                 {"sound", "%x%"},
                                 {"marker", "%weapon"},
                                 {"decal", "plain"},
                                 {"fx_other", "%race%/%race%"}});
    ra::Event event(&sink, ref);
    event.SetVariable(ra::MakeName("race"), "orc");
    event.SetVariable(ra::MakeName("weapon"), "sword_tip");

    EXPECT_EQ(event.FindParamEx(Key(ra::EventNames::FX)),
              std::make_pair(std::string("art/fx/orc_blood"), true));
    // No variable x: the whole "%x%" goes.
    EXPECT_EQ(event.FindParamEx(Key(ra::EventNames::SOUND)), std::make_pair(std::string(), true));
    // No closing sign: the name runs to the end.
    EXPECT_EQ(event.FindParamEx(Key(ra::EventNames::MARKER)).first, "sword_tip");
    EXPECT_EQ(event.FindParamEx(Key(ra::EventNames::DECAL)).first, "plain");
    // Only the first variable is expanded.
    EXPECT_EQ(event.FindParamEx(Key(ra::EventNames::FX_OTHER)).first, "orc/%race%");
    EXPECT_EQ(event.FindParamEx(Key(ra::EventNames::FX_SCALE)), std::make_pair(std::string(), false));

    event.SetVariable(ra::MakeName("race"), "elf");
    EXPECT_EQ(event.FindParamEx(Key(ra::EventNames::FX)).first, "art/fx/elf_blood");
}

TEST(EventParams, OverlongExpansionIsAnAssertionAndKeepsTheValue)
{
    EventEnv env;
    CountingSink sink;
    const std::string value = std::string(200, 'a') + "%v%";
    auto ref = MakeEvent("long", {{"fx", value.c_str()}});
    ra::Event event(&sink, ref);
    event.SetVariable(ra::MakeName("v"), std::string(60, 'b').c_str());
    {
        dbg::ScopedThrowOnAssert throwing;
        EXPECT_THROW(event.FindParamEx(Key(ra::EventNames::FX)), std::runtime_error);
    }
    dbg::ScopedThrowOnAssert quiet(false);
    EXPECT_EQ(event.FindParamEx(Key(ra::EventNames::FX)).first, value);
    event.SetVariable(ra::MakeName("v"), std::string(50, 'b').c_str());
    EXPECT_EQ(event.FindParamEx(Key(ra::EventNames::FX)).first, std::string(200, 'a') + std::string(50, 'b'));
}

TEST(EventParams, FlagsComeFromDetailOrphanAndRadius)
{
    EventEnv env;
    CountingSink sink;
    const float oldDetail = ra::Event::GetEventDetail();
    ra::Event::SetEventDetail(1.0f);

    ra::Event plain(&sink, MakeEvent("plain", {{"fx", "x"}}));
    EXPECT_TRUE(plain.IsHighDetail()) << "no detail_level counts as 0";
    EXPECT_FALSE(plain.IsOrphaned());
    EXPECT_EQ(plain.GetSpawnRadius(), 1.0f);

    ra::Event atSetting(&sink, MakeEvent("at", {{"detail_level", "1"}}));
    EXPECT_TRUE(atSetting.IsHighDetail());
    ra::Event above(&sink, MakeEvent("above", {{"detail_level", "1.5"}, {"spawn_radius", "4"}}));
    EXPECT_FALSE(above.IsHighDetail());
    EXPECT_EQ(above.GetSpawnRadius(), 4.0f);
    ra::Event::SetEventDetail(2.0f);
    EXPECT_TRUE(ra::Event(&sink, MakeEvent("above2", {{"detail_level", "1.5"}})).IsHighDetail());
    ra::Event::SetEventDetail(oldDetail);

    EXPECT_TRUE(ra::Event(&sink, MakeEvent("o1", {{"fx_orphan", ""}})).IsOrphaned()) << "present at all";
    EXPECT_TRUE(ra::Event(&sink, MakeEvent("o2", {{"fx_motion_orphan", "1"}})).IsOrphaned());
    EXPECT_FALSE(ra::Event(&sink, MakeEvent("o3", {{"fx_motion_orphan", "0"}})).IsOrphaned());
}

TEST(EventParams, NumbersAreWholeTextsAndOthersAreLogged)
{
    EventEnv env;
    CountingSink sink;
    auto ref = MakeEvent("Shot", {{"fx_scale", " 2.5 "}, {"fx_length", "2.5m"}, {"decal_lifetime", "abc"}});
    LogCapture log;
    ra::Event event(&sink, ref);
    float value = 0.0f;
    EXPECT_TRUE(event.GetFloatParam(Key(ra::EventNames::FX_SCALE), value));
    EXPECT_EQ(value, 2.5f);
    EXPECT_FALSE(event.GetFloatParam(Key(ra::EventNames::FX_LENGTH), value));
    EXPECT_FALSE(event.GetFloatParam(Key(ra::EventNames::DECAL_LIFETIME), value));
    EXPECT_FALSE(event.GetFloatParam(Key(ra::EventNames::DECAL_FADE_IN), value)) << "absent";
    EXPECT_EQ(value, 2.5f);
    EXPECT_TRUE(log.Has("EVENTS -- 'units/marine' -- event 'shot' param 'fx_length' is not a number!"));
    EXPECT_TRUE(log.Has("param 'decal_lifetime' is not a number!"));
    EXPECT_EQ(log.Count("is not a number"), 2);
}

TEST(EventName, PathsGoUnderTheEventFolderAndBareNamesStay)
{
    struct Case
    {
        const char* in;
        const char* out;
    };
    const Case cases[] = {
        {"c:\\ART\\Events\\Foo.events", "art/events/foo"}, // the drive letter goes with the colon
        {"foo", "foo"},
        {"Foo", "foo"},
        {"art/events/foo", "art/events/foo"}, // no doubled prefix
        {"foo/bar", "art/events/foo/bar"},
        {"foo\\bar", "art/events/foo/bar"},
        {"DATA:art\\events\\hit.events", "art/events/hit"},
        {"\\art\\events\\hit", "art/events/hit"}, // a leading separator goes
        {"hit.events", "art/events/hit"},         // a full stop alone makes it a path
        {"art/events/v1.2/hit", "art/events/v1"}, // cut at the first full stop, even in a folder
        {"", ""},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ra::EventData::NormalizeName(c.in), c.out) << "'" << c.in << "'";
    EXPECT_EQ(ra::EventData::NormalizeName(nullptr), "");
}
