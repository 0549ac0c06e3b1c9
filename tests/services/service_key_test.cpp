#include "services/role_table.h"
#include "services/service_key.h"
#include "tests/support/cases.h"

#include <gtest/gtest.h>

namespace {

std::string keyOf(const char* binPath, const char* service, size_t size = 512)
{
    sswseErrRec rec;
    std::string key(size + 1, '#');
    EXPECT_EQ(sswseGetServiceKeyFromBinPath(&rec, binPath, service, key.data(), size), SSWSE_SUCCESS);
    EXPECT_EQ(key[size], '#') << "wrote behind the buffer";
    return key.c_str();
}

TEST(ServiceKey, IsTheExecutableOfTheCommandLine)
{
    struct
    {
        const char* binPath;
        const char* service;
        const char* key;
    } const cases[] = {
        {"C:\\home1\\bin\\kestel.exe H1", "KestelServiceH1", "kestel.exe"},
        {"kestel.exe", "any", "kestel.exe"},
        {"C:\\home.1\\bin\\keslsnr", "any", "keslsnr.exe"},
        {"C:\\bin\\KESTEL.EXE", "any", "KESTEL.EXE"},
        {"C:\\bin\\kestel.exe", "KestelVLMService", "kestel.exe-vlm"},
        {"C:\\bin\\kestel", "kestelvlmserviceH1", "kestel.exe-vlm"},
        {"C:\\bin\\kestel.exe", "KESTELMONDBSERVICE1", "kestel.exe-mondb"},
        {"C:\\bin\\kestel.exe", "XKestelVLMService", "kestel.exe"},
        {"C:\\bin\\kestel.exe", "KestelVLMServic", "kestel.exe"},
        {"C:\\bin\\kestel.exe -f C:\\data\\init", "any", "init.exe"},
        {"\"C:\\bin\\kestel.exe\" H1", "any", "kestel.exe\""},
        {"C:\\bin\\", "any", ".exe"},
        {"", "KestelVLMService", ".exe-vlm"},
    };
    for (const auto& each : cases)
        EXPECT_EQ(keyOf(each.binPath, each.service), each.key) << each.binPath << " of " << each.service;
}

TEST(ServiceKey, StaysWithinItsBuffers)
{
    const std::string longName = "C:\\bin\\" + std::string(2000, 'k');
    EXPECT_EQ(keyOf(longName.c_str(), "KestelVLMService"), std::string(511, 'k'));
    EXPECT_EQ(keyOf(("C:\\" + std::string(505, 'k')).c_str(), "KestelVLMService"), std::string(505, 'k') + ".exe-v");
    EXPECT_EQ(keyOf("kestel.exe", "any", 8), "kestel.");
    EXPECT_EQ(keyOf("kestel.exe", "any", 1), "");

    char untouched = '#';
    EXPECT_EQ(sswseGetServiceKeyFromBinPath(nullptr, "kestel.exe", "any", &untouched, 0), SSWSE_SUCCESS);
    EXPECT_EQ(untouched, '#');
}

TEST(ServiceKey, NeedsBothTexts)
{
    const auto key = [](const char* path) {
        return support::calling(sswseGetServiceKeyFromBinPath, path, nullptr, nullptr, size_t{9});
    };
    support::expectRefused("Service Binary Path", {key(nullptr)}, SSWSE_FAILURE);
    support::expectRefused("Service Name", {key("k.exe")}, SSWSE_FAILURE);
}

TEST(RoleTable, FindsTheRowOfAKey)
{
    struct
    {
        const char* khtype;
        const char* key;
        int index;
    } const cases[] = {
        {"0", "kestel.exe-vlm", 0},           {"0", "Keslsnr.Exe", 1},          {"1", "KESTEL.EXE", 0},
        {"1", "kestel", sswseNoRole},         {"1", "", sswseNoRole},           {"2", "schedsu.exe", 1},
        {"01", "kestel.exe", sswseNoRole},    {"3", "kestel.exe", sswseNoRole}, {"", "kestel.exe", sswseNoRole},
        {nullptr, "kestel.exe", sswseNoRole}, {"1", nullptr, sswseNoRole},
    };
    for (const auto& each : cases) {
        sswseErrRec rec;
        int index = sswseNoRole;
        const DWORD expected = each.index == sswseNoRole ? SSWSE_FAILURE : SSWSE_SUCCESS;
        EXPECT_EQ(sswseGetServiceIndex(&rec, each.key, each.khtype, &index), expected);
        EXPECT_EQ(index, each.index) << (each.khtype ? each.khtype : "NULL") << (each.key ? each.key : "NULL");
        EXPECT_STREQ(rec.message, "") << "a miss is no error";
    }
}

TEST(RoleTable, GivesNothingToAServiceWithoutARow)
{
    const sswseRoleTable* const table = sswseRoleTableOf("1");
    ASSERT_TRUE(table);
    const auto fail = [](const char*) -> DWORD { return SSWSE_FAILURE; };
    for (const int index : {sswseNoRole, table->count, 1000}) {
        const sswseServiceRole& role = sswseRoleAt(*table, index);
        EXPECT_EQ(sswseForEachName(role.groups, fail), SSWSE_SUCCESS);
        EXPECT_EQ(sswseForEachName(role.privileges, fail), SSWSE_SUCCESS);
        EXPECT_EQ(sswseForEachName(role.vagroups, fail), SSWSE_SUCCESS);
    }
}

TEST(RoleTable, WalksPastEmptySlotsUntilAStepFails)
{
    const sswseNameSlots<5> slots = {"a", nullptr, "b", "c", nullptr};
    std::string seen;
    const auto until = [&](const char* last) {
        seen.clear();
        return sswseForEachName(slots, [&](const char* name) -> DWORD {
            seen += name;
            return seen == last ? SSWSE_INVALID_ARGUMENT : SSWSE_SUCCESS;
        });
    };
    EXPECT_EQ(until("none"), SSWSE_SUCCESS);
    EXPECT_EQ(seen, "abc");
    EXPECT_EQ(until("ab"), SSWSE_FAILURE);
    EXPECT_EQ(seen, "ab");
}

} // namespace
