#include "services/role_table.h"

#include "accounts/home_types.h"
#include "home/home_group.h"

#include <cstring>
#include <string_view>

namespace {

// The rows are as the product ships them. They look uneven and are meant to: the listener is a LOCAL_SERVICE in home
// type "0" only, and has a virtual-account group in home type "1" only.
constexpr sswseServiceRole rows0[] = {
    {"kestel.exe-vlm", "LOCAL_SYSTEM", {}, {"SeServiceLogonRight"}, {}},
    {"keslsnr.exe", "LOCAL_SERVICE", {"KES_MESH_LISTENERS", "KES_DBA"}, {"SeServiceLogonRight"}, {}},
    {"kestel.exe-mondb", "USER_ACCOUNT", {"KES_VLMADMIN"}, {"SeServiceLogonRight"}, {}},
};

constexpr sswseServiceRole rows1[] = {
    {"kestel.exe",
     "USER_ACCOUNT",
     {"KES_VLMADMIN"},
     {"SeServiceLogonRight", "SeIncreaseBasePriorityPrivilege"},
     {"KES_DBSVCACCTS", "KES_INSTALL", "KES_HN_SVCACCTS", "KES_HN_DBA", "KES_HN_OPER", "KES_HN_SYSBACKUP",
      "KES_HN_SYSRPL", "KES_HN_SYSKM", "KES_VLMDBA"}},
    {"kesvssw.exe", "USER_ACCOUNT", {}, {"SeServiceLogonRight", "SeBackupPrivilege"}, {}},
    {"batchrun.exe", "USER_ACCOUNT", {}, {"SeServiceLogonRight", "SeBatchLogonRight"}, {}},
    {"schedsu.exe", "USER_ACCOUNT", {}, {"SeServiceLogonRight", "SeBatchLogonRight"}, {}},
    {"keslsnr.exe", "USER_ACCOUNT", {}, {"SeServiceLogonRight", "SeBatchLogonRight"}, {"KES_INSTALL"}},
};

constexpr sswseServiceRole rows2[] = {
    {"keslsnr.exe", "USER_ACCOUNT", {"KES_CLIENT_LISTENERS"}, {"SeServiceLogonRight"}, {}},
    {"schedsu.exe", "USER_ACCOUNT", {}, {"SeServiceLogonRight", "SeBatchLogonRight"}, {}},
};

constexpr sswseServiceRole noRole = {"", "", {}, {}, {}};

template <size_t N>
constexpr sswseRoleTable tableOf(const sswseServiceRole (&rows)[N])
{
    return {rows, static_cast<int>(N)};
}

struct HomeTypeRoles
{
    const char* khtype;
    sswseRoleTable table;
};

constexpr HomeTypeRoles homeTypes[] = {
    {sswseHomeType0, tableOf(rows0)}, {sswseHomeType1, tableOf(rows1)}, {sswseHomeType2, tableOf(rows2)}};

constexpr std::string_view homeTemplate = "KES_HN_"; // the home's name takes the place of "HN"

constexpr const char* suffixOf(const char* name)
{
    return std::string_view(name).find(homeTemplate) == std::string_view::npos ? nullptr
                                                                               : name + homeTemplate.size() - 1;
}

constexpr void addOnce(sswseHomeGroupSuffixes& suffixes, const char* suffix)
{
    size_t slot = 0;
    while (suffixes[slot] && std::string_view(suffixes[slot]) != suffix)
        ++slot;
    suffixes[slot] = suffix;
}

constexpr sswseHomeGroupSuffixes allSuffixes()
{
    sswseHomeGroupSuffixes suffixes = {};
    for (const HomeTypeRoles& type : homeTypes)
        for (int i = 0; i < type.table.count; ++i)
            for (const char* name : type.table.rows[i].vagroups)
                if (name && suffixOf(name))
                    addOnce(suffixes, suffixOf(name));
    return suffixes;
}

constexpr sswseHomeGroupSuffixes homeGroupSuffixes = allSuffixes();

// The home's group of service accounts is among them.
static_assert(std::string_view(homeGroupSuffixes[0]) == sswseServiceAccountsSuffix);

constexpr size_t usedSlots(const sswseServiceRole& role)
{
    size_t used = 0;
    for (const char* name : role.groups)
        used += name != nullptr;
    for (const char* name : role.privileges)
        used += name != nullptr;
    for (const char* name : role.vagroups)
        used += name != nullptr;
    return used;
}

// A name that was dropped or left over in a row changes what a service may do.
static_assert(homeTypes[0].table.count == 3 && usedSlots(rows0[0]) == 1 && usedSlots(rows0[1]) == 3 &&
              usedSlots(rows0[2]) == 2);
static_assert(homeTypes[1].table.count == 5 && usedSlots(rows1[0]) == 1 + 2 + 9 && usedSlots(rows1[1]) == 2 &&
              usedSlots(rows1[2]) == 2 && usedSlots(rows1[3]) == 2 && usedSlots(rows1[4]) == 3);
static_assert(homeTypes[2].table.count == 2 && usedSlots(rows2[0]) == 2 && usedSlots(rows2[1]) == 2);

} // namespace

const sswseRoleTable* sswseRoleTableOf(const char* khtype)
{
    for (const HomeTypeRoles& type : homeTypes)
        if (khtype && strcmp(type.khtype, khtype) == 0)
            return &type.table;
    return nullptr;
}

const sswseServiceRole& sswseRoleAt(const sswseRoleTable& table, int index)
{
    return index == sswseNoRole ? noRole : table.rows[index];
}

const char* sswseHomeGroupSuffix(const char* name)
{
    return suffixOf(name);
}

const sswseHomeGroupSuffixes& sswseAllHomeGroupSuffixes()
{
    return homeGroupSuffixes;
}

bool sswseSameServiceKey(const char* left, const char* right)
{
    return _stricmp(left, right) == 0;
}
