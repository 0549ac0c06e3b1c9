// The test program. On Windows it runs its tests when --on-this-machine agrees to what they make; under Wine, whose
// prefix is the project's own, it asks only with --ask. --remove-leftovers removes what runs have left that did not
// come to their end. What ends it before its tests do, names the test and the call under way, and leaves a status other
// than 0.
#include "tests/support/this_machine.h"

#include <gmock/gmock.h>

#include <windows.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <set>

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

BOOL WINAPI onInterruption(DWORD)
{
    fputs(support::removeLeftovers(support::Whose::ours).c_str(), stderr);
    TerminateProcess(GetCurrentProcess(), 3);
    return TRUE;
}

// What the options ask for before any test, and the status that it ends the program with; none when tests are to run.
std::optional<int> runOptions(const std::set<std::string>& options)
{
    for (const std::string& option : options)
        if (option != "--ask" && option != "--on-this-machine" && option != "--remove-leftovers") {
            fprintf(stderr, "no option %s: --on-this-machine, --remove-leftovers, those of --help\n", option.c_str());
            return 2;
        }
    const bool agreed = options.count("--on-this-machine");
    const std::string reason = support::isWine() && !options.count("--ask") ? "" : support::reasonNotToTest(agreed);
    fputs(reason.c_str(), stderr);
    if (!reason.empty())
        return 2;
    if (!options.count("--remove-leftovers"))
        return std::nullopt;
    const std::string removed = support::removeLeftovers(support::Whose::everyones);
    fputs(removed.c_str(), stdout);
    return removed.find("cannot") == std::string::npos ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleMock(&argc, argv);
    if (const std::optional<int> status = runOptions({argv + 1, argv + argc}))
        return *status;
    SetConsoleCtrlHandler(onInterruption, TRUE);
    SetUnhandledExceptionFilter(onException);
    signal(SIGABRT, onAbort);
    atexit(onExit);
    const int status = RUN_ALL_TESTS();
    haveTestsEnded = true;
    return status;
}
