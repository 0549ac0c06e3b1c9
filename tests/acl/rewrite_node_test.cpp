// Entries revoked from trees and keys, a directory's entries copied to what is below it, and the group of the service
// SIDs, on a node.
#include "tests/acl/on_node.h"

using namespace acl;
using namespace support;
using namespace testing;

namespace {

constexpr char readFailed[] = API_FAILED("GetFileSecurityW");
constexpr char writeFailed[] = API_FAILED("SetFileSecurityW");
constexpr char listFailed[] = "WSE-000065: Unable to iterate through files.";
constexpr wchar_t key[] = L"MACHINE\\SOFTWARE\\Kestel";

std::wstring linked; // the directory that is a link, by its name
DWORD linkTag;

BOOL WINAPI findNextFile(HANDLE search, LPWIN32_FIND_DATAW entry)
{
    const BOOL found = FindNextFileW(search, entry);
    if (found && linked == entry->cFileName) {
        entry->dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
        entry->dwReserved0 = linkTag;
    }
    return found;
}

class RewrittenTrees : public OnNode
{
protected:
    // The library's calls of a function, by its name.
    std::map<std::string, long> countCalls(const Call& call, DWORD status, intercept::Fault fault = {})
    {
        interception.start(fault);
        sswseErrRec rec = {};
        EXPECT_EQ(call(&rec), status) << rec.message;
        const intercept::Trail trail = interception.finish();
        EXPECT_THAT(trail.balance, IsEmpty());
        std::map<std::string, long> calls;
        for (const intercept::Trail::Call& each : trail.calls)
            ++calls[each.row->name];
        message = messageOf(rec);
        osError = rec.oserror;
        return calls;
    }

    Call copying(const std::wstring& path) const
    {
        return [this, path = std::string(path.begin(), path.end())](sswseErrRec* err) {
            return EXPORT(sswseCopyPermissionsFromParentToChildren)(err, path.c_str());
        };
    }

    Call addingGroup(unsigned wtype, const std::wstring& path) const
    {
        return [=, path = std::string(path.begin(), path.end())](sswseErrRec* err) {
            return EXPORT(sswseAddFullPermForSVCSIDSGroup)(err, wtype, path.c_str(), 1);
        };
    }

    std::string message;
    std::string osError;
};

} // namespace

