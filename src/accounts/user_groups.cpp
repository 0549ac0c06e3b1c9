#include "accounts/user_groups.h"

NET_API_STATUS sswseReadUserGroups(const wchar_t* server, const wchar_t* user, DWORD flags, sswseUserGroups& groups)
{
    BYTE* buffer = nullptr;
    DWORD read = 0;
    DWORD total = 0;
    const NET_API_STATUS result =
        NetUserGetLocalGroups(server, user, 0, flags, &buffer, MAX_PREFERRED_LENGTH, &read, &total);
    groups.rows.reset(reinterpret_cast<LOCALGROUP_USERS_INFO_0*>(buffer));
    groups.count = result == NERR_Success && buffer ? read : 0;
    return result;
}
