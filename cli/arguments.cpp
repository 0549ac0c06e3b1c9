#include "cli/arguments.h"

#include "cli/text.h"
#include "cli/values.h"

#include <charconv>

namespace cli {

namespace {

constexpr std::uint32_t largestBuffer = 16u << 20;
constexpr char objectKinds[] = "event NAME, mutex NAME, semaphore NAME, section NAME or process ID";

class Parser
{
public:
    explicit Parser(const Function& function)
    {
        call_.function = &function;
        call_.values.resize(function.parameters.size());
    }

    void take(const std::string& word)
    {
        const size_t equals = word.find('=');
        if (equals == std::string::npos)
            fail(shown("\"" + word + "\"") + " is no name=value");
        const std::string name = word.substr(0, equals);
        const std::string given = word.substr(equals + 1);
        const Parameter& parameter = find(name);
        Value& value = call_.values[static_cast<size_t>(&parameter - call_.function->parameters.data())];
        if (value.given && !isRepeated(parameter))
            fail(name + " is given twice");
        value.given = true;
        store(parameter, name, given, value);
        value.shown.push_back(parameter.kind == Kind::secret ? hiddenSecret : given);
        behindSecret_ = behindSecret_ || parameter.kind == Kind::secret;
    }

    Call finish()
    {
        for (size_t i = 0; i < call_.values.size(); ++i) {
            const Parameter& parameter = call_.function->parameters[i];
            Value& value = call_.values[i];
            if (parameter.required && !value.given)
                fail(std::string(parameter.name) + " is missing; usage: " + usageOf(*call_.function));
            if (!value.given)
                value.number = parameter.kind == Kind::textOut ? defaultBufferSize : parameter.preset;
        }
        return std::move(call_);
    }

private:
    [[noreturn]] void fail(const std::string& what) const
    {
        throw UsageError(shortName(*call_.function) + ": " + what);
    }

    // What follows a password may be the rest of one that has blanks and no quotes.
    std::string shown(const std::string& word) const
    {
        return behindSecret_ ? "a word behind the password (in quotes if it has blanks)" : word;
    }

    const Parameter& find(const std::string& name) const
    {
        for (const Parameter& parameter : call_.function->parameters) {
            const bool isBuffer = parameter.kind == Kind::textOut;
            if (name == parameter.name + std::string(isBuffer ? ".size" : "") && (isBuffer || takesArgument(parameter)))
                return parameter;
        }
        fail("unknown argument " + shown(name) + "; usage: " + usageOf(*call_.function));
    }

    void store(const Parameter& parameter, const std::string& name, const std::string& given, Value& value) const
    {
        switch (parameter.kind) {
        case Kind::number:
        case Kind::numberInOut:
            if (const DWORD* named = parameter.names ? findNumber(*parameter.names, given) : nullptr)
                value.number = *named;
            else
                value.number = number(name, given, UINT32_MAX, parameter.names);
            break;
        case Kind::byte:
            value.number = number(name, given, UINT8_MAX);
            break;
        case Kind::wideText:
        case Kind::object:
        case Kind::token:
            value.texts.push_back(given);
            break;
        case Kind::textOut:
            value.number = number(name, given, largestBuffer);
            break;
        case Kind::secret:
            value.texts.push_back(ansi(name, given == "-" ? readSecret(name + ": ") : given));
            break;
        default:
            value.texts.push_back(ansi(name, given));
            break;
        }
        if (parameter.kind == Kind::sid && !sidFromText(value.texts.back()))
            fail(name + "=" + given + " is no SID");
        if ((parameter.kind == Kind::aclInOut || parameter.kind == Kind::aceList) && aclFromSddl(given).empty())
            fail(name + "=" + given + " is no access-control list in SDDL, D:...");
        const bool isObject = parameter.kind == Kind::object || parameter.kind == Kind::token;
        if (isObject && objectName(parameter, given).empty())
            fail(name + "=" + given + " is no " + (parameter.kind == Kind::token ? "process ID" : objectKinds));
        if (parameter.kind == Kind::names && given.empty())
            fail(name + " cannot hold an empty name, it would end the list");
        if (parameter.kind == Kind::inserts && value.texts.size() > mostInserts)
            fail("a message has at most " + std::to_string(mostInserts) + " inserts");
    }

    std::uint32_t number(const std::string& name, const std::string& given, std::uint32_t largest,
                         const NumberNames* names = nullptr) const
    {
        const bool hexadecimal = given.size() > 2 && given[0] == '0' && (given[1] == 'x' || given[1] == 'X');
        const char* first = given.data() + (hexadecimal ? 2 : 0);
        const char* last = given.data() + given.size();
        std::uint64_t result = 0;
        const auto [end, error] = std::from_chars(first, last, result, hexadecimal ? 16 : 10);
        if (error == std::errc::result_out_of_range || (error == std::errc() && end == last && result > largest))
            fail(name + "=" + given + " is too big");
        if (error != std::errc() || end != last)
            fail(name + "=" + given + " is no number (decimal or 0x...)" +
                 (names ? " and none of " + listOf(*names) : ""));
        return static_cast<std::uint32_t>(result);
    }

    std::string ansi(const std::string& name, const std::string& given) const
    {
        const std::optional<std::string> text = ansiFromUtf8(given);
        if (!text)
            fail(name + " holds a character that the ANSI code page does not have");
        return *text;
    }

    Call call_;
    bool behindSecret_ = false;
};

} // namespace

Call parseCall(const std::vector<std::string>& words)
{
    const Function* function = findFunction(words.front());
    if (!function)
        throw UsageError("no function " + words.front() + "; keswsec --list shows them");
    if (function->result == Result::memory)
        throw UsageError(shortName(*function) + " is called by keswsec itself, for what functions return");
    Parser parser(*function);
    for (size_t i = 1; i < words.size(); ++i)
        parser.take(words[i]);
    return parser.finish();
}

std::vector<std::string> secretsOf(const Call& call)
{
    std::vector<std::string> secrets;
    for (size_t i = 0; i < call.values.size(); ++i)
        if (call.function->parameters[i].kind == Kind::secret)
            secrets.insert(secrets.end(), call.values[i].texts.begin(), call.values[i].texts.end());
    return secrets;
}

} // namespace cli
