#include "model/event/eventsink.h"

#include "inventory/inventory.h"
#include "model/event/eventnames.h"
#include "model/rendermodel.h"
#include "support/logcapture.h"

#include <gtest/gtest.h>

namespace
{
// A model with two free markers, "muzzle" at (1, 2, 3) and "head" at (0, 5, 0), and an inventory
// for the event data.
struct SinkEnv
{
    SinkEnv() : model("units/marine")
    {
        Inv::Warehouse::Create();
        model.SetCMarkerCount(2);
        model.SetCMarker(0, MakeMarker("muzzle", {1, 2, 3}));
        model.SetCMarker(1, MakeMarker("head", {0, 5, 0}));
    }
    ~SinkEnv() { Inv::Warehouse::Destroy(); }
    SinkEnv(const SinkEnv&) = delete;
    SinkEnv& operator=(const SinkEnv&) = delete;

    static Marker MakeMarker(const char* name, const ra::Vec3& at)
    {
        Marker marker;
        marker.name = ra::MakeName(name);
        marker.parentName = ra::Name::INVALID;
        marker.transform.Translation() = at;
        return marker;
    }

    ra::Event Event(const char* name, std::initializer_list<std::pair<const char*, const char*>> params,
                    ra::EventSink& sink)
    {
        auto* pData = new ra::EventData(name);
        for (const auto& param : params)
            pData->AddParam(param.first, param.second);
        return ra::Event(&sink, Inv::Warehouse::Get()->Add(pData));
    }

    RenderModel model;
};
} // namespace

TEST(EventSink, EffectStartsAtItsMarkerOrAtRoot)
{
    SinkEnv env;
    RenderModelEventSink sink(env.model);
    EXPECT_TRUE(sink.Trigger(env.Event("shot", {{"fx", "art/fx/flash"}, {"marker", "Muzzle"}}, sink)));
    EXPECT_TRUE(sink.Trigger(env.Event("plain", {{"fx", "art/fx/dust"}}, sink)));
    ASSERT_EQ(sink.GetSpawns().size(), 2u);
    const auto& shot = sink.GetSpawns()[0];
    EXPECT_EQ(shot.kind, RenderModelEventSink::SPAWN_FX);
    EXPECT_EQ(shot.name, "art/fx/flash");
    EXPECT_EQ(shot.markerIndex, 0);
    EXPECT_EQ(shot.transform.Translation(), ra::Vec3(1, 2, 3));
    EXPECT_TRUE(shot.bound);
    // Without a skeleton "root" is the first marker.
    EXPECT_EQ(sink.GetSpawns()[1].markerIndex, 0);
}

TEST(EventSink, MissingMarkersAreLoggedAndStartNothing)
{
    SinkEnv env;
    RenderModelEventSink sink(env.model);
    LogCapture log;
    EXPECT_FALSE(sink.Trigger(env.Event("shot", {{"fx", "flash"}, {"marker", "barrel"}}, sink)));
    EXPECT_TRUE(log.Has("EVENTS -- 'units/marine': Missing marker 'barrel' referenced in event 'shot'!"));

    RenderModel bare("units/bare");
    RenderModelEventSink bareSink(bare);
    EXPECT_FALSE(bareSink.Trigger(env.Event("puff", {{"fx", "smoke"}}, bareSink)));
    EXPECT_TRUE(log.Has("EVENTS -- 'units/bare:' Unable to find root marker for event 'puff'!"));
    EXPECT_TRUE(sink.GetSpawns().empty());
    EXPECT_TRUE(bareSink.GetSpawns().empty());
}

TEST(EventSink, EffectSetupChecksItsParameters)
{
    SinkEnv env;
    RenderModelEventSink sink(env.model);
    LogCapture log;
    EXPECT_FALSE(sink.Trigger(env.Event("a", {{"fx", "f"}, {"fx_scale", "huge"}}, sink)));
    EXPECT_TRUE(log.Has("Event 'a' spawned FX with invalid 'fx_scale' = 'huge'"));
    EXPECT_FALSE(sink.Trigger(env.Event("b", {{"fx", "f"}, {"fx_other_marker", "head"}}, sink)));
    EXPECT_TRUE(log.Has("Event 'b' spawned FX with 'fx_other_marker' but no valid 'fx_other'"));
    EXPECT_FALSE(sink.Trigger(env.Event("c", {{"fx", "f"}, {"fx_transform", "sideways"}}, sink)));
    EXPECT_TRUE(log.Has("Event 'c' spawned FX with invalid 'fx_transform' = 'sideways'"));
    EXPECT_TRUE(sink.GetSpawns().empty());

    EXPECT_TRUE(sink.Trigger(env.Event("d",
                                       {{"fx", "f"},
                                        {"fx_other", "g"},
                                        {"fx_other_marker", "head"},
                                        {"fx_transform", "world"},
                                        {"fx_scale", "2"}},
                                       sink)));
    EXPECT_EQ(sink.GetSpawns().size(), 1u);
}

