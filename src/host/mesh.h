// The host's triangle mesh as the exporter reads it: vertex positions, faces with smoothing groups,
// material ids and edge visibility, and texture vertices with their texture faces. The public
// fields are the host's own; the set-up calls size them.
#pragma once

#include "foundation/types.h"
#include "host/matrix3.h"

#include <vector>

namespace host
{

// Edge visibility bits of Face::flags: edge a runs from v[0] to v[1], b from v[1] to v[2], c from
// v[2] to v[0].
constexpr uint32 EDGE_A = 0x1;
constexpr uint32 EDGE_B = 0x2;
constexpr uint32 EDGE_C = 0x4;
constexpr uint32 EDGE_ALL = EDGE_A | EDGE_B | EDGE_C;
// The material id lives in the top 16 bits of the flags.
constexpr uint32 FACE_MATID_SHIFT = 16;
constexpr uint32 FACE_MATID_MASK = 0xFFFF;

class Face
{
public:
    uint32 v[3] = {0, 0, 0};
    uint32 smGroup = 0;
    uint32 flags = 0;

    uint16 getMatID() const { return uint16((flags >> FACE_MATID_SHIFT) & FACE_MATID_MASK); }
    void setMatID(uint16 id)
    {
        flags = (flags & ~(FACE_MATID_MASK << FACE_MATID_SHIFT)) | (uint32(id) << FACE_MATID_SHIFT);
    }
    void setVerts(uint32 a, uint32 b, uint32 c)
    {
        v[0] = a;
        v[1] = b;
        v[2] = c;
    }
    void setSmGroup(uint32 group) { smGroup = group; }
    // Bits EDGE_A, EDGE_B, EDGE_C.
    void setEdgeVisFlags(uint32 edges) { flags = (flags & ~EDGE_ALL) | (edges & EDGE_ALL); }
    uint32 getEdgeVisFlags() const { return flags & EDGE_ALL; }
};

class TVFace
{
public:
    uint32 t[3] = {0, 0, 0};
};

using UVVert = Point3;

class Mesh
{
public:
    int numVerts = 0;
    int numFaces = 0;
    int numTVerts = 0;
    Point3* verts = nullptr;
    UVVert* tVerts = nullptr;
    Face* faces = nullptr;
    // One texture face per face while there are texture vertices, otherwise null.
    TVFace* tvFace = nullptr;

    Mesh() = default;
    Mesh(const Mesh& o);
    Mesh& operator=(const Mesh& o);
    virtual ~Mesh() = default;

    void setNumVerts(int n);
    void setNumFaces(int n);
    // Texture faces follow the face count while texture vertices exist.
    void setNumTVerts(int n);
    // Frees a mesh that the host handed out with needDelete set.
    virtual void DeleteThis() { delete this; }

private:
    void Bind();

    std::vector<Point3> m_cVert;
    std::vector<UVVert> m_cTVert;
    std::vector<Face> m_cFace;
    std::vector<TVFace> m_cTVFace;
};

// The view a render mesh is made for. The exporter gives one of its own.
class View
{
public:
    float screenW = 0;
    float screenH = 0;
    Matrix3 worldToView;

    virtual ~View() = default;
    virtual Point2 ViewToScreen(Point3 p) = 0;
};
} // namespace host
