// docs/refused-arguments.md: what each function says when something is missing, and in which order it looks.
#include "tests/support/document.h"
#include "tests/support/subject.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using namespace support;

bool mayBeMissing(const cli::Parameter& parameter)
{
    return parameter.kind != cli::Kind::inserts && parameter.kind != cli::Kind::hosted;
}

std::string answered(Subject& subject, const SubjectCall& call, const std::string& what)
{
    const Answer answer = subject.run(call, what);
    const std::string message = answer.message.substr(0, answer.message.find_first_of("\r\n"));
    const bool hasNone = call.function->result == cli::Result::nothing;
    return (hasNone ? "done" : std::to_string(answer.status)) + (message.empty() ? "" : " ") + message;
}

// All that may be missing is, then one after the other is given, then each is missing alone.
void write(std::ostream& page, Subject& subject, const cli::Function& function)
{
    SubjectCall call = subject.call(function.name);
    const std::string usual = answered(subject, call, "ordinary");
    page << "\n## `" << function.name << "`\n\n    " << usual << "\n";
    for (size_t i = 0; i < function.parameters.size(); ++i)
        if (mayBeMissing(function.parameters[i]))
            call.nulls.insert(i);
    const std::set<size_t> all = call.nulls;
    std::string before = usual;
    std::string from = "all";
    for (const size_t given : all) {
        const std::string answer = answered(subject, call, "without " + from);
        if (answer != before)
            page << "    without " << from << ": " << answer << "\n";
        before = answer;
        call.nulls.erase(given);
        from = "what is behind " + std::string(function.parameters[given].name);
    }
    for (const size_t missing : all) {
        call.nulls = {missing};
        const std::string answer = answered(subject, call, "without " + std::string(function.parameters[missing].name));
        if (answer != usual)
            page << "    without " << function.parameters[missing].name << ": " << answer << "\n";
    }
}

TEST(HostileRefusals, AreWhatTheDocumentSays)
{
    Subject subject{&Subject::makeGroup};
    std::ostringstream page;
    for (const cli::Function* const function : callableFunctions())
        write(page, subject, *function);
    expectDocument("refused-arguments.md", page.str());
}

} // namespace
