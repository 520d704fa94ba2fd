// The final model files, what the game loads and the burner writes: ".tqm" holds the model and
// ".tqe" beside it its motion tree and the animations it takes from other models.
//
//   RSGM folder, version 3, name = model name, children in this order:
//     TXTR folders (textures of the model's own unshared shaders, each once; TextureLoadFinal),
//     SHDR folders or SSHR chunks (the model's own shaders; ShaderLoadFinal), SKEL (data, when
//     there is a skeleton; SkeletonLoadFinal), MSGR (MeshLoadFinal), MARK (data, version 1, only
//     with markers: i32 count + (string name, string parent bone, mat34) each), CAMS (data,
//     version 1, only with cameras: i32 count + (string name, vec3 position, quat orientation,
//     f32 fov, f32 near, f32 far, vec3 target) each), ANIM folders (the animations the model holds
//     itself; AnimLoadFinal).
//
//   REBP folder, version 4: ANIM folders (the cross-referenced animations, final form), EVCT,
//     CLST, CONL, MODL, MTRE (model/file/entitychunks.h), ACTS (ActionLoadFinal), SEUI.
//
// Loads are strict: whatever part fails to load (a texture, a shader, a motion that an action
// names, a damaged chunk) fails the whole model, which is then null; a final file never stands a
// substitute in for a part of its own. Meshes and animations are shared with the models loaded
// before by their names. The readers take untrusted files and never throw from Load(name).
#pragma once

#include <memory>

class ByteStreamAdapter;
class Chunky;
class RenderModel;

class RenderModelLoadFinal
{
public:
    static constexpr const char* FileExtension = ".tqm";
    static constexpr const char* EntityExtension = ".tqe";

    // The one registration of the final forms: the inventory then loads render models on the
    // final path through Load, and shared shader files (".vds") through ShaderLoadFinal.
    static void Register();

    // Logs "RENDER MODEL USAGE -- Loading model '%s'...", reads `name` (".tqm" added when the name
    // has no extension of the final files) under its alias, or "DATA" when it has none, then the
    // ".tqe" beside it when there is one. Null, logged, when either cannot be read or any part
    // fails.
    static std::unique_ptr<RenderModel> Load(const char* name);
    // Reads the next "RSGM" folder; null when a part fails to load. Throws Chunky::Exception or
    // ByteStream::Exception for a damaged tree.
    static std::unique_ptr<RenderModel> Load(Chunky& chunky, ByteStreamAdapter& adapter);
    // Reads the next "REBP" folder into `model`; false when a part fails. Throws as Load does.
    static bool LoadEntity(Chunky& chunky, ByteStreamAdapter& adapter, RenderModel& model);

    // Writes `filename` (".tqm" added as Load adds it) and, when the model has a motion tree or
    // animations of other models, the ".tqe" beside it. False, logged, when a file or a texture
    // cannot be written.
    static bool Save(const char* filename, const RenderModel& model);
    // False when a texture cannot be written (what was written is then incomplete).
    static bool Save(Chunky& chunky, ByteStreamAdapter& adapter, const RenderModel& model);
    // The entity part; warns about motions that the game may play badly.
    static void SaveEntity(Chunky& chunky, ByteStreamAdapter& adapter, const RenderModel& model);
    // Whether the model has anything for the ".tqe" file.
    static bool HasEntity(const RenderModel& model);
};
