#include "tests/whatif/replaced.h"
#include "whatif/sids.h"

#include <lm.h>

#include <functional>

namespace {

using Lines = std::vector<std::wstring>;

class WhatIfNetwork : public replaced::WhatIf
{
protected:
    WhatIfNetwork()
    {
        world.add(L"DB2");
        whatif::Account domainUser;
        domainUser.domain = L"CORP";
        domainUser.name = L"svc";
        domainUser.sid = L"S-1-5-21-7-8-9-1104";
        domainUser.memberOf = {L"S-1-5-21-7-8-9-1200"};
        whatif::Account domainGroup = domainUser;
        domainGroup.name = L"Operators";
        domainGroup.sid = L"S-1-5-21-7-8-9-1200";
        domainGroup.use = SidTypeGroup;
        node.accounts.insert(node.accounts.end(), {domainUser, domainGroup});
        node.services.emplace_back().name = L"KestelDB";
    }

    NET_API_STATUS addGroup(const wchar_t* name, const wchar_t* comment = L"", const wchar_t* server = nullptr)
    {
        LOCALGROUP_INFO_1 info = {const_cast<LPWSTR>(name), const_cast<LPWSTR>(comment)};
        return CALL(NetLocalGroupAdd)(server, 1, reinterpret_cast<LPBYTE>(&info), nullptr);
    }

    NET_API_STATUS deleteGroup(const wchar_t* name) { return CALL(NetLocalGroupDel)(nullptr, name); }

    NET_API_STATUS addMembers(const wchar_t* group, std::vector<const wchar_t*> names)
    {
        return CALL(NetLocalGroupAddMembers)(nullptr, group, 3, reinterpret_cast<LPBYTE>(names.data()),
                                             static_cast<DWORD>(names.size()));
    }

    NET_API_STATUS removeMember(const wchar_t* group, const wchar_t* name)
    {
        return CALL(NetLocalGroupDelMembers)(nullptr, group, 3, reinterpret_cast<LPBYTE>(&name), 1);
    }

    NET_API_STATUS addUser(const wchar_t* name, const wchar_t* password)
    {
        USER_INFO_1 info = {};
        info.usri1_name = const_cast<LPWSTR>(name);
        info.usri1_password = const_cast<LPWSTR>(password);
        info.usri1_priv = USER_PRIV_USER;
        return CALL(NetUserAdd)(nullptr, 1, reinterpret_cast<LPBYTE>(&info), nullptr);
    }

