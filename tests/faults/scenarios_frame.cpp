// The call frame.
#include "tests/faults/driver.h"

namespace faults {

namespace {

DWORD fillMessage(Stage& s)
{
    EXPORT_OF(s.library(), sswseFillErrMsg)
    (s.rec(), SSWSE_ERROR_MESSAGE(12), ERROR_ACCESS_DENIED, "routine", "Api", "name");
    return 0;
}

DWORD freeMemory(Stage& s)
{
    PSID sid = nullptr;
    const DWORD status = EXPORT_OF(s.library(), sswseConvertUnameToSID)(s.rec(), "svc", &sid);
    EXPORT_OF(s.library(), sswseFreeMemory)(sid);
    return status;
}

DWORD freeStrings(Stage& s)
{
    char** missing = nullptr;
    int count = 0;
    const DWORD status = EXPORT_OF(s.library(), sswseCheckUserPrivileges)(s.rec(), "svc", "0", &missing, &count);
    EXPORT_OF(s.library(), sswseFreeArrayofStrings)(missing, static_cast<size_t>(count));
    return status;
}

void __cdecl receive(void*, const char*, ...) {}

} // namespace

std::vector<Scenario> frameScenarios()
{
    return {
        {"sswseFillErrMsg", fillMessage, "own messages", 0},
        {"sswseFillErrMsg", fillMessage, "a message module", 0, &Stage::putMessageModule},
        {CALL(sswseTraceOn, receive, s.rec(), 0), "on", 1},
        {CALL(sswseTraceOn, nullptr, s.rec(), 0), "no callback", 0},
        {CALL(sswseTraceOff), "off", 1},
        {"sswseFreeMemory", freeMemory, "a SID", 2},
        {"sswseFreeArrayofStrings", freeStrings, "two strings", 0},
        {CALL(sswseIsOSVistaOrAbove), "yes", 1},
        {CALL(sswseIsOSWin7OrAbove), "yes", 1},
        {CALL(sswseIsOSWin8OrAbove), "yes", 1},
        {CALL(sswseIsOSWinDC), "no", 0},
        {CALL(sswseIsOSWinDC), "yes", 1, &Stage::makeDomainController},
    };
}

} // namespace faults
