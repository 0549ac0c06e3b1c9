// The file of a journal: what is no journal, what cannot be written, who can read it; a walk that is interrupted; more
// records than are kept in memory.
#include "tests/journal/on_journal.h"

#include "journal/sorter.h"
#include "tests/support/subject.h"
#include "whatif/security/descriptors.h"

#include <fstream>

using support::JournalTest;
using support::replaced;
using support::Told;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

// What the session throws, on one line.
std::string refusalOf(const std::function<void()>& session)
{
    try {
        session();
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos);
        return error.what();
    }
    return "nothing";
}

decltype(CompareStringOrdinal)* realCompare;

int WINAPI noMemory(LPCWCH a, int aSize, LPCWCH b, int bSize, BOOL ignoreCase)
{
    if (std::wstring(a) == L"KES_NEW" || std::wstring(b) == L"KES_NEW")
        throw std::bad_alloc();
    return realCompare(a, aSize, b, bSize, ignoreCase);
}

const std::vector<std::string> calls = {"CreateOSGroup groupname=KES_NEW"};

decltype(WriteFile)* realWriteFile;
size_t writable; // bytes, before the disk is full

BOOL WINAPI writeFile(HANDLE file, LPCVOID bytes, DWORD size, LPDWORD written, LPOVERLAPPED overlapped)
{
    const auto part = static_cast<DWORD>(std::min<size_t>(size, writable));
    writable -= part;
    if (!realWriteFile(file, bytes, part, written, overlapped) || part == size)
        return part == size;
    SetLastError(ERROR_DISK_FULL);
    return FALSE;
}

} // namespace

TEST_F(JournalTest, WhatIsNoJournalOfThisMachineIsRefused)
{
    ASSERT_TRUE(play(calls, "node", "after").isGood);
    const std::string good = contents("journal");
    const std::string call = "{\"call\":1,";
    const struct
    {
        std::string bytes;
        const char* message;
        bool isAppended; // where the rest of the file is not looked at
    } cases[] = {
        {"# a script\n", "is no journal of keswsec", false},
        {"{\"call\":1}\n", "is no journal of keswsec", false},
        {replaced(good, "\"version\":1", "\"version\":2"), "was written by a later version (2)", false},
        {replaced(good, "NODE", "SRV9"), "is a journal of SRV9 (S-1-5-21-1-2-3), not of NODE (", false},
        {replaced(good, "-1-2-3", "-9-9-9"), "is a journal of NODE (S-1-5-21-9-9-9), not of NODE (", false},
        {replaced(good, "\"S-1-5-21-1-2-3\"", "\"\""), "is a journal of NODE, not of NODE (S-1-5-21-1-2-3)", false},
        {replaced(good, "\"kind\":\"group\"", "\"kind\":\"security\""), "is damaged", true},
        {replaced(good, call, "{\"call\":1;"), "is damaged in line 2", true},
        {replaced(good, "\t{\"kind\"", "\t[\"kind\""), "is damaged", true},
        {replaced(good, "\"group\"", "\"gruop\""), "is damaged", true},
        {good + good.substr(good.find(call), 40) + "\n" + good.substr(good.find(call)), "is damaged in line 4", true},
    };
    for (const auto& row : cases) {
        write("bad", row.bytes);
        EXPECT_THAT(refusalOf([&] { verify("after", "bad"); }), HasSubstr(row.message));
        EXPECT_THAT(refusalOf([&] { undo("after", "back", "bad", "none"); }), HasSubstr(row.message));
        EXPECT_EQ(contents("none"), "");
        if (!row.isAppended) {
            EXPECT_THAT(refusalOf([&] { play(calls, "node", "back", "bad"); }), HasSubstr(row.message));
        }
        EXPECT_EQ(contents("bad"), row.bytes);
        EXPECT_EQ(contents("back"), "") << "nothing is changed";
    }
    EXPECT_THAT(refusalOf([&] { verify("after", "nosuch"); }), HasSubstr("nosuch: cannot be read"));
    EXPECT_THAT(refusalOf([&] { play(calls, "node", "back", "C"); }), HasSubstr("C: cannot be written, error 5"));
    EXPECT_THAT(refusalOf([&] { play(calls, "node", "back", "NUL"); }),
                HasSubstr("NUL: cannot be written, error 1200"));
    EXPECT_THAT(refusalOf([&] {
                    support::run({"--undo", path("bad"), "--journal", path("bad")});
                }),
                HasSubstr("the journal of an undo is another one"));
    write("bad", good + "{\"call\":1,\"changes\":[\t{\"kind\":\"]}\n" + good);
    EXPECT_TRUE(verify("after", "bad").isGood) << "a line that is not whole may look so";
    write("bad", cases[3].bytes);
    for (const char* const option : {"--verify", "--undo"})
        EXPECT_TRUE(
            support::run({"--node", path("after"), "--save", path("back"), "--force", option, path("bad")}).isGood);
    expectSame("node", "back");
}

