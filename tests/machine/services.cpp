// Services: created, changed, read, secured, deleted. None is started. Calls name a handle by the word that it was
// opened as.
#include "tests/machine/place.h"
#include "whatif/security/descriptors.h"

#include <algorithm>

namespace machine {

namespace {

// NULL when it is not given; names are separated by commas.
std::optional<std::wstring> dependenciesOf(const Words& words)
{
    const wchar_t* const text = words.find(L"dependencies");
    if (!text)
        return std::nullopt;
    std::wstring list = std::wstring(text) + L'\0';
    std::replace(list.begin(), list.end(), L',', L'\0');
    return list;
}

std::wstring keptOrClosed(Place& place, const Words& words, SC_HANDLE handle)
{
    const std::wstring answer = said(handle);
    if (handle && words.find(L"as"))
        place.services[words.find(L"as")] = handle;
    else
        ON(CloseServiceHandle)(handle);
    return answer;
}

std::wstring openManager(Place& place, const Words& words)
{
    return keptOrClosed(place, words, ON(OpenSCManagerW)(words.find(L"machine"), nullptr, SC_MANAGER_CONNECT));
}

// NAME; it is deleted again when nobody keeps its handle.
std::wstring create(Place& place, const Words& words)
{
    const auto dependencies = dependenciesOf(words);
    const SC_HANDLE service = ON(CreateServiceW)(
        place.manager, words[0], words.find(L"display"), SERVICE_ALL_ACCESS,
        words.number(L"type", SERVICE_WIN32_OWN_PROCESS), words.number(L"start", SERVICE_DEMAND_START),
        SERVICE_ERROR_NORMAL, L"C:\\kwt\\kwt.exe -x", nullptr, nullptr, dependencies ? dependencies->c_str() : nullptr,
        words.find(L"account"), words.find(L"password"));
    if (service && !words.find(L"as"))
        ON(DeleteService)(service);
    return keptOrClosed(place, words, service);
}

std::wstring open(Place& place, const Words& words)
{
    return keptOrClosed(place, words,
                        ON(OpenServiceW)(place.manager, words[0], words.number(L"access", SERVICE_QUERY_CONFIG)));
}

std::wstring configuration(Place& place, const Words& words)
{
    std::vector<BYTE> block(8192);
    auto& config = *reinterpret_cast<QUERY_SERVICE_CONFIGW*>(block.data());
    DWORD needed = 0;
    if (!ON(QueryServiceConfigW)(place.services[words[0]], &config, static_cast<DWORD>(block.size()), &needed))
        return said(false);
    std::wstring text;
    for (const DWORD number : {config.dwServiceType, config.dwStartType, config.dwErrorControl, config.dwTagId})
        text += std::to_wstring(number) + L" ";
    for (const wchar_t* const each :
         {config.lpBinaryPathName, config.lpLoadOrderGroup, config.lpServiceStartName, config.lpDisplayName})
        text += std::wstring(L"[") + (each ? each : L"") + L"]";
    for (const wchar_t* each = config.lpDependencies; each && *each; each += wcslen(each) + 1)
        text += std::wstring(L" after ") + each;
    return text;
}

std::wstring change(Place& place, const Words& words)
{
    const auto dependencies = dependenciesOf(words);
    return said(ON(ChangeServiceConfigW)(place.services[words[0]], SERVICE_NO_CHANGE, SERVICE_NO_CHANGE,
                                         SERVICE_NO_CHANGE, nullptr, nullptr, nullptr,
                                         dependencies ? dependencies->c_str() : nullptr, words.find(L"account"),
                                         words.find(L"password"), words.find(L"display")));
}

std::wstring changeSidType(Place& place, const Words& words)
{
    SERVICE_SID_INFO info = {words.number(L"type", SERVICE_SID_TYPE_NONE)};
    const DWORD level = words.number(L"level", SERVICE_CONFIG_SERVICE_SID_INFO);
    const std::wstring answer = said(ON(ChangeServiceConfig2W)(place.services[words[0]], level, &info));
    DWORD needed = 0;
    ON(QueryServiceConfig2W)
    (place.services[words[0]], SERVICE_CONFIG_SERVICE_SID_INFO, reinterpret_cast<BYTE*>(&info), sizeof info, &needed);
    return answer + L", is " + std::to_wstring(info.dwServiceSidType);
}

std::wstring security(Place& place, const Words& words)
{
    BYTE descriptor[4096];
    DWORD needed = 0;
    return ON(QueryServiceObjectSecurity)(place.services[words[0]], DACL_SECURITY_INFORMATION, descriptor,
                                          sizeof descriptor, &needed)
               ? whatif::textOf(whatif::securityOf(static_cast<PSECURITY_DESCRIPTOR>(descriptor)))
               : said(false);
}

std::wstring secure(Place& place, const Words& words)
{
    std::vector<BYTE> descriptor =
        whatif::selfRelative(whatif::securityOf(std::wstring(words[1])), DACL_SECURITY_INFORMATION);
    return said(ON(SetServiceObjectSecurity)(place.services[words[0]], DACL_SECURITY_INFORMATION, descriptor.data()));
}

std::wstring close(Place& place, const Words& words)
{
    const SC_HANDLE service = place.services[words[0]];
    place.services.erase(words[0]);
    return said(ON(CloseServiceHandle)(service));
}

} // namespace

std::map<std::string, Verb> serviceVerbs()
{
    return {
        {"OpenSCManager", openManager},
        {"CreateService", create},
        {"OpenService", open},
        {"QueryServiceConfig", configuration},
        {"ChangeServiceConfig", change},
        {"ChangeServiceConfig2", changeSidType},
        {"QueryServiceObjectSecurity", security},
        {"SetServiceObjectSecurity", secure},
        {"DeleteService",
         [](Place& place, const Words& words) { return said(ON(DeleteService)(place.services[words[0]])); }},
        {"CloseServiceHandle", close},
    };
}

} // namespace machine
