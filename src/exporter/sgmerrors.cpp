#include "exporter/sgmerrors.h"

#include "exporter/exportui.h"
#include "foundation/debug.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

SGMErrors* SGMErrors::s_pInstance = nullptr;

namespace
{
// One buffer per kind, as the messages are short; the prefixes are ten characters so texts line up.
constexpr size_t MessageLength = 264;
constexpr size_t PrefixLength = 10;

std::string Format(char* buffer, const char* prefix, const char* format, va_list args)
{
    std::memcpy(buffer, prefix, PrefixLength);
    std::vsnprintf(buffer + PrefixLength, MessageLength - PrefixLength, format, args);
    return buffer;
}
} // namespace

SGMErrors::SGMErrors(host::HINSTANCE hInstance, host::Interface* pInterface, ExportUI* pUI)
    : m_hInstance(hInstance), m_pInterface(pInterface), m_pUI(pUI)
{
}

void SGMErrors::Create(host::HINSTANCE hInstance, host::Interface* pInterface, ExportUI* pUI)
{
    if (!dbAssert(s_pInstance == NULL))
        return;
    s_pInstance = new SGMErrors(hInstance, pInterface, pUI);
}

void SGMErrors::Destroy()
{
    if (!dbAssert(s_pInstance))
        return;
    delete s_pInstance;
    s_pInstance = nullptr;
}

SGMErrors* SGMErrors::Get()
{
    dbAssert(s_pInstance);
    return s_pInstance;
}

bool SGMErrors::Exists()
{
    return s_pInstance != nullptr;
}

void SGMErrors::Error(const char* format, ...)
{
    static char s_buffer[MessageLength];
    va_list args;
    va_start(args, format);
    m_Messages.push_back(Format(s_buffer, "Error   : ", format, args));
    va_end(args);
    ++m_errorCount;
}

void SGMErrors::Warning(const char* format, ...)
{
    static char s_buffer[MessageLength];
    va_list args;
    va_start(args, format);
    m_Messages.push_back(Format(s_buffer, "Warning : ", format, args));
    va_end(args);
    ++m_warningCount;
}

void SGMErrors::Show()
{
    if (m_Messages.empty() || m_pUI == nullptr)
        return;
    m_pUI->ShowMessages(m_Messages);
}

void SGMErrors::Clear()
{
    m_Messages.clear();
    m_errorCount = 0;
    m_warningCount = 0;
}
