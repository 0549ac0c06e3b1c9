// Event-log sources in the registry, and the names of virtual-account groups.
#include "tests/support/cases.h"

#include <gtest/gtest.h>

namespace {

using support::expectCases;
using support::messageOf;

const std::string sourceName = "keswsec test source";
const std::string sourceKey = "SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\" + sourceName;

std::string valueOf(const char* value, DWORD expectedType)
{
    char data[600] = {};
    DWORD size = sizeof data;
    HKEY key = nullptr;
    DWORD type = REG_NONE;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, sourceKey.c_str(), 0, KEY_READ, &key))
        return "no key";
    RegQueryValueExA(key, value, nullptr, &type, reinterpret_cast<BYTE*>(data), &size);
    RegCloseKey(key);
    return type == expectedType ? std::string(data, size) : "another type";
}

} // namespace

TEST(EventSource, IsRegisteredOverwrittenAndRemoved)
{
    using namespace std::string_literals;
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, sourceKey.c_str());
    const char* const name = sourceName.c_str();
    for (const auto& [file, types, stored] : {std::tuple{"%SystemRoot%\\a.dll", 0u, "\7\0\0\0"s},
                                              {"C:\\b.dll", 1u, "\1\0\0\0"s},
                                              {"", 0xFFFFFFFFu, "\xFF\xFF\xFF\xFF"s}}) {
        expectCases({{file, [&](auto rec) { return sswseCreateSVCEventRegEntry(rec, name, file, types, ""); }, 2}});
        EXPECT_EQ(valueOf("EventMessageFile", REG_EXPAND_SZ), file + "\0"s);
        EXPECT_EQ(valueOf("TypesSupported", REG_DWORD), stored);
    }
    const std::string missing = "WSE-000051: Unable to delete registry key " + sourceKey + ".";
    const std::string endless(700, 's');
    const auto remove = [&](auto rec) { return sswseDeleteSVCEventRegEntry(rec, name, nullptr); };
    expectCases({
        {"remove", remove, 2},
        {"remove again", remove, 3, missing.c_str()},
        {"create on a node",
         [&](auto rec) { return sswseCreateSVCEventRegEntry(rec, name, "m", 0, "keswsec-no-such-node"); }, 3,
         "WSE-000044"},
        {"remove on a node", [&](auto rec) { return sswseDeleteSVCEventRegEntry(rec, name, "keswsec-no-such-node"); },
         3, "WSE-000044"},
        {"endless", [&](auto rec) { return sswseCreateSVCEventRegEntry(rec, endless.c_str(), "m", 0, nullptr); }, 3,
         "WSE-000050: Unable to create registry key SYSTEM\\CurrentControlSet"},
        {"no name", [](auto rec) { return sswseCreateSVCEventRegEntry(rec, nullptr, nullptr, 0, nullptr); }, 4,
         "WSE-000012: Null or invalid ServiceAppKey parameter."},
        {"no file", [](auto rec) { return sswseCreateSVCEventRegEntry(rec, "s", nullptr, 0, nullptr); }, 4,
         "WSE-000012: Null or invalid Event Message File parameter."},
        {"remove: no name", [](auto rec) { return sswseDeleteSVCEventRegEntry(rec, nullptr, nullptr); }, 4,
         "WSE-000012: Null or invalid ServiceAppKey parameter."},
    });
    EXPECT_EQ(valueOf("EventMessageFile", REG_EXPAND_SZ), "no key");
}

