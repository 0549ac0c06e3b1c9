// Access for users as the permission types give it: who gets what, on which object of which machine.
#include "tests/acl/on_node.h"
#include "tests/support/cases.h"

using acl::OnNode;
using testing::StartsWith;

namespace {

constexpr wchar_t before[] = L"D:(A;;0x1;;;BU)";
constexpr char mismatch[] =
    "WSE-000063: Input arguments are invalid. Internal error : Windows object type and Permission type mismatch.";
constexpr wchar_t key[] = L"MACHINE\\SOFTWARE\\Kestel";

} // namespace

TEST_F(OnNode, PermissionTypesAndTheObjectsTheyAreFor)
{
    const struct
    {
        unsigned wtype;
        int ptype;
        std::wstring entries; // before those that the object had
    } allowed[] = {
        {0, 6, L"(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;OICI;FA;;;svc)(A;OICI;FA;;;BO)"},
        {0, 10, L"(A;OICI;0x1200a9;;;svc)(A;OICI;0x1200a9;;;BO)"},
        {1, 0, L"(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;OICI;0x1200a9;;;AU)(A;OICI;FA;;;svc)(A;OICI;FA;;;BO)"},
        {1, 1, L"(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;OICI;FA;;;svc)(A;OICI;FA;;;BO)"},
        {1, 2, L"(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;OICI;0x1200a9;;;AU)(A;OICI;FA;;;svc)(A;OICI;FA;;;BO)"},
        {1, 3, L"(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;OICI;FA;;;svc)(A;OICI;FA;;;BO)"},
        {1, 4,
         L"(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;OICI;FA;;;mesh)(A;OICI;0x1200a9;;;AU)(A;OICI;FA;;;svc)(A;OICI;FA;;;BO)"},
        {1, 5, L"(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;OICI;FA;;;mesh)(A;OICI;FA;;;clx)(A;OICI;FA;;;svc)(A;OICI;FA;;;BO)"},
        {1, 6, L"(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;OICI;FA;;;svc)(A;OICI;FA;;;BO)"},
        {1, 10, L"(A;OICI;0x1200a9;;;svc)(A;OICI;0x1200a9;;;BO)"},
        {2, 8, L"(A;OICI;KA;;;BA)(A;OICI;0x20039;;;WD)"},
        {2, 9, L"(A;OICI;KA;;;BA)(A;OICI;0x20039;;;WD)(A;OICI;KA;;;svc)(A;OICI;KA;;;BO)"},
        {3, 7, L"(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;OICI;FA;;;vlm)(A;OICI;FA;;;dbs)"},
    };
    const std::wstring directory = make(L"dir\\");
    const std::wstring file = make(L"dir\\file");
    size_t used = 0;
    for (const unsigned wtype : {0u, 1u, 2u, 3u, 4u, 0xFFFFFFFFu})
        for (int ptype = -1; ptype <= 11; ++ptype) {
            const bool isAllowed =
                used < std::size(allowed) && allowed[used].wtype == wtype && allowed[used].ptype == ptype;
            for (const bool inheritable : {false, true}) {
                SCOPED_TRACE(std::to_string(wtype) + ", " + std::to_string(ptype) + (inheritable ? ", tree" : ""));
                describe({{L"dir", before}, {L"dir\\file", before}});
                local.security[L"registry HKLM\\SOFTWARE"] = L"D:P(A;;KA;;;SY)"; // passes nothing on
                const std::wstring path = wtype == 0 ? file : wtype == 2 ? key : directory;
                EXPECT_EQ(add(wtype, path, {"svc", "Backup Operators"}, ptype, inheritable), isAllowed ? 2u : 4u);
                EXPECT_EQ(support::messageOf(rec), isAllowed ? "" : mismatch);
                const auto objects = written();
                EXPECT_EQ(objects.size(), !isAllowed ? 0u : wtype == 1 && inheritable ? 2u : 1u);
                if (isAllowed && !objects.empty()) {
                    const std::wstring after =
                        wtype == 2 ? L"D:AI" + allowed[used].entries : L"D:" + allowed[used].entries + L"(A;;0x1;;;BU)";
                    EXPECT_EQ(objects.begin()->second, sddl(after));
                }
            }
            used += isAllowed;
        }
    EXPECT_EQ(used, std::size(allowed));
}

