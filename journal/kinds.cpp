#include "journal/kinds.h"

namespace journal {

namespace {

using whatif::ChangeKind;

constexpr wchar_t password[] = L"password";
constexpr wchar_t valuePart[] = L"value ";

std::wstring lostNever(const Machine& /*machine*/, const Change& /*what*/, const State& /*wanted*/)
{
    return {};
}

// A new account of the same name would be another one.
std::wstring lostAccount(const Machine& /*machine*/, const Change& /*what*/, const State& wanted)
{
    return wanted.there ? L"its SID is lost" : L"";
}

const Kind kinds[] = {
    {ChangeKind::group, readGroup, writeGroup, lostAccount},
    {ChangeKind::member, readMember, writeMember, lostNever},
    {ChangeKind::user, readUser, writeUser, lostAccount},
    {ChangeKind::right, readRight, writeRight, lostNever},
    {ChangeKind::service, readService, writeService, lostService},
    {ChangeKind::serviceSetting, readServiceSetting, writeServiceSetting, lostService},
    {ChangeKind::registryKey, readKey, writeKey, lostNever},
    {ChangeKind::registryValue, readValue, writeValue, lostNever},
    {ChangeKind::security, readSecurity, writeSecurity, lostNever},
};

bool isValue(const std::wstring& part)
{
    return part.compare(0, wcslen(valuePart), valuePart) == 0;
}

// What a service or key is given after it has been made.
bool comesLater(const std::wstring& part)
{
    return isValue(part) || part == L"security" || part == L"SID type" || part == L"subkeys";
}

} // namespace

const Kind& kindOf(const Change& change)
{
    return kinds[static_cast<size_t>(change.kind)];
}

bool isPassword(const Change& change)
{
    return change.attribute == password &&
           (change.kind == ChangeKind::user || change.kind == ChangeKind::serviceSetting);
}

bool isSame(const State& expected, const State& found)
{
    if (expected.there != found.there || expected.text != found.text)
        return false;
    for (const auto& [name, text] : expected.parts) {
        const std::wstring* const part = found.part(name);
        if (!part || *part != text)
            return false;
    }
    return true;
}

std::wstring contentBeyond(const State& expected, const State& found)
{
    for (const auto& [name, text] : found.parts) {
        if (isValue(name) && !expected.part(name))
            return name;
        if ((name == L"members" || name == L"subkeys") && !text.empty())
            return std::wstring(name).append(L" ").append(text);
    }
    return {};
}

bool isBegun(const State& found, const State& wanted)
{
    if (!found.there || !wanted.there || wanted.parts.empty())
        return false;
    for (const auto& [name, text] : wanted.parts) {
        const std::wstring* const part = found.part(name);
        if (part ? *part != text && (!comesLater(name) || isValue(name)) : !comesLater(name))
            return false;
    }
    return contentBeyond(wanted, found).empty();
}

std::wstring nameOf(const std::wstring& object)
{
    return object.substr(object.find(L' ') + 1);
}

} // namespace journal
