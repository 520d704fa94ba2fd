#include "model/anim/anim.h"

#include "names/memorypool.h"

namespace
{
class AnimTypeInfo final : public Inv::ResourceTypeInfo
{
public:
    const char* GetTypeName() override { return "Animation"; }
    // Animation names are names within a model and may hold dots: only case and separators change.
    void TranslateName(char* outName, const char* name) override
    {
        InvTypeNameTranslate(outName, name, false, false);
    }
    bool CanReload() override { return false; }
    Inv::NamedResource* CreateDefault(const char*) override { return nullptr; }
    void Destroy(Inv::NamedResource* data) override { delete data; }
    // An animation comes with the model file that holds it; there is no file of one animation.
    Inv::NamedResource* Load(const char*) override { return nullptr; }
};

MemoryPool& AnimPool()
{
    static MemoryPool& s_pool = MemoryPool::Get("Anim");
    return s_pool;
}

const ControlInfo s_noControlInfo;
} // namespace

Inv::ResourceTypeInfo* Anim::GetTypeInfo()
{
    static AnimTypeInfo s_info;
    return &s_info;
}

Inv::Reference<Anim> Anim::AddToInventory(std::unique_ptr<Anim> pAnim)
{
    if (!dbAssert(pAnim))
        return Inv::Reference<Anim>();
    Inv::Warehouse* pWarehouse = Inv::Warehouse::Get();
    if (pWarehouse == nullptr)
        return Inv::Reference<Anim>();
    // The inventory wants a name; an animation without one is known by an empty one.
    if (pAnim->Inv::NamedResource::GetName() == nullptr)
        pAnim->SetName("");
    auto* pResource = new Inv::Resource(pAnim.get());
    // A new record of a named object is always taken; a refusal follows an assertion of the
    // warehouse, and the record is then left behind rather than freed with data in it.
    if (!pWarehouse->AddAnonymous(pResource, GetTypeInfo()))
        return Inv::Reference<Anim>();
    pAnim.release();
    return Inv::Reference<Anim>(pResource);
}

Anim::Anim(const char* name)
{
    Anim::SetName(name);
}

Anim::~Anim() = default;

void* Anim::operator new(size_t size)
{
    return AnimPool().Alloc(size);
}

void Anim::operator delete(void* p)
{
    AnimPool().Free(p);
}

void Anim::SetName(const char* name)
{
    if (IsInInventory())
    {
        // The inventory's assertion; the animation keeps its name.
        Inv::NamedResource::SetName(name);
        return;
    }
    Inv::NamedResource::SetName(name);
    m_name = ra::MakeName(name);
}

void Anim::SetFrameCount(int32 frameCount)
{
    if (!dbAssert(frameCount > 0))
        return;
    m_frameCount = frameCount;
}

void Anim::SetTime(float time)
{
    if (!dbAssert(time > 0.0f))
        return;
    m_time = time;
    m_inverseTime = 1.0f / time;
}

bool Anim::IsBoneIndex(int boneIndex) const
{
    return dbAssert(boneIndex != InvalidIndex) && raAssertIndex(boneIndex, m_boneAnims);
}

bool Anim::IsCameraIndex(int cameraIndex) const
{
    return dbAssert(cameraIndex != InvalidIndex) && raAssertIndex(cameraIndex, m_cameraAnims);
}

bool Anim::IsControlIndex(int controlIndex) const
{
    return dbAssert(controlIndex != InvalidIndex) && raAssertIndex(controlIndex, m_controlAnims);
}

// Bones

void Anim::SetBoneCount(int boneCount)
{
    if (!dbAssert(boneCount >= 0))
        return;
    m_boneAnims.resize(size_t(boneCount));
}

int Anim::AddBone(ra::Name name)
{
    if (!dbAssert(name != ra::Name::INVALID))
        return InvalidIndex;
    m_boneAnims.emplace_back();
    m_boneAnims.back().name = name;
    return int(m_boneAnims.size()) - 1;
}

void Anim::SetBoneName(int boneIndex, ra::Name name)
{
    if (!dbAssert(name != ra::Name::INVALID))
        return;
    if (!IsBoneIndex(boneIndex))
        return;
    m_boneAnims[size_t(boneIndex)].name = name;
}

ra::Name Anim::GetBoneName(int boneIndex) const
{
    if (!IsBoneIndex(boneIndex))
        return ra::Name::INVALID;
    return m_boneAnims[size_t(boneIndex)].name;
}