TEST_F(JournalTest, ACallIsNotMadeWhenItsLineCannotBeWritten)
{
    whatif::Imports own(GetModuleHandleW(nullptr));
    writable = static_cast<size_t>(-1);
    realWriteFile =
        reinterpret_cast<decltype(WriteFile)*>(own.redirect("WriteFile", reinterpret_cast<void*>(writeFile)));
    ASSERT_TRUE(play(calls, "node", "after").isGood);
    const std::string good = contents("journal");
    size_t made = 0;
    for (const size_t room : {0, 60, 200}) { // for the line that begins the session, and a part of the call's
        writable = room;
        const auto again = [&] {
            play({"CreateOSGroup groupname=KES_MORE"}, "after", "none", "journal",
                 [&](whatif::World& world) { world.watch([&](const whatif::Change&) { ++made; }); });
        };
        EXPECT_THAT(refusalOf(again), HasSubstr("journal: cannot be written, error 112"));
        const std::string left = contents("journal");
        EXPECT_EQ(left.compare(0, good.size(), good), 0);
        EXPECT_EQ(left.back(), '\n') << "no part of the line is left";
        EXPECT_THAT(left.substr(good.size()), Not(HasSubstr("\"call\"")));
    }
    EXPECT_EQ(made, 0U);
    writable = good.find("{\"done\"") + 20;
    EXPECT_THAT(refusalOf([&] { play({"CreateOSGroup groupname=KES_MORE"}, "after", "none"); }),
                HasSubstr("error 112: the call has been made"));
    writable = static_cast<size_t>(-1);
    realCompare = reinterpret_cast<decltype(CompareStringOrdinal)*>(
        own.redirect("CompareStringOrdinal", reinterpret_cast<void*>(noMemory)));
    EXPECT_THAT(refusalOf([&] { play(calls, "node", "none", "unplayed"); }),
                HasSubstr("to play it: the call is not made"));
    EXPECT_THAT(contents("unplayed"), Not(HasSubstr("\"call\"")));
}

TEST_F(JournalTest, IsForItsOwnerAndAdministrators)
{
    play(calls, "node", "after");
    std::vector<BYTE> bytes(4096);
    DWORD size = 4096;
    ASSERT_TRUE(GetFileSecurityA(path("journal").c_str(), DACL_SECURITY_INFORMATION, bytes.data(), size, &size));
    const std::wstring list = whatif::textOf(whatif::securityOf(static_cast<PSECURITY_DESCRIPTOR>(bytes.data())));
    EXPECT_EQ(list.find(L";;;WD)"), std::wstring::npos) << "others";
}

