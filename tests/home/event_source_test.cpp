// Event-log sources in the registry, and the names of virtual-account groups.
#include "tests/support/cases.h"

#include <gtest/gtest.h>

namespace {

using support::calling;
using support::expectCases;
using support::expectRefused;
using support::expectTexts;
using support::untouched;

const std::string sourceName = "keswsec test source";
const std::string sourceKey = "SYSTEM\\CurrentControlSet\\Services\\EventLog\\Application\\" + sourceName;

std::string valueOf(const char* value, DWORD type)
{
    char data[600];
    DWORD size = sizeof data;
    const LSTATUS result =
        RegGetValueA(HKEY_LOCAL_MACHINE, sourceKey.c_str(), value, type | RRF_NOEXPAND, nullptr, data, &size);
    return result == ERROR_SUCCESS ? std::string(data, size) : "none";
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
        expectCases({{file, calling(sswseCreateSVCEventRegEntry, name, file, types, ""), 2}});
        EXPECT_EQ(valueOf("EventMessageFile", RRF_RT_REG_EXPAND_SZ), file + "\0"s);
        EXPECT_EQ(valueOf("TypesSupported", RRF_RT_REG_DWORD), stored);
    }
    const std::string missing = "WSE-000051: Unable to delete registry key " + sourceKey + ".";
    const std::string endless(700, 's');
    const auto remove = calling(sswseDeleteSVCEventRegEntry, name, nullptr);
    expectCases({
        {"remove", remove, 2},
        {"remove again", remove, 3, missing.c_str()},
        {"create on a node", calling(sswseCreateSVCEventRegEntry, name, "m", 0, "no-such-node"), 3, "WSE-000044"},
        {"remove on a node", calling(sswseDeleteSVCEventRegEntry, name, "no-such-node"), 3, "WSE-000044"},
        {"endless", calling(sswseCreateSVCEventRegEntry, endless.c_str(), "m", 0, nullptr), 3,
         "WSE-000050: Unable to create registry key SYSTEM\\CurrentControlSet"},
    });
    EXPECT_EQ(valueOf("EventMessageFile", RRF_RT_REG_EXPAND_SZ), "none");
    expectRefused("ServiceAppKey", {calling(sswseCreateSVCEventRegEntry, nullptr, nullptr, 0, nullptr),
                                    calling(sswseDeleteSVCEventRegEntry, nullptr, nullptr)});
    expectRefused("Event Message File", {calling(sswseCreateSVCEventRegEntry, "s", nullptr, 0, nullptr)});
}

TEST(VirtualAccountGroup, NameOfAHome)
{
    const std::string longName(600, 'h');
    const auto noRoom = "WSE-000033: Insufficient output buffer for groupname.";
    const auto of = [](const std::string& home) {
        return [home](auto rec, auto... group) { return sswseGetVAGroupnameForKHomename(rec, home.c_str(), group...); };
    };
    expectTexts({
        {"h1", of("h1"), 16, 2, "KES_h1_SVCACCTS", 15},
        {"h1", of("h1"), 15, 3, "", untouched, noRoom},
        {"h1", of("h1"), 0, 3, "", untouched, noRoom},
        {"no name", of(""), 14, 2, "KES__SVCACCTS", 13},
        {"no name", of(""), 13, 3, "", untouched, noRoom},
        {"long name", of(longName), 613, 3, "", untouched, noRoom},
        {"long name", of(longName), 614, 2, "KES_" + longName.substr(0, 507), 511},
    });
    expectRefused("homename", {calling(sswseGetVAGroupnameForKHomename, nullptr, nullptr, 1, nullptr)});
    expectRefused("groupname", {calling(sswseGetVAGroupnameForKHomename, "h", nullptr, 1, nullptr)});
}

TEST(VirtualAccountGroup, HomeOfAName)
{
    const std::string longHome(498, 'h');
    const std::string longest = "KES_" + longHome + "_SVCACCTS";
    const auto noRoom = "WSE-000033: Insufficient output buffer for homename.";
    const auto tooLong = "WSE-000053: Windows application programming interface (API) strcpy_s failed.";
    const auto of = [](const std::string& group) {
        return
            [group](auto rec, auto... home) { return sswseGetKHomeNameFromVAGroupName(rec, group.c_str(), home...); };
    };
    expectTexts({
        {"fits", of("KES_h1_SVCACCTS"), 3, 2, "h1", 2},
        {"too small", of("KES_h1_SVCACCTS"), 2, 3, "", untouched, noRoom},
        {"no room", of("KES_h1_SVCACCTS"), 0, 3, "", untouched, noRoom},
        {"inside", of("XKES_h1_SVCACCTS_more"), 9, 2, "h1", 2},
        {"twice", of("KES_KES_a_SVCACCTS_SVCACCTS"), 9, 2, "KES_a", 5},
        {"longest", of(longest), 499, 2, longHome, 498},
        {"too long", of("x" + longest), 600, 3, "", untouched, tooLong},
    });
    char home[8];
    size_t length = 0;
    const auto take = [&](const char* group) {
        return calling(sswseGetKHomeNameFromVAGroupName, group, home, sizeof home, &length);
    };
    expectRefused("groupname", {take(nullptr), take("KES__SVCACCTS"), take("KES_SVCACCTS"), take("_SVCACCTS_KES_x")});
    expectRefused("tempstr", {take("kes_h1_SVCACCTS"), take("KES_h1_svcaccts"), take("")});
    expectRefused("homename", {calling(sswseGetKHomeNameFromVAGroupName, nullptr, nullptr, 1, nullptr)});
    expectRefused("outlen", {calling(sswseGetKHomeNameFromVAGroupName, nullptr, home, 8, nullptr)});
}
