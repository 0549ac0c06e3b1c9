// The key of the home that this library is installed in: from the key file beside the library, or the environment.
#include "frame/call.h"
#include "frame/files.h"
#include "home/home_environment.h"
#include "home/home_path.h"
#include "home/key_file.h"

#include <cstring>

namespace {

// A key that is too long for the caller is cut without a word: deliberate, unlike one from the environment.
void copyCut(const char* homeKey, char* khkey, size_t khkeyl, size_t* outlen)
{
    size_t length = 0;
    if (khkeyl > 0) {
        length = strnlen(homeKey, khkeyl - 1);
        memcpy(khkey, homeKey, length);
        khkey[length] = '\0';
    }
    if (outlen)
        *outlen = length;
}

} // namespace

DWORD WINAPI sswseGetKestelHomeKey(sswseErrRec* err, char* khkey, size_t khkeyl, size_t* outlen)
{
    return sswseRunFramed(err, __func__, sswseArgs("khkeyl=%Iu", khkeyl), [&](const sswseCall& call) -> DWORD {
        if (!khkey)
            return sswseBadArgument(call, "khkey");
        char path[MAX_PATH];
        char* end = nullptr;
        if (const DWORD status = sswseOwnFile(call, path, end); status != SSWSE_SUCCESS)
            return status;
        sswseNameBeside(path, end, "KESTEL.KEY");
        const owned::Handle file = sswseOpenToRead(path);
        if (!file)
            return sswseHomeTextFromEnvironment(call, "KESTEL_HOME_KEY", "Kestelhomekey", khkey, khkeyl, outlen);
        sswseKeyLine line;
        if (!sswseReadKeyLine(file.get(), line))
            return SSWSE_FAILURE; // without a message: deliberate, the only failure here that says nothing
        const char* const homeKey = sswseHomeKeyOfLine(line);
        if (!homeKey)
            return sswseFail(call, WSE_FIND_HOME, 0, "");
        copyCut(homeKey, khkey, khkeyl, outlen);
        return SSWSE_SUCCESS;
    });
}
