#include "services/service_key.h"

#include "frame/call.h"
#include "frame/text.h"
#include "services/role_table.h"

#include <cstring>
#include <cwchar>
#include <iterator>

namespace {

constexpr size_t workSize = 512;

struct KeySuffix
{
    const char* servicePrefix;
    const char* suffix;
};

// Executables that play another role for services of these names.
constexpr KeySuffix keySuffixes[] = {{"KestelVLMService", "-vlm"}, {"KestelMONDBService", "-mondb"}};

void appendCut(char (&text)[workSize], const char* tail)
{
    strncat(text, tail, workSize - 1 - strlen(text));
}

// The last backslash counts even when it belongs to an argument, and quotes are not taken off: deliberate.
void executableName(const char* commandLine, char (&name)[workSize])
{
    while (const char* const backslash = sswseFindBackslash(commandLine))
        commandLine = backslash + 1;
    sswseFormatText(name, "%s", commandLine);
    name[strcspn(name, " ")] = '\0';
    if (!strchr(name, '.'))
        appendCut(name, ".exe");
}

} // namespace

DWORD sswseGetServiceKeyFromBinPath(sswseErrRec* err, const char* lpBinPath, const char* svcname, char* svckey,
                                    size_t svckeyl)
{
    const auto args = sswseArgs("lpBinPath = %s\nsvcname = %s\nsvckeyl = %Iu", lpBinPath, svcname, svckeyl);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall& call) -> DWORD {
        // 3 for a missing argument, not 4: deliberate, each caller answers in its own way.
        if (!lpBinPath)
            return sswseBadArgument(call, "Service Binary Path", SSWSE_FAILURE);
        if (!svcname)
            return sswseBadArgument(call, "Service Name", SSWSE_FAILURE);
        char key[workSize];
        executableName(lpBinPath, key);
        for (const KeySuffix& entry : keySuffixes)
            if (_strnicmp(svcname, entry.servicePrefix, strlen(entry.servicePrefix)) == 0)
                appendCut(key, entry.suffix);
        if (svckeyl > 0) {
            sswseFormat(svckey, svckeyl - 1, "%s", key);
            svckey[svckeyl - 1] = '\0';
        }
        return SSWSE_SUCCESS;
    });
}

sswseServicePathPart sswseServicePath(const wchar_t* commandLine)
{
    constexpr wchar_t objectPrefix[] = L"\\??\\";
    constexpr size_t prefixLength = std::size(objectPrefix) - 1;
    const wchar_t* begin = commandLine ? commandLine : L"";
    const bool isQuoted = *begin == L'"';
    if (isQuoted)
        ++begin;
    if (wcsncmp(begin, objectPrefix, prefixLength) == 0)
        begin += prefixLength;
    const wchar_t* const quote = isQuoted ? wcschr(begin, L'"') : nullptr;
    return {begin, quote ? static_cast<size_t>(quote - begin) : wcslen(begin)};
}

DWORD sswseGetServiceIndex(sswseErrRec* err, const char* svckey, const char* khtype, int* index)
{
    const auto args = sswseArgs("svckey = %s\nkhtype = %s", svckey, khtype);
    return sswseRunFramed(err, __func__, args, [&](const sswseCall&) -> DWORD {
        const sswseRoleTable* const table = svckey && khtype ? sswseRoleTableOf(khtype) : nullptr;
        if (!table)
            return SSWSE_FAILURE;
        for (int i = 0; i < table->count; ++i)
            if (sswseSameServiceKey(table->rows[i].svckey, svckey)) {
                *index = i;
                return SSWSE_SUCCESS;
            }
        return SSWSE_FAILURE; // an executable without a row is nobody's error: no message
    });
}
