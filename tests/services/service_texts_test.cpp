// What services are told by texts: the role that an executable's path names, and lists of dependencies.
#include "services/dependency_list.h"
#include "services/service_key.h"
#include "tests/support/cases.h"
#include "tests/support/guarded_heap.h"

#include <gtest/gtest.h>

using namespace std::string_literals;

namespace {

std::string keyOf(const std::string& binPath, const char* service = "any", size_t size = 512)
{
    std::string key(size + 1, '#');
    EXPECT_EQ(sswseGetServiceKeyFromBinPath(nullptr, binPath.c_str(), service, key.data(), size), SSWSE_SUCCESS);
    EXPECT_EQ(key[size], '#') << "wrote behind the buffer";
    return size ? key.c_str() : "";
}

TEST(ServiceKey, IsTheExecutableOfTheCommandLine)
{
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"C:\\home.1\\bin\\keslsnr", "any", "keslsnr.exe"},
        {"kestel.exe", "KestelVLMService", "kestel.exe-vlm"},
        {"C:\\bin\\kestel.exe", "KESTELMONDBSERVICE1", "kestel.exe-mondb"},
        {"C:\\bin\\kestel.exe", "XKestelVLMService", "kestel.exe"},
        {"C:\\bin\\kestel.exe", "KestelVLMServic", "kestel.exe"},
        {"C:\\bin\\kestel.exe -f C:\\data\\init", "any", "init.exe"},
        {"\"C:\\bin\\kestel.exe\" H1", "any", "kestel.exe\""},
        {"C:\\bin\\", "any", ".exe"},
        {"", "KestelVLMService", ".exe-vlm"},
    };
    for (const auto& [binPath, service, key] : cases)
        EXPECT_EQ(keyOf(binPath, service), key) << binPath << " of " << service;
}

TEST(ServiceKey, StaysWithinItsBuffers)
{
    EXPECT_EQ(keyOf("C:\\bin\\" + std::string(2000, 'k'), "KestelVLMService"), std::string(511, 'k'));
    EXPECT_EQ(keyOf("C:\\" + std::string(505, 'k'), "KestelVLMService"), std::string(505, 'k') + ".exe-v");
    EXPECT_EQ(keyOf("kestel.exe", "any", 8), "kestel.");
    EXPECT_EQ(keyOf("kestel.exe", "any", 1), "");
    EXPECT_EQ(keyOf("kestel.exe", "any", 0), "");
}

constexpr size_t limit = 5120; // characters, terminators included

TEST(DependencyList, IsConvertedUpToItsEmptyName)
{
    const std::pair<std::string, std::wstring> cases[] = {
        {"Tcpip\0Afd\0\0"s, L"Tcpip\0Afd\0\0"s},
        {"\0"s, L"\0"s},
        {"caf\xe9\0\0"s, L"caf\u00e9\0\0"s}, // by the system's code page, not by the "C" locale of this process
        {"\x80ro\0\0"s, L"\u20acro\0\0"s},
        {std::string(limit - 2, 'x') + "\0\0"s, std::wstring(limit - 2, L'x') + L"\0\0"s},
        {std::string(limit, 'x'), L""}, // without an end: not read beyond the limit
        {std::string(limit - 1, 'x') + '\0', L""},
    };
    ASSERT_EQ(GetACP(), 1252u);
    for (const auto& [given, expected] : cases) {
        const guarded::Buffer list(given.data(), given.size());
        sswseErrRec rec = {};
        owned::Heap<wchar_t> wide;
        const bool isRefused = expected.empty();
        EXPECT_EQ(sswseDependenciesToWide({&rec, __func__}, list.data(), wide), isRefused ? 4u : 2u);
        EXPECT_EQ(support::messageOf(rec), isRefused ? "WSE-000012: Null or invalid Dependencies parameter." : "");
        EXPECT_EQ(wide ? std::wstring(wide.get(), expected.size()) : L"", expected);
    }
}

} // namespace