void Anim::SetPositionStream(int boneIndex, std::unique_ptr<BonePositionStream> pStream)
{
    if (!IsBoneIndex(boneIndex))
        return;
    m_boneAnims[size_t(boneIndex)].positionStream = std::move(pStream);
}

void Anim::SetRotationStream(int boneIndex, std::unique_ptr<BoneRotationStream> pStream)
{
    if (!IsBoneIndex(boneIndex))
        return;
    m_boneAnims[size_t(boneIndex)].rotationStream = std::move(pStream);
}

const BonePositionStream* Anim::GetPositionStream(int boneIndex) const
{
    return IsBoneIndex(boneIndex) ? m_boneAnims[size_t(boneIndex)].positionStream.get() : nullptr;
}

BonePositionStream* Anim::GetPositionStream(int boneIndex)
{
    return IsBoneIndex(boneIndex) ? m_boneAnims[size_t(boneIndex)].positionStream.get() : nullptr;
}

const BoneRotationStream* Anim::GetRotationStream(int boneIndex) const
{
    return IsBoneIndex(boneIndex) ? m_boneAnims[size_t(boneIndex)].rotationStream.get() : nullptr;
}

BoneRotationStream* Anim::GetRotationStream(int boneIndex)
{
    return IsBoneIndex(boneIndex) ? m_boneAnims[size_t(boneIndex)].rotationStream.get() : nullptr;
}

void Anim::SetBoneAnimated(int boneIndex, bool animated)
{
    if (!IsBoneIndex(boneIndex))
        return;
    m_boneAnims[size_t(boneIndex)].isAnimated = animated;
}

bool Anim::IsBoneAnimated(int boneIndex) const
{
    return IsBoneIndex(boneIndex) && m_boneAnims[size_t(boneIndex)].isAnimated;
}

int Anim::FindBone(ra::Name name) const
{
    for (size_t i = 0; i < m_boneAnims.size(); ++i)
        if (m_boneAnims[i].name == name)
            return int(i);
    return InvalidIndex;
}

bool Anim::EvaluateBone(int boneIndex, float time, bool loop, ra::Vec3& outPosition, ra::Quat& outRotation,
                        AnimHints& hints) const
{
    if (!IsBoneIndex(boneIndex))
        return false;
    const BoneAnim& bone = m_boneAnims[size_t(boneIndex)];
    const float t = time * m_inverseTime;
    if (bone.positionStream)
        outPosition = bone.positionStream->Evaluate(t, loop, hints.position);
    if (bone.rotationStream)
        outRotation = bone.rotationStream->Evaluate(t, loop, hints.rotation);
    return bone.positionStream || bone.rotationStream;
}

// Cameras

void Anim::SetCameraCount(int cameraCount)
{
    if (!dbAssert(cameraCount >= 0))
        return;
    m_cameraAnims.resize(size_t(cameraCount));
}

int Anim::AddCamera(ra::Name name, std::unique_ptr<CameraPositionStream> pPositionStream,
                    std::unique_ptr<CameraRotationStream> pRotationStream)
{
    if (!dbAssert(name != ra::Name::INVALID))
        return InvalidIndex;
    CameraAnim& camera = m_cameraAnims.emplace_back();
    camera.name = name;
    camera.positionStream = std::move(pPositionStream);
    camera.rotationStream = std::move(pRotationStream);
    return int(m_cameraAnims.size()) - 1;
}

void Anim::SetCameraName(int cameraIndex, ra::Name name)
{
    if (!dbAssert(name != ra::Name::INVALID))
        return;
    if (!IsCameraIndex(cameraIndex))
        return;
    m_cameraAnims[size_t(cameraIndex)].name = name;
}

ra::Name Anim::GetCameraName(int cameraIndex) const
{
    if (!IsCameraIndex(cameraIndex))
        return ra::Name::INVALID;
    return m_cameraAnims[size_t(cameraIndex)].name;
}

void Anim::SetCameraPositionStream(int cameraIndex, std::unique_ptr<CameraPositionStream> pStream)
{
    if (!IsCameraIndex(cameraIndex))
        return;
    m_cameraAnims[size_t(cameraIndex)].positionStream = std::move(pStream);
}

void Anim::SetCameraRotationStream(int cameraIndex, std::unique_ptr<CameraRotationStream> pStream)
{
    if (!IsCameraIndex(cameraIndex))
        return;
    m_cameraAnims[size_t(cameraIndex)].rotationStream = std::move(pStream);
}

