// Reads the account that a service runs under.
#include "frame/call.h"
#include "frame/text.h"
#include "services/service_manager.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr DWORD factor = 2;     // twice what is asked for: deliberate, the configuration may grow between the calls
constexpr DWORD largest = 8192; // more than that may not be announced to the platform

DWORD readConfiguration(const sswseCall& call, SC_HANDLE service, sswseServiceAnswer<QUERY_SERVICE_CONFIGW>& config)
{
    return sswseQueryService(call, "QueryServiceConfigW", factor, config,
                             [service](QUERY_SERVICE_CONFIGW* buffer, DWORD size, DWORD* needed) {
                                 return QueryServiceConfigW(service, buffer, std::min(size, largest), needed);
                             });
}

// What of the caller's output buffer may be traced: its text when it holds one already.
const char* textIn(const char* buffer, size_t size)
{
    return buffer && memchr(buffer, '\0', size) ? buffer : "";
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
        sswseServiceAnswer<QUERY_SERVICE_CONFIGW> config;
        if (sswseOpenNodeService(call, nodename, servicename, SERVICE_QUERY_CONFIG, opened) != SSWSE_SUCCESS ||
            readConfiguration(call, opened.service.get(), config) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        // A driver may have no account.
        const wchar_t* const account = config.data->lpServiceStartName ? config.data->lpServiceStartName : L"";
        owned::Heap<char> name;
        size_t length = 0; // counts the terminator
        if (sswseToMultibyte(call, account, name, &length) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
        if (usernamel < length)
            return sswseBufferTooSmall(call, "username");
        memcpy(username, name.get(), length);
        if (written)
            *written = length;
        return SSWSE_SUCCESS;
    });
}
