#include "whatif/description/description.h"
#include "whatif/description/fields.h"
#include "whatif/description/ini.h"
#include "whatif/model/names.h"
#include "whatif/model/registry.h"
#include "whatif/model/service_rules.h"
#include "whatif/model/sids.h"
#include "whatif/model/standard_node.h"
#include "whatif/security/descriptors.h"
#include "whatif/spelling.h"

#include <algorithm>
#include <functional>
#include <stdexcept>

namespace whatif {

namespace {

// The sections are read in the order of this class, whatever their order in the file: later ones name what earlier ones
// made.
class Reader
{
public:
    Reader(std::vector<IniSection> sections, Registry& registry) : sections_(std::move(sections)), registry_(registry)
    {
    }

    Node read()
    {
        each(L"node", [&](const IniLine& line) { readNodeKey(line); });
        if (node_.name.empty())
            fail(L"[node] has no name");
        if (node_.name.size() > MAX_COMPUTERNAME_LENGTH)
            fail(L"[node] has a name of more than " + std::to_wstring(MAX_COMPUTERNAME_LENGTH) + L" characters");
        node_.sid = accountDomainSid(node_);
        if (standardAccounts_)
            addStandardAccounts(node_);
        readAccounts();
        readServices();
        readMembership();
        each(L"security", [&](const IniLine& line) { node_.security[keyOf(line)] = checkedSecurity(line); });
        each(L"drives", [&](const IniLine& line) { node_.drives[keyOf(line)] = unescaped(line.value); });
        readRegistry();
        for (const IniSection& section : sections_)
            fail(L"[" + section.name + L"] is no section of a description");
        return node_;
    }

private:
    // Hands every line of a section to `read` and takes the section off the list.
    void each(const std::wstring& name, const std::function<void(const IniLine&)>& read)
    {
        const auto found = std::find_if(sections_.begin(), sections_.end(),
                                        [&](const IniSection& section) { return sameName(section.name, name); });
        if (found == sections_.end())
            return;
        const IniSection section = std::move(*found);
        sections_.erase(found);
        for (const IniLine& line : section.lines) {
            try {
                read(line);
            } catch (const std::runtime_error& error) {
                throw std::runtime_error(narrow(L"[" + name + L"] " + line.key + L": ") + error.what());
            }
        }
    }

    // The names behind "kind " of the sections that begin so.
    std::vector<std::wstring> named(const std::wstring& kind) const
    {
        std::vector<std::wstring> names;
        for (const IniSection& section : sections_)
            if (sameName(section.name.substr(0, kind.size()), kind))
                names.push_back(section.name.substr(kind.size()));
        return names;
    }

    void readNodeKey(const IniLine& line)
    {
        const std::wstring value = unescaped(line.value);
        if (sameName(line.key, L"version")) {
            const size_t dot = value.find(L'.');
            node_.major = numberOf(value.substr(0, dot));
            node_.minor = dot == std::wstring::npos ? 0 : numberOf(value.substr(dot + 1));
        } else if (sameName(line.key, L"product"))
            node_.productType = static_cast<BYTE>(valueOf(products, value));
        else if (sameName(line.key, L"missing"))
            for (const std::wstring& name : splitAtCommas(line.value))
                node_.missing.insert(name);
        else if (sameName(line.key, L"standard accounts"))
            standardAccounts_ = valueOf({{L"yes", 1}, {L"no", 0}}, value) != 0;
        else if (!readField(node_, nodeFields, line.key, value))
            fail(L"is no key of this section");
    }

    Account* findAccount(const std::wstring& key)
    {
        for (Account& account : node_.accounts)
            if (sameName(keyOf(account), key))
                return &account;
        return nullptr;
    }

    Group* findGroup(const std::wstring& key)
    {
        for (Group& group : node_.groups)
            if (sameName(group.name, key))
                return &group;
        return nullptr;
    }

    Account& accountOf(const IniLine& line)
    {
        Account* const account = findAccount(keyOf(line));
        return account ? *account : (fail(L"is not among the users and domain accounts"), node_.accounts.front());
    }

    void addAccount(const IniLine& line, bool ofDomain)
    {
        const std::wstring key = keyOf(line);
        const size_t separator = key.find(L'\\');
        if ((separator != std::wstring::npos) != ofDomain)
            fail(ofDomain ? L"is no DOMAIN\\name" : L"is no plain name");
        Account* account = findAccount(key);
        if (!account) {
            account = &node_.accounts.emplace_back();
            account->domain = ofDomain ? key.substr(0, separator) : L"";
            account->name = ofDomain ? key.substr(separator + 1) : key;
        }
        account->password = unescaped(line.value);
    }

