// Primitive sets: the index lists that draw a vertex set with one shader. The null device's set
// keeps its u16 indices in memory.
#pragma once

#include "render/core.h"
#include "render/shader.h"
#include "render/vertexset.h"

#include <span>
#include <vector>

namespace fr
{
enum PrimKind : uint32
{
    PK_PointList = 0,
    PK_LineList = 1,
    PK_LineStrip = 2,
    PK_TriangleList = 3,
    PK_TriangleStrip = 4
};

class PrimSet : public Core
{
public:
    // The vertex set is the caller's and must outlive this set; the shader is counted.
    virtual bool Initialise(VertexSet* pVertexSet, Shader* pShader, uint32 usage) = 0;
    // Takes vertex set, shader, usage, kind, range and indices of `from`.
    virtual bool CopyFrom(const PrimSet& from) = 0;
    // Drops indices, vertex set and shader.
    virtual void Release() = 0;
    // Sizes the index list and sets the range to all of it.
    virtual void SetIndexCount(uint32 n) = 0;
    virtual uint32 GetIndexCount() const = 0;
    virtual void SetKind(PrimKind kind) = 0;
    virtual PrimKind GetKind() const = 0;
    virtual uint32 GetUsage() const = 0;
    virtual bool WriteIndices(uint32 start, uint32 count, std::span<const uint16> values) = 0;
    virtual bool ReadIndices(uint32 start, uint32 count, std::span<uint16> out) const = 0;
    virtual void SetRange(uint32 start, uint32 count) = 0;
    virtual void GetRange(uint32& start, uint32& count) const = 0;
    virtual void SetVertexSet(VertexSet* pVertexSet) = 0;
    virtual VertexSet* GetVertexSet() const = 0;
    virtual Shader* GetShader() const = 0;
    // Drawing, for the game: only valid between the device's BeginScene and EndScene.
    virtual bool Render() = 0;
    virtual bool RenderRange(uint32 start, uint32 count) = 0;
};

class NullPrimSet final : public PrimSet
{
public:
    bool Initialise(VertexSet* pVertexSet, Shader* pShader, uint32 usage) override;
    bool CopyFrom(const PrimSet& from) override;
    void Release() override;
    void SetIndexCount(uint32 n) override;
    uint32 GetIndexCount() const override { return uint32(m_cIndex.size()); }
    void SetKind(PrimKind kind) override { m_kind = kind; }
    PrimKind GetKind() const override { return m_kind; }
    uint32 GetUsage() const override { return m_usage; }
    bool WriteIndices(uint32 start, uint32 count, std::span<const uint16> values) override;
    bool ReadIndices(uint32 start, uint32 count, std::span<uint16> out) const override;
    void SetRange(uint32 start, uint32 count) override;
    void GetRange(uint32& start, uint32& count) const override;
    void SetVertexSet(VertexSet* pVertexSet) override { m_pVertexSet = pVertexSet; }
    VertexSet* GetVertexSet() const override { return m_pVertexSet; }
    Shader* GetShader() const override { return m_pShader.get(); }
    bool Render() override;
    bool RenderRange(uint32 start, uint32 count) override;

private:
    VertexSet* m_pVertexSet = nullptr;
    ObjectPtr<Shader> m_pShader;
    uint32 m_usage = 0;
    uint32 m_rangeStart = 0;
    uint32 m_rangeCount = 0;
    PrimKind m_kind = PK_TriangleList;
    std::vector<uint16> m_cIndex;
};
} // namespace fr
