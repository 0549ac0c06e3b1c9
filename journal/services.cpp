// Services, their settings, their security.
#include "journal/descriptor.h"

#include "whatif/model/service_handles.h"
#include "whatif/model/service_settings.h"

#include <optional>

namespace journal {

namespace {

class Handle
{
public:
    Handle(const Platform& platform, SC_HANDLE handle) : platform_(platform), handle_(handle) {}
    ~Handle()
    {
        if (handle_)
            platform_.CloseServiceHandle(handle_);
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    SC_HANDLE get() const { return handle_; }

private:
    const Platform& platform_;
    SC_HANDLE handle_;
};

// A service that is open, or why not.
class Opened
{
public:
    Opened(const Machine& machine, const Change& what, DWORD access)
        : manager_(machine.platform, managerOf(machine, what, SC_MANAGER_CONNECT)),
          service_(machine.platform, serviceOf(machine, what, access))
    {
    }

    static SC_HANDLE managerOf(const Machine& machine, const Change& what, DWORD access)
    {
        std::wstring server;
        return machine.platform.OpenSCManagerW(machine.server(what.node, server), nullptr, access);
    }

    SC_HANDLE get() const { return service_.get(); }
    bool isMissing() const { return error == ERROR_SERVICE_DOES_NOT_EXIST; }
    std::wstring problem() const { return problemOf(manager_.get() ? L"OpenServiceW" : L"OpenSCManagerW", error); }

    DWORD error = ERROR_SUCCESS;

private:
    SC_HANDLE serviceOf(const Machine& machine, const Change& what, DWORD access)
    {
        const SC_HANDLE service =
            manager_.get() ? machine.platform.OpenServiceW(manager_.get(), nameOf(what.object).c_str(), access)
                           : nullptr;
        error = service ? ERROR_SUCCESS : GetLastError();
        return service;
    }

