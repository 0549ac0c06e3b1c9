// The name of a home: of the library's own, and of the home at a path.
#include "home/home_name.h"

#include "frame/call.h"
#include "home/home_environment.h"
#include "home/home_path.h"
#include "home/home_registry.h"
#include "home/home_values.h"

#include <cstring>

namespace {

constexpr sswseHomeValueNames nameNames = {"KESTEL_HOME_NAME", "Kestelhomename", "KestelHome Name"};

DWORD nameOfHome(const sswseCall& call, const char* homeKey, char* khname, size_t khnamel, size_t* outlen)
{
    sswseMachineKey home;
    DWORD status = sswseOpenHomeA(call, homeKey, nullptr, KEY_QUERY_VALUE, home);
    if (status == SSWSE_SUCCESS)
        status = sswseCopyHomeValue(call, home.key.get(), nameNames, khname, khnamel, nullptr);
    if (status == SSWSE_SUCCESS && outlen)
        *outlen = strlen(khname); // without the terminator, unlike the other readers of such values
    return status;
}

} // namespace

DWORD WINAPI sswseGetKestelHomeName(sswseErrRec* err, char* khname, size_t khnamel, size_t* outlen)
{
    return sswseRunFramed(err, __func__, sswseArgs("khnamel=%Iu", khnamel), [&](const sswseCall& call) -> DWORD {
        if (!khname)
            return sswseBadArgument(call, nameNames.noBuffer);
        char homeKey[260];
        if (sswseGetKestelHomeKey(call.rec, homeKey, sizeof homeKey, nullptr) == SSWSE_SUCCESS)
            return nameOfHome(call, homeKey, khname, khnamel, outlen);
        // The record is not cleared first: a name from the environment leaves the home key's failure in it. Deliberate.
        return sswseHomeTextFromEnvironment(call, nameNames.value, nameNames.shortBuffer, khname, khnamel, outlen);
    });
}

DWORD sswseGetKestelHomeNameForKHPath(sswseErrRec* err, char* khomepath, char* khname, size_t khnamel, size_t* outlen,
                                      const char* nodename)
{
    const auto args = sswseArgs("KhomePath=%s\nkhnamel=%Iu\nnodename=%s", khomepath, khnamel, nodename);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        return sswseCopyHomeValueOfPath(call, khomepath, nameNames, khname, khnamel, outlen, nodename);
    });
}

DWORD sswseNameOfHome(const sswseCall& call, const char* khomepath, const char* nodename, char (&khname)[512])
{
    DWORD status = sswseCheckHomePath(call, khomepath);
    if (status != SSWSE_SUCCESS)
        return status;
    if (khomepath) {
        owned::Heap<char> path; // a node's share is written into it
        status = sswseHomePath(call, khomepath, path);
        if (status == SSWSE_SUCCESS)
            status = sswseGetKestelHomeNameForKHPath(call.rec, path.get(), khname, sizeof khname, nullptr, nodename);
    } else {
        status = sswseGetKestelHomeName(call.rec, khname, sizeof khname, nullptr);
    }
    if (status == SSWSE_SUCCESS)
        sswseClearRecord(call.rec); // a name from the environment comes with a message
    return status;
}
