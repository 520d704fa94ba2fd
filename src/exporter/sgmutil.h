// The exporter's node tests and its one converter from host axes to game axes: a host point
// (x, y, z) is the game point (-x, z, -y).
#pragma once

#include "host/host.h"
#include "math/matrix.h"

// Node classification at `time`. All but IsXRef answer false for a null node and the root.
bool IsBone(host::INode* pNode, host::TimeValue time);
bool IsMesh(host::INode* pNode, host::TimeValue time);
bool IsMarker(host::INode* pNode, host::TimeValue time);
bool IsCamera(host::INode* pNode, host::TimeValue time);
bool IsLight(host::INode* pNode, host::TimeValue time);
// An XRef object at the bottom of the node's pipeline; "ForceLocal" makes any node local.
bool IsXRef(host::INode* pNode);

// The host matrix without scale, in game axes, rows made orthogonal and right-handed.
void ConvertMatrix(ra::Matrix34& out, const host::Matrix3& tm);
// The same, keeping the rows' lengths.
void ConvertMatrixKeepScale(ra::Matrix34& out, const host::Matrix3& tm);
