// Where the passwords that the library is given must not be found: whatever the outcome of the call.
#include "tests/hostile/subject.h"
#include "tests/support/guarded_heap.h"
#include "whatif/ini.h"

#include <gmock/gmock.h>

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace hostile {

namespace {

constexpr char secret[] = "Never-to-be-seen-4711";

bool isArgumentLine(const std::string& line)
{
    return line.rfind("Username = ", 0) == 0 || line.rfind("username = ", 0) == 0 || line.rfind("password = ", 0) == 0;
}

struct Secrets : testing::Test
{
    Secrets() { guarded::watchFor({secret}); }
    ~Secrets() override { guarded::watchFor({}); }

    Subject subject;
};

TEST_F(Secrets, StayOutOfRecordPlanTraceAndReleasedMemory)
{
    // These trace the password, by contract, in their argument line; the services' functions trace "****".
    const std::set<std::string> clear = {"sswseCheckValidUser", "sswseCreateKestelSVCUser", "sswseIsPasswordValid"};
    subject.local.accounts.back().password.assign(secret, secret + strlen(secret));
    size_t functions = 0;
    for (const cli::Function* const function : callableFunctions()) {
        Call call = subject.ordinary(*function);
        if (cli::secretsOf(call).empty())
            continue;
        ++functions;
        for (size_t i = 0; i < call.values.size(); ++i)
            if (function->parameters[i].kind == cli::Kind::secret)
                call.values[i].texts = {secret};
        subject.run(call, "ordinary");
        const std::vector<intercept::Trail::Call> calls = subject.trail.calls;
        support::TraceLog log;
        subject.traceTo(&log);
        for (size_t n = 0; n <= calls.size(); ++n) { // with every platform call and allocation failing in turn
            const DWORD code = n ? calls[n - 1].row->codes.front() : 0;
            const Answer answer = subject.run(call, "failing call " + std::to_string(n), {n, code});
            EXPECT_THAT(answer.message, Not(HasSubstr(secret)));
            EXPECT_THAT(answer.leaked, IsEmpty()) << function->name << " failing call " << n;
            for (const whatif::Change& change : subject.world.plan())
                EXPECT_THAT(whatif::narrow(whatif::textOf(change)), Not(HasSubstr(secret)));
        }
        subject.traceTo(nullptr);
        size_t seen = 0;
        for (const std::string& line : log.take())
            if (line.find(secret) != std::string::npos) {
                EXPECT_TRUE(isArgumentLine(line)) << line;
                ++seen;
            }
        EXPECT_EQ(seen != 0, clear.count(function->name) != 0) << function->name;
    }
    EXPECT_EQ(functions, 5u);
}

} // namespace

} // namespace hostile
