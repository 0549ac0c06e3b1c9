#include "frame/record.h"

#include "frame/format.h"
#include "frame/message_module.h"
#include "frame/owned.h"

#include <cstdarg>

namespace {

constexpr DWORD languageDefault = MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT);

owned::Local<char> systemText(DWORD osError)
{
    char* text = nullptr;
    FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM, nullptr, osError, languageDefault,
                   reinterpret_cast<char*>(&text), 0, nullptr);
    return owned::Local<char>(text);
}

owned::Local<char> catalogueText(DWORD messageId, va_list* inserts)
{
    char* text = nullptr;
    if (HMODULE module = sswseMessageModule())
        FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_HMODULE, module, messageId, languageDefault,
                       reinterpret_cast<char*>(&text), 0, inserts);
    return owned::Local<char>(text);
}

const char* textOrBlank(const owned::Local<char>& text)
{
    return text ? text.get() : " ";
}

} // namespace

void WINAPIV sswseFillErrMsg(sswseErrRec* err, DWORD messageId, DWORD osError, const char* functionName,
                             const char* apiName, ...)
{
    (void)functionName; // name the reporting routine and call; neither is part of any text
    if (!err)
        return;

    owned::Local<char> osText;
    if (osError) {
        osText = systemText(osError);
        sswseFormatText(err->oserror, "%d", static_cast<int>(osError));
    }

    va_list inserts;
    va_start(inserts, apiName);
    const owned::Local<char> text = catalogueText(messageId, &inserts);
    va_end(inserts);

    char message[sizeof err->message];
    sswseFormatText(message, "%s", textOrBlank(text));
    if (osError)
        sswseFormatText(err->message, "%s\nO/S-Error: (OS %u) %s", message, osError, textOrBlank(osText));
    else
        sswseFormatText(err->message, "%s", message);
}

DWORD sswseBadArgument(const sswseCall& call, const char* argument, DWORD status)
{
    sswseReport(call, WSE_INVALID_PARAMETER, 0, "", argument);
    return status;
}

DWORD sswseBufferTooSmall(const sswseCall& call, const char* buffer, DWORD status)
{
    sswseReport(call, WSE_INSUFFICIENT_BUFFER, 0, "", buffer);
    return status;
}

DWORD sswseOutOfMemory(const sswseCall& call)
{
    return sswseFail(call, WSE_OUT_OF_MEMORY, 0, "malloc");
}
