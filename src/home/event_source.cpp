// Sources of the Windows Application event log: registered and removed on this machine or on a node.
#include "frame/call.h"
#include "frame/registry.h"

namespace {

// The source's key below HKEY_LOCAL_MACHINE, and the hive it lies in.
struct EventSource
{
    char subkey[512];
    owned::RegistryKey root;
    HKEY hive;
};

DWORD findSource(const sswseCall& call, const char* appKey, const char* nodename, EventSource& source)
{
    sswseFormatText(source.subkey, "%s\\%s", "SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application", appKey);
    return sswseConnectRegistryA(call, nodename, source.root, &source.hive);
}

DWORD createSource(const sswseCall& call, const EventSource& source, owned::RegistryKey& key)
{
    char keyClass[] = "SSEVENT";
    HKEY created = nullptr;
    const LSTATUS result = RegCreateKeyExA(source.hive, source.subkey, 0, keyClass, REG_OPTION_NON_VOLATILE, KEY_WRITE,
                                           nullptr, &created, nullptr);
    if (result != ERROR_SUCCESS)
        return sswseFail(call, WSE_CREATE_REGISTRY_KEY, static_cast<DWORD>(result), "RegCreateKeyEx", source.subkey);
    key.reset(created);
    return SSWSE_SUCCESS;
}

} // namespace

DWORD WINAPI sswseCreateSVCEventRegEntry(sswseErrRec* err, const char* SVCAppKey, const char* EventMsgFile, DWORD Types,
                                         const char* nodename)
{
    const auto args =
        sswseArgs("SVCAppKey=%s\nEventMsgFile=%s\nTypes=%lu\nnodename=%s", SVCAppKey, EventMsgFile, Types, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        constexpr DWORD allTypes = EVENTLOG_ERROR_TYPE | EVENTLOG_WARNING_TYPE | EVENTLOG_INFORMATION_TYPE;
        if (!SVCAppKey)
            return sswseBadArgument(call, "ServiceAppKey");
        if (!EventMsgFile)
            return sswseBadArgument(call, "Event Message File");
        EventSource source;
        owned::RegistryKey key;
        DWORD status = findSource(call, SVCAppKey, nodename, source);
        if (status == SSWSE_SUCCESS)
            status = createSource(call, source, key);
        if (status == SSWSE_SUCCESS)
            status = sswseSetRegistryTextA(call, key.get(), "EventMessageFile", REG_EXPAND_SZ, EventMsgFile);
        if (status != SSWSE_SUCCESS)
            return status;
        const DWORD types = Types ? Types : allTypes;
        return sswseSetRegistryValueA(call, key.get(), "TypesSupported", REG_DWORD, &types, sizeof types);
    });
}

DWORD WINAPI sswseDeleteSVCEventRegEntry(sswseErrRec* err, const char* SVCAppKey, const char* nodename)
{
    const auto args = sswseArgs("SVCAppKey=%s\nnodename=%s", SVCAppKey, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (!SVCAppKey)
            return sswseBadArgument(call, "ServiceAppKey");
        EventSource source;
        if (const DWORD status = findSource(call, SVCAppKey, nodename, source); status != SSWSE_SUCCESS)
            return status;
        const LSTATUS result = RegDeleteKeyA(source.hive, source.subkey);
        if (result != ERROR_SUCCESS)
            return sswseFail(call, WSE_DELETE_REGISTRY_KEY, static_cast<DWORD>(result), "RegDeleteKey", source.subkey);
        return SSWSE_SUCCESS;
    });
}
