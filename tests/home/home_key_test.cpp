// The library's own home: key file beside the library, environment, home name.
#include "tests/support/cases.h"
#include "tests/support/home.h"
#include "tests/support/trace_log.h"

#include <gtest/gtest.h>

namespace {

using support::EnvironmentVariable;
using support::messageOf;
using support::RegistryHome;
using support::TemporaryHome;

constexpr char noHome[] = "WSE-000052: Unable to determine Kestel home.";
constexpr size_t untouched = 7777;

struct Answer
{
    DWORD status;
    std::string text; // what the buffer holds behind its fill, up to the NUL
    size_t length;
    std::string message;
};

// Calls a reader with a buffer of `size` bytes and watches the bytes behind it.
template <class Reader>
Answer read(Reader* reader, size_t size)
{
    std::vector<char> buffer(size + 16, '#');
    sswseErrRec rec;
    Answer answer = {0, "", untouched, ""};
    answer.status = reader(&rec, buffer.data(), size, &answer.length);
    EXPECT_EQ(std::string(buffer.end() - 16, buffer.end()), std::string(16, '#')) << "written behind the buffer";
    buffer.back() = '\0';
    if (answer.length != untouched)
        answer.text = buffer.data();
    else
        EXPECT_EQ(buffer[0], '#') << "written without a length";
    answer.message = messageOf(rec);
    return answer;
}

} // namespace

TEST(HomeKey, IsTheLastPartOfTheFirstLine)
{
    const std::string longLine = "SOFTWARE\\" + std::string(600, 'k');
    const struct
    {
        std::string content;
        DWORD status;
        std::string key;
    } rows[] = {
        {"SOFTWARE\\KESTEL\\KEY_h1\r\n", 2, "KEY_h1"},
        {"SOFTWARE\\KESTEL\\KEY_h1", 2, "KEY_h1"},
        {"SOFTWARE\\KESTEL\\KEY_h1\nSOFTWARE\\KESTEL\\KEY_h2\n", 2, "KEY_h1"},
        {std::string("A\\KEY_h1\0\\KEY_h2\r\n", 18), 2, "KEY_h1"},
        {"\\KEY h1 \r\n", 2, "KEY h1 "},
        {"SOFTWARE\\KESTEL\\\r\n", 2, ""},
        {longLine, 2, std::string(511 - 9, 'k')},
        {"KEY_h1\r\n", 3, ""},
        {"\r\nSOFTWARE\\KESTEL\\KEY_h1\r\n", 3, ""},
        {"", 3, ""},
    };
    const TemporaryHome home;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.content);
        home.writeKeyFile(row.content);
        const Answer answer = read(EXPORT_OF(home, sswseGetKestelHomeKey), 600);
        EXPECT_EQ(answer.status, row.status);
        EXPECT_EQ(answer.text, row.key);
        EXPECT_EQ(answer.length, row.status == 2 ? row.key.size() : untouched);
        EXPECT_EQ(answer.message, row.status == 2 ? "" : noHome);
    }
}

TEST(HomeKey, FromTheFileIsCutToTheBuffer)
{
    const TemporaryHome home("SOFTWARE\\KESTEL\\KEY_h1\r\n");
    const auto getHomeKey = EXPORT_OF(home, sswseGetKestelHomeKey);
    for (const auto& [size, key] : {std::pair{7, "KEY_h1"}, {6, "KEY_h"}, {1, ""}}) {
        const Answer answer = read(getHomeKey, static_cast<size_t>(size));
        EXPECT_EQ(answer.status, 2u);
        EXPECT_EQ(answer.text, key);
        EXPECT_EQ(answer.length, strlen(key));
    }
    char nothing = '#';
    EXPECT_EQ(getHomeKey(nullptr, &nothing, 0, nullptr), 2u);
    EXPECT_EQ(nothing, '#');
}

TEST(HomeKey, FromTheEnvironmentMustFitWithItsTerminator)
{
    const TemporaryHome home;
    home.removeKeyFile();
    const std::string longest(258, 'k');
    const std::string tooLong(259, 'k');
    const struct
    {
        const char* value;
        size_t size;
        DWORD status;
        const char* message;
    } rows[] = {
        {"KEY_env", 8, 2, ""},
        {"KEY_env", 7, 3, "WSE-000033: Insufficient output buffer for Kestelhomekey."},
        {"KEY_env", 0, 3, "WSE-000033: Insufficient output buffer for Kestelhomekey."},
        {longest.c_str(), 500, 2, ""},
        {tooLong.c_str(), 500, 3, "WSE-000033: Insufficient output buffer for Kestelhomekey."},
        {nullptr, 8, 3, noHome},
        {"", 8, 3, noHome},
    };
    for (const auto& row : rows) {
        const EnvironmentVariable variable("KESTEL_HOME_KEY", row.value);
        const Answer answer = read(EXPORT_OF(home, sswseGetKestelHomeKey), row.size);
        EXPECT_EQ(answer.status, row.status) << row.size;
        EXPECT_EQ(answer.message, row.message);
        EXPECT_EQ(answer.text, row.status == 2 ? row.value : "");
        EXPECT_EQ(answer.length, row.status == 2 ? strlen(row.value) : untouched);
    }
}

