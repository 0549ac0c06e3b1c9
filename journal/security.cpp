// The security of objects: of files here, of the others as their own files have it.
#include "journal/descriptor.h"

namespace journal {

namespace {

constexpr size_t longestPath = MAX_PATH - 12; // of a directory; longer ones need their prefix

bool begins(const std::wstring& text, const wchar_t* prefix)
{
    return text.compare(0, wcslen(prefix), prefix) == 0;
}

// The name that the platform takes for a file of a node. A node's drives are reached as its shares.
std::wstring pathOf(const Machine& machine, const Change& what)
{
    std::wstring path = nameOf(what.object);
    std::wstring server;
    const bool isHere = !machine.server(what.node, server);
    if (begins(path, L"\\\\"))
        return path;
    if (isHere && (!machine.platform.onNode || path.size() > longestPath))
        return path.size() > longestPath ? L"\\\\?\\" + path : path;
    return L"\\\\" + what.node + L"\\" + path.substr(0, 1) + L"$" + path.substr(2);
}

struct Area
{
    const wchar_t* object;
    Reading (*read)(const Machine& machine, const Change& what);
    Write* write;
};

Reading readFile(const Machine& machine, const Change& what)
{
    const std::wstring path = pathOf(machine, what);
    return readDescriptor(L"GetFileSecurityW", [&](BYTE* buffer, DWORD size, DWORD* needed) -> DWORD {
        const bool done = machine.platform.GetFileSecurityW(path.c_str(), partsToRead(what), buffer, size, needed);
        return done ? ERROR_SUCCESS : GetLastError();
    });
}

std::wstring writeFile(const Machine& machine, const Change& what, const State& found, const State& wanted)
{
    const Descriptor descriptor(found, wanted);
    return machine.platform.SetFileSecurityW(pathOf(machine, what).c_str(), descriptor.parts(), descriptor.bytes())
               ? L""
               : problemOf(L"SetFileSecurityW", GetLastError());
}

constexpr Area areas[] = {{L"file ", readFile, writeFile},
                          {L"registry ", readKeySecurity, writeKeySecurity},
                          {L"service ", readServiceSecurity, writeServiceSecurity}};

constexpr Area kernelArea = {L"", readKernelSecurity, writeKernelSecurity};

const Area& areaOf(const Change& what)
{
    for (const Area& area : areas)
        if (begins(what.object, area.object))
            return area;
    return kernelArea;
}

} // namespace

SECURITY_INFORMATION partsToRead(const Change& what)
{
    bool isGroupTold = false;
    for (const State* const state : {&what.before, &what.after}) {
        const std::wstring* const part = state->part(L"security");
        const std::wstring& text = part ? *part : state->text;
        isGroupTold = isGroupTold || (!text.empty() && !whatif::securityOf(text).group.empty());
    }
    return OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION | (isGroupTold ? GROUP_SECURITY_INFORMATION : 0);
}

// Control bits are written as they are wanted when the request for inheritance is written with them.
Descriptor::Descriptor(const State& found, const State& wanted)
{
    const whatif::Security before = whatif::securityOf(found.text);
    const whatif::Security after = whatif::securityOf(wanted.text);
    if (before.owner != after.owner)
        parts_ |= OWNER_SECURITY_INFORMATION;
    if (before.group != after.group && !after.group.empty())
        parts_ |= GROUP_SECURITY_INFORMATION;
    bytes_ = whatif::selfRelative(after, parts_);
    constexpr SECURITY_DESCRIPTOR_CONTROL request = SE_DACL_AUTO_INHERIT_REQ;
    SetSecurityDescriptorControl(bytes_.data(), request, after.flags & SE_DACL_AUTO_INHERITED ? request : 0);
}

Reading readSecurity(const Machine& machine, const Change& what)
{
    return areaOf(what).read(machine, what);
}

std::wstring writeSecurity(const Machine& machine, const Change& what, const State& found, const State& wanted)
{
    return areaOf(what).write(machine, what, found, wanted);
}

} // namespace journal
