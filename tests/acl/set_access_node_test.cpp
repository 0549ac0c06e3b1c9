// Access that is set instead of added, install users, paths that are left alone; the group of the service SIDs.
#include "tests/acl/on_node.h"

using namespace acl;
using namespace support;
using namespace testing;

namespace {

constexpr wchar_t key[] = L"MACHINE\\SOFTWARE\\Kestel";

} // namespace

TEST_F(OnNode, SetAccessReplacesWhatThereWas)
{
    constexpr wchar_t before[] = L"D:PAI(A;;0x1;;;BU)(A;ID;0x1;;;svc)";
    const std::wstring directory = make(L"dir\\");
    const std::wstring system = L"D:(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)";
    const std::wstring full = L"(A;OICI;FA;;;svc)";
    const std::wstring keys = L"(A;OICI;KA;;;BA)(A;OICI;0x20039;;;WD)";
    const struct
    {
        const char* what;
        Access access;
        std::wstring after;
    } rows[] = {
        {"directory", {1, directory, {"svc"}, 1, true}, system + full},
        {"spellings",
         {0, directory, {".\\svc", "localsystem", "s-1-5-11"}, 10, true},
         L"D:(A;OICI;0x1200a9;;;svc)(A;OICI;0x1200a9;;;SY)(A;OICI;0x1200a9;;;AU)"},
        {"key", {2, key, {"svc"}, 9, true}, L"D:PAI" + keys + L"(A;OICI;KA;;;svc)"},
        {"users are ignored", {2, key, {"nobody"}, 8, true}, L"D:PAI" + keys},
        {"install user alone", {1, directory, {}, 10, true, "svc"}, L"D:" + full},
        {"install user before users",
         {1, directory, {"S-1-5-32-551", "svc"}, 1, true, ".\\svc"},
         system + full + L"(A;OICI;FA;;;BO)"},
        {"install user, key", {2, key, {}, 8, true, "LocalSystem"}, L"D:PAI" + keys + L"(A;OICI;KA;;;SY)"},
        {"install user, added",
         {3, directory, {}, 7, false, "svc"},
         system + L"(A;OICI;FA;;;vlm)(A;OICI;FA;;;dbs)" + full + L"(A;;0x1;;;BU)"},
        {"install user, added to a key",
         {2, key, {"svc"}, 9, false, "S-1-5-18"},
         L"D:AI" + keys + L"(A;OICI;KA;;;SY)(A;OICI;KA;;;svc)"},
        {"on the machine of the object",
         {1, L"\\\\DB2\\C$\\dir", {".\\svc"}, 1, true, "svc"},
         system + L"(A;OICI;FA;;;svc2)"},
    };
    for (const auto& row : rows) {
        describe({{L"dir", before}});
        expectCases({{row.what, giving(row.access), 2}});
        const auto objects = written();
        ASSERT_THAT(objects, SizeIs(1)) << row.what;
        EXPECT_EQ(objects.begin()->second, sddl(row.after)) << row.what;
    }
}

TEST_F(OnNode, ExcludedPathsAreLeftAloneWithAllBelowThem)
{
    const std::wstring start = make(L"dir\\");
    const std::string narrowStart = narrowRoot + "\\dir";
    const std::wstring all[] = {L"dir", L"dir\\a b", L"dir\\a b\\c", L"dir\\sub", L"dir\\sub\\\xC4", L"dir\\sub2"};
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
        std::string secured;
        const Objects objects = written();
        for (const std::wstring& name : all)
            secured += objects.count(name) ? 'x' : ' ';
        EXPECT_EQ(secured, row.secured);
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
                   calling(set, 1u, nullptr, lists, -1, 11, BYTE{0}, nullptr, nullptr, -1)});
}
