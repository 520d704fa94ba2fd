#include "revcontrol/revcontrolapi.h"

#include "foundation/debug.h"
#include "foundation/output.h"
#include "revcontrol/revcontrollocal.h"
#include "revcontrol/revcontrolp4.h"

namespace
{
std::unique_ptr<RevControlAPI> CreateLocal()
{
    auto pLocal = std::make_unique<RevControlLocal>();
    if (!pLocal->Initialize("local mode"))
    {
        dbWarningf("RevControlLocal::Initialize failed\n.");
        return nullptr;
    }
    return pLocal;
}

std::unique_ptr<RevControlAPI> CreateP4(const char* port)
{
    auto pP4 = std::make_unique<RevControlP4>();
    if (!pP4->Initialize(port))
    {
        std::string reason = pP4->GetLastError();
        if (!reason.empty())
            dbTracef("%s", reason.c_str());
        dbWarningf("RevControlP4::Initialize failed\n.");
        return nullptr;
    }
    return pP4;
}
} // namespace

std::unique_ptr<RevControlAPI> RevControlAPI::Create(const char* port, int type)
{
    if (port == nullptr)
        port = "";
    switch (type)
    {
    case RevisionControlP4:
        return CreateP4(port);
    case RevisionControlLocal:
        return CreateLocal();
    case RevisionControlP4OrLocal:
    {
        // A server that cannot be reached degrades to local mode, with only the log line to tell.
        if (*port != '\0')
        {
            if (auto pP4 = CreateP4(port))
                return pP4;
        }
        return CreateLocal();
    }
    default:
        dbWarningf("Unknown RevisionControlType %i", type);
        dbBreak();
        return nullptr;
    }
}