    Handle manager_;
    Handle service_;
};

std::wstring done(const wchar_t* function, BOOL result)
{
    return result ? std::wstring() : problemOf(function, GetLastError());
}

std::optional<whatif::Service> configurationOf(const Machine& machine, SC_HANDLE service)
{
    DWORD size = 0;
    std::vector<BYTE> bytes;
    do
        bytes.resize(size);
    while (!machine.platform.QueryServiceConfigW(service, reinterpret_cast<QUERY_SERVICE_CONFIGW*>(bytes.data()),
                                                 static_cast<DWORD>(bytes.size()), &size) &&
           GetLastError() == ERROR_INSUFFICIENT_BUFFER && size > bytes.size());
    if (bytes.empty())
        return std::nullopt;
    whatif::Service read;
    whatif::readConfiguration(*reinterpret_cast<const QUERY_SERVICE_CONFIGW*>(bytes.data()), read);
    return read;
}

// As the platform takes it; NULL for none.
std::wstring listText(const std::vector<std::wstring>& names)
{
    std::wstring list;
    for (const std::wstring& name : names)
        list.append(name.c_str(), name.size() + 1);
    return list.empty() ? std::wstring(1, L'\0') : list;
}

// Accounts of services whose password nobody has to know: built-in, virtual and managed ones.
bool needsNoPassword(const Machine& machine, const std::wstring& account)
{
    const std::wstring sid = machine.sidOf(machine.name, account);
    return account.empty() || account.back() == L'$' || _wcsicmp(account.c_str(), L"LocalSystem") == 0 ||
           sid == L"S-1-5-18" || sid == L"S-1-5-19" || sid == L"S-1-5-20" || sid.compare(0, 9, L"S-1-5-80-") == 0;
}

std::wstring writeSidType(const Machine& machine, const Change& what, const std::wstring& wanted)
{
    const Opened service(machine, what, SERVICE_CHANGE_CONFIG);
    SERVICE_SID_INFO info = {whatif::sidTypeOf(wanted)};
    return service.get()
               ? done(L"ChangeServiceConfig2W",
                      machine.platform.ChangeServiceConfig2W(service.get(), SERVICE_CONFIG_SERVICE_SID_INFO, &info))
               : service.problem();
}

} // namespace

// ---- the service as a whole ----------------------------------------------------------------------------------------

Reading readService(const Machine& machine, const Change& what)
{
    const Opened service(machine, what, SERVICE_QUERY_CONFIG);
    if (!service.get())
        return service.isMissing() ? Reading() : Reading{{}, service.problem()};
    const auto configuration = configurationOf(machine, service.get());
    if (!configuration)
        return {{}, problemOf(L"QueryServiceConfigW", GetLastError())};
    Reading reading = {whatif::createdState(*configuration), L""};
    SERVICE_SID_INFO info = {};
    DWORD needed = 0;
    if (machine.platform.QueryServiceConfig2W(service.get(), SERVICE_CONFIG_SERVICE_SID_INFO,
                                              reinterpret_cast<LPBYTE>(&info), sizeof info, &needed))
        reading.state.parts.emplace_back(whatif::sidTypeSetting, whatif::sidTypeText(info.dwServiceSidType));
    const Reading security = readServiceSecurity(machine, what);
    if (security.problem.empty() && security.state.there)
        reading.state.parts.emplace_back(L"security", security.state.text);
    return reading;
}

namespace {

// What creating leaves to later, security last, which may keep us out.
std::wstring completeService(const Machine& machine, const Change& what, const State& wanted)
{
    const Reading now = readService(machine, what);
    for (const auto& [name, text] : wanted.parts) {
        const std::wstring* const part = now.state.part(name);
        if (!part || *part == text || name == L"security" || name == L"account")
            continue;
        Change setting = what;
        setting.attribute = name;
        if (std::wstring problem = writeServiceSetting(machine, setting, *part, text); !problem.empty())
            return problem;
    }
    const std::wstring* const security = wanted.part(L"security");
    const std::wstring* const part = now.state.part(L"security");
    return security && part && *part != *security ? writeServiceSecurity(machine, what, *part, *security) : L"";
}

} // namespace

std::wstring writeService(const Machine& machine, const Change& what, const State& found, const State& wanted)
{
    if (!wanted.there) {
        const Opened service(machine, what, DELETE);
        return service.get() ? done(L"DeleteService", machine.platform.DeleteService(service.get()))
                             : service.problem();
    }
    if (!found.there) {
        const Handle manager(machine.platform, Opened::managerOf(machine, what, SC_MANAGER_CREATE_SERVICE));
        whatif::Service service;
        for (const whatif::ServiceSetting& setting : whatif::serviceSettings())
            if (const std::wstring* const text = wanted.part(setting.name))
                setting.set(service, *text);
        const auto text = [](const std::wstring& value) { return value.empty() ? nullptr : value.c_str(); };
        DWORD tag = 0;
        const Handle created(machine.platform,
                             machine.platform.CreateServiceW(
                                 manager.get(), nameOf(what.object).c_str(), text(service.displayName),
                                 SERVICE_ALL_ACCESS, service.type, service.start, service.errorControl,
                                 service.binaryPath.c_str(), text(service.loadOrderGroup), service.tag ? &tag : nullptr,
                                 listText(service.dependencies).c_str(), text(service.account), nullptr));
        if (!created.get())
            return problemOf(L"CreateServiceW", GetLastError());
    }
    return completeService(machine, what, wanted);
}

// Of the service, or of its account.
std::wstring lostService(const Machine& machine, const Change& what, const State& wanted)
{
    const std::wstring* const account = what.attribute == L"account" ? &wanted.text : wanted.part(L"account");
    return !account || needsNoPassword(machine, *account) ? L"" : L"the password of " + *account + L" is lost";
}

// ---- a setting ------------------------------------------------------------------------------------------------------

Reading readServiceSetting(const Machine& machine, const Change& what)
{
    Reading reading = readService(machine, what);
    const std::wstring* const text = reading.state.part(what.attribute);
    if (reading.problem.empty() && reading.state.there && !text)
        return {{}, L"the platform does not tell it"};
    reading.state = text ? State(*text) : State();
    return reading;
}

std::wstring writeServiceSetting(const Machine& machine, const Change& what, const State& /*found*/,
                                 const State& wanted)
{
    if (what.attribute == whatif::sidTypeSetting)
        return writeSidType(machine, what, wanted.text);
    const Opened opened(machine, what, SERVICE_CHANGE_CONFIG);
    if (!opened.get())
        return opened.problem();
    whatif::Service service;
    const auto is = [&](const wchar_t* name) { return what.attribute == name; };
    for (const whatif::ServiceSetting& setting : whatif::serviceSettings())
        if (is(setting.name))
            setting.set(service, wanted.text);
    const auto text = [&](const wchar_t* name, const std::wstring& value) {
        return is(name) ? value.c_str() : nullptr;
    };
    const auto number = [&](const wchar_t* name, DWORD value) { return is(name) ? value : SERVICE_NO_CHANGE; };
    DWORD tag = 0;
    return done(L"ChangeServiceConfigW",
                machine.platform.ChangeServiceConfigW(
                    opened.get(), number(L"type", service.type), number(L"start", service.start),
                    number(L"error control", service.errorControl), text(L"binary path", service.binaryPath),
                    text(L"load order group", service.loadOrderGroup), is(L"tag") ? &tag : nullptr,
                    is(L"dependencies") ? listText(service.dependencies).c_str() : nullptr,
                    text(L"account", service.account), nullptr, text(L"display name", service.displayName)));
}

// ---- security -------------------------------------------------------------------------------------------------------

Reading readServiceSecurity(const Machine& machine, const Change& what)
{
    const Opened service(machine, what, READ_CONTROL);
    if (!service.get())
        return service.isMissing() ? Reading() : Reading{{}, service.problem()};
    return readDescriptor(L"QueryServiceObjectSecurity", [&](BYTE* buffer, DWORD size, DWORD* needed) -> DWORD {
        const bool read =
            machine.platform.QueryServiceObjectSecurity(service.get(), DACL_SECURITY_INFORMATION, buffer, size, needed);
        return read ? ERROR_SUCCESS : GetLastError();
    });
}

std::wstring writeServiceSecurity(const Machine& machine, const Change& what, const State& found, const State& wanted)
{
    const Descriptor descriptor(found, wanted);
    const Opened service(machine, what, descriptor.access());
    return service.get()
               ? done(L"SetServiceObjectSecurity",
                      machine.platform.SetServiceObjectSecurity(service.get(), descriptor.parts(), descriptor.bytes()))
               : service.problem();
}

} // namespace journal
