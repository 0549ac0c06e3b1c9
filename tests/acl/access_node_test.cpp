// Access for users as the permission types give it, added or set: who gets what, on which object of which machine, on
// mount points of the cluster file system, whose volume is secured with them, and around paths that are left alone.
#include "tests/acl/on_node.h"

using namespace acl;
using namespace support;
using namespace testing;

namespace {

constexpr DWORD link = FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY;

struct Mount
{
    const char* what;
    const wchar_t* fileSystem;
    DWORD attributes; // all bits: it cannot be found
    DWORD tag;
    bool hasVolume = true; // whose path fits
    DWORD status = 2;
    const char* message = "";
    bool isMountPoint = false;
};
const Mount* mount;
std::string volumePath;

} // namespace

// And checks find it then, not before.
TEST_F(OnNode, PermissionTypesGiveAccessToTheirObjectsOnly)
{
    const std::wstring system = L"(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)";
    const std::wstring readers = L"(A;OICI;0x1200a9;;;AU)";
    const std::wstring mesh = L"(A;OICI;FA;;;mesh)";
    const std::wstring users = L"(A;OICI;FA;;;svc)(A;OICI;FA;;;BO)";
    const std::wstring reading = L"(A;OICI;0x1200a9;;;svc)(A;OICI;0x1200a9;;;BO)";
    const std::wstring keys = L"(A;OICI;KA;;;BA)(A;OICI;0x20039;;;WD)";
    const std::map<std::pair<unsigned, int>, std::wstring> allowed = {
        // before the entries that the object had
        {{0, 6}, system + users},
        {{0, 10}, reading},
        {{1, 0}, system + readers + users},
        {{1, 1}, system + users},
        {{1, 2}, system + readers + users},
        {{1, 3}, system + users},
        {{1, 4}, system + mesh + readers + users},
        {{1, 5}, system + mesh + L"(A;OICI;FA;;;clx)" + users},
        {{1, 6}, system + users},
        {{1, 10}, reading},
        {{2, 8}, keys},
        {{2, 9}, keys + L"(A;OICI;KA;;;svc)(A;OICI;KA;;;BO)"},
        {{3, 7}, system + L"(A;OICI;FA;;;vlm)(A;OICI;FA;;;dbs)"},
    };
    const std::wstring directory = make(L"dir\\");
    const std::wstring file = make(L"dir\\file");
    constexpr wchar_t before[] = L"D:(A;;0x1;;;BU)";
    constexpr char mismatch[] = "WSE-000063: Input arguments are invalid. Internal error : Windows object type and "
                                "Permission type mismatch.";
    for (const unsigned wtype : {0u, 1u, 2u, 3u, 4u, 0xFFFFFFFFu})
        for (int ptype = -1; ptype <= 11; ++ptype)
            for (const bool inheritable : {false, true}) {
                SCOPED_TRACE(std::to_string(wtype) + ", " + std::to_string(ptype) + (inheritable ? ", tree" : ""));
                const auto entries = allowed.find({wtype, ptype});
                const bool isAllowed = entries != allowed.end();
                const std::wstring path = wtype == 0 ? file : wtype == 2 ? key : directory;
                const Access access = {wtype, path,       {"svc", "Backup Operators"}, ptype, false, nullptr,
                                       {},    inheritable};
                describe({{L"dir", before}, {L"dir\\file", before}});
                expectCases({{"before", checking(access), isAllowed ? 0u : 4u, isAllowed ? "WSE-00004: " : mismatch},
                             {"call", giving(access), isAllowed ? 2u : 4u, isAllowed ? "" : mismatch},
                             {"after", checking(access), isAllowed ? 1u : 4u, isAllowed ? "" : mismatch}});
                const auto objects = written();
                ASSERT_EQ(objects.size(), !isAllowed ? 0u : wtype == 1 && inheritable ? 2u : 1u);
                if (isAllowed) {
                    const std::wstring after = entries->second + (wtype == 2 ? L"" : before + 2);
                    EXPECT_EQ(objects.begin()->second, sddl((wtype == 2 ? L"D:AI" : L"D:") + after));
                }
            }
}

