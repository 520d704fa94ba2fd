// The tq7z_ primitives of the script engine. Each is one static Primitive object in the file of its
// command, which registers it as the program loads; the script host makes every registered
// primitive a global function of its name, and the command line calls them by name.
//
// A primitive takes its arguments as an array and a count and returns a Value. What it tells the
// artist goes to the listener (standard output); ScriptError raises an error in the script.
#pragma once

#include "scripts/value.h"

#include <functional>
#include <string>
#include <vector>

namespace Script
{
using PrimitiveFunction = Value (*)(const Value* argList, int count);

class Primitive
{
public:
    // Registers the primitive; `flags` is 0 for every command of ours.
    Primitive(const char* name, PrimitiveFunction function, int flags);
    Primitive(const Primitive&) = delete;
    Primitive& operator=(const Primitive&) = delete;

    const char* GetName() const { return m_name; }
    Value Call(const Value* argList, int count) const { return m_function(argList, count); }

    // Every registered primitive, in the order of registration.
    static const std::vector<const Primitive*>& All();
    // Null when no primitive has that name.
    static const Primitive* Find(const std::string& name);

private:
    const char* m_name;
    PrimitiveFunction m_function;
    int m_flags;
};

// The listener: where primitives write what the artist reads. Standard output unless a listener
// is set; SetListener gives back the one it replaces (empty for standard output).
using Listener = std::function<void(const std::string& text)>;
void ListenerPrint(const std::string& text);
Listener SetListener(Listener listener);

// A script's path argument as the system takes it: made full.
std::string FullName(const Value& value);
} // namespace Script