TEST(EventSink, SoundPercentAndCameraShakeAreChecked)
{
    SinkEnv env;
    RenderModelEventSink sink(env.model);
    LogCapture log;
    EXPECT_FALSE(sink.Trigger(env.Event("s0", {{"sound", "bang"}, {"sound_percent", "0"}}, sink)));
    EXPECT_TRUE(log.Has("EVENTS -- 'units/marine' -- event 's0' percent must be above Zero!"));
    EXPECT_FALSE(sink.Trigger(env.Event("s2", {{"sound", "bang"}, {"sound_percent", "1.5"}}, sink)));
    EXPECT_TRUE(log.Has("percent must be below One!"));
    EXPECT_TRUE(sink.Trigger(env.Event("s1", {{"sound", "bang"}, {"sound_percent", "1"}}, sink)));

    EXPECT_FALSE(
        sink.Trigger(env.Event("shake", {{"cam_shake_duration", "1"}, {"cam_shake_radius", "5"}}, sink)));
    EXPECT_TRUE(log.Has("Cam Shake event parameters missing. 'cam_shake_duration','cam_shake_intensity',"
                        "'cam_shake_radius', and 'cam_shake_falloff' required!"));
    EXPECT_TRUE(sink.Trigger(env.Event("quake",
                                       {{"cam_shake_duration", "1"},
                                        {"cam_shake_intensity", "2"},
                                        {"cam_shake_radius", "5"},
                                        {"cam_shake_falloff", "1"}},
                                       sink)));
    ASSERT_EQ(sink.GetSpawns().size(), 2u);
    EXPECT_EQ(sink.GetSpawns()[0].kind, RenderModelEventSink::SPAWN_SOUND);
    EXPECT_EQ(sink.GetSpawns()[1].kind, RenderModelEventSink::SPAWN_CAM_SHAKE);
}

TEST(EventSink, LowDetailEventsAreSkipped)
{
    SinkEnv env;
    RenderModelEventSink sink(env.model);
    const float oldDetail = ra::Event::GetEventDetail();
    ra::Event::SetEventDetail(1.0f);
    EXPECT_FALSE(sink.Trigger(env.Event("fine", {{"fx", "sparkle"}, {"detail_level", "2"}}, sink)));
    EXPECT_TRUE(sink.GetSpawns().empty());
    ra::Event::SetEventDetail(2.0f);
    EXPECT_TRUE(sink.Trigger(env.Event("fine2", {{"fx", "sparkle"}, {"detail_level", "2"}}, sink)));
    ra::Event::SetEventDetail(oldDetail);
}

TEST(EventSink, UpdateAgesTimedEffectsAndMovesBoundOnes)
{
    SinkEnv env;
    RenderModelEventSink sink(env.model);
    sink.Trigger(env.Event("timed", {{"fx", "burst"}, {"fx_length", "1.0"}, {"marker", "head"}}, sink));
    sink.Trigger(env.Event("free", {{"fx", "smoke"}, {"fx_orphan", ""}, {"marker", "muzzle"}}, sink));
    sink.Trigger(env.Event("bound", {{"fx", "glow"}, {"marker", "muzzle"}}, sink));
    ASSERT_EQ(sink.GetSpawns().size(), 3u);
    EXPECT_FALSE(sink.GetSpawns()[1].bound);

    env.model.SetCMarker(0, SinkEnv::MakeMarker("muzzle", {9, 9, 9}));
    sink.Update(0.6f);
    ASSERT_EQ(sink.GetSpawns().size(), 3u);
    EXPECT_EQ(sink.GetSpawns()[1].transform.Translation(), ra::Vec3(1, 2, 3))
        << "an orphan stays where it began";
    EXPECT_EQ(sink.GetSpawns()[2].transform.Translation(), ra::Vec3(9, 9, 9)) << "a bound effect follows";
    sink.Update(0.6f);
    ASSERT_EQ(sink.GetSpawns().size(), 2u);
    EXPECT_EQ(sink.GetSpawns()[0].name, "smoke");
}

TEST(EventSink, PrecacheNotesEachNameOnce)
{
    ra::EventData a("a"), b("b"), c("c");
    a.AddParam("fx", "art/fx/x");
    a.AddParam("sound", "art/sound/y");
    b.AddParam("fx", "art/fx/x");
    RenderModel model("m");
    RenderModelEventSink sink(model);
    for (const ra::EventData* pData : {&a, &b, &c})
    {
        sink.PrecacheFX(*pData);
        sink.PrecacheSound(*pData);
    }
    EXPECT_EQ(sink.GetPrecachedFX(), std::vector<std::string>{"art/fx/x"});
    EXPECT_EQ(sink.GetPrecachedSounds(), std::vector<std::string>{"art/sound/y"});
}
