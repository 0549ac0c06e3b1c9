#include "services/service_walk.h"

#include "accounts/principal_names.h"
#include "frame/node.h"
#include "home/home_path.h"
#include "services/service_key.h"

#include <cstddef>
#include <cwchar>

namespace {

constexpr DWORD pieceSize = 64 * 1024;

// ---- the manager's list ------------------------------------------------------------------------------------------

DWORD readPiece(const sswseCall& call, sswseServiceWalk& walk)
{
    walk.count = walk.next = 0;
    DWORD needed = 0;
    const BOOL whole = EnumServicesStatusExW(walk.scm.get(), SC_ENUM_PROCESS_INFO, SERVICE_WIN32, SERVICE_STATE_ALL,
                                             reinterpret_cast<BYTE*>(walk.piece.get()), pieceSize, &needed, &walk.count,
                                             &walk.resume, nullptr);
    const DWORD osError = whole ? ERROR_SUCCESS : GetLastError();
    walk.isLast = whole != FALSE;
    // More to come, but nothing here: that would never end.
    if (!whole && (osError != ERROR_MORE_DATA || walk.count == 0))
        return sswseFail(call, WSE_ENUMERATE_SERVICES, osError, "EnumServicesStatusExW");
    return SSWSE_SUCCESS;
}

// 1 with the name of the next service, 0, 3.
DWORD nextName(const sswseCall& call, sswseServiceWalk& walk)
{
    while (walk.next == walk.count) {
        if (walk.isLast)
            return SSWSE_NO;
        if (readPiece(call, walk) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
    }
    walk.name = walk.piece.get()[walk.next++].lpServiceName;
    return SSWSE_YES;
}

// 2, or 3 with the error in `config`.
DWORD readConfig(const sswseCall& call, SC_HANDLE scm, const wchar_t* name, sswseServiceConfig& config)
{
    config = {};
    const owned::ServiceHandle service(OpenServiceW(scm, name, SERVICE_QUERY_CONFIG));
    if (service)
        return sswseReadServiceConfig(call, service.get(), config);
    config.osError = GetLastError();
    return sswseFail(call, WSE_OPEN_SERVICE, config.osError, "OpenServiceW");
}

// ---- what is asked for -------------------------------------------------------------------------------------------

bool isInHome(const QUERY_SERVICE_CONFIGW& config, const wchar_t* home)
{
    const sswseServicePathPart path = sswseServicePath(config.lpBinaryPathName);
    const int length = static_cast<int>(wcslen(home));
    return path.length > wcslen(home) && path.begin[length] == L'\\' &&
           CompareStringOrdinal(path.begin, length, home, length, TRUE) == CSTR_EQUAL;
}

// Looks the account of a start name up. One that does not exist is nobody's.
DWORD lookUp(const sswseCall& call, const sswseServiceWalk& walk, const wchar_t* startName, bool& isWanted)
{
    owned::Heap<void> sid;
    DWORD osError = ERROR_SUCCESS;
    const DWORD status =
        sswseSidOfPrincipal(call, startName[0] ? startName : sswseLocalSystem, walk.node.get(), sid, &osError);
    isWanted = status == SSWSE_SUCCESS && EqualSid(sid.get(), walk.account.get());
    if (status == SSWSE_SUCCESS || osError != ERROR_NONE_MAPPED)
        return status;
    sswseClearRecord(call.rec);
    return SSWSE_SUCCESS;
}

DWORD remember(const sswseCall& call, sswseServiceWalk& walk, const wchar_t* startName, bool isWanted)
{
    const size_t bytes = offsetof(sswseStartAccount, name) + (wcslen(startName) + 1) * sizeof(wchar_t);
    auto known = owned::allocate<sswseStartAccount>(bytes);
    if (!known)
        return sswseOutOfMemory(call);
    known->isWanted = isWanted;
    wcscpy(known->name, startName);
    if (!walk.startAccounts.append(std::move(known)))
        return sswseOutOfMemory(call);
    return SSWSE_SUCCESS;
}

// 1, 0, 3. Each start name is looked up when it is met first.
DWORD startsUnderAccount(const sswseCall& call, sswseServiceWalk& walk, const wchar_t* startName)
{
    for (DWORD i = 0; i < walk.startAccounts.count; ++i)
        if (_wcsicmp(walk.startAccounts.entries[i]->name, startName) == 0)
            return walk.startAccounts.entries[i]->isWanted ? SSWSE_YES : SSWSE_NO;
    bool isWanted = false;
    if (lookUp(call, walk, startName, isWanted) != SSWSE_SUCCESS ||
        remember(call, walk, startName, isWanted) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    return isWanted ? SSWSE_YES : SSWSE_NO;
}

// The path first: services elsewhere cost no look-up.
DWORD isAskedFor(const sswseCall& call, sswseServiceWalk& walk)
{
    const QUERY_SERVICE_CONFIGW& config = *walk.config.data;
    if (walk.home && !isInHome(config, walk.home.get()))
        return SSWSE_NO;
    return walk.account ? startsUnderAccount(call, walk, sswseStartName(config)) : DWORD{SSWSE_YES};
}

} // namespace

DWORD sswsePrepareServiceWalk(const sswseCall& call, const sswseServiceQuestion& question, sswseServiceWalk& walk)
{
    owned::Heap<char> path;
    if (question.isOfHome && (sswseHomePath(call, question.khomepath, path) != SSWSE_SUCCESS ||
                              sswseToWide(call, path.get(), walk.home) != SSWSE_SUCCESS))
        return SSWSE_FAILURE;
    if (sswseNodeToWide(call, question.nodename, walk.node) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    return question.username ? sswseSidOfPrincipal(call, question.username, walk.node.get(), walk.account)
                             : DWORD{SSWSE_SUCCESS};
}

DWORD sswseOpenServiceWalk(const sswseCall& call, const char* nodename, sswseServiceWalk& walk)
{
    if (sswseOpenScm(call, nodename, SC_MANAGER_CONNECT | SC_MANAGER_ENUMERATE_SERVICE, walk.scm) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    walk.piece = owned::allocate<ENUM_SERVICE_STATUS_PROCESSW>(pieceSize);
    if (!walk.piece)
        return sswseOutOfMemory(call);
    return SSWSE_SUCCESS;
}

DWORD sswseNextService(const sswseCall& call, sswseServiceWalk& walk)
{
    for (;;) {
        if (const DWORD found = nextName(call, walk); found != SSWSE_YES)
            return found;
        if (readConfig(call, walk.scm.get(), walk.name, walk.config) == SSWSE_SUCCESS) {
            if (const DWORD answer = isAskedFor(call, walk); answer != SSWSE_NO)
                return answer;
        } else if (walk.config.osError == ERROR_ACCESS_DENIED) {
            walk.config.data.reset();
            return SSWSE_YES;
        } else if (!sswseIsServiceGone(walk.config.osError)) {
            return SSWSE_FAILURE;
        } else {
            sswseClearRecord(call.rec);
        }
    }
}

bool sswseIsServiceGone(DWORD osError)
{
    return osError == ERROR_SERVICE_DOES_NOT_EXIST || osError == ERROR_SERVICE_MARKED_FOR_DELETE;
}
