// What is configured for a service: the one table behind the plan's words for it.
#pragma once

#include "whatif/node.h"

namespace whatif {

struct ServiceSetting
{
    const wchar_t* name;
    std::wstring (*text)(const Service& service);
    void (*set)(Service& service, const std::wstring& text);
};

// What is set when a service is created, in the order in which changes are told: "type", "start", "error control",
// "binary path", "load order group", "tag", "dependencies", "account", "display name".
const std::vector<ServiceSetting>& serviceSettings();

constexpr wchar_t sidTypeSetting[] = L"SID type";
std::wstring sidTypeText(DWORD sidType); // "UNRESTRICTED"
DWORD sidTypeOf(const std::wstring& text);

State createdState(const Service& service); // those of serviceSettings
State fullState(const Service& service);    // with SID type and security

// "a\0b\0\0"; NULL is an empty list.
std::vector<std::wstring> namesIn(const wchar_t* names);

// What the service control manager tells of a service: those of serviceSettings.
void readConfiguration(const QUERY_SERVICE_CONFIGW& configuration, Service& service);

} // namespace whatif
