#include "scripts/value.h"

namespace Script
{
namespace
{
const char* KindName(Value::Kind kind)
{
    switch (kind)
    {
    case Value::Kind::Boolean:
        return "BooleanClass";
    case Value::Kind::String:
        return "String";
    default:
        return "";
    }
}

[[noreturn]] void ThrowConversion(const Value& value, Value::Kind kind)
{
    throw ScriptError("Unable to convert: " + value.Show() + " to type: " + KindName(kind));
}
} // namespace

Value Value::Boolean(bool value)
{
    Value v;
    v.m_kind = Kind::Boolean;
    v.m_bool = value;
    return v;
}

Value Value::Number(double value, std::string text)
{
    Value v;
    v.m_kind = Kind::Number;
    v.m_number = value;
    v.m_text = std::move(text);
    return v;
}

Value Value::String(std::string text)
{
    Value v;
    v.m_kind = Kind::String;
    v.m_text = std::move(text);
    return v;
}

Value Value::Array(std::vector<Value> cElement)
{
    Value v;
    v.m_kind = Kind::Array;
    v.m_cElement = std::move(cElement);
    return v;
}

Value Value::Other(std::string text)
{
    Value v;
    v.m_kind = Kind::Other;
    v.m_text = std::move(text);
    return v;
}

const std::string& Value::to_string() const
{
    if (m_kind != Kind::String)
        ThrowConversion(*this, Kind::String);
    return m_text;
}

bool Value::to_bool() const
{
    if (m_kind != Kind::Boolean)
        ThrowConversion(*this, Kind::Boolean);
    return m_bool;
}

std::string Value::Show() const
{
    switch (m_kind)
    {
    case Kind::Undefined:
        return "undefined";
    case Kind::Boolean:
        return m_bool ? "true" : "false";
    case Kind::String:
        return "\"" + m_text + "\"";
    case Kind::Array:
    {
        std::string text = "#(";
        for (size_t i = 0; i < m_cElement.size(); ++i)
            text += (i > 0 ? ", " : "") + m_cElement[i].Show();
        return text + ")";
    }
    default:
        return m_text;
    }
}

ScriptError ArgCountError(const char* name, int expected, int given)
{
    return ScriptError("Argument count error: " + std::string(name) + " wanted " + std::to_string(expected) +
                       ", got " + std::to_string(given));
}

ScriptError TypeError(const char* text, const Value& value, const char* className)
{
    return ScriptError("Type error: " + std::string(text) + " requires " + className +
                       ", got: " + value.Show());
}
} // namespace Script