    std::wstring groupsOf(const wchar_t* user, DWORD flags)
    {
        LPBYTE buffer = nullptr;
        DWORD count = 0;
        DWORD total = 0;
        const NET_API_STATUS status =
            CALL(NetUserGetLocalGroups)(nullptr, user, 0, flags, &buffer, MAX_PREFERRED_LENGTH, &count, &total);
        std::wstring names = status ? std::to_wstring(status) : L"";
        for (DWORD i = 0; i < count; ++i)
            names += std::wstring(names.empty() ? L"" : L" ") +
                     reinterpret_cast<LOCALGROUP_USERS_INFO_0*>(buffer)[i].lgrui0_name;
        NetApiBufferFree(buffer);
        return names;
    }
};

TEST_F(WhatIfNetwork, ErrorCodesAreThoseOfWindows)
{
    node.minimumPasswordLength = 8;
    const struct
    {
        std::function<NET_API_STATUS()> call;
        NET_API_STATUS status;
    } steps[] = {
        {[&] { return addGroup(L"KES_DBA", L"DBAs"); }, NERR_Success},
        {[&] { return addGroup(L"kes_dba"); }, ERROR_ALIAS_EXISTS},
        {[&] { return addGroup(L"Administrators"); }, ERROR_ALIAS_EXISTS},
        {[&] { return addGroup(L"Guest"); }, NERR_UserExists},
        {[&] { return addGroup(L"a/b"); }, NERR_BadUsername},
        {[&] { return addGroup(L".. "); }, NERR_BadUsername},
        {[&] { return addGroup(L"KES_DBA", L"", L"\\\\db2"); }, NERR_Success},
        {[&] { return addGroup(L"KES_DBA", L"", L"db3"); }, ERROR_BAD_NETPATH},
        {[&] { return deleteGroup(L"KES_NONE"); }, ERROR_NO_SUCH_ALIAS},
        {[&] { return deleteGroup(L"Administrators"); }, ERROR_SPECIAL_ACCOUNT},
        {[&] { return addUser(L"svc", L"short"); }, NERR_PasswordTooShort},
        {[&] { return addUser(L"svc", L"long enough"); }, NERR_Success},
        {[&] { return addUser(L"SVC", L"long enough"); }, NERR_UserExists},
        {[&] { return addUser(L"KES_DBA", L"long enough"); }, ERROR_ALIAS_EXISTS},
        {[&] { return addUser(L"a name of over 20 characters", L"long enough"); }, NERR_BadUsername},
        {[&] { return addMembers(L"KES_NONE", {L"svc"}); }, ERROR_NO_SUCH_ALIAS},
        {[&] {
             return addMembers(L"KES_DBA", {L"svc", L"nobody"});
         },
         ERROR_NO_SUCH_MEMBER},
        {[&] { return addMembers(L"KES_DBA", {L"Administrators"}); }, ERROR_INVALID_MEMBER},
        {[&] {
             return addMembers(L"KES_DBA", {L"svc", L"NT SERVICE\\KestelDB"});
         },
         NERR_Success},
        {[&] {
             return addMembers(L"KES_DBA", {L"CORP\\svc", L"NODE\\svc"});
         },
         ERROR_MEMBER_IN_ALIAS},
        {[&] { return removeMember(L"KES_DBA", L"CORP\\svc"); }, ERROR_MEMBER_NOT_IN_ALIAS},
        {[&] { return removeMember(L"KES_DBA", L"nobody"); }, ERROR_NO_SUCH_MEMBER},
        {[&] { return removeMember(L"KES_DBA", L"NT SERVICE\\KestelDB"); }, NERR_Success},
        {[&] { return CALL(NetUserDel)(nullptr, L"Administrator"); }, ERROR_SPECIAL_ACCOUNT},
        {[&] { return CALL(NetUserDel)(nullptr, L"svc"); }, NERR_Success},
        {[&] { return CALL(NetUserDel)(nullptr, L"svc"); }, NERR_UserNotFound},
        {[&] { return deleteGroup(L"KES_DBA"); }, NERR_Success},
    };
    for (const auto& step : steps)
        EXPECT_EQ(step.call(), step.status) << "step " << &step - steps;
    EXPECT_EQ(plan(),
              (Lines{L"NODE: group KES_DBA: created: DBAs", L"DB2: group KES_DBA: created", L"NODE: user svc: created",
                     L"NODE: user svc: password set", L"NODE: group KES_DBA: member added: NODE\\svc",
                     L"NODE: group KES_DBA: member added: NT SERVICE\\KestelDB",
                     L"NODE: group KES_DBA: member removed: NT SERVICE\\KestelDB",
                     L"NODE: group KES_DBA: member removed: NODE\\svc", L"NODE: user svc: deleted",
                     L"NODE: group KES_DBA: deleted"}));
}

TEST_F(WhatIfNetwork, MembersComeBackAtEveryLevel)
{
    addGroup(L"KES_DBA");
    addMembers(L"KES_DBA", {L"CORP\\svc"});
    LPBYTE buffer = nullptr;
    DWORD count = 0;
    DWORD total = 0;
    const auto get = [&](DWORD level) {
        return CALL(NetLocalGroupGetMembers)(nullptr, L"KES_DBA", level, &buffer, MAX_PREFERRED_LENGTH, &count, &total,
                                             nullptr);
    };
    ASSERT_EQ(get(2), NERR_Success);
    ASSERT_EQ(count, 1u);
    const auto& second = *reinterpret_cast<LOCALGROUP_MEMBERS_INFO_2*>(buffer);
    EXPECT_TRUE(IsValidSid(second.lgrmi2_sid));
    EXPECT_STREQ(second.lgrmi2_domainandname, L"CORP\\svc");
    EXPECT_EQ(NetApiBufferFree(buffer), NERR_Success);
    ASSERT_EQ(get(0), NERR_Success);
    EXPECT_EQ(whatif::sidText(reinterpret_cast<LOCALGROUP_MEMBERS_INFO_0*>(buffer)->lgrmi0_sid),
              L"S-1-5-21-7-8-9-1104");
    NetApiBufferFree(buffer);
    EXPECT_EQ(get(4), ERROR_INVALID_LEVEL);
}

TEST_F(WhatIfNetwork, GroupsOfAUser)
{
    addGroup(L"KES_DIRECT");
    addGroup(L"KES_NESTED");
    addMembers(L"KES_DIRECT", {L"CORP\\svc", L"NT SERVICE\\KestelDB"});
    addMembers(L"KES_NESTED", {L"CORP\\Operators"});
    EXPECT_EQ(groupsOf(L"CORP\\svc", 0), L"KES_DIRECT");
    EXPECT_EQ(groupsOf(L"CORP\\svc", LG_INCLUDE_INDIRECT), L"KES_DIRECT KES_NESTED");
    EXPECT_EQ(groupsOf(L"NT SERVICE\\KestelDB", 0), L"KES_DIRECT");
    EXPECT_EQ(groupsOf(L"Guest", 0), L"Guests");
    EXPECT_EQ(groupsOf(L"KES_DIRECT", 0), std::to_wstring(NERR_UserNotFound));
    EXPECT_EQ(groupsOf(L"nobody", 0), std::to_wstring(NERR_UserNotFound));
}

TEST_F(WhatIfNetwork, PasswordPolicyOfTheNode)
{
    node.minimumPasswordLength = 8;
    for (const auto& [password, verdict] :
         {std::pair(L"1234567", NERR_PasswordTooShort), std::pair(L"12345678", NERR_Success)}) {
        NET_VALIDATE_PASSWORD_CHANGE_INPUT_ARG input = {};
        input.ClearPassword = const_cast<LPWSTR>(password);
        void* output = nullptr;
        ASSERT_EQ(CALL(NetValidatePasswordPolicy)(nullptr, nullptr, NetValidatePasswordChange, &input, &output),
                  NERR_Success);
        EXPECT_EQ(static_cast<NET_VALIDATE_OUTPUT_ARG*>(output)->ValidationStatus,
                  static_cast<NET_API_STATUS>(verdict));
        EXPECT_EQ(CALL(NetValidatePasswordPolicyFree)(&output), NERR_Success);
    }
}

} // namespace
