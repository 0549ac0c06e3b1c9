// The services of a node that start under an account, or that a home's executables run as.
#include "frame/call.h"
#include "frame/kept_message.h"
#include "frame/string_list.h"
#include "home/home_path.h"
#include "services/service_walk.h"

namespace {

// The message of the first service that may not be read stays, with the success.
DWORD listServices(const sswseCall& call, const sswseServiceQuestion& question, const sswseStringsOut& services)
{
    sswseServiceWalk walk;
    if (sswsePrepareServiceWalk(call, question, walk) != SSWSE_SUCCESS ||
        sswseOpenServiceWalk(call, question.nodename, walk) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    sswseStringList names;
    sswseKeptMessage unreadable;
    DWORD answer = SSWSE_YES;
    while ((answer = sswseNextService(call, walk)) == SSWSE_YES) {
        if (!walk.config.data)
            sswseKeepMessage(call, unreadable);
        else if (services.wanted() && sswseAddString(call, names, walk.name) != SSWSE_SUCCESS)
            return SSWSE_FAILURE;
    }
    if (answer != SSWSE_NO)
        return answer;
    sswseHandOutStrings(names, services);
    sswseLeaveKeptMessage(call, unreadable);
    return SSWSE_SUCCESS;
}

DWORD checkLists(const sswseCall& call, const sswseStringsOut& services)
{
    return sswseCheckStringsOut(call, services, "services", "count");
}

} // namespace

DWORD WINAPI sswseGetAllServicesForUser(sswseErrRec* err, const char* username, const char* nodename, char*** services,
                                        int* count)
{
    const auto args = sswseArgs("username=%s\nnodename=%s", username, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        const sswseStringsOut list = sswseClearStrings(services, count);
        if (!username)
            return sswseBadArgument(call, "username");
        if (const DWORD status = checkLists(call, list); status != SSWSE_SUCCESS)
            return status;
        return listServices(call, {nodename, username}, list);
    });
}

DWORD WINAPI sswseGetAllServicesInKHForUser(sswseErrRec* err, const char* khomepath, const char* username,
                                            const char* nodename, char*** services, int* count)
{
    const auto args = sswseArgs("khomepath=%s\nusername=%s\nnodename=%s", khomepath, username, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        const sswseStringsOut list = sswseClearStrings(services, count);
        DWORD status = sswseCheckHomePath(call, khomepath);
        if (status == SSWSE_SUCCESS)
            status = checkLists(call, list);
        if (status != SSWSE_SUCCESS)
            return status;
        return listServices(call, {nodename, username, true, khomepath}, list);
    });
}
