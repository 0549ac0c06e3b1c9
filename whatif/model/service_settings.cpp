#include "whatif/model/service_settings.h"

#include "whatif/spelling.h"

#include <algorithm>

namespace whatif {

namespace {

constexpr const wchar_t* starts[] = {L"boot", L"system", L"automatic", L"manual", L"disabled"};
constexpr const wchar_t* sidTypes[] = {L"NONE", L"UNRESTRICTED", L"2", L"RESTRICTED"};

template <size_t count>
std::wstring wordOf(const wchar_t* const (&words)[count], DWORD number)
{
    return number < count ? words[number] : std::to_wstring(number);
}

template <size_t count>
DWORD numberOf(const wchar_t* const (&words)[count], const std::wstring& text)
{
    for (DWORD number = 0; number < count; ++number)
        if (text == words[number])
            return number;
    return std::stoul(text);
}

// Neither services nor load-ordering groups have a slash in their names.
std::wstring joined(const std::vector<std::wstring>& names)
{
    std::wstring text;
    for (const std::wstring& name : names)
        text += (text.empty() ? L"" : L"/") + name;
    return text;
}

std::vector<std::wstring> parted(const std::wstring& text)
{
    std::vector<std::wstring> names;
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = std::min(text.find(L'/', begin), text.size());
        names.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return names;
}

template <DWORD Service::*number>
ServiceSetting numberSetting(const wchar_t* name)
{
    return {name, [](const Service& service) { return std::to_wstring(service.*number); },
            [](Service& service, const std::wstring& text) { service.*number = std::stoul(text); }};
}

template <std::wstring Service::*member>
ServiceSetting textSetting(const wchar_t* name)
{
    return {name, [](const Service& service) { return service.*member; },
            [](Service& service, const std::wstring& text) { service.*member = text; }};
}

} // namespace

const std::vector<ServiceSetting>& serviceSettings()
{
    static const std::vector<ServiceSetting> settings = {
        numberSetting<&Service::type>(L"type"),
        {L"start", [](const Service& service) { return wordOf(starts, service.start); },
         [](Service& service, const std::wstring& text) { service.start = numberOf(starts, text); }},
        numberSetting<&Service::errorControl>(L"error control"),
        textSetting<&Service::binaryPath>(L"binary path"),
        textSetting<&Service::loadOrderGroup>(L"load order group"),
        numberSetting<&Service::tag>(L"tag"),
        {L"dependencies", [](const Service& service) { return joined(service.dependencies); },
         [](Service& service, const std::wstring& text) { service.dependencies = parted(text); }},
        textSetting<&Service::account>(L"account"),
        textSetting<&Service::displayName>(L"display name"),
    };
    return settings;
}

std::wstring sidTypeText(DWORD sidType)
{
    return wordOf(sidTypes, sidType);
}

DWORD sidTypeOf(const std::wstring& text)
{
    return numberOf(sidTypes, text);
}

void readConfiguration(const QUERY_SERVICE_CONFIGW& configuration, Service& service)
{
    service.displayName = textOrEmpty(configuration.lpDisplayName);
    service.binaryPath = textOrEmpty(configuration.lpBinaryPathName);
    service.account = textOrEmpty(configuration.lpServiceStartName);
    service.loadOrderGroup = textOrEmpty(configuration.lpLoadOrderGroup);
    service.dependencies = namesIn(configuration.lpDependencies);
    service.type = configuration.dwServiceType;
    service.start = configuration.dwStartType;
    service.errorControl = configuration.dwErrorControl;
    service.tag = configuration.dwTagId;
}

State createdState(const Service& service)
{
    State::Parts parts;
    for (const ServiceSetting& setting : serviceSettings())
        parts.emplace_back(setting.name, setting.text(service));
    return parts;
}

State fullState(const Service& service)
{
    State state = createdState(service);
    state.parts.emplace_back(sidTypeSetting, sidTypeText(service.sidType));
    state.parts.emplace_back(L"security", service.security);
    return state;
}

std::vector<std::wstring> namesIn(const wchar_t* names)
{
    std::vector<std::wstring> list;
    for (; names && *names; names += wcslen(names) + 1)
        list.emplace_back(names);
    return list;
}

} // namespace whatif
