// The base of every object the inventory holds (models, meshes, shaders, textures, images,
// animations, event data, sounds): a name, and whether the inventory holds the object now.
#pragma once

namespace Inv
{
class NamedResource
{
public:
    NamedResource() = default;
    explicit NamedResource(const char* name);
    // A copy takes the name but is not in the inventory.
    NamedResource(const NamedResource& rhs);
    NamedResource& operator=(const NamedResource& rhs);
    // An object the inventory holds must be taken out through the warehouse first: destroying it
    // here is an assertion failure.
    virtual ~NamedResource();

    // Replaces the name with a copy of `name` (null clears it). An assertion failure while the
    // inventory holds the object, which then keeps its name.
    virtual void SetName(const char* name);

    // Null when the object has no name.
    const char* GetName() const { return m_pName; }
    bool IsInInventory() const { return m_bInInventory; }

private:
    friend class Warehouse;
    void SetInInventory(bool in) { m_bInInventory = in; }
    void FreeName();

    // From the pool "InvNames".
    char* m_pName = nullptr;
    bool m_bInInventory = false;
};
} // namespace Inv
