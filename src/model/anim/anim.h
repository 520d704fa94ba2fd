// Anim: one animation of a model: a length, a frame count, and key streams for bones, cameras and
// control values (shader parameters, mesh visibility). One loader fills it; once added to an
// animation list it is shared through the inventory and read-only.
#pragma once

#include "inventory/inventory.h"
#include "model/anim/animstream.h"
#include "names/name.h"

#include <memory>
#include <vector>

// What a control stream drives. `m_index` is the shader's or mesh's index in the mesh group: the
// exporter sets it, and a load finds it by name. Files never hold it.
struct ControlInfo
{
    static constexpr int32 Target_Shader = 0;
    static constexpr int32 Target_Mesh = 2;

    // Parameters of a shader channel; a mesh has only its visibility.
    static constexpr int32 Parameter_Colour = 0;
    static constexpr int32 Parameter_OffsetU = 1;
    static constexpr int32 Parameter_OffsetV = 2;
    static constexpr int32 Parameter_ScaleU = 3;
    static constexpr int32 Parameter_ScaleV = 4;
    static constexpr int32 Parameter_Visibility = 0;

    int32 targetType = Target_Shader;
    int32 m_index = -1;
    int32 channel = 0;
    int32 parameter = 0;

    bool IsMeshVisibility() const { return targetType == Target_Mesh && parameter == Parameter_Visibility; }
    bool operator==(const ControlInfo&) const = default;
};
static_assert(sizeof(ControlInfo) == 16);

class Anim : public Inv::NamedResource
{
public:
    static constexpr int InvalidIndex = -1;

    struct BoneAnim
    {
        ra::Name name;
        bool isAnimated = false;
        std::unique_ptr<BonePositionStream> positionStream;
        std::unique_ptr<BoneRotationStream> rotationStream;
    };

    struct CameraAnim
    {
        ra::Name name;
        std::unique_ptr<CameraPositionStream> positionStream;
        std::unique_ptr<CameraRotationStream> rotationStream;
    };

    struct ControlAnim
    {
        ra::Name name;
        ControlInfo info;
        std::unique_ptr<ControlStream> stream;
    };

    // The inventory type of animations. Animations live inside model files: the inventory holds
    // them anonymously for the animation lists that share them, and never loads one by name.
    static Inv::ResourceTypeInfo* GetTypeInfo();
    // Puts a new animation into the inventory (anonymously: names are unique only within one
    // model) and gives the first reference to it. Null, with an assertion, without a warehouse.
    static Inv::Reference<Anim> AddToInventory(std::unique_ptr<Anim> pAnim);

    Anim() = default;
    explicit Anim(const char* name);
    ~Anim() override;
    Anim(const Anim&) = delete;
    Anim& operator=(const Anim&) = delete;

    // From the pool "Anim".
    static void* operator new(size_t size);
    static void operator delete(void* p);

    void SetName(const char* name) override;
    // Hides the inventory's text name: an animation is known by its ra::Name. The text stays at
    // Inv::NamedResource::GetName.
    ra::Name GetName() const { return m_name; }

    // Must be above 0.
    void SetFrameCount(int32 frameCount);
    int32 GetFrameCount() const { return m_frameCount; }
    // Length in seconds, above 0; keeps its inverse for evaluation.
    void SetTime(float time);
    float GetTime() const { return m_time; }
    float GetInverseTime() const { return m_inverseTime; }

