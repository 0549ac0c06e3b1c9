#include "tests/support/program.h"
#include "tests/support/scratch_directory.h"
#include "tests/whatif/replaced.h"
#include "whatif/model/registry.h"
#include "whatif/security/descriptors.h"
#include "whatif/whatif.h"

#include <aclapi.h>
#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <thread>

namespace {

using namespace whatif;

const std::wstring rootsOfThisProcess = L"keswsec-what-if-" + std::to_wstring(GetCurrentProcessId()) + L"-";

std::set<std::wstring> roots()
{
    std::set<std::wstring> found;
    HKEY software = nullptr;
    RegOpenKeyExW(HKEY_CURRENT_USER, L"Software", 0, KEY_READ, &software);
    wchar_t name[256];
    for (DWORD i = 0; RegEnumKeyW(software, i, name, 256) == ERROR_SUCCESS; ++i)
        if (std::wstring(name).rfind(rootsOfThisProcess, 0) == 0)
            found.insert(name);
    RegCloseKey(software);
    return found;
}

TEST(Registry, NodesAndProcessesAreApartAndLeaveNothingBehind)
{
    const std::set<std::wstring> before = roots();
    HKEY key = nullptr; // left by a process that had this one's id
    RegCreateKeyExW(HKEY_CURRENT_USER, (L"Software\\" + rootsOfThisProcess + L"1-1\\NODE").c_str(), 0, nullptr,
                    REG_OPTION_VOLATILE, KEY_READ, nullptr, &key, nullptr);
    RegCloseKey(key);
    EXPECT_EQ(roots().size(), before.size() + 1);
    std::atomic<int> running = 2;
    const auto runOther = [&] {
        const support::Finished other = support::runProgram("--node \"" + support::projectFile("examples/server.ini") +
                                                            "\" CreateSVCEventRegEntry SVCAppKey=a EventMsgFile=b");
        EXPECT_EQ(other.status, 0u) << other.output;
        --running;
    };
    std::thread others[] = {std::thread(runOther), std::thread(runOther)};
    while (running) {
        World world(Base::described);
        Registry& registry = world.registry();
        const Node& local = world.local();
        registry.setValue(local, L"SOFTWARE\\Kestel\\KEY_h1", L"KESTEL_HOME_TYPE", registryText(L"1"));
        EXPECT_EQ(registry.value(local, L"software\\kestel\\key_H1", L"kestel_home_type"), registryText(L"1"));
        EXPECT_FALSE(registry.hasKey(world.add(L"db2"), L"SOFTWARE\\Kestel"));
        EXPECT_FALSE(registry.hasKey(local, L"SOFTWARE\\Microsoft"));
    }
    for (std::thread& other : others)
        other.join();
    EXPECT_EQ(roots(), before);
}

class WhatIfKeys : public support::NodeTest
{
protected:
    WhatIfKeys()
    {
        for (const wchar_t* const name : {L"\\h1", L"\\h2"})
            world.registry().createKey(local, kestel + name);
        local.security[L"registry HKLM\\" + kestel] = L"O:SYD:P(A;;KR;;;BU)"; // passes nothing on
    }

    static LSTATUS open(HKEY root, const std::wstring& path, REGSAM access, HKEY& opened)
    {
        return CALL(RegOpenKeyExW)(root, path.c_str(), 0, access, &opened);
    }

    static LSTATUS create(HKEY root, const std::wstring& path, REGSAM access, HKEY& opened)
    {
        return CALL(RegCreateKeyExW)(root, path.c_str(), 0, nullptr, 0, access, nullptr, &opened, nullptr);
    }

    static LSTATUS security(HKEY of)
    {
        BYTE bytes[1024];
        DWORD size = sizeof bytes;
        return CALL(RegGetKeySecurity)(of, DACL_SECURITY_INFORMATION, bytes, &size);
    }

    // What the key below it is called, or the number of the error.
    static std::wstring below(HKEY parent, DWORD index, DWORD size = 64)
    {
        wchar_t name[64];
        const LSTATUS status = CALL(RegEnumKeyExW)(parent, index, name, &size, nullptr, nullptr, nullptr, nullptr);
        return status ? std::to_wstring(status) : std::wstring(name, size);
    }