// Each object is read; what changes is written, and nothing the second time.
TEST_F(RewrittenTrees, TakeThePlatformCallsThatTheyMust)
{
    static long blocks;
    static long most;
    library.redirect(
        "malloc", +[](size_t size) { return most = std::max(most, ++blocks), malloc(size); });
    library.redirect(
        "free", +[](void* block) { blocks -= block != nullptr, free(block); });
    make({L"dir\\", L"dir\\.VLFS", L"link\\", L"link\\in"});
    for (int i = 0; i < 20; ++i)
        make(L"dir\\" + std::to_wstring(i));
    const Objects before = {{L"", L"D:PAI(A;OICI;FA;;;BA)(A;OICI;FR;;;BU)"},
                            {L"dir", L"D:AI(A;;0x1;;;BO)(A;OICIID;FA;;;BA)(A;OICIID;FR;;;BU)"}};
    constexpr long files = 20, objects = files + 3, listed = 2;
    linked = L"link";
    library.redirect("FindNextFileW", &findNextFile);
    for (const DWORD tag : {IO_REPARSE_TAG_MOUNT_POINT, IO_REPARSE_TAG_SYMLINK}) {
        linkTag = tag;
        for (const bool copy : {false, true}) {
            describe(before);
            const Call call = copy ? copying(root) : revoking(1, root, {"S-1-5-32-545"});
            const Call ofOne = copy ? copying(root + L"\\link") : revoking(0, root + L"\\dir\\1", {"svc"});
            countCalls(ofOne, 2);
            const long ofFew = most;
            describe(before);
            world.clearPlan();
            auto calls = countCalls(call, 2);
            EXPECT_EQ(message, "");
            EXPECT_EQ(calls["GetFileSecurityW"], 2 * objects);
            EXPECT_EQ(calls["SetFileSecurityW"], copy ? objects - 1 : objects);
            EXPECT_EQ(calls["FindFirstFileW"], listed);
            EXPECT_EQ(calls["GetFileAttributesW"], 1);
            EXPECT_LE(most, ofFew + 3);
            const Objects after = written();
            EXPECT_THAT(after, SizeIs(copy ? objects - 1 : objects));
            EXPECT_EQ(after.count(L"link\\in") + after.count(L"dir\\.VLFS"), 0u);
            EXPECT_EQ(after.at(L"dir"),
                      sddl(copy ? L"D:AI(A;OICI;FA;;;BA)(A;OICI;FR;;;BU)" : L"D:AI(A;;0x1;;;BO)(A;OICIID;FA;;;BA)"));
            calls = countCalls(call, 2);
            EXPECT_EQ(calls["SetFileSecurityW"], 0);
        }
    }
    linkTag = 0x80000013; // another reparse point is entered
    describe(before);
    EXPECT_EQ(countCalls(revoking(1, root, {"S-1-5-32-545"}), 2)["SetFileSecurityW"], objects + 1);
    describe(before);
    world.clearPlan();
    expectCases({{"a link itself", revoking(1, root + L"\\link", {"S-1-5-32-545"}), 2}});
    EXPECT_THAT(written(), UnorderedElementsAre(Key(L"link"), Key(L"link\\in")));
    expectCases({{"one file", revoking(1, root + L"\\dir\\1", {"S-1-5-32-545"}), 2}});
    EXPECT_THAT(written(), UnorderedElementsAre(Key(L"dir\\1")));
}

