#include "acl/findings.h"

#include "frame/format.h"
#include "frame/text.h"

#include <cstring>

namespace {

// What is to be said of the object, in a block of its own.
owned::Heap<char> textOf(const sswseFinding& finding)
{
    const size_t size = strlen(finding.verb) + strlen(finding.name) + strlen(finding.detail) + 1;
    owned::Heap<char> text = owned::allocate<char>(size);
    if (text)
        sswseFormat(text.get(), size, "%s%s%s", finding.verb, finding.name, finding.detail);
    return text;
}

owned::Heap<char> lineOf(const char* path, const char* text)
{
    const size_t size = strlen(path) + strlen(text) + 2;
    owned::Heap<char> line = owned::allocate<char>(size);
    if (line)
        sswseFormat(line.get(), size, "%s %s", path, text);
    return line;
}

// A directory that can be neither listed nor read is told once.
DWORD addLine(const sswseCall& call, sswseStringList& lines, owned::Heap<char> line)
{
    const DWORD count = lines.count;
    if (line && count && strcmp(lines.entries[count - 1], line.get()) == 0)
        return SSWSE_SUCCESS;
    return sswseAddString(call, lines, std::move(line));
}

void keepFirst(const sswseCall& call, sswseFindings& findings, const char* path, const char* text)
{
    if (findings.first.isKept)
        return;
    sswseReport(call, WSE_TEXT_2, 0, "", path, text);
    sswseKeepMessage(call, findings.first);
}

} // namespace

DWORD sswseAddFinding(const sswseCall& call, sswseFindings& findings, const wchar_t* path, const sswseFinding& finding)
{
    sswseClearRecord(call.rec); // of the message of an object that cannot be read
    owned::Heap<char> pathText;
    if (sswseToMultibyte(call, path, pathText) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    const owned::Heap<char> text = textOf(finding);
    if (!text)
        return sswseOutOfMemory(call);
    if (findings.out.wanted() && addLine(call, findings.lines, lineOf(pathText.get(), text.get())) != SSWSE_SUCCESS)
        return SSWSE_FAILURE;
    keepFirst(call, findings, pathText.get(), text.get());
    return findings.out.wanted() ? SSWSE_YES : SSWSE_NO;
}

DWORD sswseAddUnreadable(const sswseCall& call, sswseFindings& findings, const wchar_t* path, DWORD osError)
{
    sswseFinding finding;
    finding.verb = "cannot be read";
    sswseFormatText(finding.detail, " (%lu)", osError);
    return sswseAddFinding(call, findings, path, finding);
}

DWORD sswseAnswerFindings(const sswseCall& call, sswseFindings& findings, DWORD status)
{
    if (status == SSWSE_FAILURE)
        return status;
    sswseLeaveKeptMessage(call, findings.first);
    sswseHandOutStrings(findings.lines, findings.out);
    return findings.first.isKept ? SSWSE_NO : SSWSE_YES;
}
