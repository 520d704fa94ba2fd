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