TEST_F(OnNode, AccountsAreThoseOfTheMachineThatOwnsTheObject)
{
    make(L"dir\\");
    addGroup(local, L"KES_LOCAL");
    const std::wstring mesh = L"D:(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;OICI;FA;;;mesh)(A;OICI;FA;;;clx)(A;OICI;FA;;;svc)";
    const std::wstring mesh2 =
        L"D:(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;OICI;FA;;;mesh2)(A;OICI;FA;;;clx2)(A;OICI;FA;;;svc2)";
    const std::wstring groups = L"D:(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)(A;OICI;FA;;;vlm)(A;OICI;FA;;;dbs)";
    const struct
    {
        std::wstring path;
        unsigned wtype;
        int ptype;
        std::vector<const char*> users;
        DWORD status;
        const char* message; // how it begins
        const char* osError;
        std::wstring machine; // that changes
        std::wstring after;
    } rows[] = {
        {root + L"\\dir", 1, 5, {"svc"}, 2, "", "", L"NODE", mesh},
        {L"\\\\NODE\\C$\\dir", 1, 5, {"svc"}, 2, "", "", L"NODE", mesh},
        {L"\\\\db2\\c$\\dir", 1, 5, {"svc"}, 2, "", "", L"DB2", mesh2},
        {L"\\\\DB2\\C$\\dir", 3, 7, {nullptr}, 2, "", "", L"DB2", groups}, // the groups of this machine
        {key, 2, 9, {"svc"}, 2, "", "", L"NODE", L"D:AI(A;OICI;KA;;;BA)(A;OICI;0x20039;;;WD)(A;OICI;KA;;;svc)"},
        {std::wstring(L"\\\\DB2\\") + key,
         2,
         9,
         {"svc"},
         2,
         "",
         "",
         L"DB2",
         L"D:AI(A;OICI;KA;;;BA)(A;OICI;0x20039;;;WD)(A;OICI;KA;;;svc2)"},
        {L"\\\\DB2\\C$\\dir", 1, 1, {"svc", "KES_LOCAL"}, 3, "WSE-000014", "1332", L"", L""},
        {L"\\\\DB2\\C$\\dir", 1, 1, {"svc", nullptr}, 4, "WSE-000012: Null or invalid usernames", "", L"", L""},
        {L"\\\\nowhere\\C$\\dir", 1, 1, {"svc"}, 3, "WSE-000014", "1722", L"", L""},
        {L"\\\\?\\" + root + L"\\dir", 1, 1, {"svc"}, 3, "WSE-000014", "1722", L"", L""}, // taken for a machine "?"
        {L"\\\\DB2\\E$\\dir", 1, 1, {"svc"}, 3, "WSE-000053", "67", L"", L""},
        {L"\\\\DB2", 1, 1, {"KES_LOCAL"}, 3, "WSE-000053", "161", L"", L""}, // names no machine: this one is asked
        {L"\\\\DB2\\MACHINE\\SOFTWARE\\none", 2, 8, {}, 3, "WSE-000067", "2", L"", L""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.path) + row.message);
        describe({{L"dir", L"D:"}});
        remote.security = {{L"file C:\\dir", L"D:"}, {L"registry HKLM\\SOFTWARE", L"D:P(A;;KA;;;SY)"}};
        local.security[L"registry HKLM\\SOFTWARE"] = L"D:P(A;;KA;;;SY)";
        EXPECT_EQ(add(row.wtype, row.path, row.users, row.ptype), row.status);
        EXPECT_THAT(rec.message, StartsWith(row.message));
        EXPECT_STREQ(rec.oserror, row.osError);
        EXPECT_EQ(world.plan().empty() ? L"" : world.plan()[0].node, row.machine);
        const auto objects = written();
        EXPECT_EQ(objects.size(), row.status == 2 ? 1u : 0u);
        EXPECT_EQ(objects.empty() ? L"" : objects.begin()->second, row.after.empty() ? L"" : sddl(row.after));
    }
}