    // Bones. A bone's index here is its stream's index, which an animation list maps to the
    // skeleton.
    virtual void SetBoneCount(int boneCount);
    int GetBoneCount() const { return int(m_boneAnims.size()); }
    // Appends a bone entry without streams; its index.
    virtual int AddBone(ra::Name name);
    void SetBoneName(int boneIndex, ra::Name name);
    ra::Name GetBoneName(int boneIndex) const;
    // Replace and delete an earlier stream; null removes it.
    void SetPositionStream(int boneIndex, std::unique_ptr<BonePositionStream> pStream);
    void SetRotationStream(int boneIndex, std::unique_ptr<BoneRotationStream> pStream);
    const BonePositionStream* GetPositionStream(int boneIndex) const;
    BonePositionStream* GetPositionStream(int boneIndex);
    const BoneRotationStream* GetRotationStream(int boneIndex) const;
    BoneRotationStream* GetRotationStream(int boneIndex);
    void SetBoneAnimated(int boneIndex, bool animated);
    bool IsBoneAnimated(int boneIndex) const;
    // Linear by key; InvalidIndex when absent.
    int FindBone(ra::Name name) const;
    // The bone at `time` seconds. True when the bone has any stream; an output whose stream is
    // missing is left as it was.
    bool EvaluateBone(int boneIndex, float time, bool loop, ra::Vec3& outPosition, ra::Quat& outRotation,
                      AnimHints& hints) const;

    // Cameras, which the animation lists map to the model's cameras by name.
    void SetCameraCount(int cameraCount);
    int GetCameraCount() const { return int(m_cameraAnims.size()); }
    // Appends a camera entry; its index.
    int AddCamera(ra::Name name, std::unique_ptr<CameraPositionStream> pPositionStream,
                  std::unique_ptr<CameraRotationStream> pRotationStream);
    void SetCameraName(int cameraIndex, ra::Name name);
    ra::Name GetCameraName(int cameraIndex) const;
    void SetCameraPositionStream(int cameraIndex, std::unique_ptr<CameraPositionStream> pStream);
    void SetCameraRotationStream(int cameraIndex, std::unique_ptr<CameraRotationStream> pStream);
    const CameraPositionStream* GetCameraPositionStream(int cameraIndex) const;
    CameraPositionStream* GetCameraPositionStream(int cameraIndex);
    const CameraRotationStream* GetCameraRotationStream(int cameraIndex) const;
    CameraRotationStream* GetCameraRotationStream(int cameraIndex);
    int FindCamera(ra::Name name) const;
    bool EvaluateCamera(int cameraIndex, float time, bool loop, ra::Vec3& outPosition, ra::Quat& outRotation,
                        AnimHints& hints) const;

    // Control streams, named after the shader or mesh they drive.
    int GetControlStreamCount() const { return int(m_controlAnims.size()); }
    // Appends a control stream; its index.
    int AddControlStream(ra::Name name, const ControlInfo& info, std::unique_ptr<ControlStream> pStream);
    void RemoveControlStream(int controlIndex);
    ra::Name GetControlName(int controlIndex) const;
    void SetControlName(int controlIndex, ra::Name name);
    const ControlInfo& GetControlInfo(int controlIndex) const;
    void SetControlInfo(int controlIndex, const ControlInfo& info);
    void SetControlStream(int streamIndex, std::unique_ptr<ControlStream> pStream);
    const ControlStream* GetControlStream(int controlIndex) const;
    ControlStream* GetControlStream(int controlIndex);
    // The first control stream of that name; InvalidIndex when absent.
    int FindControlStream(ra::Name name) const;
    // The value at `time` seconds; 0 when the entry has no stream.
    float EvaluateControl(int controlIndex, float time, bool loop, int16& hint) const;

    // The entries as they stand, for writers and reports.
    const std::vector<BoneAnim>& GetBoneAnims() const { return m_boneAnims; }
    const std::vector<CameraAnim>& GetCameraAnims() const { return m_cameraAnims; }
    const std::vector<ControlAnim>& GetControlAnims() const { return m_controlAnims; }

protected:
    bool IsBoneIndex(int boneIndex) const;
    bool IsCameraIndex(int cameraIndex) const;
    bool IsControlIndex(int controlIndex) const;

    ra::Name m_name = ra::Name::INVALID;
    int32 m_frameCount = 0;
    float m_time = 0.0f;
    float m_inverseTime = 1.0f;
    std::vector<BoneAnim> m_boneAnims;
    std::vector<CameraAnim> m_cameraAnims;
    std::vector<ControlAnim> m_controlAnims;
};
