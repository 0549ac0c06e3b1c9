#include "tests/whatif/replaced.h"

#include <lm.h>

namespace {

class WhatIfNetwork : public replaced::WhatIf
{
protected:
    NET_API_STATUS addGroup(const wchar_t* name, const wchar_t* server = nullptr)
    {
        LOCALGROUP_INFO_1 info = {const_cast<LPWSTR>(name), nullptr};
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

    NET_API_STATUS addUser(const wchar_t* name, const wchar_t* password = L"long enough")
    {
        USER_INFO_1 info = {};
        info.usri1_name = const_cast<LPWSTR>(name);
        info.usri1_password = const_cast<LPWSTR>(password);
        info.usri1_priv = USER_PRIV_USER;
        return CALL(NetUserAdd)(nullptr, 1, reinterpret_cast<LPBYTE>(&info), nullptr);
    }

    NET_API_STATUS deleteUser(const wchar_t* name) { return CALL(NetUserDel)(nullptr, name); }
};

TEST_F(WhatIfNetwork, ErrorCodesAreThoseOfWindows)
{
    world.add(L"DB2");
    node.minimumPasswordLength = 8;
    node.services.emplace_back().name = L"KestelDB";
    node.accounts.emplace_back().name = L"Global";
    node.accounts.back().use = SidTypeGroup;
    const wchar_t* const dba = L"KES_DBA";
    const struct
    {
        NET_API_STATUS answer, expected;
    } steps[] = {
        {addGroup(dba), NERR_Success},
        {addGroup(L"kes_dba"), ERROR_ALIAS_EXISTS},
        {addGroup(L"Administrators"), ERROR_ALIAS_EXISTS},
        {addGroup(L"Guest"), NERR_UserExists},
        {addGroup(L"Global"), NERR_GroupExists},
        {addUser(L"Global"), NERR_GroupExists},
        {addGroup(L"a/b"), NERR_BadUsername},
        {addGroup(L".. "), NERR_BadUsername},
        {addGroup(dba, L"\\\\db2.corp.example"), NERR_Success},
        {addGroup(dba, L"db3"), ERROR_BAD_NETPATH},
        {deleteGroup(L"KES_NONE"), ERROR_NO_SUCH_ALIAS},
        {deleteGroup(L"Administrators"), ERROR_SPECIAL_ACCOUNT},
        {addUser(L"svc", L"1234567"), NERR_PasswordTooShort},
        {addUser(L"svc", L"12345678"), NERR_Success},
        {addUser(L"SVC"), NERR_UserExists},
        {addUser(dba), ERROR_ALIAS_EXISTS},
        {addUser(L"a name of over 20 characters"), NERR_BadUsername},
        {addMembers(L"KES_NONE", {L"svc"}), ERROR_NO_SUCH_ALIAS},
        {addMembers(dba, {L"svc", L"nobody"}), ERROR_NO_SUCH_MEMBER}, // and nobody is added
        {addMembers(dba, {L"Administrators"}), ERROR_INVALID_MEMBER},
        {addMembers(dba, {L"svc", L"NT SERVICE\\KestelDB"}), NERR_Success},
        {addMembers(dba, {L"NODE\\svc"}), ERROR_MEMBER_IN_ALIAS},
        {removeMember(dba, L"Guest"), ERROR_MEMBER_NOT_IN_ALIAS},
        {removeMember(dba, L"nobody"), ERROR_NO_SUCH_MEMBER},
        {removeMember(dba, L"NT SERVICE\\KestelDB"), NERR_Success},
        {deleteUser(L"Administrator"), ERROR_SPECIAL_ACCOUNT},
        {deleteUser(L"svc"), NERR_Success}, // and is in no group any more
        {deleteUser(L"svc"), NERR_UserNotFound},
        {deleteGroup(dba), NERR_Success},
    };
    for (const auto& step : steps)
        EXPECT_EQ(step.answer, step.expected) << "step " << &step - steps;
    EXPECT_EQ(plan(), (std::vector<std::wstring>{L"NODE: group KES_DBA: created", L"DB2: group KES_DBA: created",
                                                 L"NODE: user svc: created", L"NODE: user svc: password set",
                                                 L"NODE: group KES_DBA: member added: NODE\\svc",
                                                 L"NODE: group KES_DBA: member added: NT SERVICE\\KestelDB",
                                                 L"NODE: group KES_DBA: member removed: NT SERVICE\\KestelDB",
                                                 L"NODE: group KES_DBA: member removed: NODE\\svc",
                                                 L"NODE: user svc: deleted", L"NODE: group KES_DBA: deleted"}));
}

} // namespace
