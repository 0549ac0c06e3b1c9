// Access for users as the permission types give it, added or set: who gets what, on which object of which machine, on
// mount points of the cluster file system, whose volume is secured with them, and around paths that are left alone.
#include "tests/acl/on_node.h"

using namespace acl;
using namespace support;
using namespace testing;

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
    const std::string directory = make(L"dir\\"), file = make(L"dir\\file");
    constexpr wchar_t before[] = L"D:(A;;0x1;;;BU)";
    constexpr char mismatch[] = "4 WSE-000063: Input arguments are invalid. Internal error : Windows object type and "
                                "Permission type mismatch.";
    for (const unsigned wtype : {0u, 1u, 2u, 3u, 4u, 0xFFFFFFFFu})
        for (int ptype = -1; ptype <= 11; ++ptype)
            for (const bool inheritable : {false, true}) {
                const auto entries = allowed.find({wtype, ptype});
                const bool isAllowed = entries != allowed.end();
                const std::string words = "ACLOnObjectForUser wtype=" + std::to_string(wtype) +
                                          " ptype=" + std::to_string(static_cast<unsigned>(ptype)) +
                                          " inheritable=" + (inheritable ? "0x80" : "0") +
                                          " usernames=svc usernames=\"Backup Operators\" path=" +
                                          (wtype == 0   ? file
                                           : wtype == 2 ? key
                                                        : directory);
                describe({{L"dir", before}, {L"dir\\file", before}});
                expectAnswers({{"Check" + words, isAllowed ? "0 WSE-00004" : mismatch},
                               {"Add" + words, isAllowed ? "2" : mismatch},
                               {"Check" + words, isAllowed ? "1" : mismatch}});
                const auto objects = written();
                ASSERT_EQ(objects.size(), !isAllowed ? 0u : wtype == 1 && inheritable ? 2u : 1u) << words;
                if (isAllowed) {
                    const std::wstring after = entries->second + (wtype == 2 ? L"" : before + 2);
                    EXPECT_EQ(objects.begin()->second, sddl((wtype == 2 ? L"D:AI" : L"D:") + after)) << words;
                }
            }
}

