// What reading and writing a description have in common: the keys of its records, the words of its values.
#pragma once

#include "whatif/description/ini.h"
#include "whatif/spelling.h"

#include <stdexcept>

namespace whatif {

template <class Record>
struct Field
{
    const wchar_t* key;
    std::wstring Record::*text;
    DWORD Record::*number; // where `text` is none
};

inline constexpr Field<Node> nodeFields[] = {
    {L"name", &Node::name, nullptr},        {L"domain", &Node::domain, nullptr},
    {L"sid", &Node::sid, nullptr},          {L"minimum password length", nullptr, &Node::minimumPasswordLength},
    {L"next rid", nullptr, &Node::nextRid},
};

inline constexpr Field<Service> serviceFields[] = {
    {L"display name", &Service::displayName, nullptr},
    {L"binary path", &Service::binaryPath, nullptr},
    {L"account", &Service::account, nullptr},
    {L"password", &Service::password, nullptr},
    {L"load order group", &Service::loadOrderGroup, nullptr},
    {L"type", nullptr, &Service::type},
    {L"start", nullptr, &Service::start},
    {L"error control", nullptr, &Service::errorControl},
    {L"tag", nullptr, &Service::tag},
    {L"sid type", nullptr, &Service::sidType},
    {L"security", &Service::security, nullptr},
};

struct Word
{
    const wchar_t* word;
    int value;
};

inline constexpr Word products[] = {
    {L"workstation", VER_NT_WORKSTATION}, {L"domain controller", VER_NT_DOMAIN_CONTROLLER}, {L"server", VER_NT_SERVER}};

inline constexpr Word accountKinds[] = {{L"user", SidTypeUser},
                                        {L"group", SidTypeGroup},
                                        {L"alias", SidTypeAlias},
                                        {L"well-known group", SidTypeWellKnownGroup},
                                        {L"computer", SidTypeComputer}};

[[noreturn]] inline void fail(const std::wstring& text)
{
    throw std::runtime_error(narrow(text));
}

inline DWORD numberOf(const std::wstring& text)
{
    size_t used = 0;
    try {
        const DWORD number = std::stoul(text, &used, 0);
        if (used == text.size())
            return number;
    } catch (const std::logic_error&) {
    }
    fail(L"\"" + text + L"\" is not a number");
}

template <size_t count>
int valueOf(const Word (&words)[count], const std::wstring& text)
{
    std::wstring all;
    for (const Word& word : words) {
        if (sameName(word.word, text))
            return word.value;
        all += (all.empty() ? L"" : L", ") + std::wstring(word.word);
    }
    fail(L"\"" + text + L"\" is none of: " + all);
}

template <class Record, size_t count>
bool readField(Record& record, const Field<Record> (&fields)[count], const std::wstring& key, const std::wstring& value)
{
    for (const Field<Record>& field : fields) {
        if (!sameName(field.key, key))
            continue;
        if (field.text)
            record.*field.text = value;
        else
            record.*field.number = numberOf(value);
        return true;
    }
    return false;
}

template <size_t count>
std::wstring wordOf(const Word (&words)[count], int value)
{
    for (const Word& word : words)
        if (word.value == value)
            return word.word;
    return {};
}

template <class Record, size_t count>
void writeFields(IniWriter& writer, const Record& record, const Record& usual, const Field<Record> (&fields)[count])
{
    for (const Field<Record>& field : fields)
        if (field.text && record.*field.text != usual.*field.text)
            writer.line(field.key, record.*field.text);
        else if (field.number && record.*field.number != usual.*field.number)
            writer.line(field.key, std::to_wstring(record.*field.number));
}

inline std::wstring keyOf(const Account& account)
{
    return account.domain.empty() ? account.name : account.domain + L'\\' + account.name;
}

} // namespace whatif
