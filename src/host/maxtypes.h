// The host's small value types: time in ticks, class identifiers and their known values, the time
// interval, the host string and colour, and the host's frame rate and debug output.
#pragma once

#include "foundation/types.h"

#include <string>

namespace host
{

// Time in ticks, 4800 a second.
using TimeValue = int32;
constexpr TimeValue TIME_TICKSPERSEC = 4800;

// The host's frame rate: whoever opens a scene sets it. 30 until then.
void SetFrameRate(int rate);
int GetFrameRate();
// TIME_TICKSPERSEC / GetFrameRate(): 160 at 30 frames a second.
int GetTicksPerFrame();

// printf-style line to the log.
void DebugPrint(const char* format, ...) __attribute__((format(printf, 1, 2)));

// The two-part identifier of a class. Both parts compare.
class Class_ID
{
public:
    constexpr Class_ID() = default;
    constexpr Class_ID(uint32 a, uint32 b) : m_a(a), m_b(b) {}
    constexpr uint32 PartA() const { return m_a; }
    constexpr uint32 PartB() const { return m_b; }
    constexpr bool operator==(const Class_ID& o) const = default;

private:
    uint32 m_a = 0xFFFFFFFF;
    uint32 m_b = 0xFFFFFFFF;
};

// The super class of a class: what family it belongs to.
using SClass_ID = uint32;

constexpr SClass_ID GEN_DERIVOB_CLASS_ID = 0x2;
constexpr SClass_ID GEOMOBJECT_CLASS_ID = 0x10;
constexpr SClass_ID CAMERA_CLASS_ID = 0x20;
constexpr SClass_ID LIGHT_CLASS_ID = 0x30;
constexpr SClass_ID SYSTEM_CLASS_ID = 0x60;
constexpr SClass_ID HELPER_CLASS_ID = 0x70;
constexpr SClass_ID OSM_CLASS_ID = 0x810;
constexpr SClass_ID CTRL_MATRIX3_CLASS_ID = 0x9008;
constexpr SClass_ID SCENE_EXPORT_CLASS_ID = 0xA20;
constexpr SClass_ID MATERIAL_CLASS_ID = 0xC00;
constexpr SClass_ID TEXMAP_CLASS_ID = 0xC10;
constexpr SClass_ID UVGEN_CLASS_ID = 0xC20;

// Objects.
constexpr Class_ID TRIOBJ_CLASS_ID(0x9, 0);
constexpr Class_ID EDITTRIOBJ_CLASS_ID(0xE44F10B3, 0);
constexpr Class_ID EPOLYOBJ_CLASS_ID(0x1BF8338D, 0x192F6098);
constexpr Class_ID PATCHOBJ_CLASS_ID(0x1030, 0);
constexpr Class_ID BOXOBJ_CLASS_ID(0x10, 0);
constexpr Class_ID BONE_OBJ_CLASSID(0x8A63C0, 0);
constexpr Class_ID DUMMY_CLASS_ID(0x876234, 0);
constexpr Class_ID POINTHELP_CLASS_ID(0x2013, 0);
constexpr Class_ID TARGET_CLASS_ID(0x1020, 0);
constexpr Class_ID SIMPLE_CAM_CLASS_ID(0x1001, 0);
constexpr Class_ID LOOKAT_CAM_CLASS_ID(0x1002, 0);
constexpr Class_ID DIR_LIGHT_CLASS_ID(0x1013, 0);
constexpr Class_ID TDIR_LIGHT_CLASS_ID(0x1015, 0);
constexpr Class_ID OMNI_LIGHT_CLASS_ID(0x1011, 0);
constexpr Class_ID SPOT_LIGHT_CLASS_ID(0x1012, 0);
constexpr Class_ID FSPOT_LIGHT_CLASS_ID(0x1014, 0);
constexpr Class_ID XREFOBJ_CLASS_ID(0x92AAB38C, 0);
constexpr Class_ID DERIVOB_CLASS_ID(0xD481815, 0);
// Transform controllers.
constexpr Class_ID PRS_CONTROL_CLASS_ID(0x2005, 0);
constexpr Class_ID BIPSLAVE_CONTROL_CLASS_ID(0x9154, 0);
constexpr Class_ID BIPBODY_CONTROL_CLASS_ID(0x9156, 0);
// Modifiers.
constexpr Class_ID SKIN_CLASSID(0x95C723, 0x15666);
// Materials and maps.
constexpr Class_ID DMTL_CLASS_ID(0x2, 0);
constexpr Class_ID MULTI_CLASS_ID(0x200, 0);
constexpr Class_ID BMTEX_CLASS_ID(0x240, 0);
constexpr Class_ID STDUVGEN_CLASS_ID(0x100, 0);

// A span of time, both ends included.
class Interval
{
public:
    constexpr Interval() = default;
    constexpr Interval(TimeValue start, TimeValue end) : m_start(start), m_end(end) {}
    constexpr TimeValue Start() const { return m_start; }
    constexpr TimeValue End() const { return m_end; }

private:
    TimeValue m_start = 0;
    TimeValue m_end = 0;
};

// The host's string: a narrow text with a C string view.
class CStr
{
public:
    CStr() = default;
    CStr(const char* text) : m_text(text ? text : "") {}
    CStr(std::string text) : m_text(std::move(text)) {}
    const char* data() const { return m_text.c_str(); }
    operator const char*() const { return m_text.c_str(); }
    int Length() const { return int(m_text.size()); }
    const std::string& str() const { return m_text; }
    bool operator==(const CStr& o) const = default;

private:
    std::string m_text;
};

// A colour of three floats, 0 to 1 for the usual range.
struct Color
{
    float r = 0, g = 0, b = 0;
    constexpr bool operator==(const Color& o) const = default;
};

// A Windows colour word: 0x00BBGGRR.
constexpr uint32 RGB(uint8 r, uint8 g, uint8 b)
{
    return uint32(r) | (uint32(g) << 8) | (uint32(b) << 16);
}
constexpr uint8 GetRValue(uint32 c)
{
    return uint8(c);
}
constexpr uint8 GetGValue(uint32 c)
{
    return uint8(c >> 8);
}
constexpr uint8 GetBValue(uint32 c)
{
    return uint8(c >> 16);
}
} // namespace host
