#include "whatif/description/description.h"
#include "whatif/description/fields.h"
#include "whatif/description/ini.h"
#include "whatif/model/names.h"
#include "whatif/model/registry.h"
#include "whatif/model/service_rules.h"

#include <algorithm>

namespace whatif {

namespace {

void writeNode(IniWriter& writer, const Node& node)
{
    writer.section(L"node");
    writeFields(writer, node, Node(), nodeFields);
    writer.line(L"version", std::to_wstring(node.major) + L'.' + std::to_wstring(node.minor));
    writer.line(L"product", wordOf(products, node.productType));
    if (!node.missing.empty())
        writer.list(L"missing", {node.missing.begin(), node.missing.end()});
    writer.line(L"standard accounts", node.readsMachine ? L"yes" : L"no");
}

// One section with a line for each account that has something to say there.
template <class Value>
void writeAccounts(IniWriter& writer, const Node& node, const std::wstring& section, Value value)
{
    writer.section(section);
    for (const Account& account : node.accounts)
        if (const std::optional<std::wstring> text = value(account))
            writer.line(keyOf(account), *text);
}

template <class Text>
std::optional<std::wstring> when(bool condition, const Text& text)
{
    return condition ? std::optional<std::wstring>(text) : std::nullopt;
}

// By names where the names lead back to the SIDs.
std::vector<std::wstring> namesOf(const Node& node, const std::vector<std::wstring>& sids)
{
    std::vector<std::wstring> names;
    for (const std::wstring& sid : sids) {
        const std::wstring name = printableName(node, sid);
        const std::optional<Name> back = node.readsMachine ? std::nullopt : resolve(node, name);
        names.push_back(back && back->sid == sid ? name : sid);
    }
    return names;
}

void writeAllAccounts(IniWriter& writer, const Node& node)
{
    writeAccounts(writer, node, L"users",
                  [](const Account& account) { return when(account.domain.empty(), account.password); });
    writeAccounts(writer, node, L"domain accounts",
                  [](const Account& account) { return when(!account.domain.empty(), account.password); });
    writeAccounts(writer, node, L"account kinds", [](const Account& account) {
        return when(account.use != SidTypeUser, wordOf(accountKinds, account.use));
    });
    writeAccounts(writer, node, L"account flags",
                  [](const Account& account) { return when(account.flags != 0, std::to_wstring(account.flags)); });
    writeAccounts(writer, node, L"managed accounts",
                  [](const Account& account) { return when(account.managed, std::to_wstring(account.managedState)); });
    writer.section(L"groups");
    for (const Group& group : node.groups)
        writer.line(group.name, group.comment);
    writeAccounts(writer, node, L"sids", [](const Account& account) { return when(true, account.sid); });
    for (const Group& group : node.groups)
        writer.line(group.name, group.sid);
}

void writeMembership(IniWriter& writer, const Node& node)
{
    writer.section(L"member of");
    for (const Account& account : node.accounts)
        if (!account.memberOf.empty())
            writer.list(keyOf(account), namesOf(node, account.memberOf));
    writer.section(L"members");
    for (const Group& group : node.groups)
        if (!group.members.empty() || node.readsMachine)
            writer.list(group.name, namesOf(node, group.members));
    writer.section(L"rights");
    for (const auto& [right, sids] : node.rights)
        writer.list(right, namesOf(node, sids));
}

void writeServices(IniWriter& writer, const Node& node)
{
    Service usual;
    for (const Service& service : node.services) {
        if (service.deleted)
            continue;
        writer.section(L"service " + service.name, true);
        usual.account = defaultAccount(service.type);
        usual.displayName = service.name;
        writeFields(writer, service, usual, serviceFields);
        if (!service.dependencies.empty())
            writer.list(L"dependencies", service.dependencies);
    }
}

// Keys that only lead to others follow from them.
void writeRegistry(IniWriter& writer, const Node& node, const Registry& registry, const std::wstring& path)
{
    const std::vector<std::wstring> subkeys = registry.subkeys(node, path);
    const auto values = registry.values(node, path);
    if (!path.empty() && (subkeys.empty() || !values.empty()))
        writer.section(L"registry " + path, true);
    for (const auto& [name, value] : values)
        writer.line(name, textOf(value));
    for (const std::wstring& name : subkeys)
        writeRegistry(writer, node, registry, path.empty() ? name : path + L'\\' + name);
}

} // namespace

void writeDescription(const std::filesystem::path& file, const Node& node, const Registry& registry)
{
    IniWriter writer;
    writeNode(writer, node);
    writeAllAccounts(writer, node);
    writeMembership(writer, node);
    writeServices(writer, node);
    writer.section(L"security");
    for (const auto& [object, sddl] : node.security.all())
        writer.line(object, sddl);
    writer.section(L"drives");
    for (const auto& [drive, directory] : node.drives)
        writer.line(drive, directory);
    for (const wchar_t* const root : {L"", L"HKU"})
        if (!*root || !registry.subkeys(node, root).empty())
            writeRegistry(writer, node, registry, root);
    writer.save(file);
}

} // namespace whatif