TEST_F(RewrittenTrees, GoOnBehindWhatFailsAndTellTheFirst)
{
    const std::wstring all[] = {L"", L"a", L"b", L"b\\c", L"b\\c\\d", L"b\\e", L"f"}; // in the order of the walk
    make({L"a", L"b\\", L"b\\c\\", L"b\\c\\d", L"b\\e", L"f"});
    constexpr auto reading = [](size_t object, DWORD code) {
        return failing("GetFileSecurityW", code, 2 * object - 1);
    };
    const struct
    {
        const char* what;
        Objects outOfReach;
        intercept::Fault fault;
        DWORD status;
        const char* message;
        const char* osError;
        const char* changed; // "x" for each object that is
    } rows[] = {
        {"a file without access", {{L"a", unreadable}}, {}, 3, readFailed, "5", "x xxxxx"},
        {"the first is told", {{L"a", unwritable}, {L"f", unreadable}}, {}, 3, writeFailed, "5", "x xxxx "},
        {"the start", {{L"", unwritable}}, {}, 3, writeFailed, "5", "       "},
        {"the start is not there", {}, reading(1, ERROR_FILE_NOT_FOUND), 3, readFailed, "2", "       "},
        {"a file has gone", {}, reading(2, ERROR_FILE_NOT_FOUND), 2, "", "", "x xxxxx"},
        {"it went while it was read", {}, failing("SetFileSecurityW", ERROR_PATH_NOT_FOUND, 2), 2, "", "", "x xxxxx"},
        {"a directory has gone", {}, reading(3, ERROR_PATH_NOT_FOUND), 2, "", "", "xx    x"},
        {"not listed", {}, failing("FindFirstFileW", ERROR_ACCESS_DENIED, 2), 3, listFailed, "5", "xxx   x"},
        {"not found by its listing",
         {},
         failing("FindFirstFileW", ERROR_PATH_NOT_FOUND, 3),
         3,
         listFailed,
         "3",
         "xxxx xx"},
        {"empty", {}, failing("FindFirstFileW", ERROR_FILE_NOT_FOUND, 3), 2, "", "", "xxxx xx"},
        {"not listed to its end",
         {},
         failing("FindNextFileW", ERROR_NETNAME_DELETED, 4),
         3,
         listFailed,
         "64",
         "xxx   x"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        Objects described = row.outOfReach;
        described.emplace(L"", top);
        describe(described);
        countCalls(revoking(1, root, {"S-1-5-32-545"}), row.status, row.fault);
        EXPECT_EQ(message, row.message);
        EXPECT_EQ(osError, row.osError);
        std::string changed;
        const Objects objects = written();
        for (const std::wstring& name : all)
            changed += objects.count(name) ? 'x' : ' ';
        EXPECT_EQ(changed, row.changed);
    }
    const std::wstring base = std::wstring(257 - root.size() - 2 - 99, L'l') + L'\\';
    const std::wstring unlisted = base + std::wstring(100, L'n');
    make({base, unlisted + L'\\', unlisted + L"\\f", base + std::wstring(99, L'm') + L'\\',
          base + std::wstring(99, L'm') + L"\\ff"});
    describe({{L"", top}});
    countCalls(revoking(1, root, {"S-1-5-32-545"}), 3);
    EXPECT_EQ(message, readFailed) << "a child whose path is too long has not gone";
    EXPECT_EQ(written().count(unlisted), 1u);
}

TEST_F(RewrittenTrees, CopiesAreExactAndKeysKeepWhatTheyInherit)
{
    const std::wstring directory = make(L"dir\\");
    const std::wstring file = make(L"dir\\file");
    make(L"dir\\same");
    constexpr wchar_t odd[] = L"D:AI(D;;0x1;;;BG)(A;NP;0x2;;;BO)(A;ID;0x3;;;BU)(A;OICIIO;GA;;;CO)(A;;FA;;;BA)";
    describe({{L"dir", odd}, {L"dir\\file", L"D:P(A;;FA;;;SY)"}, {L"dir\\same", odd}});
    expectCases({{"copy", copying(directory + L'\\'), 2}});
    const Objects copies = written();
    ASSERT_THAT(copies, UnorderedElementsAre(Key(L"dir\\file")));
    EXPECT_EQ(copies.begin()->second, sddl(L"D:P" + std::wstring(odd + 4)));
    describe({{L"dir", L"D:NO_ACCESS_CONTROL"}, {L"dir\\file", unreadable}});
    expectNodeCases({
        {"no list", copying(directory), 3, "WSE-000066", ERROR_NO_SECURITY_ON_OBJECT},
        {"a file", copying(file), 4, "WSE-000063: Input arguments are invalid. Internal error : Not a directory."},
        {"nothing", copying(directory + L"\\none"), 3, readFailed, ERROR_FILE_NOT_FOUND},
    });

    const auto keyWith = [&](const wchar_t* above, const wchar_t* own) {
        describe({});
        local.security[L"registry HKLM\\SOFTWARE"] = sddl(above);
        local.security[L"registry HKLM\\SOFTWARE\\Kestel"] = sddl(own);
    };
    constexpr wchar_t ofSvc[] = L"D:P(A;CI;KR;;;svc)";
    const NodeCase inherits = {"still there", revoking(2, key, {"BUILTIN\\Users", ".\\svc"}), 2,
                               "WSE-00004: MACHINE\\SOFTWARE\\Kestel still inherits .\\svc."};
    keyWith(ofSvc, L"D:AI(D;;KR;;;svc)(A;;KA;;;BU)(A;;KA;;;svc)(A;CIID;KR;;;svc)");
    expectCases({{inherits.what, inherits.call, inherits.status, inherits.message}});
    EXPECT_THAT(written(), ElementsAre(Pair(_, sddl(L"D:AI(D;;KR;;;svc)(A;CIID;KR;;;svc)"))));
    expectNodeCases({
        inherits,
        {"not in it", revoking(2, key, {"S-1-5-19"}), 2},
        {"no such key", revoking(2, L"MACHINE\\SOFTWARE\\none", {"svc"}), 3, "WSE-000066", ERROR_FILE_NOT_FOUND},
    });
    keyWith(ofSvc, L"D:PAI(A;;KA;;;svc)(A;;KR;;;BU)");
    expectCases({{"all its own", revoking(2, key, {"svc", "S-1-5-32-545"}), 2}});
    EXPECT_THAT(written(), ElementsAre(Pair(_, sddl(L"D:PAI"))));
    expectRefused("usernames", {revoking(1, L"x", {"nobody", nullptr})});
    const auto revoke = EXPORT(sswseRevokeACLOnObjectForUser);
    expectCases({{"no such kind", calling(revoke, 4u, nullptr, nullptr, 0, BYTE{0}), 4, "WSE-000064"}});
}

TEST_F(RewrittenTrees, GetTheGroupOfTheServiceSidsOnce)
{
    const std::wstring directory = make(L"dir\\");
    make(L"dir\\file");
    const std::wstring homeKey = std::wstring(key) + L"\\KEY_keswsec_test";
    record(local, "KESTEL_HOME_NAME", "h1");
    expectNodeCases({{"no group", addingGroup(1, directory), 3, "WSE-000014", ERROR_NONE_MAPPED},
                     {"groups only", addingGroup(3, directory), 4, "WSE-000064"}});
    const std::wstring group = L";;;" + addGroup(local, L"KES_h1_SVCSIDS").sid + L')';
    describe({{L"dir", L"D:PAI(D;;0x1" + group + L"(A;;FR;;;BU)"}});
    EXPECT_EQ(countCalls(addingGroup(1, directory), 2)["SetFileSecurityW"], 2);
    EXPECT_THAT(written(), Contains(Pair(L"dir", sddl(L"D:(A;OICI;FA" + group + L"(A;;FR;;;BU)"))));
    EXPECT_EQ(countCalls(addingGroup(1, directory), 2)["SetFileSecurityW"], 0);
    const std::wstring admins = L"(A;;KA;;;BA)"; // who read the home's name
    const struct
    {
        std::wstring before, after; // "" for none
    } keys[] = {
        {L"D:PAI(A;;KR;;;BU)(A;ID;KR" + group + admins, L"D:PAI(A;OICI;KA" + group + L"(A;;KR;;;BU)" + admins},
        {L"D:(A;;KR;;;BU)(A;OICI;KR" + group + admins, L"D:AI(A;OICI;KA" + group + L"(A;;KR;;;BU)" + admins},
        {L"D:P(D;;0x1" + group + L"(A;OICI;KA" + group + admins, L"D:PAI(A;OICI;KA" + group + admins},
        {L"D:P(A;;KR;;;BU)(A;OICI;KA" + group + admins, L""},
        {L"D:P(A;;KA" + group + L"(A;CIIO;GA" + group + admins, L""},
        {L"D:P(A;;KA" + group + L"(A;CINPIO;GA" + group + admins, L"D:PAI(A;OICI;KA" + group + admins},
        {L"D:NO_ACCESS_CONTROL", L""},
    };
    for (const auto& row : keys) {
        describe({});
        local.security[L"registry HKLM\\SOFTWARE\\Kestel\\KEY_keswsec_test"] = sddl(row.before);
        expectCases({{"key", addingGroup(2, homeKey), 2}});
        const Objects objects = written();
        EXPECT_EQ(objects.empty() ? L"" : objects.begin()->second, row.after.empty() ? L"" : sddl(row.after));
        EXPECT_EQ(countCalls(addingGroup(2, homeKey), 2)["SetNamedSecurityInfoW"], 0);
    }
    library.removeKeyFile();
    expectNodeCases({{"no home", addingGroup(2, homeKey), 3, "WSE-000052"}});
}
