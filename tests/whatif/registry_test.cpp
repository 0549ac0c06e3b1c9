#include "tests/support/program.h"
#include "tests/support/scratch_directory.h"
#include "whatif/model/registry.h"
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

} // namespace
