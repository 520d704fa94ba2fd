// The event sink of a model: where the events its motions fire are turned into effects, sounds,
// decals and camera shakes. Effects and sound belong to the game; this sink checks each event's
// parameters as the game would, logs what is wrong, and keeps a record of what it would start,
// so that the tools can show and test what an event does.
#pragma once

#include "math/matrix.h"
#include "model/event/event.h"

#include <string>
#include <vector>

class RenderModel;

class RenderModelEventSink final : public ra::EventSink
{
public:
    enum SpawnKind
    {
        SPAWN_FX = 0,
        SPAWN_SOUND = 1,
        SPAWN_DECAL = 2,
        SPAWN_CAM_SHAKE = 3,
    };

    // One thing an event started.
    struct Spawn
    {
        int kind = SPAWN_FX;
        // The effect, sound or decal, after "%variable%" expansion.
        std::string name;
        std::string eventName;
        // Effects: the marker, and where it stood; a bound effect follows it at each Update.
        int32 markerIndex = InvalidIndex;
        ra::Matrix34 transform;
        bool bound = false;
        // Seconds left for an effect with "fx_length"; 0 for one that the game ends by itself.
        float remaining = 0.0f;
    };

    // The model gives the markers and its name to the log lines.
    explicit RenderModelEventSink(const RenderModel& model);

    // Skips low-detail events; otherwise starts the effect ("fx" at "marker", or at "root"), the
    // sound, the decal and the camera shake that the parameters ask for, after checking them.
    // True when anything started.
    bool Trigger(const ra::Event& event) override;
    // Notes the "fx" or "sound" the event names, once each, for preloading.
    void PrecacheFX(const ra::EventData& data) override;
    void PrecacheSound(const ra::EventData& data) override;
    // Ages the effects that have a length, dropping those that are done, and moves bound effects
    // with their markers.
    void Update(float dt) override;

    const std::vector<Spawn>& GetSpawns() const { return m_cSpawn; }
    void ClearSpawns() { m_cSpawn.clear(); }
    const std::vector<std::string>& GetPrecachedFX() const { return m_cPrecachedFX; }
    const std::vector<std::string>& GetPrecachedSounds() const { return m_cPrecachedSound; }

    // The values "fx_transform" may take: "marker" (the effect takes the marker's orientation),
    // "world" (upright, at the marker's place) and "model" (the model's orientation).
    static bool IsValidTransform(const char* text);

private:
    bool TriggerFX(const ra::Event& event, const std::string& fx);
    bool TriggerSound(const ra::Event& event, const std::string& sound);
    bool TriggerCamShake(const ra::Event& event);

    const RenderModel& m_model;
    std::vector<Spawn> m_cSpawn;
    std::vector<std::string> m_cPrecachedFX;
    std::vector<std::string> m_cPrecachedSound;
};
