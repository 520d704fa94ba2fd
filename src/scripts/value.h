// The values that scripts hand to the tq7z_ primitives and get back: undefined (Lua's nil), a
// boolean, a number, a String, an Array (a Lua sequence), or anything else, which a primitive only
// shows in messages. And the errors a primitive raises in the script engine.
#pragma once

#include <string>
#include <vector>

namespace Script
{
class Value
{
public:
    enum class Kind
    {
        Undefined,
        Boolean,
        Number,
        String,
        Array,
        Other,
    };

    Value() = default;
    static Value Undefined() { return Value(); }
    static Value Boolean(bool value);
    static Value Number(double value, std::string text);
    static Value String(std::string text);
    static Value Array(std::vector<Value> cElement);
    // A value of no kind above (a function, a table that isn't a sequence...), shown as `text`.
    static Value Other(std::string text);

    Kind GetKind() const { return m_kind; }
    bool IsUndefined() const { return m_kind == Kind::Undefined; }
    bool IsString() const { return m_kind == Kind::String; }
    bool IsArray() const { return m_kind == Kind::Array; }
    // Booleans hold their value here too.
    bool IsTrue() const { return m_kind == Kind::Boolean && m_bool; }
    double GetNumber() const { return m_number; }

    // The text of a String; any other kind raises the conversion error.
    const std::string& to_string() const;
    // The value of a boolean; any other kind raises the conversion error.
    bool to_bool() const;
    // The elements of an Array; empty for any other kind.
    const std::vector<Value>& Elements() const { return m_cElement; }

    // The value as a listener shows it: a String in double quotes, undefined as "undefined".
    std::string Show() const;

private:
    Kind m_kind = Kind::Undefined;
    bool m_bool = false;
    double m_number = 0.0;
    std::string m_text;
    std::vector<Value> m_cElement;
};

// An error for the script engine. Deliberately not of the standard exception base: the primitives'
// handlers catch that base alone, so these always reach the script.
class ScriptError
{
public:
    explicit ScriptError(std::string text) : m_text(std::move(text)) {}
    const std::string& GetText() const { return m_text; }

private:
    std::string m_text;
};

// "Argument count error: NAME wanted 1, got 2".
ScriptError ArgCountError(const char* name, int expected, int given);
// "Type error: TEXT requires String, got: 42".
ScriptError TypeError(const char* text, const Value& value, const char* className);
} // namespace Script
