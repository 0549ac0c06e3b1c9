// Moves the SIDs of a home's database services between the machine's group of administrators, which earlier releases
// put them into, and the home's own.
#include "frame/call.h"
#include "frame/text.h"
#include "groups/member_sids.h"
#include "home/home_group.h"
#include "home/home_name.h"
#include "services/role_table.h"
#include "services/service_key.h"
#include "services/service_walk.h"

#include <algorithm>

namespace {

constexpr char databaseKey[] = "kestel.exe";

// 1, 0, 3: whether the service of the walk is a database service, with its name.
DWORD isDatabaseService(const sswseCall& call, const sswseServiceWalk& walk, owned::Heap<char>& name)
{
    const sswseServicePathPart part = sswseServicePath(walk.config.data->lpBinaryPathName);
    const owned::Heap<wchar_t> path = owned::allocateZeroed<wchar_t>((part.length + 1) * sizeof(wchar_t));
    if (!path)
        return sswseOutOfMemory(call);
    std::copy_n(part.begin, part.length, path.get());
    owned::Heap<char> binaryPath;
    char key[512];
    if (sswseToMultibyte(call, walk.name, name) != SSWSE_SUCCESS ||
        sswseToMultibyte(call, path.get(), binaryPath) != SSWSE_SUCCESS ||
        sswseGetServiceKeyFromBinPath(call.rec, binaryPath.get(), name.get(), key, sizeof key) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    return sswseSameServiceKey(key, databaseKey) ? SSWSE_YES : SSWSE_NO;
}

// The names of the home's database services.
DWORD gather(const sswseCall& call, const sswseServiceQuestion& question, owned::Blocks<char>& services)
{
    sswseServiceWalk walk;
    if (sswsePrepareServiceWalk(call, question, walk) != SSWSE_SUCCESS ||
        sswseOpenServiceWalk(call, question.nodename, walk) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    DWORD answer = SSWSE_YES;
    while ((answer = sswseNextService(call, walk)) == SSWSE_YES) {
        if (!walk.config.data) // it may be one of them
            return SSWSE_FAILURE;
        owned::Heap<char> name;
        const DWORD isDatabase = isDatabaseService(call, walk, name);
        if (isDatabase == SSWSE_FAILURE)
            return SSWSE_FAILURE;
        if (isDatabase == SSWSE_YES && !services.append(std::move(name)))
            return sswseOutOfMemory(call);
    }
    return answer == SSWSE_NO ? DWORD{SSWSE_SUCCESS} : answer;
}

// Where the SIDs are and where they go.
struct Move
{
    const char* nodename;
    const char* toName;
    sswseGroupNames from;
    sswseGroupNames to;
    sswseSidList members; // services in `from`
};

// Into the one before it leaves the other, so that it never is in neither.
DWORD moveService(const sswseCall& call, const Move& move, const char* service)
{
    PSID found = nullptr;
    if (sswseGetServiceSID(call.rec, service, &found, move.nodename) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    const owned::Heap<void> sid(found);
    if (!sswseIsListed(move.members, found))
        return SSWSE_SUCCESS;
    DWORD status = sswseMakeSureOfGroup(call, move.toName, move.nodename);
    if (status == SSWSE_SUCCESS)
        status = sswseAddMemberSid(call, move.to, found);
    if (status == SSWSE_SUCCESS)
        status = sswseRemoveMemberSid(call, move.from, found);
    return status;
}

DWORD moveServices(const sswseCall& call, const char* from, const char* to, const char* nodename,
                   const owned::Blocks<char>& services)
{
    Move move = {nodename, to, {}, {}, {}};
    DWORD status = sswseNameGroup(call, from, nodename, move.from);
    if (status == SSWSE_SUCCESS)
        status = sswseNameGroup(call, to, nodename, move.to);
    if (status == SSWSE_SUCCESS)
        status = sswseReadServiceMembers(call, move.from, move.members);
    for (DWORD i = 0; status == SSWSE_SUCCESS && move.members.count && i < services.count; ++i)
        status = moveService(call, move, services.entries[i]);
    return status;
}

template <bool isUpgrade>
DWORD migrate(const sswseCall& call, const char* khomepath, const char* nodename)
{
    char homename[512];
    if (const DWORD status = sswseNameOfHome(call, khomepath, nodename, homename); status != SSWSE_SUCCESS)
        return status;
    char homeGroup[512];
    sswseHomeGroup(homeGroup, homename, sswseDatabaseAdministratorsSuffix);
    owned::Blocks<char> services;
    if (gather(call, {nodename, nullptr, true, khomepath}, services) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    return isUpgrade ? moveServices(call, sswseDatabaseAdministrators, homeGroup, nodename, services)
                     : moveServices(call, homeGroup, sswseDatabaseAdministrators, nodename, services);
}

} // namespace

DWORD WINAPI sswseMigrateDBServiceSidsForUpgrade(sswseErrRec* err, const char* khomepath, const char* nodename)
{
    const auto args = sswseArgs("khomepath=%s\nnodename=%s", khomepath, nodename);
    return sswseRunFramed(err, __func__, args,
                          [&](const sswseCall& call) { return migrate<true>(call, khomepath, nodename); });
}

DWORD WINAPI sswseMigrateDBServiceSidsForDowngrade(sswseErrRec* err, const char* khomepath, const char* nodename)
{
    const auto args = sswseArgs("khomepath=%s\nnodename=%s", khomepath, nodename);
    return sswseRunFramed(err, __func__, args,
                          [&](const sswseCall& call) { return migrate<false>(call, khomepath, nodename); });
}
