// What the library reads: key file, registry, service configurations, groups, rights and security, as nothing, in
// thousands, and in sizes that are wrong; and the lists and SIDs of the caller.
#include "tests/support/guarded_heap.h"
#include "tests/support/subject.h"
#include "tests/support/this_machine.h"
#include "whatif/model/sids.h"
#include "whatif/security/descriptors.h"

#include <accctrl.h>
#include <gtest/gtest.h>

namespace {

using namespace support;

constexpr size_t thousands = 2000;
constexpr size_t sidOffset = offsetof(ACCESS_ALLOWED_ACE, SidStart);
constexpr size_t mostEntries = (0xFFFF - sizeof(ACL)) / 20; // of the shortest SIDs in one list

std::string heldDescriptor; // what every file, key and service has

template <class Object>
BOOL WINAPI handOut(Object, SECURITY_INFORMATION, PSECURITY_DESCRIPTOR buffer, DWORD size, DWORD* needed)
{
    *needed = static_cast<DWORD>(heldDescriptor.size());
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return size >= *needed && memcpy(buffer, heldDescriptor.data(), *needed);
}

LSTATUS WINAPI handOutOfKey(HKEY key, SECURITY_INFORMATION parts, PSECURITY_DESCRIPTOR buffer, DWORD* size)
{
    return handOut(key, parts, buffer, *size, size) ? ERROR_SUCCESS : ERROR_INSUFFICIENT_BUFFER;
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

// A block of the caller's own, of the size that it gives itself in its bytes.
guarded::Buffer sized(const std::string& bytes, size_t size, size_t least)
{
    const size_t whole = (std::max(size, least) + sizeof(DWORD) - 1) / sizeof(DWORD) * sizeof(DWORD);
    return {(bytes + std::string(whole, '\0')).data(), whole};
}

void* lent; // a list that is not from the heap

DWORD WINAPI lendAsDacl(HANDLE, SE_OBJECT_TYPE, SECURITY_INFORMATION, PSID*, PSID*, PACL* dacl, PACL*,
                        PSECURITY_DESCRIPTOR*)
{
    *dacl = static_cast<PACL>(lent);
    return ERROR_SUCCESS;
}

BOOL WINAPI lendAsDefault(HANDLE, TOKEN_INFORMATION_CLASS, LPVOID information, DWORD size, DWORD* needed)
{
    *needed = sizeof lent;
    return size >= sizeof lent && memcpy(information, &lent, sizeof lent);
}

HLOCAL WINAPI freeUnlessLent(HLOCAL block)
{
    return block == lent ? nullptr : LocalFree(block);
}

void expectStatus(const char* name, DWORD status)
{
    underWay = std::string("after ") + name;
    EXPECT_TRUE(mayAnswer(*cli::findFunction(name), status)) << name << " " << status;
}

template <class Thing>
Thing& named(std::vector<Thing>& things, const std::wstring& name)
{
    return *std::find_if(things.begin(), things.end(), [&](const Thing& each) { return each.name == name; });
}

struct HostileData : testing::Test
{
    // Those whose ordinary call comes to one of them; all are reached.
    Functions readers(const std::set<std::string>& imports)
    {
        Functions found;
        std::set<std::string> called;
        for (const cli::Function* const function : callableFunctions()) {
            const Answer answer = subject.run(subject.call(function->name), "ordinary");
            const cli::Verdict verdict = cli::verdictOf(*function, answer.status, !answer.message.empty());
            EXPECT_TRUE(verdict.good || verdict.meaning == "no") << function->name << " " << answer.message;
            for (const intercept::Trail::Call& each : answer.trail.calls)
                if (imports.count(each.row->name)) {
                    called.insert(each.row->name);
                    if (found.empty() || found.back() != function)
                        found.push_back(function);
                }
        }
        EXPECT_EQ(called, imports);
        return found;
    }

    void runAll(const Functions& functions, const std::string& what)
    {
        for (const cli::Function* const function : functions)
            subject.run(subject.call(function->name), what);
    }

    Subject subject{&Subject::makeGroup};
};

TEST_F(HostileData, KeyFiles)
{
    const std::string usual = "SOFTWARE\\KESTEL\\KEY_h1"; // without a line end
    const std::string section = "SOFTWARE\\";             // 9 characters
    std::string binary = section;
    for (int i = 0; i < 4 * 256; ++i)
        binary += static_cast<char>(0x80 | i * 7);
    const std::string files[] = {"",
                                 "\r\n",
                                 usual,
                                 usual + "\xE2",
                                 section + "KESTEL\\",
                                 section + "KESTEL\\" + std::string(1, '\0') + "KEY_h1",
                                 std::string(511, 'x'),
                                 section + std::string(502, 'x'),
                                 section + std::string(503, 'x'),
                                 section + std::string(501, 'x') + "\xE2",
                                 std::string(512, '\\'),
                                 std::string(70000, '\\'),
                                 binary};
    const Functions reading = readers({"ReadFile"});
    for (const UINT codePage : {0, 932})
        for (size_t row = 0; row < std::size(files); ++row) {
            Subject::codePage = codePage;
            subject.home.writeKeyFile(files[row]);
            runAll(reading, "key file, row " + std::to_string(row));
        }
}

TEST_F(HostileData, RegistryValues)
{
    const std::pair<size_t, wchar_t> texts[] = {
        {0, L'x'},        {1, L'1'},          {2, L'\0'},    {254, L'x'},   {255, L'x'},   {510, L'x'}, {511, L'\xE9'},
        {512, L'\xD800'}, {16381, L'\x4E2D'}, {16382, L'x'}, {16383, L'x'}, {32500, L'x'}, {40, L'%'}};
    const Functions reading = readers({"RegQueryValueExA", "RegQueryValueExW"});
    for (const auto& [name, usual] : usualValues) {
        for (DWORD type = REG_NONE; type <= REG_QWORD + 1; ++type)
            for (const auto& [length, letter] : texts)
                for (size_t odd = 0; odd < 2; ++odd) {
                    if (type != REG_SZ && type != REG_BINARY && (length != 1 || odd))
                        continue; // the library does not look at the type, and the platform hands over the bytes
                    const std::wstring text(length + 1, letter); // unterminated
                    whatif::RegistryValue value = {type, std::vector<BYTE>(length * sizeof(wchar_t) + odd)};
                    memcpy(value.data.data(), text.data(), value.data.size());
                    subject.setValue(name, value);
                    runAll(reading, "value of type " + std::to_string(type) + " and length " +
                                        std::to_string(value.data.size()));
                }
        subject.restoreHome();
    }
}

TEST_F(HostileData, ServiceConfigurations)
{
    const Functions reading = readers({"OpenServiceW", "QueryServiceConfigW"});
    SubjectCall query = subject.call("GetSvcUserForService");
    for (const DWORD length : {0, 1, 510, 511, 512, 70000})
        for (const size_t dependencies : {size_t{0}, thousands}) {
            whatif::Service& service = subject.local.services.front();
            service.account = std::wstring(length, L'a');
            service.binaryPath = service.displayName = std::wstring(length, L'\\');
            service.dependencies.assign(dependencies, L"RpcSs");
            const std::string what = "an account of " + std::to_string(length);
            runAll(reading, what);
            query.values[1].number = length + 1;
            const bool fits = length < 1000 && dependencies == 0; // into the 8 KB that may be asked for
            const Answer answer = subject.run(query, what);
            EXPECT_EQ(answer.status, DWORD{fits ? SSWSE_SUCCESS : SSWSE_FAILURE});
            EXPECT_EQ(answer.outputs.value("username", ""), std::string(fits ? length : 0, 'a'));
            query.values[1].number = length;
            EXPECT_EQ(subject.run(query, what).status, DWORD{SSWSE_FAILURE});
        }
}

TEST_F(HostileData, GroupsAndRights)
{
    const Functions reading =
        readers({"NetUserGetLocalGroups", "NetLocalGroupGetMembers", "LsaEnumerateAccountsWithUserRight"});
    const auto expect = [&](const char* what, DWORD inGroup, DWORD privileged) {
        runAll(reading, what);
        for (const auto& [function, status] :
             {std::pair("CheckUserInGroup", inGroup), {"CheckUserPrivileges", privileged}, {"IsAdministrator", 0u}})
            EXPECT_EQ(subject.run(subject.call(function), what).status, status) << what;
    };
    whatif::Node& node = subject.local;
    const std::wstring user = named(node.accounts, L"svc").sid;
    std::vector<std::wstring>& logon = node.rights[L"SeServiceLogonRight"];
    std::vector<std::wstring>& link = node.rights[L"SeCreateSymbolicLinkPrivilege"];
    for (whatif::Group& group : node.groups)
        group.members.clear();
    logon = link = {};
    expect("nothing", SSWSE_NO, SSWSE_NO);

    whatif::Group& asked = named(node.groups, L"KES_h1_DBA");
    for (size_t i = 0; i < thousands; ++i)
        asked.members.push_back(sid(i));
    asked.members.push_back(user);
    logon = link = asked.members;
    expect("last of thousands of members and holders", SSWSE_YES, SSWSE_YES);

    asked.members.clear();
    for (size_t i = 0; i < thousands; ++i)
        node.groups.push_back({L"G" + std::to_wstring(i), L"", sid(i), {user}});
    logon = link = {node.groups.back().sid};
    expect("in thousands of groups, the last of which holds the rights", SSWSE_NO, SSWSE_YES);
}

TEST_F(HostileData, AccessControlLists)
{
    const Functions reading = readers({"GetFileSecurityW", "RegGetKeySecurity", "QueryServiceObjectSecurity"});
    whatif::Imports imports(subject.home.module());
    imports.redirect("GetFileSecurityW", reinterpret_cast<void*>(&handOut<LPCWSTR>));
    imports.redirect("RegGetKeySecurity", reinterpret_cast<void*>(&handOutOfKey));
    imports.redirect("QueryServiceObjectSecurity", reinterpret_cast<void*>(&handOut<SC_HANDLE>));
    imports.redirect("IsValidSid", reinterpret_cast<void*>(&IsValidSid)); // millions of times
    for (const size_t count : {size_t{0}, size_t{1}, mostEntries}) {
        std::wstring sddl = L"D:";
        for (size_t i = 0; i < count; ++i)
            sddl += L"(A;;0x1;;;S-1-7-" + std::to_wstring(i) + L")";
        heldDescriptor = descriptorOf(sddl);
        runAll(reading, std::to_string(count) + " entries");
    }
    const std::string small = descriptorOf(L"D:(A;;0x1;;;LS)(D;ID;FA;;;BA)");
    const Functions oneOfEachKind = {cli::findFunction("UpdateService"), cli::findFunction("AddACLOnObjectForUser"),
                                     cli::findFunction("CheckACLsOnReg"), cli::findFunction("setPermissions")};
    withEachByteChanged(small, [&](const std::string& changed) {
        heldDescriptor = changed;
        runAll(oneOfEachKind, "changed bytes of a descriptor");
    });
    for (size_t size = 0; size < small.size(); size += sizeof(DWORD)) {
        heldDescriptor = small.substr(0, size);
        runAll(reading, "a descriptor of " + std::to_string(size) + " bytes");
    }
}

// No byte of what the caller has is to be believed, but for the size of the block that it lies in.
TEST_F(HostileData, ListsAndSidsOfTheCaller)
{
    const auto add = EXPORT_OF(subject.home, sswseAddAceToACL);
    const auto check = EXPORT_OF(subject.home, sswseCheckAccessMask);
    const auto nameOf = EXPORT_OF(subject.home, sswseConvertSIDToUname);
    const auto addToObject = EXPORT_OF(subject.home, sswseAddACEOnKernelObjectForUserOrGroup);
    const auto addToToken = EXPORT_OF(subject.home, sswseAddACEOnDefaultDACLForSvcUser);
    for (const int handle : {0, -1, -2, -4, 1, 3, 4, 0x10000000}) {
        const HANDLE none = reinterpret_cast<HANDLE>(static_cast<intptr_t>(handle));
        EXPECT_EQ(addToObject(nullptr, none, "svc", 1), handle == 0 || handle == -1 ? 4u : 3u) << handle;
        expectStatus("AddACEOnDefaultDACLForSvcUser", addToToken(nullptr, none, "svc", 1));
    }
    subject.world().local() = subject.local;
    const HANDLE event = whatif::openObject(L"event Ready", READ_CONTROL | WRITE_DAC);
    const auto addTo = [&](PACL list, PSID trustee) {
        lent = list;
        PACL merged = list;
        expectStatus("AddAceToACL", add(nullptr, trustee, 0, 1, GRANT_ACCESS, 0, &merged));
        if (merged != list)
            LocalFree(merged);
        for (const DWORD mask : {1u, 4u})
            expectStatus("AddACEOnKernelObjectForUserOrGroup", addToObject(nullptr, event, "S-1-5-19", mask));
        expectStatus("AddACEOnDefaultDACLForSvcUser", addToToken(nullptr, nullptr, "S-1-5-19", 1));
    };
    whatif::Imports imports(subject.home.module());
    imports.redirect("GetSecurityInfo", reinterpret_cast<void*>(&lendAsDacl));
    imports.redirect("GetTokenInformation", reinterpret_cast<void*>(&lendAsDefault));
    imports.redirect("LocalFree", reinterpret_cast<void*>(&freeUnlessLent));
    std::vector<BYTE> everyone = whatif::sidBytes(L"S-1-1-0");
    std::vector<BYTE> acl = whatif::securityOf(L"D:(A;;0x1;;;LS)(D;OICI;0x6;;;WD)").dacl;
    AceListNode whole = {acl.data() + sizeof(ACL), acl.data() + sizeof(ACL) + sidOffset, nullptr};
    subject.setTracing(true);
    withEachByteChanged({acl.begin(), acl.end()}, [&](const std::string& changed) {
        ACL header;
        memcpy(&header, changed.data(), sizeof header);
        const guarded::Buffer list = sized(changed, header.AclSize, sizeof header);
        addTo(reinterpret_cast<PACL>(list.data()), everyone.data());
        const guarded::Buffer ace =
            sized(changed.substr(sizeof(ACL)), static_cast<BYTE>(changed[10]) / 4 * 4, sizeof(ACE_HEADER));
        AceListNode node = {ace.data(), ace.data() + sidOffset, nullptr};
        expectStatus("CheckAccessMask", check(nullptr, nullptr, &node, everyone.data(), 1));
    });
    withEachByteChanged({everyone.begin(), everyone.end()}, [&](const std::string& changed) {
        const guarded::Buffer bytes = sized(changed, changed.size() + 255 * sizeof(DWORD), 0);
        char text[512];
        expectStatus("ConvertSIDToUname", nameOf(nullptr, bytes.data(), text, sizeof text, nullptr));
        expectStatus("CheckAccessMask", check(nullptr, nullptr, &whole, bytes.data(), 1));
        addTo(nullptr, bytes.data());
    });
    addTo(reinterpret_cast<PACL>(acl.data()), nullptr);
    for (AceListNode node : {AceListNode{nullptr, everyone.data(), nullptr}, AceListNode{whole.ace, nullptr, nullptr}})
        EXPECT_EQ(check(nullptr, nullptr, &node, everyone.data(), 0), DWORD{SSWSE_NO});
    whatif::closeObject(event);
}

} // namespace
