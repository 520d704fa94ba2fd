// The base of everything in a host scene that has a class: objects, modifiers, controllers,
// materials, maps. The exporter classifies by ClassID and SuperClassID alone.
#pragma once

#include "host/maxtypes.h"

namespace host
{

class Animatable
{
public:
    virtual ~Animatable() = default;
    virtual Class_ID ClassID() = 0;
    virtual SClass_ID SuperClassID() = 0;
    // The class's name as the host shows it ("Standard", "Bitmap", "Editable Mesh").
    virtual void GetClassName(CStr& s) = 0;
};

// A transform controller; only its class is asked.
class Control : public Animatable
{
};
} // namespace host
