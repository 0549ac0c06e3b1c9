#include "cli/cells.h"

#include "cli/text.h"
#include "cli/trace.h"
#include "cli/values.h"

#include <algorithm>

namespace cli {

namespace {

constexpr std::uintptr_t unstored = ~std::uintptr_t{0}; // an output length before the call

template <class Pointer>
std::uintptr_t slotOf(Pointer pointer)
{
    return reinterpret_cast<std::uintptr_t>(pointer);
}

// The texts one behind the other, each with its terminator.
std::vector<char> bytesOf(const Parameter& parameter, const Value& value)
{
    std::vector<char> bytes;
    if (parameter.kind == Kind::wideText) {
        const std::wstring wide = wideFromUtf8(value.texts.front());
        const char* first = reinterpret_cast<const char*>(wide.c_str());
        return std::vector<char>(first, first + (wide.size() + 1) * sizeof(wchar_t));
    }
    for (const std::string& text : value.texts)
        bytes.insert(bytes.end(), text.c_str(), text.c_str() + text.size() + 1);
    if (parameter.kind == Kind::names)
        bytes.push_back('\0');
    return bytes;
}

std::uintptr_t pointerArray(Cell& cell, const Value& value)
{
    size_t at = 0;
    for (const std::string& text : value.texts) {
        cell.pointers.push_back(cell.bytes.data() + at);
        at += text.size() + 1;
    }
    return value.given ? slotOf(cell.pointers.data()) : 0;
}

std::uintptr_t aceList(Cell& cell, const Value& value)
{
    if (!value.given)
        return 0;
    cell.bytes = aclFromSddl(value.texts.front());
    PACL acl = reinterpret_cast<PACL>(cell.bytes.data());
    cell.nodes.resize(acl->AceCount);
    for (DWORD i = 0; i < acl->AceCount; ++i) {
        AceListNode& node = cell.nodes[i];
        GetAce(acl, i, &node.ace);
        node.sid = &static_cast<ACCESS_ALLOWED_ACE*>(node.ace)->SidStart;
        node.next = i + 1 < acl->AceCount ? &cell.nodes[i + 1] : nullptr;
    }
    return cell.nodes.empty() ? 0 : slotOf(cell.nodes.data());
}

// In memory that the function may release.
std::uintptr_t localAcl(const Value& value)
{
    if (!value.given)
        return 0;
    const std::vector<char> acl = aclFromSddl(value.texts.front());
    void* copy = LocalAlloc(LMEM_FIXED, acl.size());
    if (copy)
        memcpy(copy, acl.data(), acl.size());
    return slotOf(copy);
}

std::uintptr_t emptyBuffer(Cell& cell, size_t size)
{
    cell.bytes.resize(size + 1); // a byte more, so that a size of 0 still comes with a buffer
    return slotOf(cell.bytes.data());
}

std::uintptr_t output(Cell& cell, std::uintptr_t before)
{
    cell.word = before;
    return slotOf(&cell.word);
}

// What the function does with the object, it does through this handle.
std::uintptr_t openObject(const Host& host, const Parameter& parameter, const Value& value, Cell& cell)
{
    if (!value.given)
        return 0;
    const bool isToken = parameter.kind == Kind::token;
    const std::string& name = value.texts.front();
    const DWORD access = isToken ? TOKEN_QUERY | TOKEN_ADJUST_DEFAULT : READ_CONTROL | WRITE_DAC;
    const HANDLE opened = host.openObject(wideFromUtf8(objectName(parameter, name)), access);
    if (!opened)
        throw UsageError(parameter.name + ("=" + name) + " cannot be opened, error " + std::to_string(GetLastError()));
    return cell.word = slotOf(opened);
}

std::uintptr_t prepare(const Host& host, const Parameter& parameter, const Value& value, const Value* previous,
                       Cell& cell)
{
    switch (parameter.kind) {
    case Kind::number:
    case Kind::byte:
        return value.number;
    case Kind::strings:
        return pointerArray(cell, value);
    case Kind::stringsCount:
        return previous->texts.size();
    case Kind::sid:
        return cell.word = value.given ? slotOf(sidFromText(value.texts.front()).release()) : 0;
    case Kind::object:
    case Kind::token:
        return openObject(host, parameter, value, cell);
    case Kind::aclInOut:
        return output(cell, localAcl(value));
    case Kind::aceList:
        return aceList(cell, value);
    case Kind::textOut:
        return emptyBuffer(cell, value.number);
    case Kind::size:
        return previous->number;
    case Kind::length:
        return output(cell, unstored);
    case Kind::wideOut:
        return emptyBuffer(cell, wideOutSize * sizeof(wchar_t));
    case Kind::numberInOut:
        return value.given ? output(cell, value.number) : 0;
    case Kind::traceLine:
        return slotOf(&traceLine);
    case Kind::traceContext:
        return slotOf(host.trace);
    case Kind::text:
    case Kind::secret:
    case Kind::writableText:
    case Kind::wideText:
    case Kind::names:
        return value.given ? slotOf(cell.bytes.data()) : 0;
    case Kind::widePartOut:
    case Kind::numberOut:
    case Kind::sidOut:
    case Kind::stringsOut:
    case Kind::oemStrings:
    case Kind::count:
    case Kind::keyOut:
    case Kind::serviceOut:
        return output(cell, 0);
    case Kind::inserts: // more than one slot
    case Kind::hosted:
        break;
    }
    return 0;
}

std::string textOf(const std::vector<char>& bytes, const Parameter& parameter)
{
    if (parameter.kind != Kind::wideOut)
        return utf8FromAnsi({bytes.data(), strnlen(bytes.data(), bytes.size())});
    const wchar_t* text = reinterpret_cast<const wchar_t*>(bytes.data());
    return utf8FromWide({text, wcsnlen(text, bytes.size() / sizeof(wchar_t))});
}

// What belongs together stands together: a buffer, its size, its length; a list of texts, its count.
const Cell& lengthOfBuffer(const std::vector<Cell>& cells, size_t at)
{
    return cells.at(at + 2);
}

const Cell& countedList(const std::vector<Cell>& cells, size_t at)
{
    return cells.at(at - 1);
}

size_t countOfList(const std::vector<Cell>& cells, size_t at)
{
    return static_cast<size_t>(std::max(cells.at(at + 1).as<int>(), 0));
}

// Whether the function has stored the output.
bool isStored(const Parameter& parameter, const Value& value, const std::vector<Cell>& cells, size_t at, bool good)
{
    const Cell& cell = cells[at];
    switch (parameter.kind) {
    case Kind::writableText:
        return cell.bytes != bytesOf(parameter, value);
    case Kind::textOut:
        return cell.bytes[0] || lengthOfBuffer(cells, at).word != unstored;
    case Kind::wideOut:
        return cell.bytes[0] || cell.bytes[1];
    case Kind::length:
        return cell.word != unstored;
    case Kind::numberInOut:
        return value.given;
    case Kind::numberOut:
        return good;
    case Kind::count:
        return good || countedList(cells, at).word;
    case Kind::stringsOut:
    case Kind::oemStrings:
        return good || cell.word;
    case Kind::sidOut:
    case Kind::aclInOut:
    case Kind::widePartOut:
    case Kind::keyOut:
    case Kind::serviceOut:
        return cell.word;
    default: // no output
        return false;
    }
}

nlohmann::ordered_json valueOf(const Parameter& parameter, const std::vector<Cell>& cells, size_t at)
{
    const Cell& cell = cells[at];
    switch (parameter.kind) {
    case Kind::length:
        return cell.word;
    case Kind::numberInOut:
    case Kind::numberOut:
        return cell.as<DWORD>();
    case Kind::count:
        return cell.as<int>();
    case Kind::stringsOut:
        return textsOf(cell.as<char**>(), countOfList(cells, at), CP_ACP);
    case Kind::oemStrings:
        return textsOf(cell.as<char**>(), countOfList(cells, at), CP_OEMCP);
    case Kind::sidOut:
        return textOfSid(cell.as<PSID>());
    case Kind::aclInOut:
        return sddlOf(cell.as<PACL>());
    case Kind::widePartOut:
        return utf8FromWide(cell.as<const wchar_t*>());
    case Kind::keyOut:
        return nameOfKey(cell.as<HKEY>());
    case Kind::serviceOut:
        return "open";
    default: // buffers and texts
        return textOf(cell.bytes, parameter);
    }
}

} // namespace

std::vector<Cell> prepareCells(const Host& host, const Call& call, Slots& slots)
{
    std::vector<Cell> cells(call.values.size());
    size_t slot = takesRecord(*call.function) ? 1 : 0;
    for (size_t i = 0; i < cells.size(); ++i) {
        const Parameter& parameter = call.function->parameters[i];
        const Value& value = call.values[i];
        if (!value.texts.empty())
            cells[i].bytes = bytesOf(parameter, value);
        if (parameter.kind != Kind::inserts) {
            slots.at(slot++) = prepare(host, parameter, value, i ? &call.values[i - 1] : nullptr, cells[i]);
            continue;
        }
        // A message formatter reads as many inserts as the message has, given or not.
        for (size_t insert = 0; insert < mostInserts; ++insert)
            slots.at(slot++) = slotOf(insert < value.texts.size() ? value.texts[insert].c_str() : "");
    }
    return cells;
}

nlohmann::ordered_json readOutputs(const Call& call, const std::vector<Cell>& cells, bool good)
{
    nlohmann::ordered_json outputs = nlohmann::ordered_json::object();
    for (size_t i = 0; i < cells.size(); ++i) {
        const Parameter& parameter = call.function->parameters[i];
        if (isStored(parameter, call.values[i], cells, i, good))
            outputs[parameter.name] = valueOf(parameter, cells, i);
    }
    return outputs;
}

void releaseCells(const Host& host, const Call& call, const std::vector<Cell>& cells)
{
    for (size_t i = 0; i < cells.size(); ++i) {
        const Cell& cell = cells[i];
        if (!cell.word)
            continue;
        switch (call.function->parameters[i].kind) {
        case Kind::sid:
        case Kind::aclInOut:
            LocalFree(cell.as<HLOCAL>());
            break;
        case Kind::sidOut:
            exported<decltype(sswseFreeMemory)>(host, "sswseFreeMemory")(cell.as<void*>());
            break;
        case Kind::stringsOut:
        case Kind::oemStrings:
            exported<decltype(sswseFreeArrayofStrings)>(host, "sswseFreeArrayofStrings")(cell.as<char**>(),
                                                                                         countOfList(cells, i));
            break;
        case Kind::object:
        case Kind::token:
            host.closeObject(cell.as<HANDLE>());
            break;
        case Kind::serviceOut:
            host.closeService(cell.as<SC_HANDLE>());
            break;
        default: // nothing of its own
            break;
        }
    }
}

} // namespace cli
