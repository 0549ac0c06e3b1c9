#include "whatif/change.h"

namespace whatif {

namespace {

constexpr const wchar_t password[] = L"password";

struct Words
{
    const wchar_t* kind;
    const wchar_t* made; // empty: the attribute says it
    const wchar_t* gone;
};

// By ChangeKind.
constexpr Words words[] = {
    {L"group", L"created", L"deleted"},        {L"member", L"member added", L"member removed"},
    {L"user", L"created", L"deleted"},         {L"right", L"granted", L"revoked"},
    {L"service", L"created", L"deleted"},      {L"service setting", L"", L""},
    {L"registry key", L"created", L"deleted"}, {L"registry value", L"", L""},
    {L"security", L"security", L"security"},
};

// What the line says of a thing with parts: only what is looked for first.
std::wstring summaryOf(const Change& change, const State& state)
{
    std::wstring text;
    for (const wchar_t* const name : {L"comment", L"account", L"start", L"binary path"})
        if (const std::wstring* const part = state.part(name); part && !part->empty())
            text += (text.empty() ? L"" : L", ") + *part;
    return &state == &change.after ? text : L"";
}

// An absent value shows as nothing, an empty text as a text.
std::wstring shown(const Change& change, const State& state)
{
    if (!state.parts.empty())
        return summaryOf(change, state);
    const bool quoted =
        change.kind == ChangeKind::registryValue && state.there && (state.text.empty() || state.text.back() == L' ');
    return quoted ? L'"' + state.text + L'"' : state.text;
}

} // namespace

const wchar_t* wordOf(ChangeKind kind)
{
    return words[static_cast<size_t>(kind)].kind;
}

const std::wstring* State::part(const std::wstring& name) const
{
    for (const auto& [part, value] : parts)
        if (part == name)
            return &value;
    return nullptr;
}

bool State::operator==(const State& other) const
{
    return there == other.there && text == other.text && parts == other.parts;
}

std::wstring actionOf(const Change& change)
{
    const std::wstring action = change.after.there || !change.before.there
                                    ? words[static_cast<size_t>(change.kind)].made
                                    : words[static_cast<size_t>(change.kind)].gone;
    if (change.attribute == password && change.kind != ChangeKind::registryValue)
        return L"password set";
    if (change.kind == ChangeKind::registryValue)
        return (change.attribute.empty() ? L"(default)" : change.attribute) +
               (change.after.there ? L" set" : L" deleted");
    return action.empty() ? change.attribute : action;
}

std::wstring textOf(const Change& change)
{
    const std::wstring text = change.node + L": " + change.object + L": " + actionOf(change);
    const std::wstring before = shown(change, change.before);
    const std::wstring after = shown(change, change.after);
    if (before.empty() && after.empty())
        return text;
    return text + L": " + before + (before.empty() || after.empty() ? L"" : L" -> ") + after;
}

} // namespace whatif