TEST_F(OnNode, AccountsAreThoseOfTheMachineThatOwnsTheObject)
{
    constexpr wchar_t before[] = L"D:PAI(A;;0x1;;;BU)(A;ID;0x1;;;BG)";
    const std::wstring kept = L"(A;;0x1;;;BU)(A;ID;0x1;;;BG)"; // unless access is set
    const std::string dir = make(L"dir\\"), dir2 = "\\\\db2\\c$\\dir", key2 = std::string("\\\\DB2\\") + key;
    const std::wstring system = L"D:(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)";
    const std::wstring mesh = system + L"(A;OICI;FA;;;mesh)(A;OICI;FA;;;clx)(A;OICI;FA;;;svc)";
    const std::wstring mesh2 = system + L"(A;OICI;FA;;;mesh2)(A;OICI;FA;;;clx2)(A;OICI;FA;;;svc2)";
    const std::wstring vlm = system + L"(A;OICI;FA;;;vlm)(A;OICI;FA;;;dbs)"; // the node's own
    const std::wstring keys = L"(A;OICI;KA;;;BA)(A;OICI;0x20039;;;WD)";
    const std::wstring full = L"(A;OICI;FA;;;svc)";
    const std::string add = "AddACLOnObjectForUser wtype=", set = "SetACLOnObjectForUser inheritable=0x80 wtype=",
                      add2 = "AddACLOnObjectForUser2 wtype=", set2 = "SetACLOnObjectForUser2 inheritable=0x80 wtype=";
    const struct
    {
        std::string call;
        std::wstring after;
        std::wstring machine = L"NODE"; // that changes
    } rows[] = {
        {add + "1 ptype=5 usernames=svc path=" + dir, mesh + kept},
        {add + "1 ptype=5 usernames=svc path=\\\\NODE\\C$\\dir", mesh + kept},
        {add + "1 ptype=5 usernames=svc path=" + dir2, mesh2 + kept, L"DB2"},
        {add + "3 ptype=7 usernames=nobody path=" + dir2, vlm + kept, L"DB2"}, // users are ignored
        {add + "2 ptype=9 usernames=svc usernames=svc path=" + key2,
         L"D:AI" + keys + L"(A;OICI;KA;;;svc2)(A;OICI;KA;;;svc2)", L"DB2"},
        {set + "1 ptype=1 usernames=svc path=" + dir, system + full},
        {set + "0 ptype=10 usernames=.\\svc usernames=localsystem usernames=s-1-5-11 path=" + dir,
         L"D:(A;OICI;0x1200a9;;;svc)(A;OICI;0x1200a9;;;SY)(A;OICI;0x1200a9;;;AU)"},
        {set + "2 ptype=9 usernames=svc path=" + key, L"D:PAI" + keys + L"(A;OICI;KA;;;svc)"},
        {set + "2 ptype=8 usernames=nobody path=" + key, L"D:PAI" + keys}, // users are ignored
        {set2 + "1 ptype=1 usernames=.\\svc installuser=svc path=" + dir2, system + L"(A;OICI;FA;;;svc2)", L"DB2"},
        // the install user comes before the users
        {set2 + "1 ptype=10 installuser=svc path=" + dir, L"D:" + full},
        {set2 + "1 ptype=1 usernames=S-1-5-32-551 usernames=svc installuser=.\\svc path=" + dir,
         system + full + L"(A;OICI;FA;;;BO)"},
        {set2 + "2 ptype=8 installuser=LocalSystem path=" + key, L"D:PAI" + keys + L"(A;OICI;KA;;;SY)"},
        {add2 + "3 ptype=7 installuser=svc path=" + dir, vlm + full + kept},
        {add2 + "2 ptype=9 usernames=svc installuser=S-1-5-18 path=" + key,
         L"D:AI" + keys + L"(A;OICI;KA;;;SY)(A;OICI;KA;;;svc)"},
    };
    for (const auto& row : rows) {
        describe({{L"dir", before}});
        expectAnswers({{row.call, "2"}});
        ASSERT_EQ(world.plan().size(), 1u) << row.call;
        EXPECT_EQ(world.plan()[0].node, row.machine) << row.call;
        EXPECT_EQ(written().begin()->second, sddl(row.after)) << row.call;
    }
    addGroup(local, L"KES_LOCAL");
    expect({
        {add + "1 ptype=1 usernames=svc usernames=KES_LOCAL path=" + dir2, "3 WSE-000014 1332"}, // unknown there
        {add + "1 ptype=1 usernames=svc path=\\\\nowhere\\C$\\dir", "3 WSE-000014 1722"},
        {add + "1 ptype=1 usernames=svc path=\\\\?\\" + narrowRoot, "3 WSE-000014 1722"}, // a machine "?"
        {add + "1 ptype=1 usernames=svc path=\\\\DB2\\E$\\dir", "3 WSE-000053 67"},
        {add + "1 ptype=1 usernames=KES_LOCAL path=\\\\DB2", "3 WSE-000053 161"}, // no path, on this machine
        {add + "2 ptype=8 path=" + key2 + "\\none", "3 WSE-000067 2"},
    });
}