    void addGroup(const IniLine& line)
    {
        const std::wstring name = keyOf(line);
        Group* group = findGroup(name);
        if (!group) {
            group = &node_.groups.emplace_back();
            group->name = name;
        }
        group->comment = unescaped(line.value);
    }

    void setSid(const IniLine& line)
    {
        const std::wstring key = keyOf(line);
        Account* const account = findAccount(key);
        Group* const group = account ? nullptr : findGroup(key);
        if (sidBytes(line.value).empty())
            fail(L"\"" + line.value + L"\" is not a SID");
        if (!account && !group)
            fail(L"is not among the accounts and groups");
        (account ? account->sid : group->sid) = line.value;
    }

    void readAccounts()
    {
        each(L"users", [&](const IniLine& line) { addAccount(line, false); });
        each(L"domain accounts", [&](const IniLine& line) { addAccount(line, true); });
        each(L"account kinds", [&](const IniLine& line) {
            accountOf(line).use = static_cast<SID_NAME_USE>(valueOf(accountKinds, line.value));
        });
        each(L"account flags", [&](const IniLine& line) { accountOf(line).flags = numberOf(line.value); });
        each(L"managed accounts", [&](const IniLine& line) {
            accountOf(line).managed = true;
            accountOf(line).managedState = numberOf(line.value);
        });
        each(L"groups", [&](const IniLine& line) { addGroup(line); });
        each(L"sids", [&](const IniLine& line) { setSid(line); });
        for (Account& account : node_.accounts)
            if (account.sid.empty())
                account.sid = madeUpSid(account);
        for (Group& group : node_.groups)
            if (group.sid.empty())
                group.sid = newSid(node_);
    }

    // A domain account has the same SID on every node that describes it.
    std::wstring madeUpSid(const Account& account)
    {
        if (account.domain.empty())
            return newSid(node_);
        const std::wstring domain =
            sameName(account.domain, accountDomain(node_)) ? accountDomainSid(node_) : domainSid(account.domain);
        return domain + L'-' + std::to_wstring(domainAccountRid(account.name));
    }

    std::vector<std::wstring> sidsOf(const IniLine& line) const
    {
        std::vector<std::wstring> sids;
        for (const std::wstring& item : splitAtCommas(line.value)) {
            const std::optional<Name> name = resolve(node_, item);
            if (!name && sidBytes(item).empty())
                fail(L"the node has no account \"" + item + L"\"");
            sids.push_back(name ? name->sid : item);
        }
        return sids;
    }

    void readMembership()
    {
        each(L"member of", [&](const IniLine& line) { accountOf(line).memberOf = sidsOf(line); });
        each(L"members", [&](const IniLine& line) {
            Group* const group = findGroup(keyOf(line));
            if (!group)
                fail(L"is not among the groups");
            group->members = sidsOf(line);
        });
        each(L"rights", [&](const IniLine& line) { node_.rights[line.key] = sidsOf(line); });
    }

    // What is no security descriptor is refused here, not when the library asks for it.
    static std::wstring checkedSecurity(const IniLine& line)
    {
        const std::wstring text = unescaped(line.value);
        securityOf(text);
        return text;
    }

    void readServices()
    {
        for (const std::wstring& name : named(L"service ")) {
            Service service;
            service.name = service.displayName = name;
            each(L"service " + name, [&](const IniLine& line) {
                if (sameName(line.key, L"dependencies"))
                    service.dependencies = splitAtCommas(line.value);
                else if (sameName(line.key, L"security"))
                    service.security = checkedSecurity(line);
                else if (!readField(service, serviceFields, line.key, unescaped(line.value)))
                    fail(L"is no key of this section");
            });
            if (service.account.empty())
                service.account = defaultAccount(service.type);
            node_.services.push_back(service);
        }
    }

    void readRegistry()
    {
        for (const std::wstring& path : named(L"registry ")) {
            registry_.createKey(node_, path);
            each(L"registry " + path, [&](const IniLine& line) {
                registry_.setValue(node_, path, keyOf(line), registryValueOf(unescaped(line.value)));
            });
        }
    }

    std::vector<IniSection> sections_;
    Registry& registry_;
    Node node_;
    bool standardAccounts_ = true;
};

} // namespace

Node readDescription(const std::filesystem::path& file, Registry& registry)
{
    const std::vector<IniSection> sections = readIni(file);
    try {
        return Reader(sections, registry).read();
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(narrow(file.wstring()) + ": " + error.what());
    }
}

} // namespace whatif
