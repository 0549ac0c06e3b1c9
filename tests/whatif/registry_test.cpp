#include "tests/support/home.h"
#include "tests/support/program.h"
#include "whatif/registry.h"
#include "whatif/whatif.h"

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

TEST(RegistryValues, TextIsExactBothWays)
{
    const struct
    {
        RegistryValue value;
        const wchar_t* text;
    } cases[] = {
        {registryText(L"1"), L"1"},
        {registryText(L""), L""},
        {registryText(L"%SystemRoot%\\x.dll", REG_EXPAND_SZ), L"expand:%SystemRoot%\\x.dll"},
        {registryNumber(7), L"dword:7"},
        {registryText(L"dword:7"), L"hex(1):64,00,77,00,6f,00,72,00,64,00,3a,00,37,00,00,00"},
        {{REG_SZ, {'1', 0}}, L"hex(1):31,00"}, // unterminated
        {{REG_SZ, {'1'}}, L"hex(1):31"},
        {{REG_DWORD, {1, 2}}, L"hex(4):01,02"},
        {{REG_BINARY, {}}, L"hex(3):"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(textOf(row.value), row.text);
        EXPECT_EQ(registryValueOf(row.text), row.value);
    }
    for (const wchar_t* const wrong : {L"dword:", L"dword:x", L"hex(3", L"hex(3):zz", L"hex():"})
        EXPECT_THROW(registryValueOf(wrong), std::runtime_error) << testing::PrintToString(std::wstring(wrong));
}

TEST(Registry, NodesAreApartAndLeaveNothingBehind)
{
    const std::set<std::wstring> before = roots();
    {
        World world(Base::described);
        Registry& registry = world.registry();
        const Node& local = world.local();
        registry.setValue(local, L"SOFTWARE\\Kestel\\KEY_h1", L"KESTEL_HOME_TYPE", registryText(L"1"));
        EXPECT_EQ(registry.value(local, L"software\\kestel\\key_H1", L"kestel_home_type"), registryText(L"1"));
        EXPECT_FALSE(registry.hasKey(world.add(L"db2"), L"SOFTWARE\\Kestel"));
        EXPECT_FALSE(registry.hasKey(local, L"SOFTWARE\\Microsoft"));
    }
    EXPECT_EQ(roots(), before);
}

TEST(Registry, ProcessesDoNotMeet)
{
    HKEY key = nullptr; // left by a process that had this one's id
    RegCreateKeyExW(HKEY_CURRENT_USER, (L"Software\\" + rootsOfThisProcess + L"1-1\\NODE").c_str(), 0, nullptr,
                    REG_OPTION_VOLATILE, KEY_READ, nullptr, &key, nullptr);
    RegCloseKey(key);
    EXPECT_EQ(roots().count(rootsOfThisProcess + L"1-1"), 1u);
    std::atomic<int> running = 2;
    const auto runOther = [&] {
        const support::Finished other = support::runProgram(
            "--node " KESWSEC_SOURCE_DIR "/examples/server.ini CreateSVCEventRegEntry SVCAppKey=a EventMsgFile=b");
        EXPECT_EQ(other.status, 0u) << other.output;
        --running;
    };
    std::thread others[] = {std::thread(runOther), std::thread(runOther)};
    while (running) {
        World world(Base::described);
        world.registry().createKey(world.local(), L"SOFTWARE\\Kestel");
        EXPECT_TRUE(world.registry().hasKey(world.local(), L"SOFTWARE\\Kestel"));
    }
    for (std::thread& other : others)
        other.join();
    EXPECT_EQ(roots().count(rootsOfThisProcess + L"1-1"), 0u);
}

TEST(Registry, WhatIsWrittenOrDeletedOfThisMachineIsSoInTheNodeOnly)
{
    const support::RegistryHome real;
    real.set("value", "real");
    World world(Base::thisMachine);
    Registry& registry = world.registry();
    Node& node = world.local();
    const std::wstring parent = L"SOFTWARE\\Kestel";
    const std::wstring path = parent + L"\\KEY_keswsec_test";
    EXPECT_TRUE(registry.value(node, path, L"VALUE"));
    registry.setValue(node, path, L"value", registryText(L"node"));
    EXPECT_EQ(registry.value(node, path, L"value"), registryText(L"node"));

    EXPECT_EQ(registry.remove({&node, parent}), ERROR_ACCESS_DENIED); // it has a subkey
    EXPECT_EQ(registry.remove({&node, path}), ERROR_SUCCESS);
    EXPECT_FALSE(registry.hasKey(node, path));
    EXPECT_EQ(registry.remove({&node, path}), ERROR_FILE_NOT_FOUND);
    std::vector<std::wstring> created;
    HKEY key = nullptr;
    ASSERT_EQ(registry.create({&node, path}, KEY_READ, L"", key, created), ERROR_SUCCESS);
    RegCloseKey(key);
    EXPECT_EQ(created, std::vector<std::wstring>{path});
    EXPECT_FALSE(registry.value(node, path, L"value")); // new, not the old one
    EXPECT_EQ(registry.remove({&node, path}), ERROR_SUCCESS);
    EXPECT_EQ(registry.remove({&node, parent}), ERROR_SUCCESS); // its subkey is gone
    EXPECT_EQ(real.get("value"), "real");
}

} // namespace
