// SGMErrors: the messages of one export, errors and warnings in the order they came, shown once at
// the end. Exists only between InitExport and ShutdownExport.
#pragma once

#include "host/plugin.h"

#include <string>
#include <vector>

class ExportUI;

class SGMErrors
{
public:
    static void Create(host::HINSTANCE hInstance, host::Interface* pInterface, ExportUI* pUI);
    static void Destroy();
    static SGMErrors* Get();
    // True between Create and Destroy.
    static bool Exists();

    void Error(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void Warning(const char* format, ...) __attribute__((format(printf, 2, 3)));
    // The end dialog: nothing when there are no messages.
    void Show();
    int32 GetErrorCount() const { return m_errorCount; }
    int32 GetWarningCount() const { return m_warningCount; }
    const std::vector<std::string>& GetMessages() const { return m_Messages; }
    void Clear();

private:
    SGMErrors(host::HINSTANCE hInstance, host::Interface* pInterface, ExportUI* pUI);

    host::HINSTANCE m_hInstance = nullptr;
    host::Interface* m_pInterface = nullptr;
    ExportUI* m_pUI = nullptr;
    std::vector<std::string> m_Messages;
    int32 m_errorCount = 0;
    int32 m_warningCount = 0;

    static SGMErrors* s_pInstance;
};
