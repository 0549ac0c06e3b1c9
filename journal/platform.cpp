#include "journal/platform.h"

#include "whatif/model/sids.h"
#include "whatif/redirect/imports.h"
#include "whatif/spelling.h"

#include <cstring>
#include <stdexcept>

namespace journal {

Platform nodePlatform()
{
    const std::vector<whatif::Replacement> all = whatif::allReplacements();
    const auto standIn = [&](const char* name) {
        for (const whatif::Replacement& row : all)
            if (strcmp(row.name, name) == 0)
                return row.function;
        throw std::logic_error(std::string("nothing stands in for ") + name);
    };
    Platform platform;
#define JOURNAL_MEMBER(function) platform.function = reinterpret_cast<decltype(&::function)>(standIn(#function));
    JOURNAL_PLATFORM(JOURNAL_MEMBER)
#undef JOURNAL_MEMBER
    platform.openObject = whatif::openObject;
    platform.closeObject = whatif::closeObject;
    platform.onNode = true;
    return platform;
}

const wchar_t* Machine::server(const std::wstring& node, std::wstring& buffer) const
{
    if (whatif::sameName(node, name))
        return nullptr;
    buffer = L"\\\\" + node;
    return buffer.c_str();
}

std::wstring Machine::sidOf(const std::wstring& node, const std::wstring& account) const
{
    constexpr DWORD longestDomain = 256;
    BYTE bytes[SECURITY_MAX_SID_SIZE];
    wchar_t domain[longestDomain];
    DWORD sidSize = sizeof bytes;
    DWORD domainSize = longestDomain;
    SID_NAME_USE use = SidTypeUnknown;
    std::wstring system;
    return platform.LookupAccountNameW(server(node, system), account.c_str(), bytes, &sidSize, domain, &domainSize,
                                       &use)
               ? whatif::sidText(bytes)
               : std::wstring();
}

// A computer's name is also that of the domain of its own accounts.
Machine machineOf(const Platform& platform, const std::wstring& name)
{
    Machine machine = {platform, name, L""};
    machine.sid = machine.sidOf(name, name);
    return machine;
}

Machine thisMachine()
{
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD size = MAX_COMPUTERNAME_LENGTH + 1;
    return machineOf({}, GetComputerNameW(name, &size) ? std::wstring(name, size) : L"LOCALHOST");
}

std::wstring problemOf(const wchar_t* function, DWORD error)
{
    return function + (L": error " + std::to_wstring(error));
}

} // namespace journal