TEST_F(JournalTest, AWalkIsShownAndEndsBetweenTwoObjects)
{
    size_t made = 0;
    std::vector<std::string> shown;
    const auto tree = "AddACLOnObjectForUser wtype=1 path=\\\\NODE\\C$\\tree usernames=Everyone ptype=1 inheritable=1";
    const Told told = play(
        {tree, "CreateOSGroup groupname=KES_NEW"}, "node", "after", "journal",
        [&](whatif::World& world) {
            world.watch([&](const whatif::Change&) {
                Sleep(110);
                if (++made == 2)
                    cli::interrupt();
            });
        },
        [&](const std::string& text) { shown.push_back(text); });
    cli::interrupt(false);
    EXPECT_FALSE(told.isGood);
    EXPECT_EQ(made, 2U);
    EXPECT_THAT(told.output, AllOf(HasSubstr("stopped    2 changes made, 2 not made"), Not(HasSubstr("KES_NEW"))));
    ASSERT_GE(shown.size(), 2U);
    EXPECT_THAT(shown[0], testing::StartsWith("\r2 objects, "));
    EXPECT_EQ(shown.back(), "\r" + std::string(shown[shown.size() - 2].size() - 1, ' ') + "\r") << "taken away again";
    EXPECT_TRUE(verify("after").isGood);
    EXPECT_TRUE(undo("after", "back").isGood);
    expectSame("node", "back");
    write("script", tree);
    const Told plain = support::run({"--node", path("node"), "--script", path("script")}, [&](whatif::World& world) {
        world.watch([&](const whatif::Change&) { cli::interrupt(++made == 4); });
    });
    EXPECT_THAT(plain.output, HasSubstr("stopped    2 objects done\n"));
    cli::interrupt(false);

    size_t lines = 0;
    cli::Progress progress([&](const std::string&) { ++lines; });
    progress.begin();
    const ULONGLONG begin = GetTickCount64();
    while (GetTickCount64() - begin < 350)
        progress.count();
    EXPECT_LE(lines, 3U) << "ten a second";

    cli::interrupt(); // the keys that a walk comes to, and none of the others
    const cli::PassingBy passing(GetModuleHandleW(nullptr), progress);
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE", REG_OPTION_OPEN_LINK, KEY_READ, &key), ERROR_CANCELLED);
    EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE", 0, KEY_READ, &key), ERROR_SUCCESS);
    wchar_t name[MAX_PATH];
    DWORD size = MAX_PATH;
    WIN32_FIND_DATAW entry;
    EXPECT_EQ(RegEnumKeyExW(key, 0, name, &size, nullptr, nullptr, nullptr, nullptr), ERROR_NO_MORE_ITEMS);
    EXPECT_EQ(FindFirstFileW(L"C:\\*", &entry), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    RegCloseKey(key);
    cli::interrupt(false);
}

// More than are kept in memory.
TEST(Spilled, RecordsAndTextsAreAllThereAndInOrder)
{
    constexpr unsigned count = 30000;
    const auto theirs = [](int number) { // what somebody else has put where a file is to be
        return std::filesystem::temp_directory_path() /
               ("keswsec-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(number) + ".tmp");
    };
    for (int i = 1; i < 50; ++i)
        std::ofstream(theirs(i)) << "theirs";
    journal::Sorter<unsigned, bool (*)(const unsigned&, const unsigned&)> sorter(
        [](const unsigned& a, const unsigned& b) { return a < b; });
    journal::Sorter<double, bool (*)(const double&, const double&)> other( // with a file of its own
        [](const double& a, const double& b) { return a > b; });
    whatif::Texts texts;
    for (unsigned i = 0; i < count; ++i) {
        const unsigned number = i * 7919 % count; // every one once
        sorter.add(number);
        other.add(number);
        texts[L"Name" + std::to_wstring(number)] = std::to_wstring(number + 1);
    }
    for (unsigned i = 0; i < count; i += 10)
        texts[L"nAME" + std::to_wstring(i)] = L"new";
    texts.erase(L"name7");
    whatif::Texts copy = texts;
    texts[L"name1"] = L"not in the copy";
    EXPECT_EQ(copy.find(L"NAME7"), nullptr);
    EXPECT_EQ(texts.all().size(), count - 1);
    copy[L"name7"] = L"8";
    unsigned number = 0;
    for (unsigned i = 0; i < count; ++i) {
        ASSERT_TRUE(sorter.next(number));
        ASSERT_EQ(number, i);
        double otherNumber = 0;
        ASSERT_TRUE(other.next(otherNumber) && otherNumber == count - 1 - i);
        const std::wstring* const text = copy.find(L"name" + std::to_wstring(i));
        ASSERT_NE(text, nullptr);
        ASSERT_TRUE(i % 10 ? std::stoul(*text) == i + 1 : *text == L"new");
    }
    EXPECT_FALSE(sorter.next(number));
    EXPECT_EQ(copy.find(L"name" + std::to_wstring(count)), nullptr);
    for (int i = 1; i < 50; ++i) {
        EXPECT_EQ(support::contentsOf(theirs(i)), "theirs");
        std::filesystem::remove(theirs(i));
    }
}
