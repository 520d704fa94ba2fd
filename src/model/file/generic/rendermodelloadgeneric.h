// The generic model file: ".sgm", the chunk tree that the exporter writes and the merge tool and
// the burner read, in its ordinary form and in the intermediate form of sampled matrices; and the
// entity file ".ebp" beside it with the motion tree and the animations taken from other models.
//
//   RSGM folder, version 1, name = model name, children in this order:
//     TXTR folders (textures of the model's own shaders, each once), SHDR folders or SSHR chunks
//     (the model's own shaders), SKEL (when there is a skeleton), MSGR, MARK chunks (version 1,
//     name = marker: string parent bone, mat34), CMRA chunks (version 2, name = camera: vec3
//     position, quat orientation, f32 fov, f32 near, f32 far, vec3 target; version 1 has no
//     target), ANIM folders (the animations the model holds itself).
//   The intermediate form is the same root with SKEL as one data chunk of world matrices and ANIM
//   folders of version 1 (see skeletonloadinterm.h, animloadinterm.h); the reader tells the two
//   apart chunk by chunk, so a file of either form reads through the same Load.
//
//   REBP folder, version 4: ANIM folders (the cross-referenced animations), EVCT, CLST, CONL,
//   MODL, MTRE, ACTR, then SEUI (data, version 3: i32 selection type, 2 f32 extents, 2 f32 centre,
//   obb; version 2 and below have no obb).
//
// Children are dispatched by id and unknown ones passed over. The readers take untrusted files:
// a damaged tree throws Chunky::Exception (ByteStream::Exception for a string over 260 characters)
// to the caller, with nothing left behind; a broken link between the parts (a texture, shader,
// mesh, bone, camera, animation that isn't there) is logged and stood in for or dropped.
#pragma once

#include "foundation/types.h"

#include <memory>

class ByteStreamAdapter;
class Chunky;
class RenderModel;

// What a save of the generic form writes; the exporter clears some of them.
struct ModelSaveFlags
{
    // The mesh group, skeleton, markers, cameras and the entity file.
    bool meshes = true;
    // The animations.
    bool animation = true;
    // Shaders and textures, within the meshes.
    bool shaders = true;
};

class RenderModelLoadGeneric
{
public:
    static constexpr const char* FileExtension = ".sgm";
    static constexpr const char* EntityExtension = ".ebp";

    using SaveFlags = ModelSaveFlags;

    // The one registration of the generic file forms: the inventory then loads render models
    // through Load (generic path), shared shaders, textures and event files through the readers
    // of this folder. Tools call it once before they load anything; idempotent.
    static void Register();

    // A new model from `filename` (".sgm" is added when the name has no extension): under the
    // name's alias, or with none under "GENERIC" and then "DATA". With `loadEbp`, the ".ebp"
    // beside it is read when it exists; a failure there gives null. Null, logged, when the file
    // cannot be opened or names itself through its cross-references. A damaged ".sgm" throws.
    static std::unique_ptr<RenderModel> Load(const char* filename, bool loadEbp);
    // Reads the next "RSGM" folder. `folder` (may be null) is the folder of the file, for the
    // cross-references of the oldest versions.
    static std::unique_ptr<RenderModel> Load(Chunky& chunky, ByteStreamAdapter& adapter, const char* folder);
    // Reads the next "REBP" folder into `model`.
    static void LoadEbp(Chunky& chunky, ByteStreamAdapter& adapter, RenderModel& model, const char* folder);

    // Writes `filename` and, when the flags write meshes, the ".ebp" beside it. False, logged,
    // when a file cannot be written.
    static bool Save(const char* filename, const RenderModel& model, const SaveFlags& flags = SaveFlags());
    static void Save(Chunky& chunky, ByteStreamAdapter& adapter, const RenderModel& model,
                     const SaveFlags& flags = SaveFlags());
    static void SaveEbp(Chunky& chunky, ByteStreamAdapter& adapter, const RenderModel& model);

    // The intermediate form: `modelPart` writes shaders, skeleton, mesh group, markers and
    // cameras, with `textures` also the textures; `animPart` the animations. The bone world
    // matrices and animations that a read of this form kept are written as read while they still
    // belong to the model, so a file of this writer reads and writes again byte for byte; what
    // changed since the read is written from the model as it stands.
    static bool SaveInterm(const char* filename, const RenderModel& model, bool modelPart, bool animPart,
                           bool textures);
    static void SaveInterm(Chunky& chunky, ByteStreamAdapter& adapter, const RenderModel& model,
                           bool modelPart, bool animPart, bool textures);
};