TEST(VirtualAccountGroup, NameOfAHome)
{
    const std::string longName(600, 'h');
    const struct
    {
        std::string home;
        size_t size;
        std::string group; // empty: it does not fit
    } rows[] = {
        {"h1", 16, "KES_h1_SVCACCTS"},
        {"h1", 15, ""},
        {"h1", 0, ""},
        {"", 14, "KES__SVCACCTS"},
        {"", 13, ""},
        {longName, 613, ""},
        {longName, 614, "KES_" + longName.substr(0, 507)},
    };
    for (const auto& row : rows) {
        std::string group(row.size + 4, '#');
        size_t length = 0;
        sswseErrRec rec;
        const DWORD status = sswseGetVAGroupnameForKHomename(&rec, row.home.c_str(), group.data(), row.size, &length);
        EXPECT_EQ(status, row.group.empty() ? 3u : 2u) << row.size;
        EXPECT_EQ(messageOf(rec), row.group.empty() ? "WSE-000033: Insufficient output buffer for groupname." : "");
        EXPECT_EQ(length, row.group.size());
        const std::string written = row.group.empty() ? "" : row.group + '\0';
        EXPECT_EQ(group, written + std::string(group.size() - written.size(), '#'));
    }
}

TEST(VirtualAccountGroup, HomeOfAName)
{
    const std::string longest = "KES_" + std::string(498, 'h') + "_SVCACCTS";
    const std::string tooLong = "x" + longest;
    const auto named = [](const std::string& label) { return "WSE-000012: Null or invalid " + label + " parameter."; };
    const std::string tooSmall = "WSE-000033: Insufficient output buffer for homename.";
    const struct
    {
        std::string group;
        size_t size;
        DWORD status;
        std::string expected; // the home name, or the message
    } rows[] = {
        {"KES_h1_SVCACCTS", 3, 2, "h1"},
        {"KES_h1_SVCACCTS", 2, 3, tooSmall},
        {"KES_h1_SVCACCTS", 0, 3, tooSmall},
        {"XKES_h1_SVCACCTS_more", 9, 2, "h1"},
        {"KES_KES_a_SVCACCTS_SVCACCTS", 9, 2, "KES_a"},
        {longest, 499, 2, std::string(498, 'h')},
        {tooLong, 600, 3, "WSE-000053: Windows application programming interface (API) strcpy_s failed."},
        {"KES__SVCACCTS", 9, 4, named("groupname")},
        {"KES_SVCACCTS", 9, 4, named("groupname")},
        {"_SVCACCTS_KES_x", 9, 4, named("groupname")},
        {"kes_h1_SVCACCTS", 9, 4, named("tempstr")},
        {"KES_h1_svcaccts", 9, 4, named("tempstr")},
        {"", 9, 4, named("tempstr")},
    };
    for (const auto& row : rows) {
        std::string home(row.size + 4, '#');
        size_t length = 0;
        sswseErrRec rec;
        EXPECT_EQ(sswseGetKHomeNameFromVAGroupName(&rec, row.group.c_str(), home.data(), row.size, &length), row.status)
            << row.group;
        EXPECT_EQ(row.status == 2 ? std::string(home.c_str()) : messageOf(rec), row.expected);
        EXPECT_EQ(length, row.status == 2 ? row.expected.size() : 0);
        EXPECT_EQ(home.substr(row.size), "####");
    }
    char home[8];
    size_t length = 0;
    const std::string noHome = named("homename"), noLength = named("outlen"), noGroup = named("groupname");
    expectCases({
        {"1", [](auto rec) { return sswseGetKHomeNameFromVAGroupName(rec, nullptr, nullptr, 1, nullptr); }, 4,
         noHome.c_str()},
        {"2", [&](auto rec) { return sswseGetKHomeNameFromVAGroupName(rec, nullptr, home, 8, nullptr); }, 4,
         noLength.c_str()},
        {"3", [&](auto rec) { return sswseGetKHomeNameFromVAGroupName(rec, nullptr, home, 8, &length); }, 4,
         noGroup.c_str()},
        {"4", [](auto rec) { return sswseGetVAGroupnameForKHomename(rec, nullptr, nullptr, 1, nullptr); }, 4,
         noHome.c_str()},
        {"5", [](auto rec) { return sswseGetVAGroupnameForKHomename(rec, "h", nullptr, 1, nullptr); }, 4,
         noGroup.c_str()},
    });
}
