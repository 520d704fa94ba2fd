// Vertex sets: the interleaved vertex arrays that meshes keep their geometry in. The memory form
// holds the vertices in one block from the pool "fr::MemoryVertexSet"; the null device uses it as is.
#pragma once

#include "render/core.h"

#include <bitset>
#include <cstddef>
#include <span>
#include <vector>

namespace fr
{
// Vertex components, interleaved in a vertex in rising order.
enum VertexComponent : uint32
{
    VC_Position = 0, // 3 floats
    VC_Weights,      // packed vertex weights: 3 floats and 4 bone slots
    VC_Normal,       // 3 floats
    VC_Colour0,      // one 32-bit colour
    VC_Colour1,      // one 32-bit colour
    VC_TexCoord0,    // 2 floats each
    VC_TexCoord1,
    VC_TexCoord2,
    VC_TexCoord3,
    VC_Count
};

// The type word of a vertex set: one bit per component. A component above 8 makes std::bitset
// throw std::out_of_range wherever a set is asked about it.
using VertexType = std::bitset<VC_Count>;

// Bytes of one component in a vertex; 0 for a number that is no component.
uint32 GetComponentSize(uint32 component);
// Bytes of one vertex: the set components, plus the extra word behind the position of a
// weighted vertex.
uint32 GetVertexStride(const VertexType& type);
// Where a component starts in a vertex. The extra word of a weighted vertex lies directly behind
// the position and belongs to no component, so every component above the position moves by 4.
uint32 GetComponentOffset(const VertexType& type, uint32 component);

class VertexSet : public Core
{
public:
    static constexpr uint32 MaxSize = 0xFFFF;
    // A lock count that stands for the whole set.
    static constexpr uint32 WholeSet = 0xFFFF;
    static constexpr uint32 InvalidRange = 0xFFFFFFFF;
    // WriteArray's start and range when the caller gives neither: the whole set.
    static constexpr int32 Unset = -1;

    virtual bool Create(const VertexType& type, uint32 size, uint32 usage) = 0;
    // Takes the type word and size of `from`, with the usage given; the vertices are not copied.
    virtual bool Create(const VertexSet& from, uint32 usage) = 0;
    // Frees the vertex block.
    virtual void Destroy() = 0;
    // The first `component` of vertex `start`, with the distance to the next in `stride`; null
    // (stride 0) when the set lacks the component or the range is outside the set.
    virtual void* LockArray(uint32 component, uint32& stride, uint32 start = 0, uint32 count = WholeSet) = 0;
    virtual void UnlockArray(uint32 component) = 0;
    // Frees the block and creates again with the same type word and usage: the vertices are lost.
    virtual bool Resize(uint32 size) = 0;
    virtual uint32 GetSize() const = 0;
    virtual bool IsStreamEnabled(uint32 component) const = 0;
    virtual const VertexType& GetType() const = 0;
    virtual uint32 GetUsage() const = 0;
    // Ranges: id 0 is the default range, the whole set as created.
    virtual uint32 AddRange(uint32 start, uint32 count) = 0;
    virtual void RemoveRange(uint32 id) = 0;
    virtual void SetRange(uint32 id, uint32 start, uint32 count) = 0;
    virtual void GetRange(uint32 id, uint32& start, uint32& count) const = 0;

    // Copies `values` into one component of vertices start .. start + range - 1, one element
    // per vertex; the element type must have the component's size. Give both start and range,
    // or neither for the whole set.
    template <class T> bool WriteArray(uint32 component, int32 start, int32 range, std::span<const T> values)
    {
        return WriteArray(component, start, range, values.data(), uint32(sizeof(T)), values.size());
    }
    bool WriteArray(uint32 component, int32 start, int32 range, const void* pValues, uint32 elementSize,
                    std::size_t valueCount);
};

class MemoryVertexSet : public VertexSet
{
public:
    MemoryVertexSet();
    ~MemoryVertexSet() override;

    bool Create(const VertexType& type, uint32 size, uint32 usage) override;
    bool Create(const VertexSet& from, uint32 usage) override;
    void Destroy() override;
    void* LockArray(uint32 component, uint32& stride, uint32 start = 0, uint32 count = WholeSet) override;
    void UnlockArray(uint32 component) override;
    bool Resize(uint32 size) override;
    uint32 GetSize() const override { return m_Size; }
    bool IsStreamEnabled(uint32 component) const override { return m_Type.test(component); }
    const VertexType& GetType() const override { return m_Type; }
    uint32 GetUsage() const override { return m_Usage; }
    uint32 AddRange(uint32 start, uint32 count) override;
    void RemoveRange(uint32 id) override;
    void SetRange(uint32 id, uint32 start, uint32 count) override;
    void GetRange(uint32 id, uint32& start, uint32& count) const override;

    uint32 GetStride() const { return m_Stride; }
    // Bytes held by the vertex block (0 before Create and after Destroy).
    std::size_t GetBlockSize() const { return m_BlockSize; }
    bool IsLocked(uint32 component) const { return m_Locked.test(component); }

private:
    struct Range
    {
        uint16 start;
        uint16 count;
    };

    uint16 m_Size = 0;
    uint32 m_Usage = 0;
    uint32 m_Stride = 0;
    VertexType m_Type;
    VertexType m_Locked;
    uint8* m_pData = nullptr;
    std::size_t m_BlockSize = 0;
    std::vector<Range> m_cRange;
};

// The null device's vertex set: the memory form, nothing more.
class NullVertexSet final : public MemoryVertexSet
{
};
} // namespace fr
