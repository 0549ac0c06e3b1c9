#include "tests/support/node_test.h"

#include "whatif/model/names.h"
#include "whatif/model/registry.h"
#include "whatif/redirect/active.h"

namespace support {

namespace {

void addAccount(whatif::Node& node, const wchar_t* name, const std::wstring& sid, const wchar_t* domain = L"",
                SID_NAME_USE use = SidTypeUser, const std::vector<std::wstring>& memberOf = {})
{
    whatif::Account& added = node.accounts.emplace_back();
    added.name = name;
    added.domain = domain;
    added.sid = sid;
    added.use = use;
    added.memberOf = memberOf;
    added.password = L"right";
}

} // namespace

Lines planOf(const whatif::World& world)
{
    Lines lines;
    for (const whatif::Change& change : world.plan()) {
        const std::wstring line = whatif::textOf(change);
        lines.emplace_back(line.begin(), line.end());
    }
    return lines;
}

Nodes::Nodes(const LibraryCopy& library) : redirection_(library.module(), world)
{
    addAccount(local, L"svc", svc);
    addAccount(remote, L"svc", remoteSvc);
    for (whatif::Node* const node : {&local, &remote}) {
        node->domain = L"CORP";
        addAccount(*node, L"dbuser", dbuser, L"CORP", SidTypeUser, {operators});
        addAccount(*node, L"Operators", operators, L"CORP", SidTypeGroup);
        addAccount(*node, L"gmsa$", L"S-1-5-21-7-7-7-1203", L"CORP");
        node->accounts.back().managed = true;
    }
}

whatif::Group& Nodes::addGroup(whatif::Node& node, const wchar_t* name, const std::vector<std::wstring>& members)
{
    node.groups.push_back({name, L"", whatif::newSid(node), members});
    return node.groups.back();
}

void Nodes::record(const whatif::Node& node, const char* value, const char* text) const
{
    world.registry().setValue(node, L"SOFTWARE\\Kestel\\KEY_keswsec_test", whatif::wide(value),
                              whatif::registryText(whatif::wide(text)));
}

Lines Nodes::plan()
{
    Lines lines = planOf(world);
    world.clearPlan();
    return lines;
}

NodeTest::NodeTest() : Nodes(library), interception(library.module(), world) {}

void NodeTest::expectNodeCases(const std::vector<NodeCase>& cases)
{
    for (const NodeCase& row : cases) {
        SCOPED_TRACE(row.what);
        std::string osError;
        const auto call = [&](sswseErrRec* rec) {
            const DWORD status = row.call(rec);
            osError = rec->oserror;
            return status;
        };
        interception.start(row.fault);
        expectCases({{row.what, call, row.status, row.message}});
        interception.finish();
        EXPECT_EQ(osError, row.osError ? std::to_string(row.osError) : "");
        EXPECT_EQ(plan(), row.changes);
    }
}

} // namespace support
