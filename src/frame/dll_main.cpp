// The library's life in a process: nothing but the trace lock is set up and torn down.
#include "frame/trace.h"

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID)
{
    if (reason == DLL_PROCESS_ATTACH)
        sswseInitTrace();
    else if (reason == DLL_PROCESS_DETACH)
        sswseEndTrace();
    return TRUE;
}
