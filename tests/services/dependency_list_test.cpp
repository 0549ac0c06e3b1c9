#include "services/dependency_list.h"
#include "tests/support/cases.h"
#include "tests/support/guarded_heap.h"

#include <gtest/gtest.h>

#include <string>

using namespace std::string_literals;

namespace {

constexpr size_t limit = 5120; // characters, terminators included

struct Converted
{
    DWORD status;
    std::wstring list; // up to its end
    std::string message;
};

Converted convert(const char* list, size_t expectedLength)
{
    sswseErrRec rec = {};
    owned::Heap<wchar_t> wide;
    Converted result;
    result.status = sswseDependenciesToWide({&rec, __func__}, list, wide);
    if (wide)
        result.list.assign(wide.get(), expectedLength);
    result.message = support::messageOf(rec);
    return result;
}

TEST(DependencyList, IsConvertedUpToItsEmptyName)
{
    struct
    {
        std::string list;
        std::wstring wide;
    } const cases[] = {
        {"Tcpip\0Afd\0\0"s, L"Tcpip\0Afd\0\0"s},
        {"+Group\0\0"s, L"+Group\0\0"s},
        {"\0"s, L"\0"s},
        {"caf\xe9\0\0"s, L"caf\u00e9\0\0"s}, // by the system's code page, not by the "C" locale of this process
        {"\x80ro\0\0"s, L"\u20acro\0\0"s},
        {std::string(limit - 2, 'x') + "\0\0"s, std::wstring(limit - 2, L'x') + L"\0\0"s},
    };
    ASSERT_EQ(GetACP(), 1252u);
    for (const auto& each : cases) {
        const guarded::Buffer list(each.list.data(), each.list.size());
        const Converted converted = convert(list.data(), each.wide.size());
        EXPECT_EQ(converted.status, SSWSE_SUCCESS) << each.list;
        EXPECT_EQ(converted.list, each.wide) << each.list;
        EXPECT_EQ(converted.message, "");
    }
    EXPECT_EQ(convert(nullptr, 0).status, SSWSE_SUCCESS);
}

TEST(DependencyList, WithoutAnEndIsRefusedAndNotReadBeyondTheLimit)
{
    const std::string lists[] = {std::string(limit, 'x'), std::string(limit - 1, 'x') + '\0'};
    for (const std::string& each : lists) {
        const guarded::Buffer list(each.data(), each.size());
        const Converted converted = convert(list.data(), 0);
        EXPECT_EQ(converted.status, SSWSE_INVALID_ARGUMENT);
        EXPECT_EQ(converted.message, "WSE-000012: Null or invalid Dependencies parameter.");
    }
}

} // namespace