TEST_F(OnNode, AccountsAreThoseOfTheMachineThatOwnsTheObject)
{
    constexpr wchar_t before[] = L"D:PAI(A;;0x1;;;BU)(A;ID;0x1;;;BG)";
    const std::wstring kept = L"(A;;0x1;;;BU)(A;ID;0x1;;;BG)"; // unless access is set
    const std::wstring dir = make(L"dir\\");
    const std::wstring dir2 = L"\\\\db2\\c$\\dir";
    const std::wstring key2 = std::wstring(L"\\\\DB2\\") + key;
    const std::wstring system = L"D:(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)";
    const std::wstring mesh = system + L"(A;OICI;FA;;;mesh)(A;OICI;FA;;;clx)(A;OICI;FA;;;svc)";
    const std::wstring mesh2 = system + L"(A;OICI;FA;;;mesh2)(A;OICI;FA;;;clx2)(A;OICI;FA;;;svc2)";
    const std::wstring vlm = system + L"(A;OICI;FA;;;vlm)(A;OICI;FA;;;dbs)"; // the node's own
    const std::wstring keys = L"(A;OICI;KA;;;BA)(A;OICI;0x20039;;;WD)";
    const std::wstring full = L"(A;OICI;FA;;;svc)";
    const struct
    {
        Access access;
        std::wstring after;
        std::wstring machine = L"NODE"; // that changes
    } rows[] = {
        {{1, dir, {"svc"}, 5}, mesh + kept},
        {{1, L"\\\\NODE\\C$\\dir", {"svc"}, 5}, mesh + kept},
        {{1, dir2, {"svc"}, 5}, mesh2 + kept, L"DB2"},
        {{3, dir2, {nullptr}, 7}, vlm + kept, L"DB2"},
        {{2, key, {"svc"}, 9}, L"D:AI" + keys + L"(A;OICI;KA;;;svc)"},
        {{2, key2, {"svc", "svc"}, 9}, L"D:AI" + keys + L"(A;OICI;KA;;;svc2)(A;OICI;KA;;;svc2)", L"DB2"},
        {{1, dir, {"svc"}, 1, true}, system + full},
        {{0, dir, {".\\svc", "localsystem", "s-1-5-11"}, 10, true},
         L"D:(A;OICI;0x1200a9;;;svc)(A;OICI;0x1200a9;;;SY)(A;OICI;0x1200a9;;;AU)"},
        {{2, key, {"svc"}, 9, true}, L"D:PAI" + keys + L"(A;OICI;KA;;;svc)"},
        {{2, key, {"nobody"}, 8, true}, L"D:PAI" + keys}, // users are ignored
        {{1, dir2, {".\\svc"}, 1, true, "svc"}, system + L"(A;OICI;FA;;;svc2)", L"DB2"},
        // the install user comes before the users
        {{1, dir, {}, 10, true, "svc"}, L"D:" + full},
        {{1, dir, {"S-1-5-32-551", "svc"}, 1, true, ".\\svc"}, system + full + L"(A;OICI;FA;;;BO)"},
        {{2, key, {}, 8, true, "LocalSystem"}, L"D:PAI" + keys + L"(A;OICI;KA;;;SY)"},
        {{3, dir, {}, 7, false, "svc"}, vlm + full + kept},
        {{2, key, {"svc"}, 9, false, "S-1-5-18"}, L"D:AI" + keys + L"(A;OICI;KA;;;SY)(A;OICI;KA;;;svc)"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        Access access = row.access;
        access.inheritable = access.set;
        describe({{L"dir", before}});
        expectCases({{"call", giving(access), 2}});
        ASSERT_EQ(world.plan().size(), 1u);
        EXPECT_EQ(world.plan()[0].node, row.machine);
        EXPECT_EQ(written().begin()->second, sddl(row.after));
    }
    addGroup(local, L"KES_LOCAL");
    const std::wstring nowhere = L"\\\\nowhere\\C$\\dir";
    expectNodeCases({
        {"unknown there", giving({1, dir2, {"svc", "KES_LOCAL"}, 1}), 3, "WSE-000014", ERROR_NONE_MAPPED},
        {"no machine", giving({1, nowhere, {"svc"}, 1}), 3, "WSE-000014", RPC_S_SERVER_UNAVAILABLE},
        {"machine \"?\"", giving({1, L"\\\\?\\" + root, {"svc"}, 1}), 3, "WSE-000014", RPC_S_SERVER_UNAVAILABLE},
        {"no drive", giving({1, L"\\\\DB2\\E$\\dir", {"svc"}, 1}), 3, "WSE-000053", ERROR_BAD_NET_NAME},
        {"no path, on this machine", giving({1, L"\\\\DB2", {"KES_LOCAL"}, 1}), 3, "WSE-000053", ERROR_BAD_PATHNAME},
        {"no key", giving({2, key2 + L"\\none", {}, 8}), 3, "WSE-000067", ERROR_FILE_NOT_FOUND},
    });
}

TEST_F(OnNode, MountPointsAreSecuredWithTheirVolume)
{
    const Mount rows[] = {
        {"another file system", L"NTFS", link, IO_REPARSE_TAG_MOUNT_POINT},
        {"no link", L"VLFS", FILE_ATTRIBUTE_DIRECTORY, IO_REPARSE_TAG_MOUNT_POINT},
        {"a tag without any of the bits", L"VLFS", link, 0x40000010},
        {"a mount point", L"vlfs", link, IO_REPARSE_TAG_MOUNT_POINT, true, 2, "", true},
        {"another tag that shares bits", L"VLFS", link, IO_REPARSE_TAG_SYMLINK, true, 2, "", true},
        {"not found", L"VLFS", INVALID_FILE_ATTRIBUTES, 0, true, 3, "WSE-000012: Null or invalid  parameter."},
        {"a volume path that does not fit", L"VLFS", link, IO_REPARSE_TAG_MOUNT_POINT, false, 3, " "},
    };
    library.redirect(
        "GetVolumeInformationW",
        +[](LPCWSTR, LPWSTR, DWORD, LPDWORD, LPDWORD, LPDWORD, LPWSTR fileSystem, DWORD) -> BOOL {
            return wcscpy(fileSystem, mount->fileSystem) != nullptr;
        });
    library.redirect(
        "FindFirstFileA", +[](LPCSTR path, WIN32_FIND_DATAA* entry) -> HANDLE {
            const bool isFound = mount->attributes != INVALID_FILE_ATTRIBUTES;
            const HANDLE search = isFound ? FindFirstFileA(path, entry) : INVALID_HANDLE_VALUE;
            entry->dwFileAttributes = mount->attributes;
            entry->dwReserved0 = mount->tag;
            return search;
        });
    library.redirect(
        "GetVolumePathNameA", +[](LPCSTR, LPSTR buffer, DWORD size) -> BOOL {
            return mount->hasVolume && volumePath.size() < size && strcpy(buffer, volumePath.c_str());
        });
    const std::wstring directory = make(L"dir\\");
    const std::wstring volume = make(L"volume\\");
    make(L"dir\\in");
    volumePath.assign(volume.begin(), volume.end());
    for (const Mount& row : rows) {
        SCOPED_TRACE(row.what);
        mount = &row;
        describe({{L"dir", L"D:"}, {L"dir\\in", unreadable}, {L"volume", L"D:"}});
        const bool isChildSkipped = row.status == 2;
        expectCases({{row.what, giving({1, directory, {"svc"}, 1}), row.status,
                      isChildSkipped ? API_FAILED("GetFileSecurityW") : row.message}});
        const auto objects = written();
        EXPECT_EQ(objects.count(L"dir"), row.status == 2);
        EXPECT_EQ(objects.count(L"volume"), row.isMountPoint);
    }
}

TEST_F(OnNode, ExcludedPathsAreLeftAloneWithAllBelowThem)
{
    const std::wstring start = make(L"dir\\");
    const std::string narrowStart = narrowRoot + "\\dir";
    make({L"dir\\a b\\", L"dir\\a b\\c", L"dir\\sub\\", L"dir\\sub\\\xC4", L"dir\\sub2"});
    const struct
    {
        std::vector<std::string> excluded;
        const char* secured; // "x" for each object that is
    } rows[] = {
        {{"none", "su", "c", "sub2\\none", narrowRoot, "dir"}, "      "},
        {{"none", "su", "c", "sub2\\none", narrowRoot + "\\di", "dir", "\\\\NODE\\C$"}, "xxxxxx"},
        {{"SUB\\"}, "xxx  x"},
        {{"sub//\xE4", "a b\\c\\\\"}, "xx x x"},
        {{narrowStart + "/Sub2", "A B"}, "x  xx "},
        {{narrowStart + "\\\\sub\\"}, "xxx  x"},
        {{narrowStart}, "      "},
        {{narrowRoot.substr(0, 3)}, "      "},
        {{"\\\\" + narrowStart.substr(3)}, "xxxxxx"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(PrintToString(row.excluded));
        describe({{L"dir", top}});
        expectCases({{"call", giving({1, start + L'/', {"svc"}, 1, false, nullptr, row.excluded}), 2}});
        EXPECT_EQ(marked({L"dir", L"dir\\a b", L"dir\\a b\\c", L"dir\\sub", L"dir\\sub\\\xC4", L"dir\\sub2"}),
                  row.secured);
    }
    for (const char* const path : {"", "\\sub", "/", "C:", "c:sub", "sub\\..", ".", "a/./b", "\\\\.\\x", "C:\\a\\.."})
        expectRefused("excludelist", {giving({2, start, {"nobody"}, 9, true, nullptr, {"sub", path}})});
    expectNodeCases({
        {"users are resolved first", giving({1, start, {"nobody"}, 1, true, nullptr, {narrowStart}}), 3, "WSE-000014",
         ERROR_NONE_MAPPED},
        {"the install user too", giving({1, start, {}, 1, true, "nobody", {narrowStart}}), 3, "WSE-000014",
         ERROR_NONE_MAPPED},
        {"a key", giving({2, key, {}, 8, true, nullptr, {"sub"}}), 4,
         "WSE-000063: Input arguments are invalid. Internal error : Excluded paths need a file or directory."},
        {"no such type", giving({1, start, {}, 8, true, nullptr, {""}}), 4, "WSE-000063"},
    });
    char none[] = "none";
    char* lists[] = {none, nullptr};
    const auto set = EXPORT(sswseSetACLOnObjectForUser2);
    expectRefused("excludelist", {calling(set, 1u, "x", nullptr, 0, 1, BYTE{0}, nullptr, lists, -1),
                                  calling(set, 1u, "x", nullptr, 0, 1, BYTE{0}, nullptr, lists, 2)});
    expectRefused("usernames",
                  {giving({1, start, {}, 10, true}), giving({0, start, {}, 10, false, "", {""}}),
                   giving({1, L"none", {"nobody", nullptr}, 1, true}), giving({2, key, {nullptr}, 8, true}),
                   calling(set, 1u, nullptr, lists, -1, 11, BYTE{0}, nullptr, nullptr, -1),
                   calling(EXPORT(sswseAddACLOnObjectForUser), 2u, "MACHINE\\x", nullptr, -1, 8, BYTE{0})});
}