TEST(HomeName, IsReadBelowTheHomeKey)
{
    const TemporaryHome home;
    const auto getHomeName = EXPORT_OF(home, sswseGetKestelHomeName);
    EXPECT_EQ(read(getHomeName, 16).status, 6u);

    const RegistryHome registry;
    EXPECT_EQ(read(getHomeName, 16).message, "WSE-000048: Unable to query value for KESTEL_HOME_NAME in registry.");

    registry.set("KESTEL_HOME_NAME", std::string("h1", 3));
    const Answer fits = read(getHomeName, 4);
    EXPECT_EQ(fits.status, 2u);
    EXPECT_EQ(fits.text, "h1");
    EXPECT_EQ(fits.length, 2u);
    const Answer tooSmall = read(getHomeName, 3);
    EXPECT_EQ(tooSmall.status, 3u);
    EXPECT_EQ(tooSmall.message, "WSE-000033: Insufficient output buffer for Kestelhomename.");
}

// A name from the environment is a success that keeps the home key's failure in the record.
TEST(HomeName, FromTheEnvironmentWithoutAHomeKey)
{
    const TemporaryHome home;
    home.removeKeyFile();
    const auto getHomeName = EXPORT_OF(home, sswseGetKestelHomeName);
    EXPECT_EQ(read(getHomeName, 16).status, 3u);

    const EnvironmentVariable variable("KESTEL_HOME_NAME", "h_env");
    const Answer answer = read(getHomeName, 6);
    EXPECT_EQ(answer.status, 2u);
    EXPECT_EQ(answer.text, "h_env");
    EXPECT_EQ(answer.length, 5u);
    EXPECT_EQ(answer.message, noHome);
    EXPECT_EQ(read(getHomeName, 5).message, "WSE-000033: Insufficient output buffer for Kestelhomename.");
}

TEST(HomeKey, FindsTheServiceUserOfTheOwnHome)
{
    const TemporaryHome home;
    const RegistryHome registry;
    registry.setWide("KESTEL_SVCUSER", std::wstring(L"svc_1", 6));
    char user[6] = {};
    size_t length = 0;
    sswseErrRec rec;
    EXPECT_EQ(EXPORT_OF(home, sswseGetUnameForKhome)(&rec, user, 6, &length, ""), 2u);
    EXPECT_STREQ(user, "svc_1");
    EXPECT_EQ(length, 6u);
    EXPECT_EQ(EXPORT_OF(home, sswseGetUnameForKhome)(&rec, user, 5, &length, nullptr), 3u);
    EXPECT_EQ(messageOf(rec), "WSE-000033: Insufficient output buffer for username.");

    home.writeKeyFile("A\\" + std::string(496, 'k')); // one more than there is room for behind "software\Kestel\"
    EXPECT_EQ(EXPORT_OF(home, sswseGetUnameForKhome)(&rec, user, 6, &length, nullptr), 3u);
    EXPECT_EQ(messageOf(rec), "WSE-000053: Windows application programming interface (API) strcat_s failed.");
    EXPECT_STREQ(rec.oserror, "34");
}

TEST(ServiceUser, TraceLinesAreWrittenAsTheyAre)
{
    const TemporaryHome home;
    support::TraceLog log;
    EXPECT_EQ(EXPORT_OF(home, sswseTraceOn)(nullptr, &support::TraceLog::receive, &log, 0), 1u);
    EXPORT_OF(home, sswseSetUnameForKhome)(nullptr, nullptr, "n", "KEY");
    EXPORT_OF(home, sswseIsSvcUserVirtualAccount)(nullptr, nullptr, "n");
    EXPORT_OF(home, sswseTraceOff)(nullptr);
    const std::vector<std::string> lines = log.take();
    ASSERT_GE(lines.size(), 7u);
    EXPECT_EQ(lines[1], "uname=(null)\nnodename=n\nkhomekeyKEY");
    EXPECT_EQ(lines[6], "KhomePath=(null) \n nodename=n");
}
