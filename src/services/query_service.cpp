// The account that a service runs under: its name, and whether it is LocalSystem.
#include "accounts/principal_names.h"
#include "frame/call.h"
#include "frame/node.h"
#include "frame/text.h"
#include "services/service_manager.h"

#include <cstring>

namespace {

// What of the caller's output buffer may be traced: its text when it holds one already.
const char* textIn(const char* buffer, size_t size)
{
    return buffer && memchr(buffer, '\0', size) ? buffer : "";
}

DWORD isLocalSystem(const sswseCall& call, const wchar_t* account, const char* nodename)
{
    if (!account[0])
        return SSWSE_YES;
    owned::Heap<wchar_t> node;
    owned::Heap<void> sid;
    if (sswseNodeToWide(call, nodename, node) != SSWSE_SUCCESS ||
        sswseSidOfPrincipal(call, account, node.get(), sid) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    return IsWellKnownSid(sid.get(), WinLocalSystemSid) ? SSWSE_YES : SSWSE_NO;
}

} // namespace

DWORD WINAPI sswseGetSvcUserForService(sswseErrRec* err, const char* servicename, char* username, size_t usernamel,
                                       size_t* written, const char* nodename)
{
    // Looks into the buffer only while tracing is on.
    const auto args = [=](char* line, size_t capacity) {
        return sswseFormat(line, capacity, "nodename = %s\nusername = %s          \nServicename = %s", nodename,
                           textIn(username, usernamel), servicename);
    };
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (!servicename)
            return sswseBadArgument(call, "Service Name");
        if (!username)
            return sswseBadArgument(call, "username");
        sswseOpenedService opened;
        sswseServiceConfig config;
        if (sswseOpenNodeService(call, nodename, servicename, SERVICE_QUERY_CONFIG, opened) != SSWSE_SUCCESS ||
            sswseReadServiceConfig(call, opened.service.get(), config) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        owned::Heap<char> name;
        size_t length = 0; // counts the terminator
        if (sswseToMultibyte(call, sswseStartName(*config.data), name, &length) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        if (usernamel < length)
            return sswseBufferTooSmall(call, "username");
        memcpy(username, name.get(), length);
        if (written)
            *written = length;
        return SSWSE_SUCCESS;
    });
}

DWORD WINAPI sswseIsSvcRunningAsLocalSystem(sswseErrRec* err, const char* servicename, const char* nodename)
{
    const auto args = sswseArgs("servicename=%s\nnodename=%s", servicename, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (!servicename)
            return sswseBadArgument(call, "servicename");
        sswseOpenedService opened;
        sswseServiceConfig config;
        if (sswseOpenNodeService(call, nodename, servicename, SERVICE_QUERY_CONFIG, opened, SC_MANAGER_CONNECT) !=
                SSWSE_SUCCESS ||
            sswseReadServiceConfig(call, opened.service.get(), config) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        if (config.data->dwServiceType & SERVICE_DRIVER)
            return SSWSE_NO; // its account is the name of a driver object
        return isLocalSystem(call, sswseStartName(*config.data), nodename);
    });
}
