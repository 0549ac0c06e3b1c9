// The service user of a home as it is recorded, on this machine and on a remote node.
#include "tests/support/node_test.h"
#include "whatif/active.h"
#include "whatif/registry.h"

namespace {

using support::failing;
using support::Lines;
using Values = std::vector<std::string>;

const char* const names[] = {"KESTEL_SVCUSER", "KESTEL_SVCUSER_TYPE", "KESTEL_SVCUSER_PWDREQ"};

class RecordedUser : public support::NodeTest
{
protected:
    // Into a home of its own; `values` is what is written, in order.
    void expectRecording(const char* user, const char* node, const Values& values, DWORD status = 2,
                         const char* message = "", DWORD osError = 0, intercept::Fault fault = {})
    {
        SCOPED_TRACE(node ? node : "this machine");
        whatif::Node& where = node ? remote : local;
        const std::string homeKey = "KEY_" + std::to_string(++homes);
        const std::wstring path = whatif::wide(("SOFTWARE\\Kestel\\" + homeKey).c_str());
        world.registry().createKey(where, path);
        Lines lines;
        for (const std::string& value : values)
            lines.push_back((node ? "DB2" : "NODE") + (": registry HKLM\\software\\Kestel\\" + homeKey) + ": " +
                            names[lines.size()] + " set: " + (value == " " ? "\" \"" : value));
        const auto call = support::calling(EXPORT(sswseSetUnameForKhome), user, node, homeKey.c_str());
        expectNodeCases({{user, call, status, message, osError, fault, lines}});
        if (status == 2 && !fault.function)
            expectNodeCases({{"again", call, status}});
        for (size_t i = 0; i < values.size(); ++i)
            EXPECT_EQ(world.registry().value(where, path, whatif::wide(names[i])),
                      whatif::registryText(whatif::wide(values[i].c_str())));
    }

    int homes = 0;
};

} // namespace

TEST_F(RecordedUser, IsClassifiedByTheNameThatWasGiven)
{
    addGroup(local, L"KES_VA");
    addGroup(remote, L"KES_VA");
    const struct
    {
        const char* name;
        const char* type;
        const char* passwordRequired;
        const char* written = nullptr; // in its place
    } rows[] = {
        {"LOCAL_SYSTEM", " ", "0", "NT AUTHORITY\\SYSTEM"},
        {"Local_Service", " ", "0", "NT AUTHORITY\\LOCAL SERVICE"},
        {"nt authority\\system", " ", "0"},
        {"SYSTEM", " ", "0"},
        {"NT AUTHORITY\\LocalService", " ", "0"},
        {"NT AUTHORITY\\NETWORK SERVICE", " ", "1"},
        {"CORP\\gmsa$", " ", "0"},
        {"svc", " ", "1"},
        {"KES_VA", "V", "0"},
        {"NODE\\KES_VA", " ", "1"}, // no name of a group
        {"Everyone", " ", "1"},
    };
    for (const char* const node : {static_cast<const char*>(nullptr), "DB2"})
        for (const auto& row : rows)
            expectRecording(row.name, node, {row.written ? row.written : row.name, row.type, row.passwordRequired});
}

// Whose name it is this machine is asked, even for a node; whether it is a group, the node.
TEST_F(RecordedUser, NamesAreThisMachinesGroupsAreTheNodes)
{
    addGroup(local, L"KES_LOCAL");
    addGroup(remote, L"KES_REMOTE");
    const auto notFound = "WSE-000014: Lookup for Windows account name failed.";
    expectRecording("KES_LOCAL", nullptr, {"KES_LOCAL", "V", "0"});
    expectRecording("KES_LOCAL", "DB2", {"KES_LOCAL", " ", "1"});
    expectRecording("KES_REMOTE", "DB2", {"KES_REMOTE"}, 3, notFound, ERROR_NONE_MAPPED);
    expectRecording("NODE\\svc", "DB2", {"NODE\\svc", " ", "1"});
    expectRecording("DB2\\svc", "DB2", {"DB2\\svc"}, 3, notFound, ERROR_NONE_MAPPED);
    expectRecording("NETWORK_SERVICE", nullptr, {"NETWORK_SERVICE"}, 3, notFound, ERROR_NONE_MAPPED);
    local.missing = {L"Logoncli.dll"}; // nobody knows of managed accounts
    expectRecording("CORP\\gmsa$", nullptr, {"CORP\\gmsa$", " ", "1"});
}

TEST_F(RecordedUser, KeepsWhatWasWrittenBeforeAFailure)
{
    constexpr DWORD denied = ERROR_ACCESS_DENIED;
    expectRecording("svc", nullptr, {}, 3, "WSE-000049: Unable to set value for KESTEL_SVCUSER in registry.", denied,
                    failing("RegSetValueExW", denied));
    expectRecording("svc", nullptr, {"svc"}, 3, "WSE-000049: Unable to set value for KESTEL_SVCUSER_TYPE in registry.",
                    denied, failing("RegSetValueExA", denied, 1));
    expectRecording("svc", "DB2", {"svc", " "}, 3,
                    "WSE-000049: Unable to set value for KESTEL_SVCUSER_PWDREQ in registry.", denied,
                    failing("RegSetValueExA", denied, 2));
    // A group that cannot be looked for is none, and only the message tells.
    expectRecording("Administrators", nullptr, {"Administrators", " ", "1"}, 2, "WSE-000030", denied,
                    failing("NetLocalGroupGetInfo", denied));
    const auto record = EXPORT(sswseSetUnameForKhome);
    expectNodeCases({
        {"no such node", support::calling(record, "svc", "nowhere", "KEY_1"), 3,
         "WSE-000044: Unable to open registry on remote node.", ERROR_BAD_NETPATH},
        {"a home of this machine only", support::calling(record, "svc", "DB2", "KEY_1"), 3,
         "WSE-000010: Unable to open registry key software\\Kestel\\KEY_1 under HKLM.", ERROR_FILE_NOT_FOUND},
    });
}
