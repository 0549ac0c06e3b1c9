#include "tests/support/program.h"

#include "cli/text.h"
#include "tests/support/scratch_directory.h"

#include <stdexcept>

namespace support {

namespace {

std::string readAll(HANDLE pipe)
{
    std::string text;
    char piece[4096];
    for (DWORD size = 0; ReadFile(pipe, piece, sizeof piece, &size, nullptr) && size;)
        text.append(piece, size);
    return text;
}

} // namespace

Finished runProgram(const std::string& arguments, const std::string& input)
{
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    HANDLE inputRead, inputWrite, outputRead, outputWrite;
    CreatePipe(&inputRead, &inputWrite, &inherited, 0);
    CreatePipe(&outputRead, &outputWrite, &inherited, 0);
    SetHandleInformation(inputWrite, HANDLE_FLAG_INHERIT, 0);
    SetHandleInformation(outputRead, HANDLE_FLAG_INHERIT, 0);

    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = inputRead;
    startup.hStdOutput = outputWrite;
    startup.hStdError = outputWrite;
    PROCESS_INFORMATION process = {};
    std::wstring command =
        L"\"" + (programDirectory() / L"keswsec.exe").wstring() + L"\" " + cli::wideFromUtf8(arguments);
    Finished result;
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process))
        throw std::runtime_error("keswsec.exe cannot be started");
    CloseHandle(inputRead);
    CloseHandle(outputWrite);
    DWORD written = 0;
    WriteFile(inputWrite, input.data(), static_cast<DWORD>(input.size()), &written, nullptr);
    CloseHandle(inputWrite);
    result.output = readAll(outputRead);
    WaitForSingleObject(process.hProcess, INFINITE);
    GetExitCodeProcess(process.hProcess, &result.status);
    for (HANDLE handle : {outputRead, process.hThread, process.hProcess})
        CloseHandle(handle);
    return result;
}

} // namespace support
