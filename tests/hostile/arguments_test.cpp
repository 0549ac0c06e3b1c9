// Every exported function with texts, buffers and numbers that nobody would pass, and without its arguments.
#include "tests/support/subject.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <random>
#include <sstream>

using testing::StartsWith;

namespace {

using namespace support;

constexpr UINT codePages[] = {0, 932, CP_UTF8}; // the machine's, one with lead bytes, and one of many bytes

bool isText(const cli::Parameter& parameter)
{
    constexpr cli::Kind texts[] = {cli::Kind::text,  cli::Kind::secret,  cli::Kind::writableText, cli::Kind::wideText,
                                   cli::Kind::names, cli::Kind::strings, cli::Kind::inserts};
    return std::find(std::begin(texts), std::end(texts), parameter.kind) != std::end(texts);
}

class Dice
{
public:
    explicit Dice(unsigned seed) : random_(seed) {}

    size_t below(size_t n) { return random_() % n; }
    bool oneIn(size_t n) { return below(n) == 0; }
    template <class T>
    const T& of(const std::vector<T>& values)
    {
        return values[below(values.size())];
    }

    std::string text(const std::string& usual)
    {
        static const std::vector<std::string> pieces = {
            "x",    "\\",   " ",         ".",    "%s%n", "$",    "\x81",   "\xE9", "\xFF",         "\r\n",    "\x83\\",
            "KES_", "..\\", "_SVCACCTS", "C:\\", "/",    "S-1-", "NODE\\", "\"",   "NT SERVICE\\", "\xE2\x82"};
        static const std::vector<size_t> lengths = {0,   1,   2,   14,  50,  127, 255, 256,  259,  260,   261,
                                                    510, 511, 512, 513, 519, 520, 521, 5119, 5120, 32767, 70000};
        std::string made = oneIn(2) ? usual : "";
        const size_t length = of(lengths);
        while (made.size() < length)
            made += oneIn(2) ? of(pieces) : std::string(below(300), of(pieces)[0]);
        return made.substr(0, length) + (oneIn(4) ? "\xE2" : "");
    }

private:
    std::mt19937 random_;
};

void setText(SubjectCall& call, size_t i, const std::string& text)
{
    call.values[i].given = true;
    call.values[i].texts = {text};
}

void makeHostile(Dice& dice, SubjectCall& call)
{
    static const std::vector<DWORD> numbers = {0, 1, 2, 3, 6, 7, 8, 9, 10, 16, 32, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
    static const std::vector<DWORD> sizes = {0, 1, 2, 3, 14, 22, 28, 259, 260, 511, 512, 1024, 70100};
    for (size_t i = 0; i < call.values.size(); ++i) {
        const cli::Parameter& parameter = call.function->parameters[i];
        cli::Value& value = call.values[i];
        const std::string name = parameter.name;
        if ((name == "nodename" || name == "cNode") && dice.oneIn(2))
            setText(call, i, dice.oneIn(2) ? "DB2" : "\\\\DB2");
        else if (!dice.oneIn(4))
            continue;
        else if (dice.oneIn(8) && parameter.kind != cli::Kind::strings)
            call.nulls.insert(i); // also the numbers: 0
        else if (isText(parameter))
            setText(call, i, dice.text(value.texts.empty() ? "" : value.texts.front()));
        else if (parameter.kind == cli::Kind::textOut)
            value.number = dice.of(sizes);
        else if (parameter.kind == cli::Kind::number || parameter.kind == cli::Kind::byte)
            value.number = dice.of(numbers);
    }
}

struct HostileArguments : testing::Test
{
    Subject subject{&Subject::makeGroup};
};

TEST_F(HostileArguments, Texts)
{
    const std::vector<std::string> plain = {"",   std::string(511, 'x'),  std::string(512, 'x'), std::string(513, 'x'),
                                            "\\", std::string(511, '\\'), "%s%n%s%n%s%n%s%n"};
    const std::vector<std::string> dependingOnCodePage = {
        std::string(70000, 'x'),  "\xC3\xA9\xF0\x9F\x98\x80",
        "half a character \xE2",  std::string(511, 'x') + "\xE2", // a lead byte in both
        "\x83\\\x83\\\x81",                                       // with backslashes as second halves
        std::string(70000, '\\'),
    };
    for (const UINT codePage : codePages) {
        Subject::codePage = codePage;
        subject.setTracing(codePage == 932);
        std::vector<std::string> texts = dependingOnCodePage;
        if (codePage == 0)
            texts.insert(texts.end(), plain.begin(), plain.end());
        for (const cli::Function* const function : callableFunctions())
            for (size_t i = 0; i < function->parameters.size(); ++i) {
                SubjectCall call = subject.call(function->name);
                const std::string what =
                    std::string(function->parameters[i].name) + ", code page " + std::to_string(codePage);
                for (size_t row = 0; isText(function->parameters[i]) && row < texts.size(); ++row) {
                    setText(call, i, texts[row]);
                    subject.run(call, what + ", row " + std::to_string(row));
                }
            }
    }
}

// Of every size up to the one that is enough: all or nothing, and never a byte beyond.
TEST_F(HostileArguments, Buffers)
{
    for (const cli::Function* const function : callableFunctions())
        for (size_t i = 0; i < function->parameters.size(); ++i) {
            if (function->parameters[i].kind != cli::Kind::textOut)
                continue;
            SubjectCall call = subject.call(function->name);
            const nlohmann::ordered_json whole = subject.run(call, "a large buffer").outputs;
            const std::string text = whole.at(function->parameters[i].name);
            const bool cuts = std::string(function->name) == "sswseGetKestelHomeKey";
            bool enough = false;
            for (std::uint32_t& size = call.values[i].number = 0; size <= text.size() + 4; ++size) {
                SCOPED_TRACE(function->name + std::string(" ") + std::to_string(size));
                const Answer answer = subject.run(call, "a small buffer");
                if (answer.status == SSWSE_SUCCESS && cuts && size <= text.size()) {
                    EXPECT_EQ(answer.outputs.at(function->parameters[i].name), text.substr(0, size ? size - 1 : 0));
                } else if (answer.status == SSWSE_SUCCESS) {
                    EXPECT_EQ(answer.outputs, whole);
                    enough = true;
                } else {
                    EXPECT_FALSE(enough);
                    EXPECT_THAT(answer.message, StartsWith("WSE-000033: "));
                    EXPECT_EQ(answer.outputs.value(function->parameters[i].name, ""), "");
                }
            }
            EXPECT_TRUE(enough);
        }
}

// What the library reads, as nobody would store it.
void makeDataHostile(Dice& dice, Subject& subject)
{
    for (const auto& [name, usual] : usualValues) {
        const std::string bytes = dice.text("1");
        if (dice.oneIn(3))
            subject.setValue(name, {static_cast<DWORD>(dice.below(REG_QWORD + 2)), {bytes.begin(), bytes.end()}});
    }
    subject.setValue(dice.oneIn(2) ? L"KESTEL_HOME_TYPE" : L"KESTEL_SVCUSER_TYPE",
                     whatif::registryText(dice.of<std::wstring>({L"0", L"1", L"2", L"V"})));
    if (dice.oneIn(3))
        subject.home.writeKeyFile(dice.text("SOFTWARE\\KESTEL\\KEY_h1"));
    const std::string account = dice.text(".\\svc");
    subject.local.services.front().account.assign(account.begin(), account.end());
}

// Mixtures of it all. KESWSEC_SEED=n begins with the seed n and has no end.
TEST(HostileMixtures, OfArgumentsAndData)
{
    constexpr unsigned usualSeeds = 60;
    constexpr int callsOfASeed = 40;
    const char* const given = getenv("KESWSEC_SEED");
    const unsigned first = given ? static_cast<unsigned>(strtoul(given, nullptr, 10)) : 1;
    const Functions functions = callableFunctions();
    for (unsigned seed = first; (given || seed < first + usualSeeds) && !testing::Test::HasFailure(); ++seed) {
        Subject subject{&Subject::makeGroup};
        Dice dice(seed);
        Subject::codePage = codePages[dice.below(std::size(codePages))];
        subject.setTracing(dice.oneIn(2));
        makeDataHostile(dice, subject);
        for (int i = 0; i < callsOfASeed; ++i) {
            SubjectCall call = subject.call(dice.of(functions)->name);
            makeHostile(dice, call);
            subject.run(call, "seed " + std::to_string(seed) + ", call " + std::to_string(i));
        }
    }
}

// ---- docs/refused-arguments.md: what each function says when something is missing, and in which order it looks ------

bool mayBeMissing(const cli::Parameter& parameter)
{
    return parameter.kind != cli::Kind::inserts && parameter.kind != cli::Kind::hosted;
}

std::string answered(Subject& subject, const SubjectCall& call, const std::string& what)
{
    subject.restore(false);
    const Answer answer = subject.run(call, what);
    const std::string message = answer.message.substr(0, answer.message.find_first_of("\r\n"));
    const bool hasNone = call.function->result == cli::Result::nothing;
    return (hasNone ? "done" : std::to_string(answer.status)) + (message.empty() ? "" : " ") +
           (message == " " ? "(a blank)" : message);
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
    Subject subject([](Subject& s) {
        s.makeGroup();
        s.makeSource();
    });
    std::ostringstream page;
    for (const cli::Function& function : cli::functions())
        if (function.result != cli::Result::memory)
            write(page, subject, function);
    expectDocument("refused-arguments.md", page.str());
}

} // namespace
