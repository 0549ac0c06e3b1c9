// One change of a node, for programs to act on: what it is about, what was there before and what is there after. The
// line of the plan follows from it.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace whatif {

enum class ChangeKind
{
    group,          // parts: comment, sid; of a deleted one also members, which are SIDs joined by commas
    member,         // attribute: the member's SID; its name
    user,           // parts: sid; or the attribute "password", whose values are not told
    right,          // attribute: the holder's SID; its name
    service,        // parts: the settings by their names; of a deleted one also SID type and security
    serviceSetting, // attribute: a name of service_settings.h; or "password", whose values are not told
    registryKey,    // parts: of a deleted one "value NAME" for each value, and its security
    registryValue,  // attribute: the value's name; as textOf of registry_value.h has it
    security        // SDDL, as textOf of descriptors.h has it
};
const wchar_t* wordOf(ChangeKind kind); // "group", "service setting", "registry key"

// What is there: nothing, a text, or a text for each part.
struct State
{
    using Part = std::pair<std::wstring, std::wstring>; // name, text
    using Parts = std::vector<Part>;

    State() = default; // nothing is there
    State(std::wstring whole) : there(true), text(std::move(whole)) {}
    State(Parts all) : there(true), hasParts(true), parts(std::move(all)) {}

    const std::wstring* part(const std::wstring& name) const; // NULL when there is none
    bool operator==(const State& other) const;
    bool operator!=(const State& other) const { return !(*this == other); }

    bool there = false;
    bool hasParts = false; // also when there are none of them
    std::wstring text;
    Parts parts;
};

struct Change
{
    ChangeKind kind = ChangeKind::group;
    std::wstring node;      // computer name
    std::wstring object;    // "group KES_DBA", "service KestelService", "registry HKLM\\Software\\Kestel", "file C:\\x"
    std::wstring attribute; // what of the object; empty for the object itself
    State before;
    State after;
};

std::wstring actionOf(const Change& change); // "created", "member added", "KESTEL_HOME_TYPE set", "security"

// One line of the plan as it is printed.
std::wstring textOf(const Change& change);

} // namespace whatif