    const std::wstring kestel = L"SOFTWARE\\Kestel";
    HKEY key = nullptr;
};

TEST_F(WhatIfKeys, AreOpenedForWhatTheirListsGive)
{
    const struct
    {
        REGSAM access;
        LSTATUS opened, read, written, security;
        const wchar_t* first;
    } cases[] = {
        {KEY_READ, 0, 0, 5, 0, L"h1"},        {KEY_SET_VALUE, 5, 0, 0, 0, nullptr},
        {GENERIC_READ, 0, 0, 5, 0, L"h1"},    {GENERIC_ALL, 5, 0, 0, 0, nullptr},
        {MAXIMUM_ALLOWED, 0, 0, 5, 0, L"h1"}, {MAXIMUM_ALLOWED | KEY_SET_VALUE, 5, 0, 0, 0, nullptr},
        {KEY_QUERY_VALUE, 0, 0, 5, 5, L"5"},  {READ_CONTROL | KEY_ENUMERATE_SUB_KEYS, 0, 5, 5, 0, L"h1"},
    };
    world.registry().setValue(local, kestel, L"v", registryText(L"1"));
    for (const auto& row : cases) {
        SCOPED_TRACE(&row - cases);
        ASSERT_EQ(open(HKEY_LOCAL_MACHINE, kestel, row.access, key), row.opened);
        if (row.opened)
            continue;
        EXPECT_EQ(RegQueryValueExW(key, L"v", nullptr, nullptr, nullptr, nullptr), row.read);
        EXPECT_EQ(CALL(RegSetValueExW)(key, L"v", 0, REG_SZ, nullptr, 0), row.written);
        EXPECT_EQ(security(key), row.security);
        EXPECT_EQ(below(key, 0), row.first);
        EXPECT_EQ(CALL(RegCloseKey)(key), 0);
    }
    EXPECT_EQ(open(HKEY_LOCAL_MACHINE, kestel + L"\\none", KEY_ALL_ACCESS, key), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(create(HKEY_LOCAL_MACHINE, kestel + L"\\new\\er", KEY_READ, key), ERROR_ACCESS_DENIED);
    EXPECT_EQ(create(HKEY_LOCAL_MACHINE, kestel + L"\\h2\\new", KEY_READ, key), 0);
    EXPECT_EQ(plan(), support::Lines{"NODE: registry HKLM\\SOFTWARE\\Kestel\\h2\\new: created"});
}

TEST_F(WhatIfKeys, AreEnumeratedAndGoneWhenTheyAreDeleted)
{
    ASSERT_EQ(open(HKEY_LOCAL_MACHINE, kestel, KEY_ENUMERATE_SUB_KEYS, key), 0);
    EXPECT_EQ(below(key, 0, 2), std::to_wstring(ERROR_MORE_DATA));
    EXPECT_EQ(below(key, 0) + below(key, 1) + below(key, 2), L"h1h2" + std::to_wstring(ERROR_NO_MORE_ITEMS));
    ASSERT_EQ(open(key, L"h1", KEY_ALL_ACCESS, key), 0);
    std::vector<BYTE> list = selfRelative(securityOf(std::wstring(L"D:(A;;GA;;;BU)")), DACL_SECURITY_INFORMATION);
    EXPECT_EQ(CALL(RegSetKeySecurity)(key, DACL_SECURITY_INFORMATION, list.data()), 0);
    EXPECT_EQ(local.security[L"registry HKLM\\" + kestel + L"\\h1"],
              textOf(securityOf(std::wstring(L"D:(A;;KA;;;BU)"))));
    EXPECT_EQ(CALL(RegDeleteKeyW)(HKEY_LOCAL_MACHINE, (kestel + L"\\h1").c_str()), 0);
    EXPECT_EQ(security(key), ERROR_KEY_DELETED);
    EXPECT_EQ(below(key, 0), std::to_wstring(ERROR_KEY_DELETED));
    EXPECT_EQ(local.security.count(L"registry HKLM\\" + kestel + L"\\h1"), 0u); // a new one has nothing of it
}

} // namespace
