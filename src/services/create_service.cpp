// Creates a service of the library's own home: the home decides its account, groups and rights.
#include "frame/call.h"
#include "services/dependency_list.h"
#include "services/service_key.h"
#include "services/service_manager.h"
#include "services/service_setup.h"

namespace {

// The caller's arguments that are passed on.
struct NewService
{
    const char* servicename;
    const char* displayname;
    DWORD desiredaccess;
    DWORD servicetype;
    DWORD starttype;
    DWORD errorcontrol;
    const char* binpath;
    const char* loadordergroup;
    DWORD* tagid;
    const char* dependencies;
    const char* servicestartname;
    const char* password;
};

struct WideTexts
{
    owned::Heap<wchar_t> servicename;
    owned::Heap<wchar_t> binpath;
    owned::Heap<wchar_t> displayname;
    owned::Heap<wchar_t> loadordergroup;
    owned::Heap<wchar_t> dependencies;
};

bool isDriver(DWORD servicetype)
{
    return servicetype == SERVICE_KERNEL_DRIVER || servicetype == SERVICE_FILE_SYSTEM_DRIVER;
}

DWORD convertTexts(const sswseCall& call, const NewService& wanted, WideTexts& texts)
{
    if (sswseToWide(call, wanted.servicename, texts.servicename) != SSWSE_SUCCESS ||
        sswseToWide(call, wanted.binpath, texts.binpath) != SSWSE_SUCCESS ||
        sswseToWide(call, wanted.displayname, texts.displayname) != SSWSE_SUCCESS ||
        sswseToWide(call, wanted.loadordergroup, texts.loadordergroup) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    return sswseDependenciesToWide(call, wanted.dependencies, texts.dependencies);
}

DWORD createOnNode(const sswseCall& call, const NewService& wanted, const sswseDecidedService& decided,
                   const char* nodename, SC_HANDLE* service)
{
    // The manager is opened before the dependencies are looked at: deliberate.
    owned::ServiceHandle scm;
    if (sswseOpenScm(call, nodename, SC_MANAGER_ALL_ACCESS, scm) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    WideTexts texts;
    const DWORD status = convertTexts(call, wanted, texts);
    if (status != SSWSE_SUCCESS)
        return status;
    // Only a driver starts under the name that the caller gives; for everything else the home decides.
    const char* const account = isDriver(wanted.servicetype) ? wanted.servicestartname : decided.account.name;
    sswseServiceLogon logon;
    if (sswseMakeServiceLogon(call, decided, account, wanted.password, logon) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    *service = CreateServiceW(scm.get(), texts.servicename.get(), texts.displayname.get(), wanted.desiredaccess,
                              wanted.servicetype, wanted.starttype, wanted.errorcontrol, texts.binpath.get(),
                              texts.loadordergroup.get(), wanted.tagid, texts.dependencies.get(), logon.account.get(),
                              logon.password.get());
    if (!*service)
        return sswseFail(call, WSE_CREATE_SERVICE, GetLastError(), "CreateService");
    return SSWSE_SUCCESS;
}

} // namespace

DWORD WINAPI sswseCreateService(sswseErrRec* err, const char* servicename, const char* displayname, DWORD desiredaccess,
                                DWORD servicetype, DWORD starttype, DWORD errorcontrol, const char* binpath,
                                const char* loadordergroup, DWORD* tagid, const char* dependencies,
                                const char* servicestartname, const char* password, const char* nodename,
                                SC_HANDLE* phService)
{
    if (phService)
        *phService = nullptr;
    const NewService wanted = {servicename, displayname,    desiredaccess, servicetype,  starttype,        errorcontrol,
                               binpath,     loadordergroup, tagid,         dependencies, servicestartname, password};
    // The precision keeps the trace from running through a list without an end; no more than that would be shown.
    const auto args =
        sswseArgs("Service Name = %s\nDisplay Name = %s\nService Type = %u   \nBinpath = %s\nDependencies = %.511s\n"
                  "ServiceStartName = %s\nPassword = %s   \nnodename = %s",
                  servicename, displayname, servicetype, binpath, dependencies, servicestartname, "****", nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        if (!servicename)
            return sswseBadArgument(call, "Service Name");
        if (!binpath)
            return sswseBadArgument(call, "Service Binary Path");
        if (!phService)
            return sswseBadArgument(call, "Pointer to ServiceHandle");
        sswseDecidedService decided;
        if (sswseGetServiceKeyFromBinPath(call.rec, binpath, servicename, decided.svckey, sizeof decided.svckey) !=
            SSWSE_SUCCESS)
            return sswseBadArgument(call, "Service Name");
        DWORD status = sswseReadOwnHomeType(call, nodename, sswseHomeTypeFault::invalid, decided);
        if (status != SSWSE_SUCCESS)
            return status;
        sswseDecideService(call, servicename, nodename, decided);
        status = createOnNode(call, wanted, decided, nodename, phService);
        if (status != SSWSE_SUCCESS)
            return status;
        // A failure from here on leaves the service in place, its handle with the caller.
        return sswseEquipService(call, servicename, nodename, decided, *phService);
    });
}
