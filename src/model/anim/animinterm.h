// AnimInterm: the working form of an animation that the exporter fills with sampled model-space
// bone matrices. After a load of the intermediate file it is converted to the ordinary form in
// place: local position and rotation streams per bone, rotations on the short way, and control
// streams made relative to their shader's base. The model then holds an AnimFromInterm: the
// converted animation, with the file's animation kept beside it for the intermediate writer.
#pragma once

#include "model/anim/anim.h"

#include <memory>
#include <vector>

class RenderModel;
class Shader;
class Skeleton;

namespace ra
{
class MeshGroup;
}

class AnimInterm final : public Anim
{
public:
    // A control stream whose values all stay within this of the base does nothing.
    static constexpr float FlatTolerance = 0.005f;

    AnimInterm() = default;
    explicit AnimInterm(const char* name) : Anim(name) {}

    // A deep copy: every entry with its streams, matrix streams included.
    std::unique_ptr<AnimInterm> Clone() const;

    // The value of a shader parameter as loaded, which the file's control keys carry on top of:
    // for a colour the byte of its channel over 255, for an offset the translation of the base
    // transform after the inverse of the second transform; 0 for anything else.
    static float ShaderBaseValue(const Shader& shader, const ControlInfo& info);

    // Bone entries keep one matrix stream each.
    void SetBoneCount(int boneCount) override;
    int AddBone(ra::Name name) override;
    // Replaces and deletes an earlier stream.
    void SetBoneMatrixStream(int boneIndex, std::unique_ptr<BoneMatrixStream> pStream);
    const BoneMatrixStream* GetBoneMatrixStream(int boneIndex) const;
    BoneMatrixStream* GetBoneMatrixStream(int boneIndex);

    // The whole conversion after a read, against the model's skeleton and mesh group (either may
    // be missing, and its part is then left out): bones, cameras, control fix-ups, then a default
    // visibility stream for every mesh that has none. `logMismatch` false keeps the bone
    // conversion's message to itself: a conversion that only checks has nothing new to report.
    void Convert(const RenderModel& model, bool logMismatch = true);

    // Position and rotation streams from the matrix streams, for the bones that the skeleton
    // has: local matrices (relative to the parent bone's matrix at the same key), then each
    // rotation key turned to the hemisphere of the one before it, starting from the bone's
    // reference rotation. A bone not marked animated loses its streams.
    void ConvertBoneStreams(const Skeleton& skeleton, bool logMismatch = true);
    // The hemisphere pass on camera rotations, starting from the identity.
    void ConvertCameraStreams();
    // Finds each control stream's shader or mesh by name, takes the shader's base value off its
    // keys, and drops the streams (all but mesh visibility) that then do nothing.
    void FixControlStreams(const ra::MeshGroup& meshGroup);
    // A mesh without a visibility stream gets one: a single key of value 0 at time 0.
    void AddDefaultVisibilityStreams(const ra::MeshGroup& meshGroup);

private:
    std::vector<std::unique_ptr<BoneMatrixStream>> m_BoneMatrixStream;
};

// An ordinary animation read from an intermediate file. It holds the converted streams as any
// Anim does, and keeps the file's animation as it was read, before conversion: a conversion loses
// bits (local from model-space matrices, the shader base off the control values) and drops
// streams (flat controls), so the file could not be written again from the converted streams
// alone. Only the intermediate writer looks at the source.
class AnimFromInterm final : public Anim
{
public:
    // Copies the converted streams of `converted` and keeps `pSource`, the same animation as read.
    AnimFromInterm(const AnimInterm& converted, std::unique_ptr<AnimInterm> pSource);

    const AnimInterm* GetSource() const { return m_pSource.get(); }
    // Whether the source still belongs to this animation: converted again against `model` as it
    // stands, it gives this animation's entries and streams byte for byte, so that a read of the
    // source written out makes this animation again. An animation or a model changed since the
    // read (a key, a stream, a bone's reference rotation, a shader's base) makes it stale.
    bool SourceHolds(const RenderModel& model) const;

private:
    std::unique_ptr<AnimInterm> m_pSource;
};
