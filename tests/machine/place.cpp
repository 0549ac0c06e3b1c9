#include "tests/machine/place.h"

#include "cli/text.h"
#include "whatif/model/sids.h"

#include <fstream>
#include <regex>

namespace machine {

namespace {

using cli::utf8FromWide;
using support::replaced;

Words wordsOf(const std::vector<std::string>& words)
{
    Words result;
    for (size_t i = 1; i < words.size(); ++i) {
        const std::wstring word = cli::wideFromUtf8(words[i]);
        const size_t equals = word.find(L'=');
        if (equals == std::wstring::npos)
            result.given.push_back(word);
        else
            result.named[word.substr(0, equals)] = word.substr(equals + 1);
    }
    return result;
}

} // namespace

Place::Place(whatif::World* node, HMODULE redirected)
    : node_(node), library_(redirected ? redirected : home_.emplace().module())
{
    if (node && !redirected)
        redirection_.emplace(library_, *node);
    std::filesystem::create_directories(directory() / "sub");
    std::ofstream(directory() / "sub" / "leaf").put('x');
    machine_ = journal::thisMachine();
    if (node)
        machine_ = journal::machineOf(journal::nodePlatform(), machine_.name);
    names_ = {{utf8FromWide(sidOf(machine_.name)), "{sid:MACHINE}"},
              {utf8FromWide(machine_.name), "{MACHINE}"},
              {utf8FromWide(directory().wstring()), "{dir}"}};
    Place& place = *this;
    LSA_OBJECT_ATTRIBUTES attributes = {};
    ON(LsaOpenPolicy)(nullptr, &attributes, POLICY_ALL_ACCESS, &policy);
    manager = ON(OpenSCManagerW)(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
}

Place::~Place()
{
    Place& place = *this;
    for (const auto& service : services)
        ON(CloseServiceHandle)(service.second);
    ON(CloseServiceHandle)(manager);
    ON(LsaClose)(policy);
    redirection_.reset();
    if (!node_)
        support::removeLeftovers(support::Whose::ours);
}

std::wstring Place::sidOf(const std::wstring& name) const
{
    const std::wstring sid = machine_.sidOf(machine_.name, name);
    return sid.empty() ? L"S-1-0-0" : sid;
}

std::string Place::filledIn(std::string text)
{
    for (const auto& [real, name] : std::vector(names_.rbegin(), names_.rend()))
        text = replaced(text, name, real);
    static const std::regex own(R"(\{(?:(sid|ssid):)?(\w+)\})");
    for (std::smatch found; std::regex_search(text, found, own);) {
        const std::wstring name = support::machineName(cli::wideFromUtf8(found[2].str()));
        const std::string real = utf8FromWide(!found[1].matched    ? name
                                              : found[1] == "ssid" ? whatif::serviceSid(name)
                                                                   : sidOf(name));
        if (found[1].matched)
            names_.insert(names_.begin(), {real, found[0]});
        text.replace(static_cast<size_t>(found.position()), static_cast<size_t>(found.length()), real);
    }
    return text;
}

std::string Place::plain(std::string text) const
{
    for (const auto& [real, name] : names_)
        text = replaced(text, real, name);
    return std::regex_replace(text, std::regex(utf8FromWide(support::machineName(L"(\\w+)"))), "{$1}");
}

std::string Place::answer(const std::string& call)
{
    support::underWay = call;
    std::vector<std::string> words = cli::splitWords(call);
    for (std::string& word : words)
        word = filledIn(word);
    const auto verb = verbs.find(words.front());
    const std::string answer = verb != verbs.end() ? utf8FromWide(verb->second(*this, wordsOf(words)))
                                                   : support::told(support::invoke(library_, words, node_), true);
    support::underWay.clear();
    return plain(answer);
}

} // namespace machine
