#include "home/key_file.h"

#include "frame/files.h"
#include "frame/format.h"
#include "frame/node.h"
#include "frame/text.h"

#include <cstring>

namespace {

DWORD cannotTell(const sswseCall& call, const sswseKeyFileAnswers& answers, DWORD status, DWORD osError,
                 const char* apiName)
{
    if (answers.namesApi)
        sswseApiFailed(call, osError, apiName);
    else
        sswseReport(call, WSE_FIND_HOME, 0, "");
    return status;
}

// A path that is too long is not acted on: cut, it names another file.
DWORD pathTooLong(const sswseCall& call, const sswseKeyFileAnswers& answers)
{
    sswseReport(call, answers.namesApi ? WSE_API_FAILED : WSE_FIND_HOME, ERROR_FILENAME_EXCED_RANGE, "CreateFile",
                "CreateFile");
    return answers.notOpened;
}

DWORD readLine(const sswseCall& call, const char* path, const sswseKeyFileAnswers& answers, sswseKeyLine& line)
{
    const owned::Handle file = sswseOpenToRead(path);
    if (!file)
        return cannotTell(call, answers, answers.notOpened, GetLastError(), "CreateFile");
    if (!sswseReadKeyLine(file.get(), line))
        return cannotTell(call, answers, answers.notRead, GetLastError(), "ReadFile");
    return SSWSE_SUCCESS;
}

// The key file of the home that the local file system shows at `khomepath`.
DWORD readKeyFile(const sswseCall& call, const char* khomepath, const sswseKeyFileAnswers& answers, sswseKeyLine& line)
{
    char path[MAX_PATH];
    if (sswseFormatText(path, "%s\\bin\\kestel.key", khomepath) == sswseFormatOverflow)
        return pathTooLong(call, answers);
    return readLine(call, path, answers, line);
}

} // namespace

bool sswseReadKeyLine(HANDLE file, sswseKeyLine& line)
{
    DWORD read = 0;
    if (!ReadFile(file, line, sizeof line - 1, &read, nullptr))
        return false;
    line[read] = '\0';
    line[strcspn(line, "\r\n")] = '\0';
    return true;
}

const char* sswseHomeKeyOfLine(const char* line)
{
    const char* part = nullptr;
    for (const char* separator = sswseFindBackslash(line); separator; separator = sswseFindBackslash(part))
        part = separator + 1;
    return part;
}

DWORD sswseFindHomeKey(const sswseCall& call, const char* khomepath, const sswseKeyFileAnswers& answers,
                       sswseKeyLine& line, const char** homeKey)
{
    if (const DWORD status = readKeyFile(call, khomepath, answers, line); status != SSWSE_SUCCESS)
        return status;
    *homeKey = sswseHomeKeyOfLine(line);
    if (!*homeKey) {
        sswseReport(call, WSE_FIND_HOME, 0, "");
        return answers.noHomeKey;
    }
    return SSWSE_SUCCESS;
}

DWORD sswseReadKeyFileOnNode(const sswseCall& call, char* khomepath, const char* nodename,
                             const sswseKeyFileAnswers& answers, sswseKeyLine& line)
{
    if (sswseIsLocalNode(nodename))
        return readKeyFile(call, khomepath, answers, line);
    if (strlen(khomepath) > 1)
        khomepath[1] = '$'; // in the caller's own text, and left so: deliberate
    char path[MAX_PATH];
    if (sswseFormatText(path, "\\\\%s\\%s\\bin\\kestel.key", nodename, khomepath) == sswseFormatOverflow)
        return pathTooLong(call, answers);
    return readLine(call, path, answers, line);
}
