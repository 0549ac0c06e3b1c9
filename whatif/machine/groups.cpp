#include "whatif/machine/groups.h"

#include "frame/owned.h"
#include "whatif/model/sids.h"
#include "whatif/spelling.h"

#include <lm.h>

namespace whatif {

namespace {

// The rows that a function lists, each as `text` makes it.
template <class Row, class List, class Text>
std::vector<std::wstring> listed(List list, Text text)
{
    LPBYTE buffer = nullptr;
    DWORD count = 0;
    DWORD total = 0;
    std::vector<std::wstring> texts;
    if (list(&buffer, &count, &total))
        return texts;
    const owned::NetBuffer<BYTE> owner(buffer);
    for (DWORD i = 0; i < count; ++i)
        texts.push_back(text(reinterpret_cast<const Row*>(buffer)[i]));
    return texts;
}

} // namespace

std::vector<std::wstring> machineGroupNames()
{
    return listed<LOCALGROUP_INFO_0>(
        [](LPBYTE* buffer, DWORD* count, DWORD* total) {
            return NetLocalGroupEnum(nullptr, 0, buffer, MAX_PREFERRED_LENGTH, count, total, nullptr);
        },
        [](const LOCALGROUP_INFO_0& row) { return row.lgrpi0_name; });
}

bool readMachineGroup(const std::wstring& name, Group& group)
{
    LPBYTE buffer = nullptr;
    if (NetLocalGroupGetInfo(nullptr, name.c_str(), 1, &buffer) || !buffer)
        return false;
    const owned::NetBuffer<BYTE> owner(buffer);
    const auto* const info = reinterpret_cast<const LOCALGROUP_INFO_1*>(buffer);
    group.name = info->lgrpi1_name;
    group.comment = textOrEmpty(info->lgrpi1_comment);
    group.members = listed<LOCALGROUP_MEMBERS_INFO_0>(
        [&](LPBYTE* rows, DWORD* count, DWORD* total) {
            return NetLocalGroupGetMembers(nullptr, name.c_str(), 0, rows, MAX_PREFERRED_LENGTH, count, total, nullptr);
        },
        [](const LOCALGROUP_MEMBERS_INFO_0& row) { return sidText(row.lgrmi0_sid); });
    return true;
}

std::vector<std::wstring> machineGroupsOf(const std::wstring& account, DWORD flags)
{
    return listed<LOCALGROUP_USERS_INFO_0>(
        [&](LPBYTE* buffer, DWORD* count, DWORD* total) {
            return NetUserGetLocalGroups(nullptr, account.c_str(), 0, flags, buffer, MAX_PREFERRED_LENGTH, count,
                                         total);
        },
        [](const LOCALGROUP_USERS_INFO_0& row) { return row.lgrui0_name; });
}

} // namespace whatif
