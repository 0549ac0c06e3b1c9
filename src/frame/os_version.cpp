#include "frame/os_version.h"

#include "frame/call.h"

#include <atomic>

namespace {

// Written without a lock: two threads that find it empty write the same values. A major version of 0 is "not read yet",
// so it is stored last.
struct
{
    std::atomic<DWORD> major;
    std::atomic<DWORD> minor;
    std::atomic<BYTE> productType;
} version;

bool atLeast(DWORD major, DWORD minor)
{
    return version.major > major || (version.major == major && version.minor >= minor);
}

template <class Test>
DWORD answer(sswseErrRec* err, const char* function, Test test)
{
    return sswseRunFramed(err, function, sswseNoArgs{}, [&](const sswseCall& call) -> DWORD {
        if (version.major == 0 && sswseGetOSVer(call.rec) == SSWSE_FAILURE)
            return SSWSE_FAILURE;
        return test() ? SSWSE_YES : SSWSE_NO;
    });
}

} // namespace

DWORD sswseGetOSVer(sswseErrRec* err)
{
    return sswseRunFramed(err, __func__, sswseNoArgs{}, [&](const sswseCall& call) -> DWORD {
        OSVERSIONINFOEXA info = {};
        static_assert(sizeof info == 156, "the size that the platform expects");
        info.dwOSVersionInfoSize = sizeof info;
        if (!GetVersionExA(reinterpret_cast<OSVERSIONINFOA*>(&info)))
            return sswseFail(call, WSE_OS_VERSION, GetLastError(), "GetVersionEx");
        version.minor = info.dwMinorVersion;
        version.productType = info.wProductType;
        version.major = info.dwMajorVersion;
        return SSWSE_SUCCESS;
    });
}

DWORD WINAPI sswseIsOSVistaOrAbove(sswseErrRec* err)
{
    return answer(err, __func__, [] { return atLeast(6, 0); });
}

DWORD WINAPI sswseIsOSWin7OrAbove(sswseErrRec* err)
{
    return answer(err, __func__, [] { return atLeast(6, 1); });
}

DWORD WINAPI sswseIsOSWin8OrAbove(sswseErrRec* err)
{
    return answer(err, __func__, [] { return atLeast(6, 2); });
}

// No version bound here but one in the next: deliberate.
DWORD WINAPI sswseIsOSWinDC(sswseErrRec* err)
{
    return answer(err, __func__, [] { return version.productType == VER_NT_DOMAIN_CONTROLLER; });
}

DWORD sswseIsOSWinPDC(sswseErrRec* err)
{
    return answer(err, __func__, [] { return version.major > 5 && version.productType == VER_NT_DOMAIN_CONTROLLER; });
}
