#include "host/mesh.h"

namespace host
{

Mesh::Mesh(const Mesh& o)
    : numVerts(o.numVerts), numFaces(o.numFaces), numTVerts(o.numTVerts), m_cVert(o.m_cVert),
      m_cTVert(o.m_cTVert), m_cFace(o.m_cFace), m_cTVFace(o.m_cTVFace)
{
    Bind();
}

Mesh& Mesh::operator=(const Mesh& o)
{
    if (this != &o)
    {
        numVerts = o.numVerts;
        numFaces = o.numFaces;
        numTVerts = o.numTVerts;
        m_cVert = o.m_cVert;
        m_cTVert = o.m_cTVert;
        m_cFace = o.m_cFace;
        m_cTVFace = o.m_cTVFace;
        Bind();
    }
    return *this;
}

void Mesh::setNumVerts(int n)
{
    m_cVert.resize(n > 0 ? size_t(n) : 0);
    numVerts = int(m_cVert.size());
    Bind();
}

void Mesh::setNumFaces(int n)
{
    m_cFace.resize(n > 0 ? size_t(n) : 0);
    numFaces = int(m_cFace.size());
    m_cTVFace.resize(numTVerts > 0 ? m_cFace.size() : 0);
    Bind();
}

void Mesh::setNumTVerts(int n)
{
    m_cTVert.resize(n > 0 ? size_t(n) : 0);
    numTVerts = int(m_cTVert.size());
    m_cTVFace.resize(numTVerts > 0 ? m_cFace.size() : 0);
    Bind();
}

void Mesh::Bind()
{
    verts = m_cVert.empty() ? nullptr : m_cVert.data();
    tVerts = m_cTVert.empty() ? nullptr : m_cTVert.data();
    faces = m_cFace.empty() ? nullptr : m_cFace.data();
    tvFace = m_cTVFace.empty() ? nullptr : m_cTVFace.data();
}
} // namespace host
