#include "tests/support/node_test.h"

#include "cli/trace.h"
#include "whatif/model/names.h"
#include "whatif/model/registry.h"
#include "whatif/spelling.h"
#include "whatif/whatif.h"

#include <algorithm>
#include <cstring>

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

cli::Outcome invoke(HMODULE library, const std::vector<std::string>& words, bool isOnNode)
{
    cli::Trace trace;
    const cli::Host node = {library, whatif::closeServiceHandle, &trace, whatif::openObject, whatif::closeObject};
    const cli::Host machine = {library, CloseServiceHandle, &trace, whatif::openMachineObject, CloseHandle};
    return cli::invoke(isOnNode ? node : machine, cli::parseCall(words));
}

std::string replaced(std::string text, const std::string& what, const std::string& with)
{
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size()))
        text.replace(at, what.size(), with);
    return text;
}

std::string told(const cli::Outcome& outcome, bool wholeMessage)
{
    std::string said = std::to_string(outcome.status);
    if (!outcome.message.empty())
        said += ' ' + outcome.message.substr(0, outcome.message.find_first_of(wholeMessage ? "\r\n" : ":\r\n"));
    said += (outcome.osError.empty() ? "" : " ") + outcome.osError + (outcome.outputs.empty() ? "" : " =");
    for (const auto& output : outcome.outputs)
        for (const auto& value : output.is_array() ? output : nlohmann::ordered_json::array({output}))
            said += ' ' + (value.is_string() ? value.get<std::string>() : value.dump());
    return said;
}

void NodeTest::expectAnswers(const std::vector<Asked>& rows)
{
    for (const Asked& row : rows) {
        SCOPED_TRACE(row.call.substr(0, 300));
        interception.start(row.fault);
        const std::string said = told(invoke(row.call), row.answer.find(':') != std::string::npos);
        EXPECT_EQ(said, row.answer);
        const auto left = interception.finish().balance;
        EXPECT_TRUE(left.empty() || said.find(" open") < said.size()) << "not released: " << left.begin()->first;
    }
}

void NodeTest::expect(const std::vector<Asked>& rows)
{
    for (const Asked& row : rows) {
        expectAnswers({row});
        EXPECT_EQ(plan(), row.changes) << row.call;
    }
}

void NodeTest::expectTwiceOnEachNode(const std::vector<Asked>& rows)
{
    for (const char* const node : {"", " nodename=\"\"", " nodename=DB2", " nodename=\\\\db2"}) {
        const auto there = [&](const std::string& text) {
            return strlen(node) < 13 ? text : replaced(text, "NODE", "DB2");
        };
        for (const Asked& row : rows) {
            Lines changes = row.changes;
            std::transform(changes.begin(), changes.end(), changes.begin(), there);
            const std::string call = there(row.call) + node;
            expect({{call, row.answer, changes}, {call, row.answer}});
        }
    }
}

} // namespace support
