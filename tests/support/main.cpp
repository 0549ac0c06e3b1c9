// The test program. What ends it before its tests do, names the test and the call under way, and leaves a status other
// than 0.
#include "tests/support/last_words.h"

#include <gmock/gmock.h>

#include <windows.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

std::string support::underWay;

namespace {

bool haveTestsEnded = false;

[[noreturn]] void end(const char* how, const void* where = nullptr)
{
    const testing::TestInfo* const test = testing::UnitTest::GetInstance()->current_test_info();
    fflush(stdout);
    fprintf(stderr, "%s at %p in %s.%s %s\n", how, where, test ? test->test_suite_name() : "no",
            test ? test->name() : "test", support::underWay.c_str());
    fflush(stderr);
    TerminateProcess(GetCurrentProcess(), 3);
    abort();
}

LONG WINAPI onException(EXCEPTION_POINTERS* exception)
{
    char how[] = "exception 00000000";
    snprintf(how, sizeof how, "exception %08lx", exception->ExceptionRecord->ExceptionCode);
    end(how, exception->ExceptionRecord->ExceptionAddress);
}

void onAbort(int)
{
    end("abort");
}

void onExit()
{
    if (!haveTestsEnded)
        end("exit");
}

} // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleMock(&argc, argv);
    SetUnhandledExceptionFilter(onException);
    signal(SIGABRT, onAbort);
    atexit(onExit);
    const int status = RUN_ALL_TESTS();
    haveTestsEnded = true;
    return status;
}
