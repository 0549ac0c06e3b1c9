// Access for users as the permission types give it: who gets what, on which object of which machine, and on
// mount points of the cluster file system, whose volume is secured with them.
#include "tests/acl/on_node.h"

using namespace acl;
using namespace support;
using namespace testing;

namespace {

constexpr wchar_t key[] = L"MACHINE\\SOFTWARE\\Kestel";

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
                describe({{L"dir", before}, {L"dir\\file", before}});
                const auto call = adding(wtype,
                                         wtype == 0   ? file
                                         : wtype == 2 ? key
                                                      : directory,
                                         {"svc", "Backup Operators"}, ptype, inheritable);
                expectCases({{"call", call, isAllowed ? 2u : 4u, isAllowed ? "" : mismatch}});
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
    make(L"dir\\");
    addGroup(local, L"KES_LOCAL");
    const std::wstring system = L"D:(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)";
    const std::wstring mesh = system + L"(A;OICI;FA;;;mesh)(A;OICI;FA;;;clx)(A;OICI;FA;;;svc)";
    const std::wstring mesh2 = system + L"(A;OICI;FA;;;mesh2)(A;OICI;FA;;;clx2)(A;OICI;FA;;;svc2)";
    const std::wstring keys = L"D:AI(A;OICI;KA;;;BA)(A;OICI;0x20039;;;WD)";
    const std::wstring remoteKey = std::wstring(L"\\\\DB2\\") + key;
    const struct
    {
        std::wstring path;
        unsigned wtype;
        int ptype;
        std::vector<const char*> users;
        std::wstring machine; // that changes
        std::wstring after;
    } rows[] = {
        {root + L"\\dir", 1, 5, {"svc"}, L"NODE", mesh},
        {L"\\\\NODE\\C$\\dir", 1, 5, {"svc"}, L"NODE", mesh},
        {L"\\\\db2\\c$\\dir", 1, 5, {"svc"}, L"DB2", mesh2},
        {L"\\\\DB2\\C$\\dir", 3, 7, {nullptr}, L"DB2", system + L"(A;OICI;FA;;;vlm)(A;OICI;FA;;;dbs)"}, // its own
        {key, 2, 9, {"svc"}, L"NODE", keys + L"(A;OICI;KA;;;svc)"},
        {remoteKey, 2, 9, {"svc", "svc"}, L"DB2", keys + L"(A;OICI;KA;;;svc2)(A;OICI;KA;;;svc2)"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(PrintToString(row.path));
        describe({{L"dir", L"D:"}});
        expectCases({{"call", adding(row.wtype, row.path, row.users, row.ptype), 2}});
        ASSERT_EQ(world.plan().size(), 1u);
        EXPECT_EQ(world.plan()[0].node, row.machine);
        EXPECT_EQ(written().begin()->second, sddl(row.after));
    }
    const std::wstring remoteDirectory = L"\\\\DB2\\C$\\dir";
    expectNodeCases({
        {"unknown there", adding(1, remoteDirectory, {"svc", "KES_LOCAL"}, 1), 3, "WSE-000014", ERROR_NONE_MAPPED},
        {"no user", adding(1, remoteDirectory, {"svc", nullptr}, 1), 4, "WSE-000012: Null or invalid usernames"},
        {"no machine", adding(1, L"\\\\nowhere\\C$\\dir", {"svc"}, 1), 3, "WSE-000014", RPC_S_SERVER_UNAVAILABLE},
        {"machine \"?\"", adding(1, L"\\\\?\\" + root, {"svc"}, 1), 3, "WSE-000014", RPC_S_SERVER_UNAVAILABLE},
        {"no drive", adding(1, L"\\\\DB2\\E$\\dir", {"svc"}, 1), 3, "WSE-000053", ERROR_BAD_NET_NAME},
        {"no path, on this machine", adding(1, L"\\\\DB2", {"KES_LOCAL"}, 1), 3, "WSE-000053", ERROR_BAD_PATHNAME},
        {"no key", adding(2, L"\\\\DB2\\MACHINE\\SOFTWARE\\none", {}, 8), 3, "WSE-000067", ERROR_FILE_NOT_FOUND},
    });
    expectRefused("usernames",
                  {calling(EXPORT(sswseAddACLOnObjectForUser), 2u, "MACHINE\\x", nullptr, -1, 8, BYTE{0})});
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
        describe({{L"dir", L"D:"}, {L"volume", L"D:"}});
        expectCases({{row.what, adding(1, directory, {"svc"}, 1), row.status, row.message}});
        const auto objects = written();
        EXPECT_EQ(objects.count(L"dir"), row.status == 2);
        EXPECT_EQ(objects.count(L"volume"), row.isMountPoint);
    }
    mount = &rows[4];
    describe({{L"dir", L"D:"}, {L"dir\\in", unreadable}, {L"volume", L"D:"}});
    expectCases({{"a child is skipped", adding(1, directory, {"svc"}, 1, true), 2, API_FAILED("GetFileSecurityW")}});
    EXPECT_THAT(written(), UnorderedElementsAre(Key(L"dir"), Key(L"volume")));
}