const CameraPositionStream* Anim::GetCameraPositionStream(int cameraIndex) const
{
    return IsCameraIndex(cameraIndex) ? m_cameraAnims[size_t(cameraIndex)].positionStream.get() : nullptr;
}

CameraPositionStream* Anim::GetCameraPositionStream(int cameraIndex)
{
    return IsCameraIndex(cameraIndex) ? m_cameraAnims[size_t(cameraIndex)].positionStream.get() : nullptr;
}

const CameraRotationStream* Anim::GetCameraRotationStream(int cameraIndex) const
{
    return IsCameraIndex(cameraIndex) ? m_cameraAnims[size_t(cameraIndex)].rotationStream.get() : nullptr;
}

CameraRotationStream* Anim::GetCameraRotationStream(int cameraIndex)
{
    return IsCameraIndex(cameraIndex) ? m_cameraAnims[size_t(cameraIndex)].rotationStream.get() : nullptr;
}

int Anim::FindCamera(ra::Name name) const
{
    for (size_t i = 0; i < m_cameraAnims.size(); ++i)
        if (m_cameraAnims[i].name == name)
            return int(i);
    return InvalidIndex;
}

bool Anim::EvaluateCamera(int cameraIndex, float time, bool loop, ra::Vec3& outPosition,
                          ra::Quat& outRotation, AnimHints& hints) const
{
    if (!IsCameraIndex(cameraIndex))
        return false;
    const CameraAnim& camera = m_cameraAnims[size_t(cameraIndex)];
    const float t = time * m_inverseTime;
    if (camera.positionStream)
        outPosition = camera.positionStream->Evaluate(t, loop, hints.position);
    if (camera.rotationStream)
        outRotation = camera.rotationStream->Evaluate(t, loop, hints.rotation);
    return camera.positionStream || camera.rotationStream;
}

// Control streams

int Anim::AddControlStream(ra::Name name, const ControlInfo& info, std::unique_ptr<ControlStream> pStream)
{
    ControlAnim& control = m_controlAnims.emplace_back();
    control.name = name;
    control.info = info;
    control.stream = std::move(pStream);
    return int(m_controlAnims.size()) - 1;
}

void Anim::RemoveControlStream(int controlIndex)
{
    if (!IsControlIndex(controlIndex))
        return;
    m_controlAnims.erase(m_controlAnims.begin() + controlIndex);
}

ra::Name Anim::GetControlName(int controlIndex) const
{
    if (!IsControlIndex(controlIndex))
        return ra::Name::INVALID;
    return m_controlAnims[size_t(controlIndex)].name;
}

void Anim::SetControlName(int controlIndex, ra::Name name)
{
    if (!IsControlIndex(controlIndex))
        return;
    m_controlAnims[size_t(controlIndex)].name = name;
}

const ControlInfo& Anim::GetControlInfo(int controlIndex) const
{
    if (!IsControlIndex(controlIndex))
        return s_noControlInfo;
    return m_controlAnims[size_t(controlIndex)].info;
}

void Anim::SetControlInfo(int controlIndex, const ControlInfo& info)
{
    if (!IsControlIndex(controlIndex))
        return;
    m_controlAnims[size_t(controlIndex)].info = info;
}

void Anim::SetControlStream(int streamIndex, std::unique_ptr<ControlStream> pStream)
{
    if (!dbAssert(streamIndex != InvalidIndex))
        return;
    if (!raAssertIndex(streamIndex, m_controlAnims))
        return;
    m_controlAnims[size_t(streamIndex)].stream = std::move(pStream);
}

const ControlStream* Anim::GetControlStream(int controlIndex) const
{
    return IsControlIndex(controlIndex) ? m_controlAnims[size_t(controlIndex)].stream.get() : nullptr;
}

ControlStream* Anim::GetControlStream(int controlIndex)
{
    return IsControlIndex(controlIndex) ? m_controlAnims[size_t(controlIndex)].stream.get() : nullptr;
}

int Anim::FindControlStream(ra::Name name) const
{
    for (size_t i = 0; i < m_controlAnims.size(); ++i)
        if (m_controlAnims[i].name == name)
            return int(i);
    return InvalidIndex;
}

float Anim::EvaluateControl(int controlIndex, float time, bool loop, int16& hint) const
{
    if (!IsControlIndex(controlIndex))
        return 0.0f;
    const ControlStream* pStream = m_controlAnims[size_t(controlIndex)].stream.get();
    if (pStream == nullptr)
        return 0.0f;
    return pStream->Evaluate(time * m_inverseTime, loop, hint);
}
