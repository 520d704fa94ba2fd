// The host itself as the exporter sees it: the scene's root node, its animation range, and the
// custom properties of the scene file.
#pragma once

#include "host/inode.h"

#include <string>

namespace host
{

// Property sets of Interface::GetNumProperties.
constexpr int PROPSET_SUMMARYINFO = 0;
constexpr int PROPSET_DOCSUMMARYINFO = 1;
constexpr int PROPSET_USERDEFINED = 2;

// How a property is identified.
constexpr uint32 PRSPEC_LPWSTR = 0; // by a wide name
constexpr uint32 PRSPEC_PROPID = 1; // by number

struct PROPSPEC
{
    uint32 ulKind = PRSPEC_LPWSTR;
    std::u16string lpwstr; // the name, when ulKind is PRSPEC_LPWSTR
    uint32 propid = 0;     // the number, when ulKind is PRSPEC_PROPID
};

// Value types of a property.
constexpr uint16 VT_EMPTY = 0;
constexpr uint16 VT_I4 = 3;
constexpr uint16 VT_R4 = 4;
constexpr uint16 VT_R8 = 5;
constexpr uint16 VT_DATE = 7;
constexpr uint16 VT_BOOL = 11;
constexpr uint16 VT_LPSTR = 30;
constexpr uint16 VT_LPWSTR = 31;

// A property value: vt says which field holds it.
struct PROPVARIANT
{
    uint16 vt = VT_EMPTY;
    int32 lVal = 0;
    float fltVal = 0;
    double dblVal = 0;
    bool boolVal = false;
    std::string pszVal;
    std::u16string pwszVal;
    // Days since 30 December 1899, as the host's dates count.
    double date = 0;
};

class Interface
{
public:
    virtual ~Interface() = default;
    virtual INode* GetRootNode() = 0;
    virtual Interval GetAnimRange() = 0;
    virtual int GetNumProperties(int propertySet) = 0;
    // Null for an index out of range.
    virtual const PROPSPEC* GetPropertySpec(int propertySet, int index) = 0;
    virtual const PROPVARIANT* GetPropertyVariant(int propertySet, int index) = 0;
};
} // namespace host
