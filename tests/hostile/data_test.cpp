// What the library reads: key file, registry, service configurations, groups, rights and security, as nothing, in
// thousands, and in sizes that are wrong; and the lists and SIDs of the caller.
#include "tests/hostile/subject.h"
#include "tests/support/guarded_heap.h"
#include "whatif/descriptors.h"
#include "whatif/sids.h"

#include <gtest/gtest.h>

namespace hostile {

namespace {

constexpr size_t thousands = 2000;
constexpr size_t mostEntries = (0xFFFF - sizeof(ACL)) / 20; // of the shortest SIDs in one list

std::string heldDescriptor; // what every file and service has

template <class Object>
BOOL WINAPI handOut(Object, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR buffer, DWORD size, DWORD* needed)
{
    *needed = static_cast<DWORD>(heldDescriptor.size());
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return size >= *needed && memcpy(buffer, heldDescriptor.data(), *needed);
}

std::string descriptorOf(const std::wstring& sddl)
{
    const std::vector<BYTE> bytes = whatif::selfRelative(whatif::securityOf(sddl), DACL_SECURITY_INFORMATION);
    return {bytes.begin(), bytes.end()};
}

// Calls `use(changed)` with each byte in turn changed to each of some values.
template <class Use>
void withEachByteChanged(const std::string& bytes, Use use)
{
    for (size_t at = 0; at < bytes.size(); ++at)
        for (const char value : {'\x00', '\x07', '\x10', '\xFF'}) {
            std::string changed = bytes;
            changed[at] = value;
            use(changed);
        }
}

std::wstring sid(size_t i)
{
    return L"S-1-5-21-1-2-3-" + std::to_wstring(10000 + i);
}

struct HostileData : testing::Test
{
    Subject subject;
};

TEST_F(HostileData, KeyFiles)
{
    std::string binary;
    for (int i = 0; i < 4 * 256; ++i)
        binary += static_cast<char>(i * 7);
    const std::string usual = "SOFTWARE\\KESTEL\\KEY_keswsec_test"; // without a line end
    const std::string section = "SOFTWARE\\";                       // 9 characters
    const std::string files[] = {"",
                                 "\r\n",
                                 usual,
                                 usual + "\x81",
                                 std::string(1, '\0') + usual,
                                 usual + std::string(600, '\0'),
                                 section + "KESTEL\\",
                                 std::string(511, 'x'),
                                 section + std::string(502, 'x'),
                                 section + std::string(503, 'x'),
                                 section + std::string(501, 'x') + "\x81",
                                 std::string(512, '\\'),
                                 std::string(70000, '\\'),
                                 binary};
    const Functions readers = subject.functionsThatCall({"ReadFile"});
    EXPECT_GE(readers.size(), 12u);
    for (const UINT codePage : {0, 932})
        for (size_t row = 0; row < std::size(files); ++row) {
            subject.setCodePage(codePage);
            subject.home.writeKeyFile(files[row]);
            subject.runAll(readers, "key file, row " + std::to_string(row));
        }
}

TEST_F(HostileData, RegistryValues)
{
    const std::pair<size_t, wchar_t> texts[] = {{0, L'x'},          {1, L'1'},     {2, L'\0'},     {254, L'x'},
                                                {255, L'x'},        {510, L'x'},   {511, L'\xE9'}, {512, L'\xD800'},
                                                {16381, L'\x4E2D'}, {16383, L'x'}, {32500, L'x'},  {40, L'%'}};
    const Functions readers = subject.functionsThatCall({"RegQueryValueExA", "RegQueryValueExW"});
    EXPECT_GE(readers.size(), 12u);
    for (const wchar_t* const name : {L"KESTEL_HOME_NAME", L"KESTEL_HOME_TYPE", L"KESTEL_SVCUSER",
                                      L"KESTEL_SVCUSER_TYPE", L"KESTEL_SVCUSER_PWDREQ"}) {
        for (DWORD type = REG_NONE; type <= REG_QWORD + 1; ++type)
            for (const auto& [length, letter] : texts)
                for (size_t odd = 0; odd < 2; ++odd) {
                    if (type != REG_SZ && (length != 1 || odd))
                        continue;                                // the type is not looked at
                    const std::wstring text(length + 1, letter); // unterminated
                    whatif::RegistryValue value = {type, std::vector<BYTE>(length * sizeof(wchar_t) + odd)};
                    memcpy(value.data.data(), text.data(), value.data.size());
                    subject.setValue(name, value);
                    subject.runAll(readers, "value of type " + std::to_string(type) + " and length " +
                                                std::to_string(value.data.size()));
                }
        subject.restore();
    }
}

TEST_F(HostileData, ServiceConfigurations)
{
    const Functions readers = subject.functionsThatCall({"OpenServiceW"});
    Call query = subject.ordinary(*cli::findFunction("GetSvcUserForService"));
    for (const DWORD length : {0, 1, 510, 511, 512, 70000})
        for (const size_t dependencies : {size_t{0}, thousands}) {
            whatif::Service& service = subject.local.services.front();
            service.account = std::wstring(length, L'a');
            service.binaryPath = service.displayName = std::wstring(length, L'\\');
            service.dependencies.assign(dependencies, L"RpcSs");
            const std::string what = "an account of " + std::to_string(length);
            subject.runAll(readers, what);
            query.values[1].number = length + 1;
            const bool fits = length < 1000 && dependencies == 0; // into the 8 KB that may be asked for
            EXPECT_EQ(subject.run(query, what).status, DWORD{fits ? SSWSE_SUCCESS : SSWSE_FAILURE});
            if (fits) {
                EXPECT_EQ(subject.run(query, what).outputs.at("username"), std::string(length, 'a'));
            }
            query.values[1].number = length;
            EXPECT_EQ(subject.run(query, what).status, DWORD{SSWSE_FAILURE});
        }
}

TEST_F(HostileData, GroupsAndRights)
{
    const Functions readers = subject.functionsThatCall(
        {"NetUserGetLocalGroups", "NetLocalGroupGetMembers", "LsaEnumerateAccountsWithUserRight"});
    EXPECT_GE(readers.size(), 4u);
    whatif::Node& node = subject.local;
    node.groups.front().members.clear();
    node.rights.clear();
    subject.runAll(readers, "nothing");
    for (size_t i = 0; i < thousands; ++i) {
        node.groups.front().members.push_back(sid(i));
        node.rights[L"SeServiceLogonRight"].push_back(sid(i));
    }
    subject.runAll(readers, "thousands of members and holders");
    node.groups.front().members.clear();
    node.rights.clear();
    for (size_t i = 0; i < thousands; ++i)
        node.groups.push_back({L"G" + std::to_wstring(i), L"", sid(i), {node.accounts.back().sid}});
    subject.runAll(readers, "a user of thousands of groups");
}

TEST_F(HostileData, AccessControlLists)
{
    const Functions readers = subject.functionsThatCall({"GetFileSecurityW", "QueryServiceObjectSecurity"});
    EXPECT_GE(readers.size(), 5u);
    whatif::Imports imports(subject.home.module());
    imports.redirect("GetFileSecurityW", reinterpret_cast<void*>(&handOut<LPCWSTR>));
    imports.redirect("QueryServiceObjectSecurity", reinterpret_cast<void*>(&handOut<SC_HANDLE>));
    imports.redirect("IsValidSid", reinterpret_cast<void*>(&IsValidSid)); // millions of times
    for (const size_t count : {size_t{0}, size_t{1}, mostEntries}) {
        std::wstring sddl = L"D:";
        for (size_t i = 0; i < count; ++i)
            sddl += L"(A;;0x1;;;S-1-7-" + std::to_wstring(i) + L")";
        heldDescriptor = descriptorOf(sddl);
        subject.runAll(readers, std::to_string(count) + " entries");
    }
    const std::string small = descriptorOf(L"D:(A;;0x1;;;LS)(D;ID;FA;;;BA)");
    const Functions oneOfEachKind = {cli::findFunction("UpdateService"), cli::findFunction("AddACLOnObjectForUser"),
                                     cli::findFunction("setPermissions")};
    withEachByteChanged(small, [&](const std::string& changed) {
        heldDescriptor = changed;
        subject.runAll(oneOfEachKind, "changed bytes of a descriptor");
    });
    for (size_t size = 0; size < small.size(); size += sizeof(DWORD)) {
        heldDescriptor = small.substr(0, size);
        subject.runAll(readers, "a descriptor of " + std::to_string(size) + " bytes");
    }
}

// No byte of what the caller has is to be believed, but for the size of the block that it lies in.
TEST_F(HostileData, ListsAndSidsOfTheCaller)
{
    constexpr size_t largest = 0xFFFF;
    const auto add = EXPORT_OF(subject.home, sswseAddAceToACL);
    const auto check = EXPORT_OF(subject.home, sswseCheckAccessMask);
    const auto nameOf = EXPORT_OF(subject.home, sswseConvertSIDToUname);
    const std::vector<BYTE> everyone = whatif::sidBytes(L"S-1-1-0");
    const PSID known = const_cast<BYTE*>(everyone.data());
    const std::vector<BYTE> acl = whatif::securityOf(L"D:(A;;0x1;;;LS)(D;OICI;0x6;;;WD)").dacl;
    withEachByteChanged({acl.begin(), acl.end()}, [&](const std::string& changed) {
        auto* list = static_cast<PACL>(LocalAlloc(LPTR, largest));
        memcpy(list, changed.data(), changed.size());
        EXPECT_GE(add(nullptr, known, 0, 1, GRANT_ACCESS, 0, &list), DWORD{SSWSE_SUCCESS});
        LocalFree(list);
        const size_t size = std::max<size_t>(static_cast<BYTE>(changed[10]) / 4 * 4, sizeof(ACE_HEADER));
        const guarded::Buffer ace((changed.substr(sizeof(ACL)) + std::string(size, '\0')).data(), size);
        AceListNode node = {ace.data(), ace.data() + offsetof(ACCESS_ALLOWED_ACE, SidStart), nullptr};
        EXPECT_LE(check(nullptr, nullptr, &node, known, 1), DWORD{SSWSE_YES});
    });
    withEachByteChanged(std::string(everyone.begin(), everyone.end()), [&](const std::string& changed) {
        const std::string longest = changed + std::string(255 * sizeof(DWORD), '\0');
        const guarded::Buffer bytes(longest.data(), longest.size());
        char text[512];
        PACL list = nullptr;
        nameOf(nullptr, bytes.data(), text, sizeof text, nullptr);
        add(nullptr, bytes.data(), 0, 1, GRANT_ACCESS, 0, &list);
        LocalFree(list);
        check(nullptr, nullptr, nullptr, bytes.data(), 1);
    });
}

} // namespace

} // namespace hostile
