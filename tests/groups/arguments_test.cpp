// What the group operations say of missing and malformed names, before they ask any machine.
#include "tests/support/cases.h"

#include <gtest/gtest.h>

TEST(Groups, MissingAndMalformedNames)
{
    const auto group = "WSE-000012: Null or invalid groupname parameter.";
    const auto user = "WSE-000012: Null or invalid username parameter.";
    support::expectCases({
        {"create", [](auto rec) { return sswseCreateOSGroup(rec, nullptr, nullptr, nullptr); }, 4, group},
        {"check", [](auto rec) { return sswseCheckOSGroup(rec, nullptr, nullptr); }, 4, group},
        {"delete", [](auto rec) { return sswseDeleteOSGroup(rec, nullptr, nullptr); }, 4, group},
        {"add: group first", [](auto rec) { return sswseAddUserToGroup(rec, nullptr, nullptr, nullptr); }, 4, group},
        {"add: user", [](auto rec) { return sswseAddUserToGroup(rec, nullptr, "g", nullptr); }, 4, user},
        {"remove: group first", [](auto rec) { return sswseRemoveUserFromGroup(rec, nullptr, nullptr, nullptr); }, 4,
         group},
        {"remove: user", [](auto rec) { return sswseRemoveUserFromGroup(rec, nullptr, "g", nullptr); }, 4, user},
        {"member: no user", [](auto rec) { return sswseCheckUserInGroup(rec, nullptr, "g", 0, nullptr); }, 4, user},
        {"member: two backslashes",
         [](auto rec) { return sswseCheckUserInGroup(rec, "DOM\\sub\\user", "g", 0, nullptr); }, 4, user},
        {"member: no group", [](auto rec) { return sswseCheckUserInGroup(rec, "u", nullptr, 0, nullptr); }, 4, user},
        {"member: group with two", [](auto rec) { return sswseCheckUserInGroup(rec, "u", "\\\\g", 0, nullptr); }, 4,
         user},
        {"member: unknown group",
         [](auto rec) { return sswseCheckUserInGroup(rec, "NT AUTHORITY\\SYSTEM", "DOM\\no such", 0, nullptr); }, 3,
         "WSE-000014"},
    });
}
