#include "journal/kinds.h"

#include "whatif/model/registry_value.h"
#include "whatif/model/service_settings.h"
#include "whatif/security/descriptors.h"

#include <stdexcept>

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

namespace {

void check(ChangeKind kind, const std::wstring& attribute, const std::wstring& text)
{
    if (kind == ChangeKind::security)
        whatif::securityOf(text);
    else if (kind == ChangeKind::registryValue)
        whatif::registryValueOf(text);
    whatif::Service service;
    for (const whatif::ServiceSetting& setting : whatif::serviceSettings())
        if (kind == ChangeKind::serviceSetting && attribute == setting.name)
            setting.set(service, text);
}

} // namespace

void check(const Change& change)
try {
    for (const State* const state : {&change.before, &change.after}) {
        if (state->there && !state->hasParts && !isPassword(change))
            check(change.kind, change.attribute, state->text);
        if (state->hasParts && change.kind == ChangeKind::security)
            throw std::invalid_argument("a text is missing");
        for (const auto& [name, text] : state->parts)
            check(isValue(name)         ? ChangeKind::registryValue
                  : name == L"security" ? ChangeKind::security
                                        : ChangeKind::serviceSetting,
                  name, text);
    }
} catch (const std::runtime_error& error) {
    throw std::invalid_argument(error.what());
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