TEST_F(OnNode, MountPointsAreSecuredWithTheirVolume)
{
    constexpr DWORD link = FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY;
    struct Mount
    {
        const char* what;
        const wchar_t* fileSystem;
        DWORD attributes; // all bits: it cannot be found
        DWORD tag;
        const char* secured = "x ";            // the mount point, its volume
        const char* answer = "2 WSE-000053 5"; // the child is skipped
        bool hasVolume = true;                 // whose path fits
    };
    static const Mount* mount;
    static std::string volumePath;
    const Mount rows[] = {
        {"another file system", L"NTFS", link, IO_REPARSE_TAG_MOUNT_POINT},
        {"no link", L"VLFS", FILE_ATTRIBUTE_DIRECTORY, IO_REPARSE_TAG_MOUNT_POINT},
        {"a tag without any of the bits", L"VLFS", link, 0x40000010},
        {"a mount point", L"vlfs", link, IO_REPARSE_TAG_MOUNT_POINT, "xx"},
        {"another tag that shares bits", L"VLFS", link, IO_REPARSE_TAG_SYMLINK, "xx"},
        {"not found", L"VLFS", INVALID_FILE_ATTRIBUTES, 0, "  ", "3 WSE-000012: Null or invalid  parameter."},
        {"a volume path that does not fit", L"VLFS", link, IO_REPARSE_TAG_MOUNT_POINT, "  ", "3  ", false},
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
    const std::string directory = make(L"dir\\");
    volumePath = make(L"volume\\");
    make(L"dir\\in");
    for (const Mount& row : rows) {
        SCOPED_TRACE(row.what);
        mount = &row;
        describe({{L"dir", L"D:"}, {L"dir\\in", unreadable}, {L"volume", L"D:"}});
        expectAnswers(
            {{"AddACLOnObjectForUser wtype=1 ptype=1 inheritable=1 usernames=svc path=" + directory, row.answer}});
        EXPECT_EQ(marked({L"dir", L"volume"}), row.secured);
    }
}

TEST_F(OnNode, ExcludedPathsAreLeftAloneWithAllBelowThem)
{
    const std::string start = make(L"dir\\");
    const std::string add = "AddACLOnObjectForUser2 inheritable=1 wtype=1 ptype=1 path=" + start + "/ usernames=svc",
                      set = "SetACLOnObjectForUser2 inheritable=1 wtype=1 ptype=1 path=" + start;
    make({L"dir\\a b\\", L"dir\\a b\\c", L"dir\\sub\\", L"dir\\sub\\\xC4", L"dir\\sub2"});
    const struct
    {
        std::vector<std::string> excluded;
        const char* secured; // "x" for each object that is
    } rows[] = {
        {{".n", "su", "c", "sub2\\.none", narrowRoot, "dir"}, "      "},
        {{"none", "su", "c", "sub2\\none", narrowRoot + "\\di", "dir", "\\\\NODE\\C$"}, "xxxxxx"},
        {{"SUB\\"}, "xxx  x"},
        {{"sub//\xC3\xA4", "a b\\c\\\\"}, "xx x x"},
        {{start + "/Sub2", "A B"}, "x  xx "},
        {{start + "\\\\sub\\"}, "xxx  x"},
        {{start}, "      "},
        {{narrowRoot.substr(0, 3)}, "      "},
        {{"\\\\" + start.substr(3)}, "xxxxxx"},
    };
    for (const auto& row : rows) {
        describe({{L"dir", top}});
        std::string call = add;
        for (const std::string& path : row.excluded)
            call += " excludelist=\"" + path + '"';
        expectAnswers({{call, "2"}});
        EXPECT_EQ(marked({L"dir", L"dir\\a b", L"dir\\a b\\c", L"dir\\sub", L"dir\\sub\\\xC4", L"dir\\sub2"}),
                  row.secured)
            << call;
    }
    constexpr char badPath[] = "4 WSE-000012: Null or invalid excludelist parameter.";
    for (const char* const path : {"", "\\sub", "/", "C:", "c:sub", "sub\\..", ".", "a/./b", "\\\\.\\x", "C:\\a\\.."})
        expect({{std::string("SetACLOnObjectForUser2 wtype=2 ptype=9 path=x usernames=nobody excludelist=sub ") +
                     "excludelist=\"" + path + '"',
                 badPath}});
    expect({
        {set + " usernames=nobody excludelist=" + start, "3 WSE-000014 1332"}, // users are resolved first
        {set + " installuser=nobody excludelist=" + start, "3 WSE-000014 1332"},
        {"SetACLOnObjectForUser2 wtype=2 ptype=8 excludelist=sub path=" + std::string(key),
         "4 WSE-000063: Input arguments are invalid. Internal error : Excluded paths need a file or directory."},
        {"SetACLOnObjectForUser2 wtype=1 ptype=8 excludelist=\"\" path=x", "4 WSE-000063"},
    });
    char some[] = "none";
    char* lists[] = {some, nullptr};
    const auto set2 = EXPORT(sswseSetACLOnObjectForUser2);
    expectRefused("excludelist", {calling(set2, 1u, "x", nullptr, 0, 1, BYTE{0}, nullptr, lists, -1),
                                  calling(set2, 1u, "x", nullptr, 0, 1, BYTE{0}, nullptr, lists, 2)});
    expectRefused("usernames", {calling(set2, 1u, "x", lists, 2, 1, BYTE{0}, nullptr, nullptr, 0),
                                calling(set2, 2u, "x", &lists[1], 1, 8, BYTE{0}, nullptr, nullptr, 0),
                                calling(EXPORT(sswseAddACLOnObjectForUser), 2u, "MACHINE\\x", nullptr, -1, 8, BYTE{0}),
                                calling(set2, 0u, "x", nullptr, 0, 10, BYTE{0}, "", lists, 1),
                                calling(set2, 1u, nullptr, lists, -1, 11, BYTE{0}, nullptr, nullptr, -1)});
}
