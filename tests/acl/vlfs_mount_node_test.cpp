// Mount points of the cluster file system, whose volume is secured with them.
#include "tests/acl/held_security.h"
#include "tests/acl/on_node.h"
#include "tests/support/cases.h"

using acl::OnNode;
using testing::Key;
using testing::UnorderedElementsAre;

namespace {

constexpr DWORD link = FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY;

struct Mount
{
    const char* what;
    const wchar_t* fileSystem; // NULL: cannot be asked
    DWORD attributes;          // all bits: it cannot be found
    DWORD tag;
    bool hasVolume = true; // whose path fits
    DWORD status = 2;
    const char* message = "";
    bool isMountPoint = false;
};
const Mount* mount;
std::string volumePath;

} // namespace

TEST_F(OnNode, MountPointsAreSecuredWithTheirVolume)
{
    const Mount rows[] = {
        {"cannot be asked", nullptr, link, IO_REPARSE_TAG_MOUNT_POINT},
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
            return mount->fileSystem && wcscpy(fileSystem, mount->fileSystem);
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
        EXPECT_EQ(add(1, directory, {"svc"}, 1), row.status);
        EXPECT_EQ(support::messageOf(rec), row.message);
        const auto objects = written();
        EXPECT_EQ(objects.count(L"dir"), row.status == 2 ? 1u : 0u);
        EXPECT_EQ(objects.count(L"volume"), row.isMountPoint ? 1u : 0u);
    }
    mount = &rows[4];
    describe({{L"dir", L"D:"}, {L"dir\\in", L"O:SYD:P(A;OICI;FA;;;SY)"}, {L"volume", L"D:"}});
    EXPECT_EQ(add(1, directory, {"svc"}, 1, true), 2u);
    EXPECT_EQ(support::messageOf(rec), acetext::failed("GetFileSecurityW")) << "of the child that was skipped";
    EXPECT_THAT(written(), UnorderedElementsAre(Key(L"dir"), Key(L"volume")));
}
