#include "whatif/model/service_settings.h"

namespace whatif {

namespace {

constexpr const wchar_t* starts[] = {L"boot", L"system", L"automatic", L"manual", L"disabled"};
constexpr const wchar_t* sidTypes[] = {L"NONE", L"UNRESTRICTED", L"2", L"RESTRICTED"};

std::wstring startText(DWORD start)
{
    return start <= SERVICE_DISABLED ? starts[start] : std::to_wstring(start);
}

// Neither services nor load-ordering groups have a slash in their names.
std::wstring joined(const std::vector<std::wstring>& names)
{
    std::wstring text;
    for (const std::wstring& name : names)
        text += (text.empty() ? L"" : L"/") + name;
    return text;
}

} // namespace

const std::vector<ServiceSetting>& serviceSettings()
{
    static const std::vector<ServiceSetting> settings = {
        {L"type", [](const Service& service) { return std::to_wstring(service.type); }},
        {L"start", [](const Service& service) { return startText(service.start); }},
        {L"error control", [](const Service& service) { return std::to_wstring(service.errorControl); }},
        {L"binary path", [](const Service& service) { return service.binaryPath; }},
        {L"load order group", [](const Service& service) { return service.loadOrderGroup; }},
        {L"tag", [](const Service& service) { return std::to_wstring(service.tag); }},
        {L"dependencies", [](const Service& service) { return joined(service.dependencies); }},
        {L"account", [](const Service& service) { return service.account; }},
        {L"display name", [](const Service& service) { return service.displayName; }},
    };
    return settings;
}

std::wstring sidTypeText(DWORD sidType)
{
    return sidType <= SERVICE_SID_TYPE_RESTRICTED ? sidTypes[sidType] : std::to_wstring(sidType);
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

} // namespace whatif
